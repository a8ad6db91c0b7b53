// The hub's figures in the text format of Prometheus.
#pragma once

#include <cstddef>
#include <string>

#include "host/serve/hub.h"

constexpr const char* MetricsType = "text/plain; version=0.0.4; charset=utf-8";

// `connections` is the number of the HTTP server's connections.
std::string metricsText(const HubState& state, size_t connections);
