#pragma once

#include <cstdint>

/// A line to be drawn over a warp, in the coordinates of its mesh.
struct WarpLineSegment {
    double x1;
    double y1;
    double x2;
    double y2;
    /// What the line marks: 1 is a fold.
    std::int32_t kind;

    bool operator==(const WarpLineSegment&) const = default;
};
