#include "Platform/Devices/RasterGrayscaleImage.h"

#include <cstring>

RasterGrayscaleImage::RasterGrayscaleImage() = default;

RasterGrayscaleImage::RasterGrayscaleImage(int h, int v, const float* data) : memory(h, v, 1), h(h), v(v) {
    if (data != nullptr && memory.size() != 0) {
        std::memcpy(memory.data(), data, memory.size() * sizeof(float));
    }
}

RasterGrayscaleImage::RasterGrayscaleImage(const RasterGrayscaleImage&) = default;
RasterGrayscaleImage& RasterGrayscaleImage::operator=(const RasterGrayscaleImage&) = default;
RasterGrayscaleImage::~RasterGrayscaleImage() = default;

const float* RasterGrayscaleImage::getCenterValues(int x, int y, int count, float*) const {
    assert(count >= 0 && count <= h - x);
    return count == 0 ? memory.data() : memory.data() + index(x, y);
}
