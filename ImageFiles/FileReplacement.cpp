#include "ImageFiles/FileReplacement.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace ImageFiles {

namespace {

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

[[noreturn]] void failBySystem() {
    throw std::system_error(errno, std::generic_category());
}

File opened(const std::filesystem::path& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) {
        failBySystem();
    }
    return file;
}

void writeAndClose(File file, const std::function<void(std::FILE*)>& write) {
    write(file.get());
    if (std::fclose(file.release()) != 0) {
        failBySystem();
    }
}

/// Where links lead, if a regular file is there, or nothing yet.
std::optional<std::filesystem::path> replaceable(std::filesystem::path path) {
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    if (type != std::filesystem::file_type::regular && type != std::filesystem::file_type::not_found) {
        return std::nullopt;
    }
    while (std::filesystem::is_symlink(path)) {
        const auto folder = std::filesystem::canonical(path.has_parent_path() ? path.parent_path() : ".");
        // Whoever has the file open would not get what is put in its place.
        if (folder.native().starts_with("/proc/")) {
            return std::nullopt;
        }
        path = folder / std::filesystem::read_symlink(path);
    }
    return path;
}

}  // namespace

void replaceFile(const std::filesystem::path& path, const std::function<void(std::FILE*)>& write) {
    const std::optional<std::filesystem::path> target = replaceable(path);
    if (!target) {
        writeAndClose(opened(path, "wb"), write);
        return;
    }
    const auto before = std::filesystem::status(*target);
    if (std::filesystem::exists(before)) {
        opened(*target, "r+b");  // refuses one that is write-protected
    }
    // A name of its own, so that neither another process nor another file is in the way.
    std::filesystem::path part = *target;
    part += "." + std::to_string(::getpid()) + ".part";
    File file = opened(part, "wbx");
    std::error_code ignored;
    try {
        if (std::filesystem::exists(before)) {
            std::filesystem::permissions(part, before.permissions(), ignored);
        }
        writeAndClose(std::move(file), write);
        std::filesystem::rename(part, *target);
    } catch (...) {
        std::filesystem::remove(part, ignored);
        throw;
    }
}

void writeBytes(std::string_view bytes, std::FILE* file) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) {
        failBySystem();
    }
}

}  // namespace ImageFiles
