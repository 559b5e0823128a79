#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ImageFiles {

/// What went wrong with a file, in words for its user; the file's name is in it.
class ImageFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A picture as floats, nominally 0 to 1, rows from the top, the channels of a
/// pixel one after another: 1 (grey) or 3 (red, green, blue).
struct Picture {
    int width = 0;
    int height = 0;
    int channels = 1;
    std::vector<float> values;

    /// Of `width` x `height` pixels, black.
    Picture(int width, int height, int channels);
    Picture() = default;
};

enum class Format {
    /// 8 or 16 bits a sample, grey or colour.
    Png,
    /// Portable graymap, 8 or 16 bits a sample, grey only.
    Pgm,
    /// Portable float map: floats as they are, grey or colour.
    Pfm,
};

/// From the file's extension (".png", ".pgm", ".pfm", in any case). Throws
/// ImageFileError when it is another.
Format formatFor(const std::filesystem::path& file);

/// Reads a file of any of the formats, which it recognises by its content. Grey PNG
/// files with alpha lose it, palettes become colour. Throws ImageFileError when
/// the file cannot be read, is broken or ends early, or has more than
/// `maximumPixels` pixels; memory is not spent on pixels that are not there.
Picture readPicture(const std::filesystem::path& file, std::size_t maximumPixels = std::size_t{1} << 28);
/// The same from memory; `name` stands for the file in what is thrown.
Picture parsePicture(std::string_view content, const std::string& name,
                     std::size_t maximumPixels = std::size_t{1} << 28);

/// Writes a file in the format of its extension; `bits` (8 or 16) a sample for PNG
/// and PGM, for which values are limited to 0..1, scaled and rounded, NaN as 0. A
/// colour picture does not go into a PGM. Throws ImageFileError. What was there is
/// replaced whole or, when that fails, not at all (see replaceFile).
void writePicture(const Picture& picture, const std::filesystem::path& file, int bits = 16);

}  // namespace ImageFiles
