#include "host/serve/rtsp_requests.h"

#include "host/serve/rtsp_clients.h"
#include "host/serve/rtsp_feed.h"

GstRTSPStatusCode beforeDescribe(GstRTSPClient* /*client*/, GstRTSPContext* context, gpointer hub) {
    const Hub& served = *static_cast<const Hub*>(hub);
    const std::string path = pathOfUrl(served, context->uri->abspath);
    const auto input = served.find(path.substr(1, path.find('/', 1) - 1), false);
    return input && !served.mayListen(input->number) ? GST_RTSP_STS_SERVICE_UNAVAILABLE
                                                     : GST_RTSP_STS_OK;
}

GstRTSPStatusCode beforeSetup(GstRTSPClient* client, GstRTSPContext* context, gpointer hub) {
    if (const auto status = beforeDescribe(client, context, hub); status != GST_RTSP_STS_OK)
        return status;
    const ObjectPointer<GstPad> in(gst_rtsp_stream_get_sinkpad(context->stream));
    RtspFeed* feed = in == nullptr ? nullptr : RtspFeed::of(context->media);
    if (feed == nullptr)
        return GST_RTSP_STS_OK;
    const auto answer = feed->talk().take();
    return answer == RtspTalk::Answer::Refused ? GST_RTSP_STS_SERVICE_UNAVAILABLE : GST_RTSP_STS_OK;
}
