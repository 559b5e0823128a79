// A picture file is read or refused with an ImageFileError.

#include "ImageFiles/ImageFile.h"

#include <cstdint>

#include "Fuzz/Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto picture = ImageFiles::parsePicture(
            std::string_view(reinterpret_cast<const char*>(data), size), "file", 100000);
        require(picture.values.size() == static_cast<std::size_t>(picture.width) *
                                             static_cast<std::size_t>(picture.height) *
                                             static_cast<std::size_t>(picture.channels));
    } catch (const ImageFiles::ImageFileError&) {
    }
    return 0;
}
