#pragma once

#include <string>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"

/// What a projector tells of itself; nothing in here changes it.
/// Temperatures are in degrees Celsius, hours are whole hours.
class JSONDEVICE_EXPORT StatusInterface : public DeviceInterface {
public:
    explicit StatusInterface(Device* device) : DeviceInterface(device, "StatusInterface") {}
    ~StatusInterface() override;

    virtual int getLampCounter() = 0;
    virtual std::vector<int> getLampHours() = 0;
    virtual int getProjectorHours() = 0;
    virtual int getImageProcessorTemperature() = 0;
    virtual int getPanelDriverTemperature() = 0;
    virtual int getBackplaneTemperature() = 0;
    virtual int getPostProcessingTemperature() = 0;
    virtual int getQuellFPGATemperature() = 0;
    virtual std::wstring getSoftware() = 0;
    virtual std::wstring getModel() = 0;
    virtual std::wstring getSerialNumber() = 0;
    /// Width and height in pixels.
    virtual std::vector<int> getNativeResolution() = 0;
    virtual std::wstring getSampleRate() = 0;
    virtual std::wstring getSyncType() = 0;
    virtual int getLampIntakeTemperature() = 0;
    virtual int getLampExhaustTemperature() = 0;
    virtual int getDMDHeatsinkTemperature() = 0;
    /// Replaces both vectors by the names of all sensors and their temperatures, in the same order.
    virtual bool getAllTemperatures(std::vector<std::wstring>& names, std::vector<int>& temperatures) = 0;
    virtual std::wstring getSync() = 0;
    virtual int getLampOvertempIndicator() = 0;
};
