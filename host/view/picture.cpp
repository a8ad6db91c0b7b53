#include "host/view/picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/session/sound_format.h"
#include "host/terminal/text.h"
#include "host/view/canvas.h"
#include "host/view/time_axis.h"

namespace {

// All in pixels.
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

constexpr double FullScale = 32768;
constexpr double LevelFloor = -60;  // dBFS

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

double decibels(double level) {
    return std::max(20 * std::log10(std::max(level, 1e-9)), LevelFloor);
}

std::string inSeconds(int64_t milliseconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f s", static_cast<double>(milliseconds) / 1000);
    return text.data();
}

std::string counted(size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

class Drawing {
  public:
    explicit Drawing(const PictureContent& content)
        : content_(content),
          axis_(content.beginMs, content.endMs, Left, Right),
          height_(TitleHeight + StatusHeight + Spacing +
                  PanelHeight * static_cast<double>(content.channels.size()) + AxisHeight +
                  LegendHeight),
          canvas_(Width, height_) {
        drawTitle();
        drawStatus(TitleHeight);
        double top = TitleHeight + StatusHeight + Spacing;
        for (const Outline& channel : content.channels) {
            drawChannel(channel, top);
            top += PanelHeight;
        }
        drawAxis(top);
        drawLegend(top + AxisHeight + LegendHeight / 2);
    }

    void save(const std::filesystem::path& file) const { canvas_.save(file); }

  private:
    double xOf(int64_t milliseconds) const { return axis_.xOf(milliseconds); }

    void text(const std::string& content, double x, double baseline, double align = 0,
              double size = SmallText, const Paint& paint = Ink) {
        canvas_.text(content, x, baseline, align, size, paint);
    }

    void drawTitle() {
        text("Recording of " + localTime(content_.beginMs, "%Y-%m-%d %H:%M:%S") + ", " +
                 inClockTime(static_cast<double>(axis_.span()) / 1000) + " long",
             Left, 36, 0, 19);
    }

    // The device status, ok until the module says otherwise.
    void drawStatus(double top) {
        text("devices", Left - 10, top + 14, 1);
        canvas_.fillRectangle(Healthy, Left, top, Right - Left, StatusHeight);
        int64_t alarmedSince = -1;
        const auto drawAlarm = [&](int64_t until) {
            if (alarmedSince >= 0)
                canvas_.fillRectangle(Alarm, xOf(alarmedSince), top,
                                      std::max(xOf(until) - xOf(alarmedSince), 2.0), StatusHeight);
            alarmedSince = -1;
        };
        for (const ModuleEvent& event : content_.events) {
            if (event.kind == ModuleEvent::Kind::Alarm && alarmedSince < 0)
                alarmedSince = event.milliseconds;
            else if (event.kind == ModuleEvent::Kind::AllClear)
                drawAlarm(event.milliseconds);
        }
        drawAlarm(content_.endMs);
    }

    void drawChannel(const Outline& outline, double top) {
        const double wave = top + PanelTitleHeight;
        const double level = wave + WaveHeight + Spacing;
        drawChannelTitle(outline, wave - 12);
        drawBackground(wave, WaveHeight);
        drawBackground(level, LevelHeight);
        drawScales(wave, level);
        drawWaiting(outline, wave);
        drawSound(outline, wave, level);
        drawGaps(outline, wave);
        drawRestarts(outline, wave);
        labelGaps(outline, wave);
    }

    void drawBackground(double top, double height) {
        canvas_.fillRectangle(Back, Left, top, Right - Left, height);
        for (const int64_t tick : axis_.ticks())
            canvas_.line(Grid, xOf(tick), top, xOf(tick), top + height);
    }

    void drawChannelTitle(const Outline& outline, double baseline) {
        int peak = 0;
        for (const Envelope::Bucket& bucket : outline.envelope.buckets())
            peak = std::max({peak, int{bucket.high}, -int{bucket.low}});
        int64_t missing = 0;
        for (const Gap& gap : outline.gaps)
            missing += gap.end - gap.begin;
        const auto restarts = static_cast<size_t>(
            std::ranges::count_if(content_.events, [&](const ModuleEvent& event) {
                return event.kind == ModuleEvent::Kind::Restart &&
                       event.channelId == outline.channel.id;
            }));
        text("channel " + std::to_string(outline.channel.number) + "  " + outline.channel.name,
             Left, baseline, 0, 15);
        text("peak " + inDecibels(peak / FullScale) + ",  " + counted(outline.gaps.size(), "gap") +
                 (missing > 0 ? " (" + inSeconds(missing) + ")" : "") + ",  " +
                 counted(restarts, "restart"),
             Right, baseline, 1, SmallText, Faint);
    }

    void drawScales(double wave, double level) {
        for (const double value : {1.0, 0.5, 0.0, -0.5, -1.0}) {
            const double y = waveY(wave, value);
            canvas_.line(Grid, Left, y, Right, y);
            std::array<char, 16> label{};
            std::snprintf(label.data(), label.size(), "%.1f", value);
            text(label.data(), Left - 10, y + 4.5, 1, 12, Faint);
        }
        for (const int value : {0, -20, -40, -60}) {
            const double y = levelY(level, value);
            canvas_.line(Grid, Left, y, Right, y);
            text(std::to_string(value) + (value == 0 ? " dBFS" : ""), Left - 10, y + 4.5, 1, 12,
                 Faint);
        }
    }

    static double waveY(double top, double value) { return top + WaveHeight * (1 - value) / 2; }
    static double levelY(double top, double value) {
        return top + LevelHeight * value / LevelFloor;
    }

    // Until the first frame, and for a channel that never had one.
    void drawWaiting(const Outline& outline, double top) {
        const auto& buckets = outline.envelope.buckets();
        const auto first = std::ranges::find_if(
            buckets, [](const Envelope::Bucket& bucket) { return bucket.samples > 0; });
        const int64_t until = first == buckets.end()
                                  ? content_.endMs
                                  : content_.beginMs + (first - buckets.begin()) *
                                                           outline.envelope.bucketWidth() * 1000 /
                                                           SampleRate;
        const double width = xOf(until) - Left;
        canvas_.fillRectangle(Waiting, Left, top + WaveHeight / 2 - 3, width, 6);
        canvas_.label("no sound yet", Left, width, top + WaveHeight / 2 - 10, Faint);
    }

    // What a column of pixels stands for.
    Envelope::Bucket columnAt(const Envelope& envelope, double x) const {
        const double samplesPerPixel =
            static_cast<double>(axis_.span()) * SampleRate / 1000 / (Right - Left);
        const auto bucketAt = [&](double pixel) {
            return static_cast<size_t>((pixel - Left) * samplesPerPixel /
                                       static_cast<double>(envelope.bucketWidth()));
        };
        const auto& buckets = envelope.buckets();
        Envelope::Bucket column;
        const size_t end = std::min(std::max(bucketAt(x + 1), bucketAt(x) + 1), buckets.size());
        for (size_t i = bucketAt(x); i < end; ++i)
            Envelope::include(column, buckets[i]);
        return column;
    }

    void drawSound(const Outline& outline, double wave, double level) {
        for (int column = 0; column < static_cast<int>(Right - Left); ++column)
            drawColumn(Left + column, columnAt(outline.envelope, Left + column), wave, level);
    }

    void drawColumn(double x, const Envelope::Bucket& column, double wave, double level) {
        if (column.samples == 0)
            return;
        const double high = waveY(wave, column.high / FullScale);
        const double low = waveY(wave, column.low / FullScale);
        canvas_.fillRectangle(Wave, x, high, 1, std::max(low - high, 1.0));
        const double peak = std::max(int{column.high}, -int{column.low}) / FullScale;
        const double effective = std::sqrt(column.squares / column.samples) / FullScale;
        const double bottom = level + LevelHeight;
        const double peakY = levelY(level, decibels(peak));
        const double effectiveY = levelY(level, decibels(effective));
        canvas_.fillRectangle(PeakLine, x, peakY, 1, bottom - peakY);
        canvas_.fillRectangle(Wave, x, effectiveY, 1, bottom - effectiveY);
    }

    void drawGaps(const Outline& outline, double top) {
        constexpr double Height = WaveHeight + Spacing + LevelHeight;
        for (const Gap& gap : outline.gaps) {
            const double left = xOf(gap.begin);
            const double width = std::max(xOf(gap.end) - left, 2.0);
            canvas_.fillRectangle(GapFill, left, top, width, Height);
            canvas_.line(GapEdge, left, top, left, top + Height);
            canvas_.line(GapEdge, left + width, top, left + width, top + Height);
        }
    }

    // Over whatever else is drawn there.
    void labelGaps(const Outline& outline, double top) {
        for (const Gap& gap : outline.gaps) {
            const double left = xOf(gap.begin);
            canvas_.label("gap " + inSeconds(gap.end - gap.begin), left, xOf(gap.end) - left,
                          top + 24, GapEdge);
        }
    }

    void drawRestarts(const Outline& outline, double top) {
        for (const ModuleEvent& event : content_.events) {
            if (event.kind != ModuleEvent::Kind::Restart || event.channelId != outline.channel.id)
                continue;
            const double x = xOf(event.milliseconds);
            canvas_.line(Restart, x, top, x, top + WaveHeight + Spacing + LevelHeight);
            canvas_.marker(Restart, x, top + 4);
        }
    }

    void drawAxis(double top) {
        canvas_.line(Faint, Left, top, Right, top);
        for (const int64_t tick : axis_.ticks()) {
            canvas_.line(Faint, xOf(tick), top, xOf(tick), top + 6);
            text(axis_.label(tick), xOf(tick), top + 24, 0.5, SmallText, Faint);
        }
    }

    void drawLegend(double middle) {
        constexpr double Swatch = 14;
        double x = Left;
        const auto entry = [&](const char* label, const auto& drawSwatch) {
            drawSwatch();
            text(label, x + Swatch + 8, middle + 4.5);
            x += Swatch + 8 + canvas_.textWidth(label, SmallText) + 28;
        };
        const auto square = [&](const Paint& paint) {
            return [&, paint] { canvas_.fillRectangle(paint, x, middle - 7, Swatch, Swatch); };
        };
        entry("sound, effective level", square(Wave));
        entry("peak level", square(PeakLine));
        entry("gap in the recording", square(GapFill));
        entry("stream restarted", [&] { canvas_.marker(Restart, x + Swatch / 2, middle + 6); });
        entry("devices ok", square(Healthy));
        entry("devices alarmed", square(Alarm));
    }

    const PictureContent& content_;
    const TimeAxis axis_;
    const double height_;
    Canvas canvas_;
};

}  // namespace

void drawPicture(const std::filesystem::path& file, const PictureContent& content) {
    Drawing(content).save(file);
}
