#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "DeviceManager/JsonDevice/ImageCodec/ValueSource.h"

/// Run-length text of whole images; see Docs/image-encodings.md.
namespace JsonDevice::ImageCodec {

/// The most characters that so many values can take.
constexpr std::size_t runLengthCapacity(std::size_t values) {
    return 2 * values;
}

/// Encodes the source into `text`, which has room for runLengthCapacity of its
/// values, and returns the length. Needs a few KiB beside it. The text is the same for any number of
/// workers. Throws what the source throws.
std::size_t encodeRunLength(const ValueSource& source, float limit, char* text, std::size_t workers);

/// How many repeats a run-length text has saved over writing each value, as the
/// encoder's report counts it: a run of n saves n - 1.
constexpr std::size_t runLengthSavings(std::size_t values, std::size_t textLength) {
    return values - textLength / 2;
}

/// A checked text, cut where a value token stands so that each piece can be
/// decoded by itself.
struct RunLengthPlan {
    struct Piece {
        std::size_t text;
        std::size_t value;
    };
    std::string_view text;
    std::size_t values;
    std::vector<Piece> pieces;
};

/// Checks that the text holds `values` values; what comes behind them is not
/// looked at. Nothing when it is too short or has a character outside the alphabet
/// where a value is due. With `cut`, there are pieces for several workers.
std::optional<RunLengthPlan> planRunLength(std::string_view text, std::size_t values, bool cut);

/// Decodes into plan.values floats.
void decodeRunLength(const RunLengthPlan& plan, float* values, std::size_t workers);

}  // namespace JsonDevice::ImageCodec
