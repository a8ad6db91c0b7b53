// The display of the reference host: texts of any width, meters, the live view's columns, time axes
// and pictures.
#include <cairo.h>
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstdlib>

#include "host/terminal/text.h"
#include "host/view/picture.h"
#include "host/view/picture_style.h"
#include "host/view/time_axis.h"
#include "host/view/watch_layout.h"

namespace {

TEST(HostView, TextsFitTheirColumns) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    const struct {
        const char* text;
        size_t columns;
        const char* fitted;
    } rows[] = {{"Door", 6, "Door  "},
                {"Door", 3, "Doo"},
                {"", 2, "  "},
                {"T\xC3\xBCr", 2, "T\xC3\xBC"},
                {"\xE9\x96\x80x", 3, "\xE9\x96\x80x"},  // two columns wide
                {"x\xE9\x96\x80", 2, "x "},             // not half a character
                {"e\xCC\x81x", 2, "e\xCC\x81x"},        // an accent without a column
                {"\x1B[2J", 4, "?[2J"},
                {"\xC2\x9B\xE2\x80\xAE\xFFx", 5, "???x "}};
    for (const auto& row : rows) {
        EXPECT_EQ(fitted(row.text, row.columns), row.fitted);
        EXPECT_EQ(columnsOf(fitted(row.text, row.columns)), row.columns) << row.text;
    }
    EXPECT_EQ(inDecibels(0.5) + inDecibels(0), "-6.0 dBFSsilent");
    EXPECT_EQ(inClockTime(59.9) + " " + inClockTime(3661), "0:59 1:01:01");
}

TEST(HostView, MetersBeginAtTheFloorAndEndAtFullScale) {
    EXPECT_EQ(filledCells(0, 20), 0U);
    EXPECT_EQ(filledCells(0.001, 20), 0U);       // -60 dBFS
    EXPECT_EQ(filledCells(0.0316228, 20), 10U);  // -30 dBFS
    EXPECT_EQ(filledCells(1, 20), 20U);
    EXPECT_EQ(filledCells(2, 20), 20U);
    EXPECT_EQ(bar(9, 4) + "|" + bar(1, 3), "####|#  ");
}

// From a width of 14 on nothing is cut. With names the whole width is used.
TEST(HostView, ColumnsFillTheTerminal) {
    size_t fewest = 0;
    for (size_t width = 0; width <= 300; ++width) {
        const WatchLayout layout(width);
        size_t used = WatchLayout::Number + WatchLayout::Gap + WatchLayout::State;
        size_t shown = 0;
        for (const size_t column : {layout.meter, layout.name, layout.restarts, layout.decibels,
                                    layout.device, layout.kind}) {
            used += column > 0 ? WatchLayout::Gap + column : 0;
            shown += column > 0 ? 1 : 0;
        }
        EXPECT_LE(used, std::max(width, size_t{14}));
        EXPECT_TRUE(layout.name == 0 || used == width) << width;
        EXPECT_GE(shown, fewest) << "a wider terminal shows less: " << width;
        fewest = shown;
    }
    EXPECT_EQ(fewest, 6U);
    EXPECT_EQ(WatchLayout(80).kind, 0U);
    EXPECT_GT(WatchLayout(80).decibels, 0U);
}

TEST(HostView, TicksAreRoundTimesOfDayWithRoomForTheirLabels) {
    setenv("TZ", "<+0545>-5:45", 1);  // not whole hours from UTC
    tzset();
    constexpr int64_t Begin = 1'763'300'123'456;
    const struct {
        int64_t span;  // s
        int64_t step;
        const char* first;
    } rows[] = {{10, 1, "19:20:24"},
                {3600, 300, "19:25:00"},
                {86400, 7200, "20:00:00"},
                {3 * 86400, 21600, "11-17 00:00"},
                {100 * 86400, 14 * 86400, "11-20 00:00"}};
    for (const auto& row : rows) {
        const TimeAxis axis(Begin, Begin + row.span * 1000, 96, 1568);
        const auto ticks = axis.ticks();
        ASSERT_GE(ticks.size(), 2U);
        EXPECT_EQ(ticks[1] - ticks[0], row.step * 1000);
        EXPECT_EQ(axis.label(ticks[0]), row.first);
        EXPECT_GE(axis.xOf(ticks[1]) - axis.xOf(ticks[0]), 110);
        EXPECT_LE(axis.xOf(ticks.back()), 1568);
    }
    EXPECT_EQ(TimeAxis(5, 5, 0, 10).xOf(99), 10);
    unsetenv("TZ");
    tzset();
}

struct Rgb {
    int red, green, blue;
};

// A picture of 100 s, without sound from 30 to 50 s, with a restart at 60 s and an alarm from 70 to
// 80 s.
TEST(HostView, APictureHasGapRestartAndAlarmWhereTheyWere) {
    constexpr int64_t Begin = 1'763'300'000'000;
    ChannelDescription channel;
    channel.id = 7;
    OutlineBuilder builder(channel, Begin);
    const std::vector<uint8_t> loud(2048, 0x90);
    for (int64_t time = 256; time <= 100'000; time += 256)
        if (time <= 30'000 || time > 50'000)
            builder.add(loud, Begin + time);
    builder.finish(Begin + 100'000);
    const auto events =
        std::to_array<ModuleEvent>({{ModuleEvent::Kind::Restart, 7, Begin + 60'000},
                                    {ModuleEvent::Kind::Restart, 8, Begin + 90'000},
                                    {ModuleEvent::Kind::Alarm, 0, Begin + 70'000},
                                    {ModuleEvent::Kind::AllClear, 0, Begin + 80'000}});
    const std::string file = testing::TempDir() + "tamborin-picture.png";
    drawPicture(file,
                {{builder.outline()}, {events.begin(), events.end()}, Begin, Begin + 100'000});
    cairo_surface_t* picture = cairo_image_surface_create_from_png(file.c_str());
    ASSERT_EQ(cairo_surface_status(picture), CAIRO_STATUS_SUCCESS);
    const auto at = [&](double second, double y) {
        const auto x = static_cast<int>(Left + second * (Right - Left) / 100);
        const uint8_t* pixel = cairo_image_surface_get_data(picture) + x * 4 +
                               static_cast<int>(y) * cairo_image_surface_get_stride(picture);
        return Rgb{pixel[2], pixel[1], pixel[0]};  // little-endian
    };
    constexpr double Wave = TitleHeight + StatusHeight + Spacing + PanelTitleHeight;
    for (double second = 1.5; second < 99; ++second) {
        const Rgb status = at(second, TitleHeight + StatusHeight / 2);
        EXPECT_EQ(status.red > status.green, second > 70 && second < 80) << second;
        const Rgb sound = at(second, Wave + WaveHeight + Spacing + LevelHeight - 4);
        EXPECT_EQ(sound.red > sound.blue, second > 30 && second < 50) << second;
    }
    for (int tenths = 10; tenths < 990; ++tenths) {
        const Rgb marker = at(tenths / 10.0, Wave + WaveHeight + Spacing / 2);
        const bool isOrange = marker.red > marker.green + 40 && marker.green > marker.blue + 40;
        EXPECT_TRUE(!isOrange || tenths == 600) << tenths;
        EXPECT_TRUE(isOrange || tenths != 600);
    }
    cairo_surface_destroy(picture);
    std::filesystem::remove(file);
}

}  // namespace
