#include "Platform/Devices/RasterRGBImage.h"

#include <cstring>

RasterRGBImage::RasterRGBImage() = default;

RasterRGBImage::RasterRGBImage(int h, int v, const float* data, bool interleaved)
    : memory(h, v, 3), h(h), v(v) {
    if (data == nullptr || memory.size() == 0) {
        return;
    }
    if (interleaved) {
        std::memcpy(memory.data(), data, memory.size() * sizeof(float));
        return;
    }
    const std::size_t plane = memory.size() / 3;
    for (std::size_t i = 0; i < plane; ++i) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            memory.data()[3 * i + channel] = data[channel * plane + i];
        }
    }
}

RasterRGBImage::RasterRGBImage(const RasterRGBImage&) = default;
RasterRGBImage& RasterRGBImage::operator=(const RasterRGBImage&) = default;
RasterRGBImage::~RasterRGBImage() = default;

void RasterRGBImage::getCenterValue(int x, int y, float& red, float& green, float& blue) const {
    const float* const pixel = memory.data() + index(x, y);
    red = pixel[0];
    green = pixel[1];
    blue = pixel[2];
}

const float* RasterRGBImage::getCenterValues(int x, int y, int count, float*) const {
    assert(count >= 0 && count <= h - x);
    return count == 0 ? memory.data() : memory.data() + index(x, y);
}
