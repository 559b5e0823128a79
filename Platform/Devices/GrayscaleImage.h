#pragma once

#include <filesystem>

#include "Common/Export.h"

/// A single-channel image of floats, nominally 0 to 1: a blend map, a mask, a
/// black-level map. Column x counts from the left, row y from the top.
///
/// Encoders read one image from several threads at once, so the reading
/// operations of an implementation must allow that.
class JSONDEVICE_EXPORT GrayscaleImage {
public:
    GrayscaleImage();
    virtual ~GrayscaleImage();

    virtual int getHSize() const = 0;
    virtual int getVSize() const = 0;
    /// The value in the centre of pixel (x, y), which must lie in the image.
    virtual float getCenterValue(int x, int y) const = 0;
    /// The values of `count` pixels of row y from column x on: either a view of
    /// the image's own memory, valid until the image changes, or `buffer` (room
    /// for `count` floats), filled. One call instead of `count` virtual ones is
    /// what makes encoding fast; this default falls back to getCenterValue.
    virtual const float* getCenterValues(int x, int y, int count, float* buffer) const;

    /// Writes a binary PGM, one byte per sample when maximumValue is below 256
    /// and two (most significant first) up to 65535. Values are limited to 0..1,
    /// scaled and rounded; NaN is 0. Returns false when the file could not be
    /// written in whole or maximumValue is not in 1..65535.
    bool exportAsPGM(const std::filesystem::path& fileName, int maximumValue) const;

protected:
    GrayscaleImage(const GrayscaleImage&);
    GrayscaleImage& operator=(const GrayscaleImage&);
};
