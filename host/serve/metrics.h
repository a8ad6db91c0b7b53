// The hub's figures in Prometheus' text format.
#pragma once

#include <cstddef>
#include <string>

#include "host/serve/hub.h"

constexpr const char* MetricsType = "text/plain; version=0.0.4; charset=utf-8";

// `connections` are those of the HTTP server.
std::string metricsText(const HubState& state, size_t connections);
