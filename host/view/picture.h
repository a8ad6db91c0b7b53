// A picture of a recording: sound, level, gaps, stream restarts and device alarms over the time of
// day.
#pragma once

#include <filesystem>
#include <vector>

#include "host/session/module_events.h"
#include "host/sound/outline.h"

struct PictureContent {
    std::vector<Outline> channels;
    std::vector<ModuleEvent> events;
    int64_t beginMs = 0;  // steady
    int64_t endMs = 0;
};

// Writes the picture as a PNG file. Throws std::runtime_error.
void drawPicture(const std::filesystem::path& file, const PictureContent& content);
