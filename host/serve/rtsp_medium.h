// The class of the RTSP server's media. Each client that asks for the backchannel gets a medium of
// its own, with threads and sockets. The number of such media is limited.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

// Returns the class for gst_rtsp_media_factory_set_media_gtype. A medium whose feed is not admitted
// (RtspFeed::isAdmitted) cannot be prepared. The client is answered 503 then.
GType rtspMediumType();
