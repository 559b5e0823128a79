#include "DeviceManager/JsonDevice/Diagnostics.h"

#include <iostream>
#include <string>

namespace JsonDevice {

void printDiagnostic(std::string_view line) {
    std::string text(line);
    text += '\n';
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
    std::cout.flush();
}

}  // namespace JsonDevice
