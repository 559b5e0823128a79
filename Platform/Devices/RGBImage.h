#pragma once

#include "Common/Export.h"

/// A three-channel image of floats, nominally 0 to 1. Column x counts from the
/// left, row y from the top. Reading must be possible from several threads at once.
class JSONDEVICE_EXPORT RGBImage {
public:
    RGBImage();
    virtual ~RGBImage();

    virtual int getHSize() const = 0;
    virtual int getVSize() const = 0;
    /// The channels in the centre of pixel (x, y), which must lie in the image.
    virtual void getCenterValue(int x, int y, float& red, float& green, float& blue) const = 0;
    /// The channels of `count` pixels of row y from column x on, red, green and
    /// blue of each in turn: either a view of the image's own memory, valid until
    /// the image changes, or `buffer` (room for 3 x `count` floats), filled. This
    /// default falls back to getCenterValue.
    virtual const float* getCenterValues(int x, int y, int count, float* buffer) const;

protected:
    RGBImage(const RGBImage&);
    RGBImage& operator=(const RGBImage&);
};
