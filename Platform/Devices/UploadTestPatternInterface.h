#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"
#include "Platform/Devices/Image.h"

/// Pictures of the caller's that a projector keeps and shows as test patterns.
class JSONDEVICE_EXPORT UploadTestPatternInterface : public DeviceInterface {
public:
    explicit UploadTestPatternInterface(Device* device)
        : DeviceInterface(device, "UploadTestPatternInterface") {}
    ~UploadTestPatternInterface() override;

    /// `filename` must be empty; it is from a time when pictures were uploaded
    /// from files. What the result says is the device's own.
    virtual int uploadTestPattern(const image_t& image, const std::wstring& filename,
                                  const std::wstring& name, int slot) = 0;
    /// (slot, description) of each.
    virtual std::vector<std::pair<int, std::wstring>> getAvailableUploadSlots() = 0;
    virtual void removeUploadedTestPattern(int slot) = 0;
};
