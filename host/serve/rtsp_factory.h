// The class of the RTSP server's media factories.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

// The bin of a medium's backchannel. GStreamer looks for this name.
constexpr const char* BackchannelName = "onvif-backchannel";

// Returns a class like GstRTSPOnvifMediaFactory, which would lose the depayloader of each
// backchannel that it makes.
GType rtspFactoryType();
