// A bitmap and the shapes that are drawn on it. Coordinates are pixels from the top left corner.
#pragma once

#include <cairo.h>

#include <filesystem>
#include <memory>
#include <string>

struct Paint {
    double red, green, blue, alpha = 1;
};

class Canvas {
  public:
    Canvas(double width, double height);

    // Writes a PNG. Throws std::runtime_error.
    void save(const std::filesystem::path& file) const;

    void fillRectangle(const Paint& paint, double left, double top, double width, double height);
    void line(const Paint& paint, double x1, double y1, double x2, double y2);
    // Draws a triangle that points down at (x, y).
    void marker(const Paint& paint, double x, double y);

    double textWidth(const std::string& content, double size);
    // `align` is 0 for a text that begins at x, 0.5 for one centred at x, 1 for one that ends at x.
    void text(const std::string& content, double x, double baseline, double align, double size,
              const Paint& paint);
    // Draws a small text on a pale ground in the middle of a width, or nothing if it does not fit.
    void label(const std::string& content, double left, double width, double baseline,
               const Paint& paint);

  private:
    void use(const Paint& paint);

    struct Destroyer {
        void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    };
    const std::unique_ptr<cairo_surface_t, Destroyer> surface_;
    const std::unique_ptr<cairo_t, Destroyer> cairo_;
};
