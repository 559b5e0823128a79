#include "Tools/OutputFiles.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

void writeFile(const std::string& path, std::string_view content) {
    // Beside it first, so that a file that is there is replaced whole or not at all.
    const std::string part = path + ".part";
    errno = 0;
    std::ofstream file(part, std::ios::binary | std::ios::trunc);
    file << content << std::flush;
    file.close();
    std::error_code error;
    if (!file) {
        error = {errno, std::generic_category()};
    } else {
        std::filesystem::rename(part, path, error);
    }
    if (error) {
        std::error_code ignored;
        std::filesystem::remove(part, ignored);
        throw FailureException(
            {ExitStatus::cannotWrite, "cannot write " + inQuotes(path) + ": " + error.message()});
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
