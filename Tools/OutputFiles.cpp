#include "Tools/OutputFiles.h"

#include <cstdio>
#include <system_error>

#include "ImageFiles/FileReplacement.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

void writeFile(const std::string& path, std::string_view content) {
    try {
        ImageFiles::replaceFile(path, [&](std::FILE* file) { ImageFiles::writeBytes(content, file); });
    } catch (const std::system_error& e) {
        throw FailureException(
            {ExitStatus::cannotWrite, "cannot write " + inQuotes(path) + ": " + e.code().message()});
    }
}

std::string OutputPaths::take(const std::string& pattern, const std::string& device) {
    std::string name = device.substr(device.find("//") == std::string::npos ? 0 : device.find("//") + 2);
    for (char& c : name) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           c == '.' || c == '-';
        c = plain ? c : '_';
    }
    std::string path;
    for (const char c : pattern) {
        path += c == '%' ? name : std::string(1, c);
    }
    const std::lock_guard guard(lock);
    if (!taken.insert(path).second) {
        throw FailureException(
            {ExitStatus::usage, device + ": " + inQuotes(path) +
                                    " is another device's; a % in FILE stands for the device's name"});
    }
    return path;
}

}  // namespace Tool
