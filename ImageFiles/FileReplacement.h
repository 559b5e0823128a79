#pragma once

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string_view>

namespace ImageFiles {

/// Has `write` write a file beside the path, and puts it there when it is complete: what was
/// there stays when that fails, and otherwise its mode does. A symbolic link stays as well, and
/// leads to the new file. What is no regular file (a device, a pipe), or is one that a process
/// has open (/dev/stdout), is written as it is. Throws std::system_error, and what `write` throws.
void replaceFile(const std::filesystem::path& path, const std::function<void(std::FILE*)>& write);

/// Throws std::system_error.
void writeBytes(std::string_view bytes, std::FILE* file);

}  // namespace ImageFiles
