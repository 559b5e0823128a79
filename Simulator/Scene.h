#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Common/Export.h"
#include "Platform/Devices/Point.h"
#include "Simulator/Canvas.h"

class GrayscaleImage;
class Mesh;

namespace JsonDevice::Simulation {

/// The patterns that a projector has built in; the numbers are those of the wire.
enum class BuiltInPattern {
    off,
    white,
    black,
    red,
    green,
    blue,
    colourBars,
    greyRamp,
    greySteps,
    checkerboard,
    grid,
    alignment,
    focus,
};
inline constexpr int builtInPatterns = static_cast<int>(BuiltInPattern::focus) + 1;

/// What a caller drew: a grid, boxes and lines.
struct Drawing {
    struct Grid {
        int spacingX;
        int spacingY;
        Rgb colour;
        bool operator==(const Grid&) const = default;
    };
    struct Box {
        Point2I corner;
        int width;
        int height;
        Rgb colour;
        bool operator==(const Box&) const = default;
    };
    struct Line {
        Point2I from;
        Point2I to;
        Rgb colour;
        bool operator==(const Line&) const = default;
    };

    bool empty() const { return grids.empty() && boxes.empty() && lines.empty(); }
    bool operator==(const Drawing&) const = default;

    std::vector<Grid> grids;
    std::vector<Box> boxes;
    std::vector<Line> lines;
};

/// The settings of one block pattern.
struct Blocks {
    enum class Mode { off, arbitrary, binary };
    struct Block {
        bool set = false;
        Point2I pointA;
        Point2I pointB;
        Rgb colour;
        bool operator==(const Block&) const = default;
    };

    bool operator==(const Blocks&) const = default;

    Mode mode = Mode::off;
    /// Whether the gaps show what is behind in place of their own colour.
    bool transparent = false;
    Rgb gap;

    /// By index.
    std::vector<Block> blocks;
    int first = 0;
    /// Including this one.
    int last = 0;

    int perLine = 0;
    int lineCount = 0;
    Rgb colour{255, 255, 255};
    int bit = 0;
    bool inverted = false;
    Point2I start;
    int startNumber = 0;
    Point2I size;
    Point2I spacing;
};

struct GridLines {
    enum class Mode { off, lines, crossings };
    bool operator==(const GridLines&) const = default;

    Mode mode = Mode::off;
    Rgb line{255, 255, 255};
    Rgb background;
    /// The edges of the part that has the grid; right and bottom belong to it no more.
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    /// Positions from the top.
    std::vector<int> horizontal;
    /// Positions from the left.
    std::vector<int> vertical;
};

struct Checks {
    bool operator==(const Checks&) const = default;

    bool shown = false;
    int xSize = 1;
    int ySize = 1;
    int xShift = 0;
    int yShift = 0;
    bool subliminal = false;
    bool sine = false;
};

/// All that makes the picture on the wall, as values: a copy is a moment of the
/// projector, which can be rendered without it. Each feature adds what it has
/// (Feature::show).
struct JSONDEVICE_EXPORT Scene {
    Scene();
    Scene(const Scene&);
    Scene& operator=(const Scene&);
    ~Scene();
    bool operator==(const Scene&) const = default;

    /// The projector's own pixels, in which all coordinates are.
    int width = 1920;
    int height = 1200;

    bool on = true;
    bool shutterOpen = true;
    /// Whether there is a signal at the input.
    bool signal = true;

    BuiltInPattern builtIn = BuiltInPattern::off;
    /// Shown in place of a built-in pattern; null when none is.
    std::shared_ptr<const Bitmap> uploaded;
    GridLines grid;
    Drawing drawing;
    bool pointsShown = false;
    Rgb pointColour{255, 255, 255};
    std::vector<Point2I> points;
    Blocks preWarpBlocks;

    /// Where each position of the picture goes, prepared; null when nothing is warped.
    std::shared_ptr<const Mesh> warp;

    Blocks projectorBlocks;
    Checks checks;

    /// Factors of the light, stretched over the picture; null when there is none.
    std::shared_ptr<const GrayscaleImage> blend;
    std::shared_ptr<const GrayscaleImage> mask;
};

/// The picture on the wall. Layers from the back: the input's picture (a
/// landscape, or dark blue without a signal) unless a pattern replaces it; built-in or uploaded pattern;
/// grid; what was drawn; points; blocks before the warp; the warp; blocks and checks after it; blend and
/// mask; shutter and power.
JSONDEVICE_EXPORT Bitmap render(const Scene& scene, int width, int height);

}  // namespace JsonDevice::Simulation
