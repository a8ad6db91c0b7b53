#include "host/view/picture.h"

#include <algorithm>

#include "host/session/sound_format.h"
#include "host/terminal/text.h"
#include "host/view/canvas.h"
#include "host/view/channel_panel.h"
#include "host/view/picture_style.h"
#include "host/view/time_axis.h"

namespace {

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
            drawChannelPanel(canvas_, axis_, content, channel, top);
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

    // Draws the device status, which is ok until the module reports an alarm.
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
