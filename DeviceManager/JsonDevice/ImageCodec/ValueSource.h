#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace JsonDevice::ImageCodec {

/// Where an encoder reads: the values of an image in raster order, the channels
/// of a pixel one after another.
class ValueSource {
public:
    std::size_t pixels() const { return columns * rows; }
    std::size_t values() const { return pixels() * channels; }
    std::size_t valuesPerPixel() const { return channels; }

    /// Calls use(const float* values, std::size_t count) for the pixels from
    /// `begin` to before `end`, in order, with blocks that fit the first-level cache.
    template <class Use>
    void forEachBlock(std::size_t begin, std::size_t end, Use use) const {
        std::array<float, blockValues> buffer;
        const std::size_t largest = blockValues / channels;
        while (begin < end) {
            const std::size_t column = begin % columns;
            const std::size_t count = std::min({end - begin, columns - column, largest});
            use(read(static_cast<int>(column), static_cast<int>(begin / columns), static_cast<int>(count),
                     buffer.data()),
                count * channels);
            begin += count;
        }
    }

protected:
    /// Sizes are those of an image: not negative, and below 2^31.
    ValueSource(int columns, int rows, std::size_t channels)
        : columns(static_cast<std::size_t>(columns)),
          rows(static_cast<std::size_t>(rows)),
          channels(channels) {}
    ~ValueSource() = default;

private:
    static constexpr std::size_t blockValues = 3072;

    /// The values of `count` pixels: in `buffer`, or where they are.
    virtual const float* read(int column, int row, int count, float* buffer) const = 0;

    std::size_t columns;
    std::size_t rows;
    std::size_t channels;
};

/// An image with bulk access to its rows (getCenterValues).
template <class Image, std::size_t channelCount>
class ImageValues final : public ValueSource {
public:
    explicit ImageValues(const Image& image)
        : ValueSource(std::max(0, image.getHSize()), std::max(0, image.getVSize()), channelCount),
          image(image) {}

private:
    const float* read(int column, int row, int count, float* buffer) const override {
        return image.getCenterValues(column, row, count, buffer);
    }
    const Image& image;
};

}  // namespace JsonDevice::ImageCodec
