#pragma once

#include <cassert>
#include <cstddef>

#include "Common/Export.h"
#include "Platform/Devices/GrayscaleImage.h"
#include "Platform/Devices/RasterMemory.h"

/// A grayscale image that holds its pixels, rows one after another without gaps.
class JSONDEVICE_EXPORT RasterGrayscaleImage : public GrayscaleImage {
public:
    /// An image without pixels.
    RasterGrayscaleImage();
    /// Copies h x v values in raster order from `data`; all 0 when it is null.
    /// Throws KorvanExceptionRuntime for a negative size, std::bad_alloc.
    RasterGrayscaleImage(int h, int v, const float* data);
    RasterGrayscaleImage(const RasterGrayscaleImage&);
    RasterGrayscaleImage& operator=(const RasterGrayscaleImage&);
    ~RasterGrayscaleImage() override;

    int getHSize() const override { return h; }
    int getVSize() const override { return v; }
    float getCenterValue(int x, int y) const override { return memory.data()[index(x, y)]; }
    const float* getCenterValues(int x, int y, int count, float* buffer) const override;

    void setValue(int x, int y, float value) { memory.data()[index(x, y)] = value; }
    /// All pixels in raster order; null for an image without pixels.
    float* getData() { return memory.data(); }
    const float* getData() const { return memory.data(); }

private:
    std::size_t index(int x, int y) const {
        assert(x >= 0 && x < h && y >= 0 && y < v);
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(h) + static_cast<std::size_t>(x);
    }
    // First, so that an assignment for which memory runs out leaves the sizes as well.
    RasterMemory memory;
    int h = 0;
    int v = 0;
};
