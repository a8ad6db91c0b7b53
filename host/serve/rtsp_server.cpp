#include "host/serve/rtsp_server.h"

#include <gst/rtsp-server/rtsp-onvif-server.h>
#include <sys/socket.h>

#include <map>
#include <vector>

#include "host/serve/closure_data.h"
#include "host/serve/rtsp_clients.h"
#include "host/serve/rtsp_factory.h"
#include "host/serve/rtsp_medium.h"
#include "host/serve/rtsp_requests.h"

namespace {

constexpr guint MostBodyBytes = 4096;  // of a request
constexpr guint SessionTimeout = 30;   // s, without a sign of life
constexpr guint HouseInterval = 1000;  // ms
// Two seconds of a connection's sound. A client that reads nothing is noticed when this and
// GStreamer's queue are full.
constexpr gint SendBufferBytes = 16384;
constexpr guint JitterLatency = 100;  // ms, to sort and smooth the packets of clients that talk
constexpr guint FirstUdpPort = 50000;
constexpr guint LastUdpPort = 50999;
constexpr const char* Role = "user";

std::optional<int> outputToTalkTo(const Hub& hub, const std::string& named) {
    if (!named.empty()) {
        const auto output = hub.find(named, true);
        if (!output || !output->hasDevice)
            throw std::runtime_error("there is no output '" + named +
                                     "' with a device; 'tamborin-host channels' lists them");
        return output->number;
    }
    for (const ChannelState& state : hub.state().channels)
        if (state.channel.isOutput && state.channel.hasDevice)
            return state.channel.number;
    return std::nullopt;
}

// Sends and receives sound only at the address that requests come to.
void bindSound(GstRTSPMediaFactory* factory, const std::string& address) {
    const ObjectPointer<GInetAddress> parsed(g_inet_address_new_from_string(address.c_str()));
    if (g_inet_address_get_is_any(parsed.get()) != FALSE)
        return;
    const ObjectPointer<GstRTSPAddressPool> pool(gst_rtsp_address_pool_new());
    gst_rtsp_address_pool_add_range(pool.get(), address.c_str(), address.c_str(), FirstUdpPort,
                                    LastUdpPort, 0);
    gst_rtsp_media_factory_set_address_pool(factory, pool.get());
}

// Removes a session when its client's connection ends. GStreamer would keep the session until it
// times out, and the number of sessions is limited.
void endWithConnection(GstRTSPSession* session, GstRTSPClient* client) {
    connectOwning(
        client, "closed",
        +[](GstRTSPClient* closed, gpointer id) {
            const ObjectPointer<GstRTSPSessionPool> sessions(
                gst_rtsp_client_get_session_pool(closed));
            const ObjectPointer<GstRTSPSession> left(gst_rtsp_session_pool_find(
                sessions.get(), static_cast<const std::string*>(id)->c_str()));
            if (left != nullptr)
                gst_rtsp_session_pool_remove(sessions.get(), left.get());
        },
        std::string(gst_rtsp_session_get_sessionid(session)));
}

// Removes a session without a sign of life, and its media. GStreamer's own clean-up would leave the
// media until the session is freed. The client's connection may own the session, and a refused
// SETUP leaks a reference to it.
GstRTSPFilterResult endIfExpired(GstRTSPSessionPool* /*pool*/, GstRTSPSession* session,
                                 gpointer /*data*/) {
    if (gst_rtsp_session_is_expired_usec(session, g_get_monotonic_time()) == FALSE)
        return GST_RTSP_FILTER_KEEP;
    gst_rtsp_session_filter(
        session,
        [](GstRTSPSession*, GstRTSPSessionMedia* media, gpointer) {
            gst_rtsp_session_media_set_state(media, GST_STATE_NULL);
            return GST_RTSP_FILTER_REMOVE;
        },
        nullptr);
    return GST_RTSP_FILTER_REMOVE;
}

}  // namespace

RtspServer::RtspServer(Hub& hub, const ServeOptions& options, const Access& access)
    : hub_(std::make_shared<RtspHub>(hub)),
      options_(options),
      hasTls_(access.certificate != nullptr),
      server_(newRtspServer(hub_)),
      connections_(server_.get()),
      sessions_(gst_rtsp_session_pool_new()) {
    gst_rtsp_server_set_address(server_.get(), options.listenAddress.c_str());
    gst_rtsp_server_set_service(server_.get(), std::to_string(options.rtspPort).c_str());
    gst_rtsp_server_set_backlog(server_.get(), RtspConnections::Most);
    gst_rtsp_server_set_content_length_limit(server_.get(), MostBodyBytes);
    gst_rtsp_session_pool_set_max_sessions(sessions_.get(), RtspConnections::Most);
    gst_rtsp_server_set_session_pool(server_.get(), sessions_.get());
    // Each client has a thread, so that one which waits for an input to start delays no other.
    const ObjectPointer<GstRTSPThreadPool> threads(gst_rtsp_thread_pool_new());
    gst_rtsp_thread_pool_set_max_threads(threads.get(), -1);
    gst_rtsp_server_set_thread_pool(server_.get(), threads.get());
    guard(access);
    const auto talkOutput = outputToTalkTo(hub, options.talkOutput);
    for (const ChannelState& state : hub.state().channels)
        if (!state.channel.isOutput)
            mount(state.channel, talkOutput);
    g_signal_connect(server_.get(), "client-connected",
                     G_CALLBACK(+[](GstRTSPServer*, GstRTSPClient* client, gpointer self) {
                         static_cast<RtspServer*>(self)->welcome(client);
                     }),
                     this);
    listen();
}

void RtspServer::listen() {
    listening_ = gst_rtsp_server_attach(server_.get(), nullptr);
    if (listening_ == 0)
        throw std::runtime_error("cannot listen for RTSP on " + options_.listenAddress + " port " +
                                 std::to_string(options_.rtspPort) +
                                 "; is it in use? choose another with --rtsp-port");
    housekeeping_ = g_timeout_add(
        HouseInterval,
        [](gpointer self) -> gboolean {
            static_cast<RtspServer*>(self)->keepHouse();
            return G_SOURCE_CONTINUE;
        },
        this);
}

RtspServer::~RtspServer() {
    g_source_remove(housekeeping_);
    g_source_remove(listening_);
    hub_->end();
    feeds_->end();
    connections_.endAll();
    gst_rtsp_session_pool_filter(
        sessions_.get(), [](auto...) { return GST_RTSP_FILTER_REMOVE; }, nullptr);
}

std::string RtspServer::url() const {
    return (hasTls_ ? "rtsps://" : "rtsp://") + options_.addressInUrls() + ":" +
           std::to_string(gst_rtsp_server_get_bound_port(server_.get())) + "/";
}

void RtspServer::guard(const Access& access) {
    if (!access.passwords && access.certificate == nullptr)
        return;
    const ObjectPointer<GstRTSPAuth> auth(gst_rtsp_auth_new());
    if (access.certificate != nullptr)
        gst_rtsp_auth_set_tls_certificate(auth.get(), access.certificate.get());
    GstRTSPToken* token =
        gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, Role, nullptr);
    bool isGuarded = true;
    if (access.passwords) {
        gst_rtsp_auth_set_supported_methods(auth.get(), GST_RTSP_AUTH_DIGEST);
        gst_rtsp_auth_set_realm(auth.get(), access.passwords->realm.c_str());
        isGuarded =
            gst_rtsp_auth_parse_htdigest(auth.get(), options_.passwords.c_str(), token) != FALSE;
    } else {
        gst_rtsp_auth_set_default_token(auth.get(), token);
    }
    gst_rtsp_token_unref(token);
    if (!isGuarded)
        throw std::runtime_error("the password file has changed while it was read");
    gst_rtsp_server_set_auth(server_.get(), auth.get());
}

void RtspServer::mount(const ChannelDescription& input, std::optional<int> talkOutput) {
    auto* factory = static_cast<GstRTSPMediaFactory*>(g_object_new(rtspFactoryType(), nullptr));
    gst_rtsp_media_factory_set_media_gtype(factory, rtspMediumType());
    gst_rtsp_media_factory_set_launch(factory, CaptureLaunch);
    if (talkOutput)
        gst_rtsp_onvif_media_factory_set_backchannel_launch(GST_RTSP_ONVIF_MEDIA_FACTORY(factory),
                                                            BackchannelLaunch);
    // All clients that only listen share one medium.
    gst_rtsp_media_factory_set_shared(factory, TRUE);
    gst_rtsp_media_factory_set_protocols(
        factory,
        static_cast<GstRTSPLowerTrans>(GST_RTSP_LOWER_TRANS_UDP | GST_RTSP_LOWER_TRANS_TCP));
    gst_rtsp_media_factory_set_latency(factory, JitterLatency);
    bindSound(factory, options_.listenAddress);
    gst_rtsp_media_factory_add_role(factory, Role, GST_RTSP_PERM_MEDIA_FACTORY_ACCESS,
                                    G_TYPE_BOOLEAN, TRUE, GST_RTSP_PERM_MEDIA_FACTORY_CONSTRUCT,
                                    G_TYPE_BOOLEAN, TRUE, nullptr);
    // The factory owns the input, because clients' threads may use the factory after this server.
    connectOwning(factory, "media-configure", RtspFeed::attach,
                  RtspInput{hub_, input.number, talkOutput, feeds_});
    const ObjectPointer<GstRTSPMountPoints> mounts(gst_rtsp_server_get_mount_points(server_.get()));
    gst_rtsp_mount_points_add_factory(mounts.get(), mountPath(input.number).c_str(), factory);
}

// Runs on the main thread, before the client's first request.
void RtspServer::welcome(GstRTSPClient* client) {
    GSocket* socket = gst_rtsp_connection_get_write_socket(gst_rtsp_client_get_connection(client));
    g_socket_set_option(socket, SOL_SOCKET, SO_SNDBUF, SendBufferBytes, nullptr);
    connectOwning(client, "pre-setup-request", beforeSetup, hub_);
    connectOwning(client, "pre-describe-request", beforeDescribe, hub_);
    g_signal_connect(client, "send-message", G_CALLBACK(beforeAnswer), nullptr);
    g_signal_connect(client, "new-session",
                     G_CALLBACK(+[](GstRTSPClient* owner, GstRTSPSession* session, gpointer) {
                         gst_rtsp_session_set_timeout(session, SessionTimeout);
                         endWithConnection(session, owner);
                     }),
                     nullptr);
    connections_.add(client);
}

// Drops sessions without a sign of life, frees the output of idle talkers, and tells each feed
// the number of its clients.
void RtspServer::keepHouse() {
    gst_rtsp_session_pool_filter(sessions_.get(), endIfExpired, nullptr);
    connections_.endIdle();
    std::map<RtspFeed*, int> clients;
    GList* sessions = gst_rtsp_session_pool_filter(sessions_.get(), nullptr, nullptr);
    std::vector<ObjectPointer<GstRTSPMedia>> media;
    for (GList* each = sessions; each != nullptr; each = each->next) {
        GList* parts = gst_rtsp_session_filter(GST_RTSP_SESSION(each->data), nullptr, nullptr);
        for (GList* part = parts; part != nullptr; part = part->next) {
            GstRTSPMedia* medium =
                gst_rtsp_session_media_get_media(GST_RTSP_SESSION_MEDIA(part->data));
            media.emplace_back(GST_RTSP_MEDIA(g_object_ref(medium)));
            if (RtspFeed* feed = RtspFeed::of(medium)) {
                ++clients[feed];
                feed->talk().giveBackIfIdle();
            }
        }
        g_list_free_full(parts, g_object_unref);
    }
    g_list_free_full(sessions, g_object_unref);
    feeds_->setClients(clients);
}
