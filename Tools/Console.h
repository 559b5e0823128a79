#pragma once

#include <map>
#include <mutex>
#include <streambuf>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <json/value.h>

namespace Tool {

/// Opens what the caller left closed of the three standard descriptors, so that
/// no connection gets their numbers. What was closed stays unusable: writing to
/// a standard output that was closed fails.
void reserveStandardDescriptors();

/// The tool's way out: data to standard output, all else to standard error.
/// Both are written whole and at once, without the C and C++ streams, and any
/// thread may write.
class Console {
public:
    Console();

    bool json = false;
    bool quiet = false;
    bool verbose = false;

    /// Throws a FailureException when not all could be written.
    void data(std::string_view text);
    /// A line without its end, unless quiet; what cannot be written is lost.
    void note(std::string_view line);
    /// "error: " and the line. Also when quiet.
    void error(std::string_view line);
    /// Replaces the last progress; only where a person is watching. Empty to take it away.
    void progress(std::string_view line);

    /// For standard output: bold where a person reads it and wants colours, else as it is.
    std::string heading(std::string_view text) const;

private:
    void write(std::string_view text);

    const bool dataIsWatched;
    const bool notesAreWatched;
    std::mutex lock;
    bool progressShown = false;
};

/// Stands in for std::cout's buffer while it lives. The library prints one-line
/// diagnostics there, which are no data of the tool's: they are kept, by
/// thread, until that thread says what becomes of them.
class Diagnostics final : public std::streambuf {
public:
    explicit Diagnostics(Console& console);
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;
    /// Shows what is left.
    ~Diagnostics() override;

    /// Writes this thread's lines to standard error, safe for a terminal.
    void show();
    /// Forgets this thread's lines: what they say is said otherwise.
    void drop();

private:
    std::streamsize xsputn(const char* text, std::streamsize length) override;
    int_type overflow(int_type character) override;
    std::string take();

    Console& console;
    std::streambuf* const previous;
    std::mutex lock;
    std::map<std::thread::id, std::string> lines;
};

/// The JSON document that stands for an interruption while nothing was printed yet; null for none.
void setInterruptionDocument(const char* text);
/// SIGINT ends the process with its status; SIGPIPE is left to the writes.
void handleSignals();

}  // namespace Tool
