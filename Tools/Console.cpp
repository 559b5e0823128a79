#include "Tools/Console.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

/// What a signal handler may look at.
std::atomic<const char*> interruptionDocument = nullptr;
std::atomic<bool> progressToEnd = false;
static_assert(std::atomic<const char*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

constexpr std::size_t longestDiagnostic = 400;

/// 0, or the error number.
int writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

bool isWatched(int file) {
    return ::isatty(file) == 1;
}

/// https://no-color.org: any value but an empty one.
bool wantsColour() {
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (noColour == nullptr || *noColour == '\0') &&
           (terminal != nullptr && std::string_view(terminal) != "dumb");
}

extern "C" void onInterrupt(int) {
    if (progressToEnd) {
        writeAll(STDERR_FILENO, "\n");
    }
    if (const char* const text = interruptionDocument) {
        writeAll(STDOUT_FILENO, {text, std::strlen(text)});
    }
    ::_exit(static_cast<int>(ExitStatus::interrupted));
}

}  // namespace

void reserveStandardDescriptors() {
    // In this order each open takes the lowest free number. Standard output
    // is opened for reading, so that writing to it fails as it should.
    for (const auto& [file, mode] :
         {std::pair(0, O_WRONLY), std::pair(1, O_RDONLY), std::pair(2, O_WRONLY)}) {
        if (::fcntl(file, F_GETFD) < 0) {
            [[maybe_unused]] const int opened = ::open("/dev/null", mode);
        }
    }
}

void setInterruptionDocument(const char* text) {
    interruptionDocument = text;
}

void handleSignals() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    ::sigaction(SIGINT, &action, nullptr);
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &action, nullptr);
}

Console::Console() : dataIsWatched(isWatched(STDOUT_FILENO)), notesAreWatched(isWatched(STDERR_FILENO)) {}

void Console::data(std::string_view text) {
    progress("");
    const std::lock_guard guard(lock);
    if (const int error = writeAll(STDOUT_FILENO, text)) {
        // Whoever reads a pipe may stop when they have enough; that needs no words.
        throw FailureException(
            {ExitStatus::cannotWrite,
             error == EPIPE ? std::string()
                            : "cannot write to standard output: " + std::string(std::strerror(error))});
    }
}

void Console::note(std::string_view line) {
    if (!quiet) {
        write(std::string(line) + "\n");
    }
}

void Console::error(std::string_view line) {
    const bool coloured = notesAreWatched && wantsColour();
    write((coloured ? "\033[1;31merror:\033[0m " : "error: ") + std::string(line) + "\n");
}

void Console::progress(std::string_view line) {
    if (quiet || !notesAreWatched) {
        return;
    }
    const std::lock_guard guard(lock);
    if (!line.empty() || progressShown) {
        writeAll(STDERR_FILENO, "\r\033[K" + std::string(line));
        progressShown = !line.empty();
        progressToEnd = progressShown;
    }
}

std::string Console::heading(std::string_view text) const {
    const bool coloured = dataIsWatched && wantsColour();
    return coloured ? "\033[1m" + std::string(text) + "\033[0m" : std::string(text);
}

void Console::write(std::string_view text) {
    progress("");
    const std::lock_guard guard(lock);
    writeAll(STDERR_FILENO, text);
}

Diagnostics::Diagnostics(Console& c) : console(c), previous(std::cout.rdbuf(this)) {}

Diagnostics::~Diagnostics() {
    std::cout.rdbuf(previous);
    for (const auto& [thread, text] : lines) {
        console.note(printableLine(text, longestDiagnostic));
    }
}

std::string Diagnostics::take() {
    const std::lock_guard guard(lock);
    const auto found = lines.find(std::this_thread::get_id());
    if (found == lines.end()) {
        return {};
    }
    std::string text = std::move(found->second);
    lines.erase(found);
    return text;
}

void Diagnostics::show() {
    std::string text = take();
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        console.note(printableLine(text.substr(0, end), longestDiagnostic));
        text.erase(0, end == std::string::npos ? end : end + 1);
    }
}

void Diagnostics::drop() {
    take();
}

std::streamsize Diagnostics::xsputn(const char* text, std::streamsize length) {
    const std::lock_guard guard(lock);
    lines[std::this_thread::get_id()].append(text, static_cast<std::size_t>(length));
    return length;
}

Diagnostics::int_type Diagnostics::overflow(int_type character) {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        const char c = traits_type::to_char_type(character);
        xsputn(&c, 1);
    }
    return traits_type::not_eof(character);
}

}  // namespace Tool
