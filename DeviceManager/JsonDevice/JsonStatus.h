#pragma once

#include <string>
#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/StatusInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonStatus : public JsonAdapter<StatusInterface> {
public:
    explicit JsonStatus(Device* device);
    explicit JsonStatus(Communicator* communicator);
    ~JsonStatus() override;

    /// Adds the types of this interface to the registry, where absent. The constructors do.
    static void registerStatusInterfaceTypes();

    int getLampCounter() override;
    std::vector<int> getLampHours() override;
    int getProjectorHours() override;
    int getImageProcessorTemperature() override;
    int getPanelDriverTemperature() override;
    int getBackplaneTemperature() override;
    int getPostProcessingTemperature() override;
    int getQuellFPGATemperature() override;
    std::wstring getSoftware() override;
    std::wstring getModel() override;
    std::wstring getSerialNumber() override;
    std::vector<int> getNativeResolution() override;
    std::wstring getSampleRate() override;
    std::wstring getSyncType() override;
    int getLampIntakeTemperature() override;
    int getLampExhaustTemperature() override;
    int getDMDHeatsinkTemperature() override;
    /// Both vectors are left alone when the call fails; their lengths are not compared.
    bool getAllTemperatures(std::vector<std::wstring>& names, std::vector<int>& temperatures) override;
    std::wstring getSync() override;
    int getLampOvertempIndicator() override;
};

}  // namespace JsonDevice
