// The class of the RTSP server's media factories.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

// Returns a class like GstRTSPOnvifMediaFactory, which would lose 16 kB with each backchannel that
// it makes.
GType rtspFactoryType();
