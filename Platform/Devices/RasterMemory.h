#pragma once

#include <cstddef>
#include <memory>

/// The memory of a raster image: floats that start as zeros. A large
/// block comes straight from the system and asks for large pages there: at 4 KiB
/// a page, making the pages takes longer than decoding the image into them.
class RasterMemory {
public:
    RasterMemory() = default;
    /// Room for h x v pixels of so many channels. Throws KorvanExceptionRuntime
    /// for a negative size, std::bad_alloc.
    RasterMemory(int h, int v, int channels);
    RasterMemory(const RasterMemory& other);
    RasterMemory(RasterMemory&& other) noexcept;
    RasterMemory& operator=(RasterMemory other) noexcept;
    ~RasterMemory();

    float* data() const { return floats; }
    std::size_t size() const { return count; }

private:
    explicit RasterMemory(std::size_t count);
    float* floats = nullptr;
    std::size_t count = 0;
};
