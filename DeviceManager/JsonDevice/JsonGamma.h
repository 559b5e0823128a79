#pragma once

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/GammaInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonGamma : public JsonAdapter<GammaInterface> {
public:
    explicit JsonGamma(Device* device);
    explicit JsonGamma(Communicator* communicator);
    ~JsonGamma() override;

    int getType() override;
    void setType(int type) override;
    int getGamma() override;
    void setGamma(int gamma) override;
    int getGammaCorrection() override;
    void setGammaCorrection(int correction) override;
    /// Two requests, and each value is stored as it comes: when the second
    /// fails, the minimum is new and the maximum is left alone.
    void getGammaCorrectionRange(int& minimum, int& maximum) override;
    int getSlope() override;
    void setSlope(int slope) override;
};

}  // namespace JsonDevice
