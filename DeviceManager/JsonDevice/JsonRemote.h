#pragma once

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/RemoteInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonRemote : public JsonAdapter<RemoteInterface> {
public:
    explicit JsonRemote(Device* device);
    explicit JsonRemote(Communicator* communicator);
    ~JsonRemote() override;

    void sendKeyCode(int keyCode) override;
    void sendOSD(int osd) override;
};

}  // namespace JsonDevice
