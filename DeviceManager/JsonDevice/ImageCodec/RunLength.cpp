#include "DeviceManager/JsonDevice/ImageCodec/RunLength.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "Common/Base64Portable.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"

namespace JsonDevice::ImageCodec {

namespace {

// Of every worker's text; with the values it reads, 13 of them stay below 1 MiB.
constexpr std::size_t pieceValues = 32 * 1024;
constexpr std::size_t mostWorkers = 13;

char* encodePixels(const ValueSource& source, std::size_t begin, std::size_t end, float limit,
                   RunState& state, char* out) {
    source.forEachBlock(begin, end, [&](const float* values, std::size_t count) {
        out = encodeRuns(values, count, limit, state, out);
    });
    return out;
}

/// Pieces are encoded as if each were an image of its own, but for the repeats at
/// the end of its last run, which stay open. A run's text depends on nothing but
/// its value and its length, so where a piece goes on with the run that the pieces
/// before it ended with, the two become one by adding the lengths; all other text
/// stands as it is.
class EncodeJob final : public PieceJob {
public:
    EncodeJob(const ValueSource& source, float limit, char* text, std::size_t workerCount)
        : source(source),
          limit(limit),
          piecePixels(pieceValues / source.valuesPerPixel()),
          out(text),
          workers(std::make_unique<Worker[]>(workerCount)) {
        for (std::size_t i = 0; i < workerCount; ++i) {
            workers[i].text.reset(new char[runLengthCapacity(pieceValues)]);
        }
    }

    std::size_t pieces() const { return (source.pixels() + piecePixels - 1) / piecePixels; }

    void produce(std::size_t piece, std::size_t worker) override {
        Worker& own = workers[worker];
        const std::size_t begin = piece * piecePixels;
        const std::size_t end = std::min(source.pixels(), begin + piecePixels);
        own.state = RunState();
        own.end = encodePixels(source, begin, end, limit, own.state, own.text.get());
        own.begin = own.text.get();
    }

    void join(std::size_t, std::size_t worker) override {
        Worker& own = workers[worker];
        std::uint16_t first = 0;
        std::memcpy(&first, own.begin, 2);
        if (first == open.token) {
            ++open.repeats;
            own.begin = takeRepeats(own.begin + 2, own.end);
            if (own.begin == own.end) {
                open.repeats += own.state.repeats;  // the piece is one single run
                own.place = nullptr;
                return;
            }
        }
        out = closeRun(open, out);
        own.place = out;
        out += own.end - own.begin;
        open = own.state;
    }

    void place(std::size_t, std::size_t worker) override {
        const Worker& own = workers[worker];
        if (own.place != nullptr) {
            std::memcpy(own.place, own.begin, static_cast<std::size_t>(own.end - own.begin));
        }
    }

    char* finish() { return closeRun(open, out); }

private:
    struct Worker {
        std::unique_ptr<char[]> text;
        const char* begin = nullptr;
        char* end = nullptr;
        char* place = nullptr;
        RunState state;
    };

    /// Adds what follows the first value of a piece and repeats it to the open run.
    const char* takeRepeats(const char* text, const char* end) {
        while (text != end && *text == '/') {
            open.repeats += Base64Portable::valueOf(text[1]);
            text += 2;
            // After a full token the same value may have been written again.
            if (text == end || std::memcmp(text, &open.token, 2) != 0) {
                break;
            }
            ++open.repeats;
            text += 2;
        }
        return text;
    }

    const ValueSource& source;
    const float limit;
    const std::size_t piecePixels;
    RunState open;
    char* out;
    std::unique_ptr<Worker[]> workers;
};

}  // namespace

std::size_t encodeRunLength(const ValueSource& source, float limit, char* text, std::size_t workers) {
    if (workers <= 1 || source.values() <= 2 * pieceValues) {
        RunState state;
        char* const end = encodePixels(source, 0, source.pixels(), limit, state, text);
        return static_cast<std::size_t>(closeRun(state, end) - text);
    }
    workers = std::min(workers, mostWorkers);
    EncodeJob job(source, limit, text, workers);
    runPieces(job, job.pieces(), workers);
    return static_cast<std::size_t>(job.finish() - text);
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

class DecodeJob final : public PieceJob {
public:
    DecodeJob(const RunLengthPlan& plan, float* values) : plan(plan), values(values) {}

    void produce(std::size_t piece, std::size_t) override {
        const std::size_t begin = plan.pieces[piece].value;
        const std::size_t end = piece + 1 < plan.pieces.size() ? plan.pieces[piece + 1].value : plan.values;
        decodeRuns(plan.text.data() + plan.pieces[piece].text, plan.text.data() + plan.text.size(),
                   values + begin, end - begin);
    }

private:
    const RunLengthPlan& plan;
    float* values;
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
    if (plan.values > 0) {
        DecodeJob job(plan, values);
        runPieces(job, plan.pieces.size(), workers);
    }
}

}  // namespace JsonDevice::ImageCodec
