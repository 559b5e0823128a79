#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Common/Export.h"

namespace JsonDevice::Simulation {

struct Rgb {
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;

    bool operator==(const Rgb&) const = default;
};

/// A picture with 8 bits per channel: red, green and blue of each pixel, rows
/// from the top without gaps.
struct JSONDEVICE_EXPORT Bitmap {
    Bitmap() = default;
    /// Black.
    Bitmap(int width, int height);

    Rgb at(int x, int y) const;
    void put(int x, int y, Rgb colour);
    bool operator==(const Bitmap&) const = default;

    int width = 0;
    int height = 0;
    std::vector<unsigned char> values;

private:
    std::size_t index(int x, int y) const;
};

/// Draws into a bitmap in the units of another size, a projector's pixels say,
/// with smooth edges. Whatever is thinner than a pixel of the bitmap is drawn one
/// pixel thick where it would otherwise fade. Coordinates may be anything; what
/// is outside is not drawn.
///
/// What is drawn comes from a network, so the work is limited: once shapes have
/// covered the picture 64 times over, further ones are left out.
class Canvas {
public:
    /// The bitmap has to outlive the canvas.
    Canvas(Bitmap& target, double width, double height);

    void fill(Rgb colour);
    /// The edges, not the last pixels: 0, 0, width, height is the whole picture.
    void rectangle(double left, double top, double right, double bottom, Rgb colour);
    /// A straight line between two positions; the middle of pixel (x, y) is at x + 0.5, y + 0.5.
    void line(double x0, double y0, double x1, double y1, double thickness, Rgb colour);
    void disc(double x, double y, double radius, Rgb colour);
    void circle(double x, double y, double radius, double thickness, Rgb colour);
    /// Another picture, as large as this one.
    void picture(const Bitmap& source);

    /// The colour that `colourAt(x, y)` gives for the middle of each pixel.
    template <class Shader>
    void shade(Shader&& colourAt) {
        for (int y = 0; y < bitmap.height; ++y) {
            for (int x = 0; x < bitmap.width; ++x) {
                bitmap.put(x, y, colourAt((x + 0.5) / scaleX, (y + 0.5) / scaleY));
            }
        }
    }

private:
    void blend(int x, int y, Rgb colour, double coverage);
    /// Calls draw(x, y) for the pixels of a box in the bitmap's own units.
    template <class Draw>
    void forBox(double leftEdge, double top, double right, double bottom, Draw&& draw);

    Bitmap& bitmap;
    double scaleX;
    double scaleY;
    /// How many more pixels may be looked at.
    std::int64_t left;
};

}  // namespace JsonDevice::Simulation
