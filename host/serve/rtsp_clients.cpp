#include "host/serve/rtsp_clients.h"

#include <gst/rtsp-server/rtsp-onvif-server.h>

#include "host/serve/channel_names.h"
#include "host/serve/closure_data.h"
#include "host/serve/derived_type.h"

namespace {

constexpr const char* HubKey = "tamborin-hub";

const SharedHub& hubOf(gpointer object) {
    return *static_cast<SharedHub*>(g_object_get_data(G_OBJECT(object), HubKey));
}

void setHub(gpointer object, const SharedHub& hub) {
    g_object_set_data_full(G_OBJECT(object), HubKey, ownedData(hub), freeData<SharedHub>);
}

// GStreamer asks the client for the path in some requests, and the mount points in others.
template <typename Asked>
gchar* makePath(Asked* asked, const GstRTSPUrl* url) {
    const char* const path = url->abspath != nullptr ? url->abspath : "";
    return g_strdup(pathOfUrl(*hubOf(asked), path).c_str());
}

GstRTSPClient* createClient(GstRTSPServer* server);

void initClientClass(gpointer type, gpointer /*data*/) {
    static_cast<GstRTSPClientClass*>(type)->make_path_from_uri = makePath<GstRTSPClient>;
}

void initMountsClass(gpointer type, gpointer /*data*/) {
    static_cast<GstRTSPMountPointsClass*>(type)->make_path = makePath<GstRTSPMountPoints>;
}

void initServerClass(gpointer type, gpointer /*data*/) {
    static_cast<GstRTSPServerClass*>(type)->create_client = createClient;
}

GType clientType() {
    static const GType type =
        derivedType(GST_TYPE_RTSP_ONVIF_CLIENT, "TamborinRtspClient", initClientClass);
    return type;
}

GType mountsType() {
    static const GType type =
        derivedType(GST_TYPE_RTSP_MOUNT_POINTS, "TamborinRtspMounts", initMountsClass);
    return type;
}

GType serverType() {
    static const GType type =
        derivedType(GST_TYPE_RTSP_ONVIF_SERVER, "TamborinRtspServer", initServerClass);
    return type;
}

GstRTSPClient* createClient(GstRTSPServer* server) {
    auto* client = static_cast<GstRTSPClient*>(g_object_new(clientType(), nullptr));
    setHub(client, hubOf(server));
    const auto handOn = [&](auto* part, auto set) {
        set(client, part);
        if (part != nullptr)
            g_object_unref(part);
    };
    handOn(gst_rtsp_server_get_session_pool(server), gst_rtsp_client_set_session_pool);
    handOn(gst_rtsp_server_get_mount_points(server), gst_rtsp_client_set_mount_points);
    handOn(gst_rtsp_server_get_auth(server), gst_rtsp_client_set_auth);
    handOn(gst_rtsp_server_get_thread_pool(server), gst_rtsp_client_set_thread_pool);
    gst_rtsp_client_set_content_length_limit(client,
                                             gst_rtsp_server_get_content_length_limit(server));
    return client;
}

}  // namespace

GstRTSPServer* newRtspServer(const SharedHub& hub) {
    auto* server = static_cast<GstRTSPServer*>(g_object_new(serverType(), nullptr));
    auto* mounts = static_cast<GstRTSPMountPoints*>(g_object_new(mountsType(), nullptr));
    gst_rtsp_server_set_mount_points(server, mounts);
    setHub(server, hub);
    setHub(mounts, hub);
    g_object_unref(mounts);
    return server;
}

std::string mountPath(int number) { return "/" + std::to_string(number); }

std::string pathOfUrl(const RtspHub& shared, std::string_view urlPath) {
    const NamingPath path = splitPath(urlPath);
    const auto input = shared.use([&](const Hub& hub) {
        return path.channel ? hub.find(*path.channel, false) : std::nullopt;
    });
    return (input ? mountPath(input->number) : "/-") + path.rest;
}
