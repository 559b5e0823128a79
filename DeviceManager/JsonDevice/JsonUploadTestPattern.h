#pragma once

#include <string>
#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/UploadTestPatternInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonUploadTestPattern : public JsonAdapter<UploadTestPatternInterface> {
public:
    explicit JsonUploadTestPattern(Device* device);
    explicit JsonUploadTestPattern(Communicator* communicator);
    ~JsonUploadTestPattern() override;

    /// Adds the types of this interface to the registry: it needs none but general ones.
    static void registerUploadTypes();

    /// Sends the image as base64 text of a PNG file; `name` is not sent. Throws
    /// DeviceException, before anything is sent, when there is a file name and
    /// when the image cannot be written as a PNG file (PngWriter.h), and
    /// std::bad_alloc.
    int uploadTestPattern(const image_t& image, const std::wstring& filename, const std::wstring& name,
                          int slot) override;
    std::vector<std::pair<int, std::wstring>> getAvailableUploadSlots() override;
    void removeUploadedTestPattern(int slot) override;
};

}  // namespace JsonDevice
