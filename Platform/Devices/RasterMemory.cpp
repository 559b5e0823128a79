#include "Platform/Devices/RasterMemory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

#include "Common/Exceptions.h"

namespace {

#if defined(__linux__)

constexpr std::size_t hugePage = std::size_t{2} << 20;

bool fromSystem(std::size_t bytes) {
    return bytes >= 2 * hugePage;
}

/// Zeroed memory that starts on a large page, so that all of it can be made of them.
void* allocateFromSystem(std::size_t bytes) {
    const std::size_t reserved = bytes + hugePage;
    void* const start = mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (start == MAP_FAILED) {
        return nullptr;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(start);
    const std::uintptr_t aligned = (address + hugePage - 1) / hugePage * hugePage;
    // What lies before and behind goes back; mapped lengths are whole small pages,
    // which are not 4 KiB on every machine.
    const auto smallPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t end = (aligned + bytes + smallPage - 1) / smallPage * smallPage;
    if (aligned > address) {
        munmap(start, aligned - address);
    }
    if (address + reserved > end) {
        munmap(reinterpret_cast<void*>(end), address + reserved - end);
    }
    void* const block = reinterpret_cast<void*>(aligned);
    madvise(block, bytes, MADV_HUGEPAGE);  // a wish; small pages serve too
    return block;
}

void releaseToSystem(void* block, std::size_t bytes) {
    munmap(block, bytes);
}

#else

bool fromSystem(std::size_t) {
    return false;
}
void* allocateFromSystem(std::size_t) {
    return nullptr;
}
void releaseToSystem(void*, std::size_t) {}

#endif

std::size_t floatsOf(int h, int v, int channels) {
    if (h < 0 || v < 0) {
        throw KorvanExceptionRuntime("Platform/Devices/RasterMemory", __LINE__,
                                     L"The size of an image cannot be negative");
    }
    // Sizes are below 2^31, so three channels stay below 2^64.
    return static_cast<std::size_t>(h) * static_cast<std::size_t>(v) * static_cast<std::size_t>(channels);
}

}  // namespace

RasterMemory::RasterMemory(int h, int v, int channels) : RasterMemory(floatsOf(h, v, channels)) {}

RasterMemory::RasterMemory(std::size_t count) : count(count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(float) / 2) {
        throw std::bad_alloc();
    }
    const std::size_t bytes = count * sizeof(float);
    if (bytes == 0) {
        return;
    }
    void* const block = fromSystem(bytes) ? allocateFromSystem(bytes) : std::calloc(count, sizeof(float));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    floats = static_cast<float*>(block);
}

RasterMemory::RasterMemory(const RasterMemory& other) : RasterMemory(other.count) {
    if (count != 0) {
        std::memcpy(floats, other.floats, count * sizeof(float));
    }
}

RasterMemory::RasterMemory(RasterMemory&& other) noexcept
    : floats(std::exchange(other.floats, nullptr)), count(std::exchange(other.count, 0)) {}

RasterMemory& RasterMemory::operator=(RasterMemory other) noexcept {
    std::swap(floats, other.floats);
    std::swap(count, other.count);
    return *this;
}

RasterMemory::~RasterMemory() {
    if (fromSystem(count * sizeof(float))) {
        releaseToSystem(floats, count * sizeof(float));
    } else {
        std::free(floats);
    }
}
