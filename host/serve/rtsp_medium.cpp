#include "host/serve/rtsp_medium.h"

#include <gst/rtsp-server/rtsp-onvif-server.h>

#include "host/serve/derived_type.h"
#include "host/serve/rtsp_feed.h"

namespace {

gboolean prepareIfAdmitted(GstRTSPMedia* medium, GstRTSPThread* thread) {
    const RtspFeed* const feed = RtspFeed::of(medium);
    if (feed != nullptr && !feed->isAdmitted())
        return FALSE;
    const auto* const base =
        static_cast<GstRTSPMediaClass*>(g_type_class_peek(GST_TYPE_RTSP_ONVIF_MEDIA));
    return base->prepare(medium, thread);
}

void initMediumClass(gpointer type, gpointer /*data*/) {
    static_cast<GstRTSPMediaClass*>(type)->prepare = prepareIfAdmitted;
}

}  // namespace

GType rtspMediumType() {
    static const GType type =
        derivedType(GST_TYPE_RTSP_ONVIF_MEDIA, "TamborinRtspMedium", initMediumClass);
    return type;
}
