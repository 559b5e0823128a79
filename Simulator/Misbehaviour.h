#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Export.h"

namespace JsonDevice {

/// One way in which a device goes wrong, and when it does.
///
/// As text: a kind, "=" and an amount where it has one, then conditions, all
/// separated by commas. For example `delay=2000,method=StatusInterface::*` or
/// `reset,after=10,count=1` or `garbage,probability=0.05,seed=7`.
struct JSONDEVICE_EXPORT Misbehaviour {
    enum class Kind {
        /// `delay=MS`: the reply, and all after it on this connection, comes later.
        delay,
        /// `no-answer`: no reply ever comes.
        noAnswer,
        /// `wrong-id=N`: the reply carries the request's id + N (1 unless given).
        wrongId,
        /// `duplicate`: the reply comes twice.
        duplicate,
        /// `late`: the reply comes only just before the next one on this connection.
        late,
        /// `error=CODE`: an error (-32000 unless given) in place of the reply.
        error,
        /// `split=BYTES`: the reply comes in pieces of so many bytes (1 unless
        /// given, but never more than 64 pieces), 1 ms apart.
        split,
        /// `truncate=BYTES`: only so many bytes (half of them unless given) of the reply, and its NUL.
        truncate,
        /// `garbage=BYTES`: so many bytes (32 unless given) that are no JSON in place of the reply.
        garbage,
        /// `reset=BYTES`: so many bytes (0 unless given) of the reply, then the connection is reset.
        reset
    };

    Kind kind = Kind::noAnswer;
    std::optional<std::int64_t> amount = {};
    /// `method=NAME`: for this method alone; with a "*" at its end for all that begin so.
    std::string method = "*";
    /// `after=N`: not for the first N requests of the method.
    std::uint64_t after = 0;
    /// `every=N`: then for the first of each N.
    std::uint64_t every = 1;
    /// `count=N`: N times and never again.
    std::optional<std::uint64_t> count = {};
    /// `probability=P`: for this share of what is left, 0 to 1, by chance.
    double probability = 1;
    /// `seed=N`: the same seed gives the same chances.
    std::uint64_t seed = 1;

    /// Throws KorvanParseException, whose text says what is wrong.
    static Misbehaviour parse(std::string_view text);
};

/// Applies misbehaviours to the replies of a server. Not locked.
class JSONDEVICE_EXPORT Misbehaver {
public:
    /// What is to be done for one reply, in this order.
    struct Plan {
        /// To wait before anything else.
        std::int64_t delayMs = 0;
        /// To be sent, each with its NUL where it has one; pauses of 1 ms between them.
        std::vector<std::string> pieces;
        /// Records to be sent before the next plan's pieces.
        std::vector<std::string> late;
        bool reset = false;
    };

    void add(Misbehaviour misbehaviour);
    void clear() { rules.clear(); }
    bool empty() const { return rules.empty(); }

    /// The plan for a reply (empty when none is due) to a request; the first
    /// misbehaviour that applies is the one. A batch counts for the methods of
    /// all its requests.
    Plan plan(const std::string& request, std::string reply);

private:
    struct Rule {
        Misbehaviour misbehaviour;
        std::mt19937_64 random;
        std::uint64_t seen = 0;
        std::uint64_t done = 0;
        bool applies(const std::vector<std::string>& methods);
    };
    std::vector<Rule> rules;
};

}  // namespace JsonDevice
