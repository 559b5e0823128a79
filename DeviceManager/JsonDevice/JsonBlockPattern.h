#pragma once

#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/PreWarpBlockPatternInterface.h"
#include "Platform/Devices/ProjectorBlockPatternInterface.h"

namespace JsonDevice {

/// The body of both block pattern adapters, which differ in the prefix of their
/// method strings and the signature of flushCommandQueue alone. Each setter is
/// one request, sent at once.
template <class Interface>
class JSONDEVICE_EXPORT JsonBlockPattern : public JsonAdapter<Interface> {
public:
    void setPatternMode(int mode) override;
    int getPatternMode() override;
    void setDisplayMode(int mode) override;
    void setGapColor(int color) override;
    int getArbitraryBlockLimit() override;
    void setArbitraryBlock(int index, const Point2I& pointA, const Point2I& pointB, int value) override;
    void setArbitraryBlocks(int index, const std::vector<Point2I>& points, const Point2I& pointB,
                            int value) override;
    void setArbitraryBlocks(int index, const std::vector<typename Interface::Block>& blocks) override;
    void clearArbitraryBlocks() override;
    void setArbitraryBlockRange(int value1, int value2) override;
    void setBinaryBlocksPerLine(int count) override;
    void setBinaryNumBlockLines(int count) override;
    void setBinaryBlockColor(int color) override;
    void setBinaryBlockExponent(int value1, int value2) override;
    void setBinaryStartPosition(const Point2I& position) override;
    void setBinaryStartBlockCount(int count) override;
    void setBinaryBlockSize(const Point2I& size) override;
    void setBinaryBlockSpacing(const Point2I& spacing) override;

protected:
    using JsonAdapter<Interface>::JsonAdapter;
    using JsonAdapter<Interface>::connection;

    void flush();
};

extern template class JsonBlockPattern<PreWarpBlockPatternInterface>;
extern template class JsonBlockPattern<ProjectorBlockPatternInterface>;

}  // namespace JsonDevice
