#include <chrono>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <malloc.h>

namespace {

constexpr int rounds = 50;

std::vector<std::string> loaded() {
    std::vector<std::string> paths;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* result) {
            static_cast<std::vector<std::string>*>(result)->push_back(info->dlpi_name);
            return 0;
        },
        &paths);
    return paths;
}

bool isOurs(const std::string& path) {
    return path.find("libJsonDevice") != std::string::npos || path.find("UnloadPlugin") != std::string::npos;
}

/// Those of this project that are in the process.
std::vector<std::string> loadedLibraries() {
    std::vector<std::string> paths = loaded();
    std::erase_if(paths, [](const std::string& path) { return !isOurs(path); });
    return paths;
}

std::ptrdiff_t entries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

std::size_t usedMemory() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

enum class Others { GoToo, Stay };

/// What the host of a plugin does. The libraries that ours depend on go with
/// them, or stay, as they do where the host uses them as well. `function` is what it
/// calls of the plugin.
void loadUseUnload(Others others, const char* function) {
    void* const plugin = dlopen(JSONDEVICE_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plugin, nullptr) << dlerror();
    ASSERT_GE(loadedLibraries().size(), 4U);
    if (others == Others::Stay) {
        for (const std::string& path : loaded()) {
            if (!path.empty() && !isOurs(path)) {
                dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
            }
        }
    }
    const auto use = reinterpret_cast<const char* (*)()>(dlsym(plugin, function));
    ASSERT_NE(use, nullptr);
    ASSERT_STREQ(use(), "");
    ASSERT_EQ(dlclose(plugin), 0);
    ASSERT_EQ(loadedLibraries(), std::vector<std::string>());
    ASSERT_EQ(dlopen(JSONDEVICE_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

void repeat(int times, Others others, const char* function = "useLibrary") {
    for (int round = 0; round < times && !testing::Test::HasFatalFailure(); ++round) {
        loadUseUnload(others, function);
    }
}

/// A thread that has ended takes a moment to leave the process's list.
void expectThreads(std::ptrdiff_t expected) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (entries("/proc/self/task") != expected && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_EQ(entries("/proc/self/task"), expected);
}

TEST(Unload, LeavesNoLibraryThreadOrDescriptor) {
    const std::ptrdiff_t threads = entries("/proc/self/task");
    // Other libraries open what they need once.
    repeat(1, Others::GoToo);
    const std::ptrdiff_t descriptors = entries("/proc/self/fd");
    repeat(rounds, Others::GoToo);
    expectThreads(threads);
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
}

TEST(Unload, LeavesNoThreadThatOnlyDecoded) {
    const std::ptrdiff_t threads = entries("/proc/self/task");
    repeat(rounds, Others::GoToo, "decodeImage");
    expectThreads(threads);
}

TEST(Unload, LeavesNoMemory) {
    // Where the others stay, because the dynamic loader keeps about 2 KB for each
    // time that the whole tree of them is unloaded.
    repeat(10, Others::Stay);
    const std::size_t before = usedMemory();
    repeat(rounds, Others::Stay);
    const std::size_t after = usedMemory();
    RecordProperty("growth", std::to_string(static_cast<std::ptrdiff_t>(after - before)));
    // A registry or a logger left behind each time would be many times as much.
    EXPECT_LT(after, before + rounds * 256);
}

}  // namespace
