#pragma once

#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/GridTestPatternInterface.h"

namespace JsonDevice {

/// Each setter is one request, sent at once, and the flush is one too.
class JSONDEVICE_EXPORT JsonGridTestPattern : public JsonAdapter<GridTestPatternInterface> {
public:
    explicit JsonGridTestPattern(Device* device);
    explicit JsonGridTestPattern(Communicator* communicator);
    ~JsonGridTestPattern() override;

    void setLineColor(int red, int green, int blue) override;
    void setBackgroundColor(int red, int green, int blue) override;
    void setRange(int value1, int value2, int value3, int value4) override;
    void setLines(int value, const std::vector<int>& lines) override;
    void setMode(Mode mode) override;
    void flushCommandQueue() override;
};

}  // namespace JsonDevice
