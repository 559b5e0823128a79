#include "Simulator/Scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

#include "Platform/Devices/GrayscaleImage.h"
#include "Platform/Devices/Mesh.h"

namespace JsonDevice::Simulation {

namespace {

constexpr Rgb black{0, 0, 0};
constexpr Rgb white{255, 255, 255};

Rgb grey(double value) {
    const auto level = static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
    return {level, level, level};
}

Rgb mix(Rgb from, Rgb to, double share) {
    share = std::clamp(share, 0.0, 1.0);
    const auto one = [share](unsigned char a, unsigned char b) {
        return static_cast<unsigned char>(std::lround(a + (b - a) * share));
    };
    return {one(from.red, to.red), one(from.green, to.green), one(from.blue, to.blue)};
}

/// What comes over the input while no pattern is shown: hills in the evening.
void drawInput(Canvas& canvas, double width, double height) {
    canvas.shade([=](double x, double y) {
        const double u = x / width;
        const double v = y / height;
        Rgb colour = v < 0.45 ? mix({17, 24, 58}, {122, 62, 112}, v / 0.45)
                              : mix({122, 62, 112}, {244, 148, 92}, (v - 0.45) / 0.25);
        const double sun = std::hypot((u - 0.66) * width / height, v - 0.56);
        colour = mix(colour, {255, 214, 140}, std::exp(-sun * 7) * 0.8);
        colour = mix(colour, {255, 240, 205}, (0.085 - sun) * height);
        struct Hill {
            double top;
            double rise;
            double frequency;
            double phase;
            Rgb colour;
        };
        static constexpr std::array<Hill, 3> hills{{{0.66, 0.05, 7, 0.4, {108, 58, 104}},
                                                    {0.75, 0.06, 5, 2.1, {62, 36, 84}},
                                                    {0.86, 0.05, 4, 4.4, {24, 20, 52}}}};
        for (const Hill& hill : hills) {
            const double edge =
                hill.top + hill.rise * (std::sin(u * hill.frequency + hill.phase) +
                                        0.35 * std::sin(u * hill.frequency * 2.7 + hill.phase * 3));
            colour = mix(colour, hill.colour, (v - edge) * height + 0.5);
        }
        return colour;
    });
}

void drawColourBars(Canvas& canvas, double width, double height) {
    static constexpr std::array<Rgb, 8> colours{
        {white, {255, 255, 0}, {0, 255, 255}, {0, 255, 0}, {255, 0, 255}, {255, 0, 0}, {0, 0, 255}, black}};
    for (std::size_t i = 0; i < colours.size(); ++i) {
        canvas.rectangle(static_cast<double>(i) * width / 8, 0, static_cast<double>(i + 1) * width / 8,
                         height, colours[i]);
    }
}

/// Lines at even distances, the outermost ones at the edges.
void drawEvenLines(Canvas& canvas, double width, double height, int columns, int rows, Rgb colour) {
    const double thickness = std::max(1.0, width / 960);
    for (int i = 0; i <= columns; ++i) {
        const double x = (width - thickness) * i / columns;
        canvas.rectangle(x, 0, x + thickness, height, colour);
    }
    for (int i = 0; i <= rows; ++i) {
        const double y = (height - thickness) * i / rows;
        canvas.rectangle(0, y, width, y + thickness, colour);
    }
}

void drawAlignment(Canvas& canvas, double width, double height) {
    const double thickness = std::max(1.0, width / 640);
    canvas.fill({16, 18, 24});
    drawEvenLines(canvas, width, height, 16, 10, {90, 98, 112});
    canvas.line(0, 0, width, height, thickness, {70, 78, 92});
    canvas.line(0, height, width, 0, thickness, {70, 78, 92});
    const double radius = height * 0.12;
    for (const double x : {radius * 1.15, width - radius * 1.15}) {
        for (const double y : {radius * 1.15, height - radius * 1.15}) {
            canvas.circle(x, y, radius, thickness * 1.5, {90, 200, 255});
            canvas.line(x - radius / 3, y, x + radius / 3, y, thickness, white);
            canvas.line(x, y - radius / 3, x, y + radius / 3, thickness, white);
        }
    }
    canvas.circle(width / 2, height / 2, height * 0.42, thickness * 1.5, {255, 190, 80});
    canvas.circle(width / 2, height / 2, height * 0.22, thickness, white);
    canvas.line(width / 2 - height * 0.1, height / 2, width / 2 + height * 0.1, height / 2, thickness * 1.5,
                white);
    canvas.line(width / 2, height / 2 - height * 0.1, width / 2, height / 2 + height * 0.1, thickness * 1.5,
                white);
    canvas.rectangle(0, 0, width, thickness * 1.5, white);
    canvas.rectangle(0, height - thickness * 1.5, width, height, white);
    canvas.rectangle(0, 0, thickness * 1.5, height, white);
    canvas.rectangle(width - thickness * 1.5, 0, width, height, white);
}

/// Stars whose rays meet in a point: the smaller the blur in the middle, the better the focus.
void drawFocus(Canvas& canvas, double width, double height) {
    canvas.shade([=](double x, double y) {
        const double outer = height * 0.17;
        for (const auto& [u, v] : {std::pair(0.5, 0.5), std::pair(0.14, 0.2), std::pair(0.86, 0.2),
                                   std::pair(0.14, 0.8), std::pair(0.86, 0.8)}) {
            const double dx = x - u * width;
            const double dy = y - v * height;
            const double distance = std::hypot(dx, dy);
            if (distance < outer) {
                const double rays = std::sin(std::atan2(dy, dx) * 24);
                return grey(0.5 + rays * distance / 24 / 1.5);
            }
        }
        return Rgb{20, 20, 20};
    });
}

void drawBuiltIn(Canvas& canvas, BuiltInPattern pattern, double width, double height) {
    switch (pattern) {
        case BuiltInPattern::off:
            return;
        case BuiltInPattern::white:
            canvas.fill(white);
            return;
        case BuiltInPattern::black:
            canvas.fill(black);
            return;
        case BuiltInPattern::red:
            canvas.fill({255, 0, 0});
            return;
        case BuiltInPattern::green:
            canvas.fill({0, 255, 0});
            return;
        case BuiltInPattern::blue:
            canvas.fill({0, 0, 255});
            return;
        case BuiltInPattern::colourBars:
            drawColourBars(canvas, width, height);
            return;
        case BuiltInPattern::greyRamp:
            canvas.shade([=](double x, double) { return grey(x / width); });
            return;
        case BuiltInPattern::greySteps:
            canvas.shade([=](double x, double) { return grey(std::floor(x / width * 16) / 15); });
            return;
        case BuiltInPattern::checkerboard:
            canvas.shade([=](double x, double y) {
                const int square = static_cast<int>(x / width * 16) + static_cast<int>(y / height * 10);
                return square % 2 == 0 ? white : black;
            });
            return;
        case BuiltInPattern::grid:
            canvas.fill(black);
            drawEvenLines(canvas, width, height, 16, 10, white);
            return;
        case BuiltInPattern::alignment:
            drawAlignment(canvas, width, height);
            return;
        case BuiltInPattern::focus:
            drawFocus(canvas, width, height);
            return;
    }
}

/// One pixel of the projector, but visible in a small picture.
double lineThickness(const Scene& scene) {
    return std::max(1.0, scene.width / 960.0);
}

void drawGrid(Canvas& canvas, const Scene& scene) {
    const GridLines& grid = scene.grid;
    if (grid.mode == GridLines::Mode::off) {
        return;
    }
    canvas.rectangle(grid.left, grid.top, grid.right, grid.bottom, grid.background);
    const double half = lineThickness(scene) / 2;
    const auto inside = [](int position, int from, int to) { return position >= from && position < to; };
    if (grid.mode == GridLines::Mode::lines) {
        for (const int y : grid.horizontal) {
            if (inside(y, grid.top, grid.bottom)) {
                canvas.rectangle(grid.left, y + 0.5 - half, grid.right, y + 0.5 + half, grid.line);
            }
        }
        for (const int x : grid.vertical) {
            if (inside(x, grid.left, grid.right)) {
                canvas.rectangle(x + 0.5 - half, grid.top, x + 0.5 + half, grid.bottom, grid.line);
            }
        }
        return;
    }
    const double arm = scene.width / 120.0;
    for (const int y : grid.horizontal) {
        for (const int x : grid.vertical) {
            if (inside(y, grid.top, grid.bottom) && inside(x, grid.left, grid.right)) {
                canvas.rectangle(x + 0.5 - arm, y + 0.5 - half, x + 0.5 + arm, y + 0.5 + half, grid.line);
                canvas.rectangle(x + 0.5 - half, y + 0.5 - arm, x + 0.5 + half, y + 0.5 + arm, grid.line);
            }
        }
    }
}

void drawDrawing(Canvas& canvas, const Scene& scene) {
    const double thickness = lineThickness(scene);
    for (const Drawing::Grid& grid : scene.drawing.grids) {
        for (int x = 0; x < scene.width; x += grid.spacingX) {
            canvas.rectangle(x, 0, x + thickness, scene.height, grid.colour);
        }
        for (int y = 0; y < scene.height; y += grid.spacingY) {
            canvas.rectangle(0, y, scene.width, y + thickness, grid.colour);
        }
    }
    for (const Drawing::Box& box : scene.drawing.boxes) {
        const double left = box.corner[0];
        const double top = box.corner[1];
        canvas.rectangle(left, top, left + box.width, top + box.height, box.colour);
    }
    for (const Drawing::Line& line : scene.drawing.lines) {
        canvas.line(line.from[0] + 0.5, line.from[1] + 0.5, line.to[0] + 0.5, line.to[1] + 0.5, thickness,
                    line.colour);
    }
}

void drawBlocks(Canvas& canvas, const Blocks& pattern) {
    if (pattern.mode == Blocks::Mode::off) {
        return;
    }
    if (!pattern.transparent) {
        canvas.fill(pattern.gap);
    }
    if (pattern.mode == Blocks::Mode::arbitrary) {
        const int end = std::min(pattern.last, static_cast<int>(pattern.blocks.size()) - 1);
        for (int i = std::max(0, pattern.first); i <= end; ++i) {
            const Blocks::Block& block = pattern.blocks[static_cast<std::size_t>(i)];
            if (block.set) {
                const auto [left, right] = std::minmax(block.pointA[0], block.pointB[0]);
                const auto [top, bottom] = std::minmax(block.pointA[1], block.pointB[1]);
                canvas.rectangle(left, top, right + 1.0, bottom + 1.0, block.colour);
            }
        }
        return;
    }
    for (int line = 0; line < pattern.lineCount; ++line) {
        for (int i = 0; i < pattern.perLine; ++i) {
            const std::uint32_t number = static_cast<std::uint32_t>(pattern.startNumber) +
                                         static_cast<std::uint32_t>(line * pattern.perLine + i);
            if (((number >> pattern.bit) & 1) != (pattern.inverted ? 1U : 0U)) {
                const double left = pattern.start[0] + static_cast<double>(i) * pattern.spacing[0];
                const double top = pattern.start[1] + static_cast<double>(line) * pattern.spacing[1];
                canvas.rectangle(left, top, left + pattern.size[0], top + pattern.size[1], pattern.colour);
            }
        }
    }
}

void drawChecks(Canvas& canvas, Bitmap& bitmap, const Checks& checks, const Scene& scene) {
    if (!checks.shown) {
        return;
    }
    const Bitmap behind = checks.subliminal ? bitmap : Bitmap();
    canvas.shade([&](double x, double y) {
        const double u = (x - checks.xShift) / checks.xSize;
        const double v = (y - checks.yShift) / checks.ySize;
        double level = 0;
        if (checks.sine) {
            level = 0.5 + 0.5 * std::sin(u * std::numbers::pi) * std::sin(v * std::numbers::pi);
        } else {
            // The remainder of a negative sum may be -1.
            level = std::fmod(std::floor(u) + std::floor(v), 2) == 0 ? 1 : 0;
        }
        if (!checks.subliminal) {
            return grey(level);
        }
        // No more than a camera sees.
        const Rgb under = behind.at(static_cast<int>(x / scene.width * behind.width),
                                    static_cast<int>(y / scene.height * behind.height));
        return mix(under, grey(level), 0.04);
    });
}

/// The colour between pixels; black outside.
Rgb sample(const Bitmap& bitmap, double x, double y) {
    const double left = std::floor(x - 0.5);
    const double top = std::floor(y - 0.5);
    std::array<double, 3> sum{};
    for (int j = 0; j < 2; ++j) {
        for (int i = 0; i < 2; ++i) {
            const double px = std::clamp(left + i, 0.0, bitmap.width - 1.0);
            const double py = std::clamp(top + j, 0.0, bitmap.height - 1.0);
            const double weight = (1 - std::abs(x - 0.5 - (left + i))) * (1 - std::abs(y - 0.5 - (top + j)));
            const Rgb colour = bitmap.at(static_cast<int>(px), static_cast<int>(py));
            sum[0] += weight * colour.red;
            sum[1] += weight * colour.green;
            sum[2] += weight * colour.blue;
        }
    }
    const auto level = [](double value) {
        return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
    };
    return {level(sum[0]), level(sum[1]), level(sum[2])};
}

struct Vertex {
    /// In the warped picture and in the original one, in pixels of the bitmaps.
    double x, y, u, v;
};

/// `pixelsLeft` is how many pixels may be looked at; what is beyond is left out,
/// since a mesh from the network may fold the picture as often as it likes.
void drawTriangle(Bitmap& to, const Bitmap& from, const Vertex& a, const Vertex& b, const Vertex& c,
                  std::int64_t& pixelsLeft) {
    const double area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
    if (area == 0 || !std::isfinite(area)) {
        return;
    }
    const auto limit = [](double value, int size) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(size)));
    };
    const int left = limit(std::floor(std::min({a.x, b.x, c.x})), to.width);
    const int right = limit(std::ceil(std::max({a.x, b.x, c.x})), to.width);
    const int top = limit(std::floor(std::min({a.y, b.y, c.y})), to.height);
    const int bottom = limit(std::ceil(std::max({a.y, b.y, c.y})), to.height);
    if (right <= left || bottom <= top || pixelsLeft <= 0) {
        return;
    }
    pixelsLeft -= std::int64_t{right - left} * (bottom - top);
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
            const double px = x + 0.5;
            const double py = y + 0.5;
            const double wb = ((px - a.x) * (c.y - a.y) - (c.x - a.x) * (py - a.y)) / area;
            const double wc = ((b.x - a.x) * (py - a.y) - (px - a.x) * (b.y - a.y)) / area;
            // Neighbours share their edges, so a little more leaves no gaps between them.
            constexpr double edge = -1e-9;
            if (wb >= edge && wc >= edge && wb + wc <= 1 - edge) {
                to.put(x, y,
                       sample(from, a.u + wb * (b.u - a.u) + wc * (c.u - a.u),
                              a.v + wb * (b.v - a.v) + wc * (c.v - a.v)));
            }
        }
    }
}

Bitmap warped(const Bitmap& bitmap, const Mesh& mesh) {
    // Drawn larger and made smaller again, for smooth edges, where that does not take too long.
    constexpr std::int64_t mostSmooth = 3'000'000;
    const int scale = std::int64_t{bitmap.width} * bitmap.height <= mostSmooth ? 2 : 1;
    Bitmap result(scale * bitmap.width, scale * bitmap.height);
    const auto [meshWidth, meshHeight] = mesh.getSize();
    // Fine enough that straight edges between the vertices cannot be seen as such.
    constexpr int columns = 64;
    constexpr int rows = 40;
    const auto vertex = [&, width = meshWidth, height = meshHeight](int column, int row) {
        const double u = static_cast<double>(column) / columns;
        const double v = static_cast<double>(row) / rows;
        const auto [x, y] = mesh.evaluate(static_cast<float>(u * width), static_cast<float>(v * height));
        return Vertex{x * static_cast<double>(result.width) / width,
                      y * static_cast<double>(result.height) / height, u * bitmap.width, v * bitmap.height};
    };
    std::int64_t pixelsLeft = std::int64_t{16} * result.width * result.height;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const Vertex a = vertex(column, row);
            const Vertex b = vertex(column + 1, row);
            const Vertex c = vertex(column + 1, row + 1);
            const Vertex d = vertex(column, row + 1);
            drawTriangle(result, bitmap, a, b, c, pixelsLeft);
            drawTriangle(result, bitmap, a, c, d, pixelsLeft);
        }
    }
    if (scale == 1) {
        return result;
    }
    Bitmap smooth(bitmap.width, bitmap.height);
    Canvas(smooth, bitmap.width, bitmap.height).picture(result);
    return smooth;
}

void multiply(Bitmap& bitmap, const GrayscaleImage& factors) {
    if (factors.getHSize() <= 0 || factors.getVSize() <= 0) {
        return;
    }
    for (int y = 0; y < bitmap.height; ++y) {
        const int row = std::min(static_cast<int>((y + 0.5) * factors.getVSize() / bitmap.height),
                                 factors.getVSize() - 1);
        for (int x = 0; x < bitmap.width; ++x) {
            const int column = std::min(static_cast<int>((x + 0.5) * factors.getHSize() / bitmap.width),
                                        factors.getHSize() - 1);
            const double factor = factors.getCenterValue(column, row);
            bitmap.put(x, y, mix(black, bitmap.at(x, y), factor));
        }
    }
}

}  // namespace

Scene::Scene() = default;
Scene::Scene(const Scene&) = default;
Scene& Scene::operator=(const Scene&) = default;
Scene::~Scene() = default;

Bitmap render(const Scene& scene, int width, int height) {
    Bitmap bitmap(width, height);
    if (!scene.on || !scene.shutterOpen) {
        return bitmap;
    }
    Canvas canvas(bitmap, scene.width, scene.height);
    if (scene.uploaded) {
        canvas.picture(*scene.uploaded);
    } else if (scene.builtIn != BuiltInPattern::off) {
        drawBuiltIn(canvas, scene.builtIn, scene.width, scene.height);
    } else if (scene.drawing.empty() && !scene.pointsShown && scene.grid.mode == GridLines::Mode::off) {
        if (scene.signal) {
            drawInput(canvas, scene.width, scene.height);
        } else {
            canvas.fill({8, 14, 48});
        }
    }
    drawGrid(canvas, scene);
    drawDrawing(canvas, scene);
    if (scene.pointsShown) {
        const double radius = std::max(1.0, scene.width / 320.0);
        for (const Point2I& point : scene.points) {
            canvas.disc(point[0] + 0.5, point[1] + 0.5, radius, scene.pointColour);
        }
    }
    drawBlocks(canvas, scene.preWarpBlocks);
    if (scene.warp) {
        bitmap = warped(bitmap, *scene.warp);
    }
    drawBlocks(canvas, scene.projectorBlocks);
    drawChecks(canvas, bitmap, scene.checks, scene);
    for (const auto& factors : {scene.blend, scene.mask}) {
        if (factors) {
            multiply(bitmap, *factors);
        }
    }
    return bitmap;
}

}  // namespace JsonDevice::Simulation
