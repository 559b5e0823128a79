#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The inner loops of the image encodings, over memory that should be in the
/// first-level cache. Each exists twice: here in the form that suits the processor
/// best, and in Portable, in plain code that says what it must give.
///
/// The run-length text consists of tokens of two characters: a value, as two
/// digits of base 64, or "/" and the number of times that the value before it is
/// repeated. The largest value is 4031, so that no value starts with "/".
namespace JsonDevice::ImageCodec {

inline constexpr float runLengthScale = 2048.0F;
/// The limits of the two kinds of image that travel as run lengths.
inline constexpr float grayscaleLimit = 2048.0F;
inline constexpr float rgbLimit = 4031.0F;

/// Where a run-length encoder stands: in a run of values of which the first has
/// been written, and `repeats` more have not.
struct RunState {
    /// The number that is written for the value; before the first one none.
    int number = -1;
    /// The bits of the float that was encoded last.
    std::uint32_t bits = 0;
    std::uint64_t repeats = 0;
};

/// What tokens of run-length text hold.
struct RunScan {
    /// How many values they stand for.
    std::size_t values = 0;
    /// Whether every character is of the alphabet and no run is empty. When
    /// false, `values` means nothing.
    bool clean = false;
};

char* insertRLECount(char* out, int count);
char* insertRLEValue(char* out, int value);

/// Writes the repeats that a run still owes, and forgets them.
char* closeRun(RunState& state, char* out);

/// Quantises values (x 2048, rounded by truncating x + 0.5, limited to 0..limit,
/// NaN as 0) and writes their text, but for the repeats that stay in the state.
/// Writes at most two characters for each value seen so far, and returns where the
/// text ends.
char* encodeRuns(const float* values, std::size_t count, float limit, RunState& state, char* out);
RunScan scanRuns(const char* text, std::size_t tokens);
/// Decodes `count` values from text that is known to hold them; a run before any
/// value repeats 0.
void decodeRuns(const char* text, const char* end, float* values, std::size_t count);

/// Quantises to bytes: limited to 0..1, x 255, rounded by truncating x + 0.5, NaN as 0.
void quantiseBytes(const float* values, std::size_t count, std::uint8_t* bytes);
/// Each byte / 255.
void expandBytes(const std::uint8_t* bytes, std::size_t count, float* values);

namespace Portable {

char* encodeRuns(const float* values, std::size_t count, float limit, RunState& state, char* out);
RunScan scanRuns(const char* text, std::size_t tokens);
void decodeRuns(const char* text, const char* end, float* values, std::size_t count);
void quantiseBytes(const float* values, std::size_t count, std::uint8_t* bytes);
void expandBytes(const std::uint8_t* bytes, std::size_t count, float* values);

}  // namespace Portable

}  // namespace JsonDevice::ImageCodec
