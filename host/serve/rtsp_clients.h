// The RTSP server's clients, who name inputs by number or by name.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

#include <string>

#include "host/serve/hub.h"

// A server for such clients. The hub outlives it and them.
GstRTSPServer* newRtspServer(const Hub& hub);

// Where the input is mounted.
std::string mountPath(int number);
// The mount path of what a URL names, with what follows the input's name there; "/-" when there is
// no such input. Names are percent-encoded, in one segment of the path.
std::string pathOfUrl(const Hub& hub, std::string_view urlPath);
