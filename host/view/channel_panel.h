// One channel's part of the picture: its sound, level, gaps and restarts.
#pragma once

#include "host/view/canvas.h"
#include "host/view/picture.h"
#include "host/view/time_axis.h"

// Draws the panel with its upper edge at `top` (pixels). `outline` is one of `content.channels`.
void drawChannelPanel(Canvas& canvas, const TimeAxis& axis, const PictureContent& content,
                      const Outline& outline, double top);
