#pragma once

#include <string>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/IGInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonIG : public JsonAdapter<IGInterface> {
public:
    explicit JsonIG(Device* device);
    explicit JsonIG(Communicator* communicator);
    ~JsonIG() override;

    /// Adds "IGContentProxy" to the registry, where absent. The constructors do.
    static void registerIGTypes();

    bool addContent(const std::wstring& name, IGContentProxy* content) override;
    bool selectContent(const std::wstring& name) override;
};

}  // namespace JsonDevice
