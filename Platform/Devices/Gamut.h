#pragma once

/// A chromaticity point, as CIE coordinates x, y and z.
struct Chromaticity {
    double x = 0;
    double y = 0;
    double z = 0;

    bool operator==(const Chromaticity&) const = default;
};

/// The colours that a projector can show: its primaries and its white.
struct Gamut {
    Chromaticity red;
    Chromaticity green;
    Chromaticity blue;
    Chromaticity white;

    bool operator==(const Gamut&) const = default;
};
