#pragma once

#include <string>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/ControlInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonControl : public JsonAdapter<ControlInterface> {
public:
    explicit JsonControl(Device* device);
    explicit JsonControl(Communicator* communicator);
    ~JsonControl() override;

    /// This interface has no types of its own: registers nothing.
    static void registerControlInterfaceTypes();

    void setFactoryDefault(unsigned int value) override;
    int getInputSignal() override;
    /// Asks the device anew at each call; the list is empty when that failed.
    const InputSignals& getInputSignalList() override;
    void setInputSignal(unsigned int signal) override;
    std::wstring getSignalStatus() override;
    std::wstring getOptionalInputSignalDescription(unsigned int signal) override;
    int getShutter() override;
    void setShutter(unsigned int value) override;
    int getPower() override;
    bool setPower(unsigned int value) override;
    bool requestAutoSetup() override;
    int isAutoSetupEnabled() override;
    int isSourceLocked() override;
    void setSourceLocked(int value) override;
    unsigned int getAutomaticInputCycling() override;
    void setAutomaticInputCycling(unsigned int value) override;

private:
    InputSignals inputSignals;
};

}  // namespace JsonDevice
