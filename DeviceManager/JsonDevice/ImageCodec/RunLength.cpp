#include "DeviceManager/JsonDevice/ImageCodec/RunLength.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>

#include "Common/Base64Portable.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"

namespace JsonDevice::ImageCodec {

namespace {

// Between two cuts of a text that is decoded by several threads.
constexpr std::size_t pieceValues = 32 * 1024;
// Fewer values than these are not worth a piece of an image that is encoded.
constexpr std::size_t leastValues = 64 * 1024;
constexpr std::size_t mostPieces = 32;

/// Hands out the pieces of an image from both ends, each once.
class TwoEnds {
public:
    explicit TwoEnds(std::size_t pieces) : back(pieces) {}
    std::optional<std::size_t> first() {
        const std::lock_guard guard(lock);
        return front < back ? std::optional(front++) : std::nullopt;
    }
    std::optional<std::size_t> last() {
        const std::lock_guard guard(lock);
        return front < back ? std::optional(--back) : std::nullopt;
    }

private:
    std::mutex lock;
    std::size_t front = 0;
    std::size_t back;
};

char* encodePixels(const ValueSource& source, std::size_t begin, std::size_t end, float limit,
                   RunState& state, char* out) {
    source.forEachBlock(begin, end, [&](const float* values, std::size_t count) {
        out = encodeRuns(values, count, limit, state, out);
    });
    return out;
}

int numberAt(const char* text) {
    return Base64Portable::valueOf(text[0]) * 64 + Base64Portable::valueOf(text[1]);
}

/// A piece of an image, encoded as if it were an image of its own, but for the
/// repeats at the end of its last run, which stay open.
struct EncodedPiece {
    const char* begin = nullptr;
    const char* end = nullptr;
    RunState state;
};

/// Puts pieces behind one another. A run's text depends on nothing but its value
/// and its length, so where a piece goes on with the run that the one before it
/// ended with, the two become one by adding the lengths; all other text stands as
/// it is.
class Joiner {
public:
    /// Goes on behind a text that ends at `out`, but for the repeats of its last run.
    Joiner(const RunState& open, char* out) : open(open), out(out) {}

    void add(const EncodedPiece& piece) {
        const char* begin = piece.begin;
        if (numberAt(begin) == open.number) {
            ++open.repeats;
            begin = takeRepeats(begin + 2, piece.end);
            if (begin == piece.end) {
                open.repeats += piece.state.repeats;  // the piece is one single run
                return;
            }
        }
        // What is written so far is no longer than what was read, so the text moves down.
        out = closeRun(open, out);
        const auto length = static_cast<std::size_t>(piece.end - begin);
        std::memmove(out, begin, length);
        out += length;
        open = piece.state;
    }

    char* finish() { return closeRun(open, out); }

private:
    /// Adds what follows the first value of a piece and repeats it to the open run.
    const char* takeRepeats(const char* text, const char* end) {
        while (text != end && *text == '/') {
            open.repeats += Base64Portable::valueOf(text[1]);
            text += 2;
            // After a full token the same value may have been written again.
            if (text == end || numberAt(text) != open.number) {
                break;
            }
            ++open.repeats;
            text += 2;
        }
        return text;
    }

    RunState open;
    char* out;
};

}  // namespace

std::size_t encodeRunLength(const ValueSource& source, float limit, char* text, std::size_t workers) {
    const std::size_t count =
        workers <= 1 ? 1 : std::clamp<std::size_t>(source.values() / leastValues, 1, mostPieces);
    const auto beginOf = [&](std::size_t piece) { return source.pixels() * piece / count; };
    // One worker goes on from the beginning, where nothing has to be moved afterwards;
    // the others come towards it from the end, as far as they are there in time.
    TwoEnds ends(count);
    RunState state;
    char* out = text;
    std::array<EncodedPiece, mostPieces> pieces;
    forEachPiece(std::min(workers, count), workers, [&](std::size_t worker) {
        if (worker == 0) {
            while (const auto piece = ends.first()) {
                out = encodePixels(source, beginOf(*piece), beginOf(*piece + 1), limit, state, out);
            }
            return;
        }
        while (const auto piece = ends.last()) {
            // Where it stands when nothing before it repeats: no piece is longer.
            char* const at = text + runLengthCapacity(beginOf(*piece) * source.valuesPerPixel());
            RunState open;  // not in the array, of which other threads write the neighbours
            char* const end = encodePixels(source, beginOf(*piece), beginOf(*piece + 1), limit, open, at);
            pieces[*piece] = {at, end, open};
        }
    });
    Joiner joiner(state, out);
    for (const EncodedPiece& piece : pieces) {
        if (piece.begin != nullptr) {
            joiner.add(piece);
        }
    }
    return static_cast<std::size_t>(joiner.finish() - text);
}

namespace {

constexpr std::size_t chunkTokens = 1024;

/// Reads the tokens of a text one by one, as the decoder takes them.
class TokenReader {
public:
    TokenReader(std::string_view text, std::size_t wanted) : text(text), wanted(wanted) {}

    bool done() const { return values >= wanted; }

    /// As many whole chunks as can be checked in one go; the values of none of
    /// them go beyond what is wanted.
    bool readChunk() {
        const std::size_t tokens = std::min(chunkTokens, (text.size() - position) / 2);
        const RunScan scan = scanRuns(text.data() + position, tokens);
        if (tokens == 0 || !scan.clean || scan.values > wanted - values) {
            return false;
        }
        values += scan.values;
        position += 2 * tokens;
        return true;
    }

    /// One token; an empty run brings the value behind it along, whatever its
    /// first character is. False when a character is missing or is none.
    bool readToken() {
        int first = 0;
        int second = 0;
        if (!readPair(first, second)) {
            return false;
        }
        if (first == 63 && second > 0) {
            values += static_cast<std::size_t>(second);
            return true;
        }
        if (first == 63 && !readPair(first, second)) {
            return false;
        }
        ++values;
        return true;
    }

    bool atRun() const { return position < text.size() && text[position] == '/'; }

    std::size_t position = 0;
    std::size_t values = 0;

private:
    bool readPair(int& first, int& second) {
        if (text.size() - position < 2) {
            return false;
        }
        first = Base64Portable::valueOf(text[position]);
        second = Base64Portable::valueOf(text[position + 1]);
        position += 2;
        return first != 255 && second != 255;
    }

    std::string_view text;
    std::size_t wanted;
};

}  // namespace

std::optional<RunLengthPlan> planRunLength(std::string_view text, std::size_t values, bool cut) {
    // A token stands for at most 63 values.
    if (values / 63 > text.size() / 2) {
        return std::nullopt;
    }
    RunLengthPlan plan{text, values, {{0, 0}}};
    TokenReader reader(text, values);
    while (!reader.done()) {
        if (!reader.readChunk()) {
            // Not as plain as that: the end is near, or the text is damaged.
            for (std::size_t i = 0; i < chunkTokens && !reader.done(); ++i) {
                if (!reader.readToken()) {
                    return std::nullopt;
                }
            }
        }
        if (cut && reader.values - plan.pieces.back().value >= pieceValues) {
            while (!reader.done() && reader.atRun()) {
                if (!reader.readToken()) {
                    return std::nullopt;
                }
            }
            if (!reader.done()) {
                plan.pieces.push_back({reader.position, reader.values});
            }
        }
    }
    return plan;
}

void decodeRunLength(const RunLengthPlan& plan, float* values, std::size_t workers) {
    forEachPiece(plan.pieces.size(), workers, [&](std::size_t piece) {
        const auto& [text, begin] = plan.pieces[piece];
        const std::size_t end = piece + 1 < plan.pieces.size() ? plan.pieces[piece + 1].value : plan.values;
        decodeRuns(plan.text.data() + text, plan.text.data() + plan.text.size(), values + begin, end - begin);
    });
}

}  // namespace JsonDevice::ImageCodec
