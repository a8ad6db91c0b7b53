#include "host/serve/rtsp_requests.h"

#include "host/serve/rtsp_clients.h"
#include "host/serve/rtsp_feed.h"

namespace {

// Key of the medium whose output the client's current SETUP has taken.
constexpr const char* TakenKey = "tamborin-taken";

}  // namespace

GstRTSPStatusCode beforeDescribe(GstRTSPClient* /*client*/, GstRTSPContext* context, gpointer hub) {
    const RtspHub& shared = **static_cast<const SharedHub*>(hub);
    const std::string path = pathOfUrl(shared, context->uri->abspath);
    const bool isRefused = shared.use([&](const Hub& served) {
        const auto input = served.find(path.substr(1, path.find('/', 1) - 1), false);
        return input && !served.mayListen(input->number);
    });
    return isRefused ? GST_RTSP_STS_SERVICE_UNAVAILABLE : GST_RTSP_STS_OK;
}

GstRTSPStatusCode beforeSetup(GstRTSPClient* client, GstRTSPContext* context, gpointer hub) {
    if (const auto status = beforeDescribe(client, context, hub); status != GST_RTSP_STS_OK)
        return status;
    // Only the backchannel has a sink pad.
    const ObjectPointer<GstPad> in(gst_rtsp_stream_get_sinkpad(context->stream));
    RtspFeed* feed = in == nullptr ? nullptr : RtspFeed::of(context->media);
    if (feed == nullptr)
        return GST_RTSP_STS_OK;
    const auto answer = feed->talk().take();
    if (answer == RtspTalk::Answer::Taken)
        g_object_set_data_full(G_OBJECT(client), TakenKey, g_object_ref(context->media),
                               g_object_unref);
    if (answer != RtspTalk::Answer::Refused)
        feed->filter().setTalker(client);
    return answer == RtspTalk::Answer::Refused ? GST_RTSP_STS_SERVICE_UNAVAILABLE : GST_RTSP_STS_OK;
}

void beforeAnswer(GstRTSPClient* client, GstRTSPContext* /*context*/, GstRTSPMessage* answer,
                  gpointer /*data*/) {
    const ObjectPointer<GstRTSPMedia> medium(
        static_cast<GstRTSPMedia*>(g_object_steal_data(G_OBJECT(client), TakenKey)));
    if (medium != nullptr && answer->type_data.response.code != GST_RTSP_STS_OK)
        RtspFeed::of(medium.get())->talk().giveBack();
}
