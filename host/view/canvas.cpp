#include "host/view/canvas.h"

#include <cmath>
#include <stdexcept>

Canvas::Canvas(double width, double height)
    : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                          static_cast<int>(height))),
      cairo_(cairo_create(surface_.get())) {
    cairo_select_font_face(cairo_.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           CAIRO_FONT_WEIGHT_NORMAL);
    fillRectangle({1, 1, 1}, 0, 0, width, height);
}

void Canvas::save(const std::filesystem::path& file) const {
    const cairo_status_t status = cairo_surface_write_to_png(surface_.get(), file.c_str());
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error("cannot write the picture " + file.string() + ": " +
                                 cairo_status_to_string(status));
}

void Canvas::use(const Paint& paint) {
    cairo_set_source_rgba(cairo_.get(), paint.red, paint.green, paint.blue, paint.alpha);
}

void Canvas::fillRectangle(const Paint& paint, double left, double top, double width,
                           double height) {
    use(paint);
    cairo_rectangle(cairo_.get(), left, top, width, height);
    cairo_fill(cairo_.get());
}

void Canvas::line(const Paint& paint, double x1, double y1, double x2, double y2) {
    use(paint);
    cairo_set_line_width(cairo_.get(), 1);
    cairo_move_to(cairo_.get(), std::floor(x1) + 0.5, std::floor(y1) + 0.5);
    cairo_line_to(cairo_.get(), std::floor(x2) + 0.5, std::floor(y2) + 0.5);
    cairo_stroke(cairo_.get());
}

void Canvas::marker(const Paint& paint, double x, double y) {
    constexpr double Half = 6;
    use(paint);
    cairo_move_to(cairo_.get(), x, y);
    cairo_line_to(cairo_.get(), x - Half, y - 2 * Half);
    cairo_line_to(cairo_.get(), x + Half, y - 2 * Half);
    cairo_close_path(cairo_.get());
    cairo_fill(cairo_.get());
}

double Canvas::textWidth(const std::string& content, double size) {
    cairo_text_extents_t extents{};
    cairo_set_font_size(cairo_.get(), size);
    cairo_text_extents(cairo_.get(), content.c_str(), &extents);
    return extents.x_advance;
}

void Canvas::text(const std::string& content, double x, double baseline, double align, double size,
                  const Paint& paint) {
    const double width = textWidth(content, size);
    use(paint);
    cairo_move_to(cairo_.get(), std::floor(x - align * width), std::floor(baseline));
    cairo_show_text(cairo_.get(), content.c_str());
}

void Canvas::label(const std::string& content, double left, double width, double baseline,
                   const Paint& paint) {
    constexpr double Size = 12;
    const double needed = textWidth(content, Size) + Size;
    if (needed > width)
        return;
    fillRectangle({1, 1, 1, 0.9}, left + (width - needed) / 2, baseline - 14, needed, 19);
    text(content, left + width / 2, baseline, 0.5, Size, paint);
}
