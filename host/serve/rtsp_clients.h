// Lets the RTSP server's clients name an input by its number or its name.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

#include <string>

#include "host/serve/rtsp_hub.h"

// Returns a server for such clients.
GstRTSPServer* newRtspServer(const SharedHub& hub);

// Returns the path at which the input is mounted.
std::string mountPath(int number);
// Returns the mount path for the path of a URL: replaces its first segment, an input's number or
// percent-encoded name, by the input's number, or by "-" when there is no such input.
std::string pathOfUrl(const RtspHub& shared, std::string_view urlPath);
