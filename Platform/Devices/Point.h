#pragma once

#include <cstddef>

/// N coordinates, x first, reached by index. `Point<int, 2>{3, 4}` makes one;
/// what is not given is 0.
template <class T, std::size_t N>
struct Point {
    T coordinates[N] = {};

    constexpr T& operator[](std::size_t index) { return coordinates[index]; }
    constexpr const T& operator[](std::size_t index) const { return coordinates[index]; }
    constexpr bool operator==(const Point&) const = default;
};

using Point2I = Point<int, 2>;
using Point3D = Point<double, 3>;
using Point3F = Point<float, 3>;
