#include "Simulator/Canvas.h"

#include <algorithm>
#include <cmath>

namespace JsonDevice::Simulation {

namespace {

struct Span {
    double begin;
    double end;
};

/// What is thinner than a pixel becomes that very pixel.
Span atLeastOnePixel(double begin, double end) {
    if (end - begin >= 1) {
        return {begin, end};
    }
    const double pixel = std::floor((begin + end) / 2);
    return {pixel, pixel + 1};
}

double overlap(int pixel, Span span) {
    return std::clamp(std::min(pixel + 1.0, span.end) - std::max<double>(pixel, span.begin), 0.0, 1.0);
}

/// The first pixel of a range that may be anything, within 0 to `size`.
int firstPixel(double position, int size) {
    return static_cast<int>(std::clamp(std::floor(position), 0.0, static_cast<double>(size)));
}

int endPixel(double position, int size) {
    return static_cast<int>(std::clamp(std::ceil(position), 0.0, static_cast<double>(size)));
}

}  // namespace

Bitmap::Bitmap(int ownWidth, int ownHeight)
    : width(ownWidth),
      height(ownHeight),
      values(3 * static_cast<std::size_t>(ownWidth) * static_cast<std::size_t>(ownHeight)) {}

std::size_t Bitmap::index(int x, int y) const {
    return 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x));
}

Rgb Bitmap::at(int x, int y) const {
    const unsigned char* const pixel = values.data() + index(x, y);
    return {pixel[0], pixel[1], pixel[2]};
}

void Bitmap::put(int x, int y, Rgb colour) {
    unsigned char* const pixel = values.data() + index(x, y);
    pixel[0] = colour.red;
    pixel[1] = colour.green;
    pixel[2] = colour.blue;
}

Canvas::Canvas(Bitmap& target, double width, double height)
    : bitmap(target),
      scaleX(target.width / width),
      scaleY(target.height / height),
      left(std::int64_t{64} * target.width * target.height) {}

void Canvas::fill(Rgb colour) {
    shade([colour](double, double) { return colour; });
}

void Canvas::blend(int x, int y, Rgb colour, double coverage) {
    if (coverage >= 1) {
        bitmap.put(x, y, colour);
        return;
    }
    if (coverage <= 0) {
        return;
    }
    const Rgb old = bitmap.at(x, y);
    const auto mix = [coverage](unsigned char from, unsigned char to) {
        return static_cast<unsigned char>(std::lround(from + (to - from) * coverage));
    };
    bitmap.put(x, y, {mix(old.red, colour.red), mix(old.green, colour.green), mix(old.blue, colour.blue)});
}

template <class Draw>
void Canvas::forBox(double leftEdge, double top, double right, double bottom, Draw&& draw) {
    const int beginX = firstPixel(leftEdge, bitmap.width);
    const int endX = endPixel(right, bitmap.width);
    const int beginY = firstPixel(top, bitmap.height);
    const int endY = endPixel(bottom, bitmap.height);
    if (endX <= beginX || endY <= beginY || left <= 0) {
        return;
    }
    left -= std::int64_t{endX - beginX} * (endY - beginY);
    for (int y = beginY; y < endY; ++y) {
        for (int x = beginX; x < endX; ++x) {
            draw(x, y);
        }
    }
}

void Canvas::rectangle(double left, double top, double right, double bottom, Rgb colour) {
    if (!(right > left && bottom > top)) {
        return;
    }
    const Span horizontal = atLeastOnePixel(left * scaleX, right * scaleX);
    const Span vertical = atLeastOnePixel(top * scaleY, bottom * scaleY);
    forBox(horizontal.begin, vertical.begin, horizontal.end, vertical.end,
           [&](int x, int y) { blend(x, y, colour, overlap(x, horizontal) * overlap(y, vertical)); });
}

void Canvas::line(double x0, double y0, double x1, double y1, double thickness, Rgb colour) {
    if (x0 == x1) {
        rectangle(x0 - thickness / 2, std::min(y0, y1) - thickness / 2, x0 + thickness / 2,
                  std::max(y0, y1) + thickness / 2, colour);
        return;
    }
    if (y0 == y1) {
        rectangle(std::min(x0, x1) - thickness / 2, y0 - thickness / 2, std::max(x0, x1) + thickness / 2,
                  y0 + thickness / 2, colour);
        return;
    }
    x0 *= scaleX;
    x1 *= scaleX;
    y0 *= scaleY;
    y1 *= scaleY;
    const double half = std::max(1.0, thickness * std::sqrt(scaleX * scaleY)) / 2;
    const double dx = x1 - x0;
    const double dy = y1 - y0;
    const double length = std::hypot(dx, dy);
    // For each row or column, whichever the line crosses more of, only the
    // pixels near the line are looked at: a long line costs no more than it shows.
    const bool flat = std::abs(dx) > std::abs(dy);
    const double slope = flat ? dy / dx : dx / dy;
    const double reach = half * std::sqrt(1 + slope * slope) + 1;
    const auto drawAt = [&](int x, int y) {
        const double px = x + 0.5 - x0;
        const double py = y + 0.5 - y0;
        const double along = std::clamp((px * dx + py * dy) / (length * length), 0.0, 1.0);
        const double distance = std::hypot(px - along * dx, py - along * dy);
        blend(x, y, colour, std::clamp(half + 0.5 - distance, 0.0, 1.0));
    };
    if (flat) {
        const int end = endPixel(std::max(x0, x1) + half + 1, bitmap.width);
        for (int x = firstPixel(std::min(x0, x1) - half - 1, bitmap.width); x < end; ++x) {
            const double middle = y0 + (x + 0.5 - x0) * slope;
            forBox(x, middle - reach, x + 1, middle + reach, drawAt);
        }
    } else {
        const int end = endPixel(std::max(y0, y1) + half + 1, bitmap.height);
        for (int y = firstPixel(std::min(y0, y1) - half - 1, bitmap.height); y < end; ++y) {
            const double middle = x0 + (y + 0.5 - y0) * slope;
            forBox(middle - reach, y, middle + reach, y + 1, drawAt);
        }
    }
}

void Canvas::disc(double x, double y, double radius, Rgb colour) {
    const double r = std::max(0.5, radius * std::sqrt(scaleX * scaleY));
    x *= scaleX;
    y *= scaleY;
    forBox(x - r - 1, y - r - 1, x + r + 1, y + r + 1, [&](int px, int py) {
        const double distance = std::hypot(px + 0.5 - x, py + 0.5 - y);
        blend(px, py, colour, std::clamp(r + 0.5 - distance, 0.0, 1.0));
    });
}

void Canvas::circle(double x, double y, double radius, double thickness, Rgb colour) {
    const double scale = std::sqrt(scaleX * scaleY);
    const double r = radius * scale;
    const double half = std::max(1.0, thickness * scale) / 2;
    x *= scaleX;
    y *= scaleY;
    forBox(x - r - half - 1, y - r - half - 1, x + r + half + 1, y + r + half + 1, [&](int px, int py) {
        const double distance = std::hypot(px + 0.5 - x, py + 0.5 - y);
        blend(px, py, colour, std::clamp(half + 0.5 - std::abs(distance - r), 0.0, 1.0));
    });
}

void Canvas::picture(const Bitmap& source) {
    if (source.width == 0 || source.height == 0) {
        return;
    }
    // Each pixel is the mean of what it covers; where the source is coarser, of the one pixel at its middle.
    const double stepX = static_cast<double>(source.width) / bitmap.width;
    const double stepY = static_cast<double>(source.height) / bitmap.height;
    const auto range = [](int pixel, double step, int size) {
        const int begin = std::min(static_cast<int>(std::lround(pixel * step)), size - 1);
        const int end = std::min(static_cast<int>(std::lround((pixel + 1) * step)), size);
        if (end > begin) {
            return std::pair(begin, end);
        }
        const int middle = std::min(static_cast<int>((pixel + 0.5) * step), size - 1);
        return std::pair(middle, middle + 1);
    };
    for (int y = 0; y < bitmap.height; ++y) {
        const auto [top, bottom] = range(y, stepY, source.height);
        for (int x = 0; x < bitmap.width; ++x) {
            const auto [left, right] = range(x, stepX, source.width);
            unsigned long red = 0;
            unsigned long green = 0;
            unsigned long blue = 0;
            for (int sy = top; sy < bottom; ++sy) {
                for (int sx = left; sx < right; ++sx) {
                    const Rgb colour = source.at(sx, sy);
                    red += colour.red;
                    green += colour.green;
                    blue += colour.blue;
                }
            }
            const auto count =
                static_cast<unsigned long>(bottom - top) * static_cast<unsigned long>(right - left);
            const auto mean = [count](unsigned long sum) {
                return static_cast<unsigned char>((sum + count / 2) / count);
            };
            bitmap.put(x, y, {mean(red), mean(green), mean(blue)});
        }
    }
}

}  // namespace JsonDevice::Simulation
