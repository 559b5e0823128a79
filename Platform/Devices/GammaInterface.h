#pragma once

#include "Platform/Devices/DeviceInterface.h"

/// The transfer function of a projector. The numbers are the device's own.
class JSONDEVICE_EXPORT GammaInterface : public DeviceInterface {
public:
    explicit GammaInterface(Device* device) : DeviceInterface(device, "GammaInterface") {}
    ~GammaInterface() override;

    virtual int getType() = 0;
    virtual void setType(int type) = 0;
    virtual int getGamma() = 0;
    virtual void setGamma(int gamma) = 0;
    virtual int getGammaCorrection() = 0;
    virtual void setGammaCorrection(int correction) = 0;
    virtual void getGammaCorrectionRange(int& minimum, int& maximum) = 0;
    virtual int getSlope() = 0;
    virtual void setSlope(int slope) = 0;
};
