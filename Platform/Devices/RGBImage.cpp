#include "Platform/Devices/RGBImage.h"

RGBImage::RGBImage() = default;
RGBImage::RGBImage(const RGBImage&) = default;
RGBImage& RGBImage::operator=(const RGBImage&) = default;
RGBImage::~RGBImage() = default;

const float* RGBImage::getCenterValues(int x, int y, int count, float* buffer) const {
    for (int i = 0; i < count; ++i) {
        float* const pixel = buffer + 3 * static_cast<long>(i);
        getCenterValue(x + i, y, pixel[0], pixel[1], pixel[2]);
    }
    return buffer;
}
