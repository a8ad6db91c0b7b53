// Measures and colours of the picture.
#pragma once

#include "host/view/canvas.h"

// Lengths, all in pixels.
constexpr double Width = 1600;
constexpr double Left = 96;
constexpr double Right = Width - 32;
constexpr double TitleHeight = 56;
constexpr double StatusHeight = 18;
constexpr double PanelTitleHeight = 44;
constexpr double WaveHeight = 150;
constexpr double LevelHeight = 84;
constexpr double Spacing = 24;
constexpr double AxisHeight = 34;
constexpr double LegendHeight = 44;
constexpr double PanelHeight = PanelTitleHeight + WaveHeight + Spacing + LevelHeight;
constexpr double SmallText = 13;

constexpr Paint Ink{0.13, 0.15, 0.18};
constexpr Paint Faint{0.40, 0.43, 0.47};
constexpr Paint Grid{0.88, 0.89, 0.91};
constexpr Paint Back{0.975, 0.98, 0.985};
constexpr Paint Wave{0.22, 0.47, 0.75};
constexpr Paint PeakLine{0.62, 0.76, 0.90};
constexpr Paint GapFill{0.90, 0.30, 0.25, 0.22};
constexpr Paint GapEdge{0.78, 0.18, 0.15};
constexpr Paint Restart{0.90, 0.50, 0.05};
constexpr Paint Healthy{0.35, 0.68, 0.42};
constexpr Paint Alarm{0.82, 0.20, 0.18};
constexpr Paint Waiting{0.80, 0.81, 0.83};
