#pragma once

#include <cstdint>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"
#include "Platform/Devices/Point.h"

/// Patterns of blocks, placed one by one (the arbitrary blocks) or laid out in
/// lines of binary-coded blocks: what PreWarpBlockPatternInterface and
/// ProjectorBlockPatternInterface have in common.
///
/// The device collects settings and applies them when its command queue is
/// flushed. Modes, colours, exponents, ranges and the values of blocks are the
/// device's own.
class JSONDEVICE_EXPORT BlockPatternInterface : public DeviceInterface {
public:
    struct Block {
        /// First corner.
        Point2I pointA;
        Point2I pointB;
        std::int32_t value = 0;

        bool operator==(const Block&) const = default;
    };

    using DeviceInterface::DeviceInterface;
    ~BlockPatternInterface() override;

    virtual void setPatternMode(int mode) = 0;
    virtual int getPatternMode() = 0;
    virtual void setDisplayMode(int mode) = 0;
    virtual void setGapColor(int color) = 0;

    /// How many arbitrary blocks the device keeps at most.
    virtual int getArbitraryBlockLimit() = 0;
    virtual void setArbitraryBlock(int index, const Point2I& pointA, const Point2I& pointB, int value) = 0;
    /// One block for each of the points, from `index` on, with one pointB and one value for all.
    virtual void setArbitraryBlocks(int index, const std::vector<Point2I>& points, const Point2I& pointB,
                                    int value) = 0;
    virtual void setArbitraryBlocks(int index, const std::vector<Block>& blocks) = 0;
    virtual void clearArbitraryBlocks() = 0;
    virtual void setArbitraryBlockRange(int, int) = 0;

    virtual void setBinaryBlocksPerLine(int count) = 0;
    virtual void setBinaryNumBlockLines(int count) = 0;
    virtual void setBinaryBlockColor(int color) = 0;
    virtual void setBinaryBlockExponent(int, int) = 0;
    virtual void setBinaryStartPosition(const Point2I& position) = 0;
    virtual void setBinaryStartBlockCount(int count) = 0;
    virtual void setBinaryBlockSize(const Point2I& size) = 0;
    virtual void setBinaryBlockSpacing(const Point2I& spacing) = 0;
};
