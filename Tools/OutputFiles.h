#pragma once

#include <mutex>
#include <set>
#include <string>
#include <string_view>

/// Files that commands write what a device sent into.
namespace Tool {

/// Replaces a file that is there whole, or not at all (see ImageFiles::replaceFile).
/// Throws FailureException when it cannot be written.
void writeFile(const std::string& path, std::string_view content);

/// The paths that the devices of one command have taken, so that none writes
/// over another's. Any thread may use it.
class OutputPaths {
public:
    /// The path for the device, whose name takes the place of each "%". Throws
    /// FailureException when another device has it.
    std::string take(const std::string& pattern, const std::string& device);

private:
    std::mutex lock;
    std::set<std::string> taken;
};

}  // namespace Tool
