#include "Platform/Devices/MACAddressFilename.h"

std::string makeMACAddressFilename(std::string_view macAddress, std::string_view word,
                                   std::string_view extension) {
    std::string name;
    for (const char c : macAddress) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        name += plain ? c : '-';
    }
    if (!name.empty()) {
        name += '_';
    }
    return name.append(word).append(extension);
}
