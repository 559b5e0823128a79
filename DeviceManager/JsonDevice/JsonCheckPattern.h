#pragma once

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/CheckPatternInterface.h"

namespace JsonDevice {

/// Logs each call at debug level before it is sent.
class JSONDEVICE_EXPORT JsonCheckPattern : public JsonAdapter<CheckPatternInterface> {
public:
    explicit JsonCheckPattern(Device* device);
    ~JsonCheckPattern() override;

    void displayCheckPattern(int xSize, int ySize, int xShift, int yShift, bool sync, bool subliminal,
                             bool sine) override;
    void clearCheckPattern(bool sync) override;
};

}  // namespace JsonDevice
