#include "host/view/channel_panel.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/session/sound_format.h"
#include "host/terminal/text.h"
#include "host/view/picture_style.h"

namespace {

constexpr double FullScale = 32768;
constexpr double LevelFloor = -60;  // dBFS

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

class Panel {
  public:
    Panel(Canvas& canvas, const TimeAxis& axis, const PictureContent& content,
          const Outline& outline)
        : canvas_(canvas), axis_(axis), content_(content), outline_(outline) {}

    void draw(double top) {
        const double wave = top + PanelTitleHeight;
        const double level = wave + WaveHeight + Spacing;
        drawChannelTitle(wave - 12);
        drawBackground(wave, WaveHeight);
        drawBackground(level, LevelHeight);
        drawScales(wave, level);
        drawWaiting(wave);
        drawSound(wave, level);
        drawGaps(wave);
        drawRestarts(wave);
        labelGaps(wave);
    }

  private:
    double xOf(int64_t milliseconds) const { return axis_.xOf(milliseconds); }

    void text(const std::string& content, double x, double baseline, double align, double size,
              const Paint& paint = Ink) {
        canvas_.text(content, x, baseline, align, size, paint);
    }

    void drawBackground(double top, double height) {
        canvas_.fillRectangle(Back, Left, top, Right - Left, height);
        for (const int64_t tick : axis_.ticks())
            canvas_.line(Grid, xOf(tick), top, xOf(tick), top + height);
    }

    void drawChannelTitle(double baseline) {
        int peak = 0;
        for (const Envelope::Bucket& bucket : outline_.envelope.buckets())
            peak = std::max({peak, int{bucket.high}, -int{bucket.low}});
        int64_t missing = 0;
        for (const Gap& gap : outline_.gaps)
            missing += gap.end - gap.begin;
        const auto restarts = static_cast<size_t>(
            std::ranges::count_if(content_.events, [&](const ModuleEvent& event) {
                return event.kind == ModuleEvent::Kind::Restart &&
                       event.channelId == outline_.channel.id;
            }));
        text("channel " + std::to_string(outline_.channel.number) + "  " + outline_.channel.name,
             Left, baseline, 0, 15);
        text("peak " + inDecibels(peak / FullScale) + ",  " + counted(outline_.gaps.size(), "gap") +
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

    // Marks the time before the first frame, or the whole time of a channel without any.
    void drawWaiting(double top) {
        const auto& buckets = outline_.envelope.buckets();
        const auto first = std::ranges::find_if(
            buckets, [](const Envelope::Bucket& bucket) { return bucket.samples > 0; });
        const int64_t until = first == buckets.end()
                                  ? content_.endMs
                                  : content_.beginMs + (first - buckets.begin()) *
                                                           outline_.envelope.bucketWidth() * 1000 /
                                                           SampleRate;
        const double width = xOf(until) - Left;
        canvas_.fillRectangle(Waiting, Left, top + WaveHeight / 2 - 3, width, 6);
        canvas_.label("no sound yet", Left, width, top + WaveHeight / 2 - 10, Faint);
    }

    // Returns the sound that a column of pixels stands for.
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

    void drawSound(double wave, double level) {
        for (int column = 0; column < static_cast<int>(Right - Left); ++column)
            drawColumn(Left + column, columnAt(outline_.envelope, Left + column), wave, level);
    }

    void drawColumn(double x, const Envelope::Bucket& column, double wave, double level) {
        if (column.samples == 0)
            return;
        const double high = waveY(wave, column.high / FullScale);
        const double low = waveY(wave, column.low / FullScale);
        canvas_.fillRectangle(Wave, x, high, 1, std::max(low - high, 1.0));
        const double peak = std::max(int{column.high}, -int{column.low}) / FullScale;
        const double rms = std::sqrt(column.squares / column.samples) / FullScale;
        const double bottom = level + LevelHeight;
        const double peakY = levelY(level, decibels(peak));
        const double rmsY = levelY(level, decibels(rms));
        canvas_.fillRectangle(PeakLine, x, peakY, 1, bottom - peakY);
        canvas_.fillRectangle(Wave, x, rmsY, 1, bottom - rmsY);
    }

    void drawGaps(double top) {
        constexpr double Height = WaveHeight + Spacing + LevelHeight;
        for (const Gap& gap : outline_.gaps) {
            const double left = xOf(gap.begin);
            const double width = std::max(xOf(gap.end) - left, 2.0);
            canvas_.fillRectangle(GapFill, left, top, width, Height);
            canvas_.line(GapEdge, left, top, left, top + Height);
            canvas_.line(GapEdge, left + width, top, left + width, top + Height);
        }
    }

    // Called last, so that labels lie above everything else.
    void labelGaps(double top) {
        for (const Gap& gap : outline_.gaps) {
            const double left = xOf(gap.begin);
            canvas_.label("gap " + inSeconds(gap.end - gap.begin), left, xOf(gap.end) - left,
                          top + 24, GapEdge);
        }
    }

    void drawRestarts(double top) {
        for (const ModuleEvent& event : content_.events) {
            if (event.kind != ModuleEvent::Kind::Restart || event.channelId != outline_.channel.id)
                continue;
            const double x = xOf(event.milliseconds);
            canvas_.line(Restart, x, top, x, top + WaveHeight + Spacing + LevelHeight);
            canvas_.marker(Restart, x, top + 4);
        }
    }

    Canvas& canvas_;
    const TimeAxis& axis_;
    const PictureContent& content_;
    const Outline& outline_;
};

}  // namespace

void drawChannelPanel(Canvas& canvas, const TimeAxis& axis, const PictureContent& content,
                      const Outline& outline, double top) {
    Panel(canvas, axis, content, outline).draw(top);
}
