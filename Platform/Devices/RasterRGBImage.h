#pragma once

#include <cassert>
#include <cstddef>

#include "Common/Export.h"
#include "Platform/Devices/RGBImage.h"
#include "Platform/Devices/RasterMemory.h"

/// A colour image that holds its pixels: red, green and blue of each in turn, rows
/// one after another without gaps.
class JSONDEVICE_EXPORT RasterRGBImage : public RGBImage {
public:
    /// An image without pixels.
    RasterRGBImage();
    /// Copies 3 x h x v values from `data`; all 0 when it is null. `interleaved`
    /// says how they lie there: pixel by pixel, or three planes one after another.
    /// Throws KorvanExceptionRuntime for a negative size, std::bad_alloc.
    RasterRGBImage(int h, int v, const float* data, bool interleaved);
    RasterRGBImage(const RasterRGBImage&);
    RasterRGBImage& operator=(const RasterRGBImage&);
    ~RasterRGBImage() override;

    int getHSize() const override { return h; }
    int getVSize() const override { return v; }
    void getCenterValue(int x, int y, float& red, float& green, float& blue) const override;
    const float* getCenterValues(int x, int y, int count, float* buffer) const override;

    void setRedValue(int x, int y, float value) { memory.data()[index(x, y)] = value; }
    void setGreenValue(int x, int y, float value) { memory.data()[index(x, y) + 1] = value; }
    void setBlueValue(int x, int y, float value) { memory.data()[index(x, y) + 2] = value; }
    /// All pixels in raster order, three values each; null for an image without pixels.
    float* getData() { return memory.data(); }
    const float* getData() const { return memory.data(); }

private:
    std::size_t index(int x, int y) const {
        assert(x >= 0 && x < h && y >= 0 && y < v);
        return 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(h) + static_cast<std::size_t>(x));
    }
    // First, so that an assignment for which memory runs out leaves the sizes as well.
    RasterMemory memory;
    int h = 0;
    int v = 0;
};
