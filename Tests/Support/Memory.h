#pragma once

#include <cstddef>
#include <fstream>
#include <string>

#include <sys/resource.h>

/// The memory of this process, as Linux tells it.
namespace Memory {

constexpr std::size_t megabyte = std::size_t{1} << 20;

/// An entry of the process's status, in bytes; 0 when there is none.
inline std::size_t status(const std::string& name) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
        if (word == name) {
            std::size_t kilobytes = 0;
            file >> kilobytes;
            return kilobytes * 1024;
        }
    }
    return 0;
}

/// Measures how much more memory is in use at once than when it was made: what was
/// only asked for and never written to does not count.
class Growth {
public:
    std::size_t peak() const {
        const std::size_t most = status("VmHWM:");
        return most > before ? most - before : 0;
    }
    /// Whether that is all; otherwise it is what goes beyond an earlier peak.
    bool isWhole() const { return wasReset; }

private:
    static bool resetPeak() {
        std::ofstream file("/proc/self/clear_refs");
        return static_cast<bool>(file << "5" << std::flush);
    }
    bool wasReset = resetPeak();
    std::size_t before = status(wasReset ? "VmRSS:" : "VmHWM:");
};

/// During its lifetime the process gets only so much address space beyond what it
/// has, so that what is asked for counts, used or not. A sanitizer needs more than
/// that for itself; under one there is no limit.
class AddressSpaceLimit {
public:
    explicit AddressSpaceLimit(std::size_t more) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        holds = getrlimit(RLIMIT_AS, &previous) == 0 && set(status("VmSize:") + more);
#else
        static_cast<void>(more);
#endif
    }
    AddressSpaceLimit(const AddressSpaceLimit&) = delete;
    AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;
    ~AddressSpaceLimit() {
        if (holds) {
            set(previous.rlim_cur);
        }
    }
    bool isSet() const {
        return holds;
    }

private:
    bool set(rlim_t bytes) const {
        const rlimit limit{bytes, previous.rlim_max};
        return setrlimit(RLIMIT_AS, &limit) == 0;
    }
    rlimit previous{};
    bool holds = false;
};

}  // namespace Memory
