#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"

/// Power, shutter, inputs, automatic set-up and the factory defaults. Where
/// nothing else is said, the numbers are the device's own.
class JSONDEVICE_EXPORT ControlInterface : public DeviceInterface {
public:
    /// Input signals: number and display name.
    using InputSignals = std::vector<std::pair<int, std::wstring>>;

    explicit ControlInterface(Device* device) : DeviceInterface(device, "ControlInterface") {}
    ~ControlInterface() override;

    virtual void setFactoryDefault(unsigned int value) = 0;
    /// The number of the selected input signal.
    virtual int getInputSignal() = 0;
    /// All input signals. Valid until the next call of this operation.
    virtual const InputSignals& getInputSignalList() = 0;
    virtual void setInputSignal(unsigned int signal) = 0;
    /// What the device says of the selected input signal.
    virtual std::wstring getSignalStatus() = 0;
    virtual std::wstring getOptionalInputSignalDescription(unsigned int signal) = 0;
    virtual int getShutter() = 0;
    virtual void setShutter(unsigned int value) = 0;
    virtual int getPower() = 0;
    virtual bool setPower(unsigned int value) = 0;
    /// Starts the automatic set-up for the selected input signal.
    virtual bool requestAutoSetup() = 0;
    virtual int isAutoSetupEnabled() = 0;
    virtual int isSourceLocked() = 0;
    virtual void setSourceLocked(int value) = 0;
    virtual unsigned int getAutomaticInputCycling() = 0;
    virtual void setAutomaticInputCycling(unsigned int value) = 0;
};
