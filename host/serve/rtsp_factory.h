// The class of the RTSP server's media factories.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

// The bin of a medium's backchannel, and its first element, a filter with the packets' format.
// GStreamer looks for these names.
constexpr const char* BackchannelName = "onvif-backchannel";
constexpr const char* BackchannelFilterName = "depay_backchannel";

// Returns a class like GstRTSPOnvifMediaFactory, which would leak a reference to the first
// element of each backchannel.
GType rtspFactoryType();
