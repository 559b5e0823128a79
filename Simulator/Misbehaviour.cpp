#include "Simulator/Misbehaviour.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>
#include <utility>

#include <json/value.h>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "Simulator/MemberOf.h"
#include "Simulator/RequestError.h"

namespace JsonDevice {

namespace {

using Kind = Misbehaviour::Kind;

struct KindName {
    std::string_view name;
    Kind kind;
    enum class Amount { none, optional, required } amount;
};

constexpr std::array<KindName, 10> kinds{{
    {"delay", Kind::delay, KindName::Amount::required},
    {"no-answer", Kind::noAnswer, KindName::Amount::none},
    {"wrong-id", Kind::wrongId, KindName::Amount::optional},
    {"duplicate", Kind::duplicate, KindName::Amount::none},
    {"late", Kind::late, KindName::Amount::none},
    {"error", Kind::error, KindName::Amount::optional},
    {"split", Kind::split, KindName::Amount::optional},
    {"truncate", Kind::truncate, KindName::Amount::optional},
    {"garbage", Kind::garbage, KindName::Amount::optional},
    {"reset", Kind::reset, KindName::Amount::optional},
}};

[[noreturn]] void refuse(std::string_view text, const std::string& why) {
    throw KorvanParseException("Simulator/Misbehaviour", __LINE__,
                               L"Misbehaviour '" + toWide(text) + L"': " + toWide(why));
}

std::string quoted(std::string_view text) {
    return '\'' + std::string(text) + '\'';
}

/// The number that is the whole of `value`.
template <class Number>
Number number(std::string_view text, std::string_view key, std::string_view value, Number minimum,
              Number maximum) {
    Number read{};
    const char* const end = value.data() + value.size();
    const auto [stopped, error] = std::from_chars(value.data(), end, read);
    if (error != std::errc() || stopped != end || !(read >= minimum && read <= maximum)) {
        refuse(text, quoted(value) + " is no value for " + quoted(key));
    }
    return read;
}

constexpr std::uint64_t most = UINT64_MAX;

bool matches(const std::string& pattern, const std::string& method) {
    return pattern.ends_with('*')
               ? method.starts_with(std::string_view(pattern).substr(0, pattern.size() - 1))
               : pattern == method;
}

/// The methods of a request, or of all requests of a batch; an empty name for
/// what is no request.
std::vector<std::string> methodsOf(const std::string& request) {
    Json::Value value;
    std::vector<std::string> methods;
    const auto add = [&](const Json::Value& one) {
        const Json::Value* const method = one.isObject() ? memberOf(one, "method") : nullptr;
        methods.push_back(method != nullptr && method->isString() ? method->asString() : std::string());
    };
    if (JsonText::read(request, value) && value.isArray()) {
        std::for_each(value.begin(), value.end(), add);
    } else {
        add(value);
    }
    return methods;
}

/// Applies change to the reply, or to each reply of a batch.
template <class Change>
std::string changed(const std::string& reply, Change change) {
    Json::Value value;
    if (!JsonText::read(reply, value)) {
        return reply;
    }
    if (value.isArray()) {
        std::for_each(value.begin(), value.end(), change);
    } else {
        change(value);
    }
    std::string text;
    JsonText::append(text, value);
    return text;
}

void shiftId(Json::Value& reply, std::int64_t by) {
    Json::Value& id = reply["id"];
    if (id.isInt64()) {
        // Unsigned, since that wraps around where the sum is too large.
        id = static_cast<Json::Int64>(static_cast<std::uint64_t>(id.asInt64()) +
                                      static_cast<std::uint64_t>(by));
    } else {
        id = by;
    }
}

}  // namespace

Misbehaviour Misbehaviour::parse(std::string_view text) {
    Misbehaviour result;
    bool first = true;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        const std::string_view part = text.substr(at, comma - at);
        at = comma + 1;
        const std::size_t equals = part.find('=');
        const std::string_view key = part.substr(0, equals);
        const bool hasValue = equals != std::string_view::npos;
        const std::string_view value = hasValue ? part.substr(equals + 1) : std::string_view();
        if (first) {
            first = false;
            const auto known = std::ranges::find(kinds, key, &KindName::name);
            if (known == kinds.end()) {
                std::string names;
                for (const KindName& kind : kinds) {
                    names += (names.empty() ? "" : ", ") + std::string(kind.name);
                }
                refuse(text, quoted(key) + " is none of " + names);
            }
            if (hasValue ? known->amount == KindName::Amount::none
                         : known->amount == KindName::Amount::required) {
                refuse(text, quoted(key) + (hasValue ? " takes no value" : " needs a value"));
            }
            result.kind = known->kind;
            if (hasValue) {
                const bool mayBeNegative = result.kind == Kind::wrongId || result.kind == Kind::error;
                constexpr std::int64_t bound = INT32_MAX;
                result.amount = number<std::int64_t>(text, key, value, mayBeNegative ? -bound : 0, bound);
            }
        } else if (key == "method" && !value.empty()) {
            result.method = value;
        } else if (key == "after") {
            result.after = number<std::uint64_t>(text, key, value, 0, most);
        } else if (key == "every") {
            result.every = number<std::uint64_t>(text, key, value, 1, most);
        } else if (key == "count") {
            result.count = number<std::uint64_t>(text, key, value, 0, most);
        } else if (key == "probability") {
            result.probability = number<double>(text, key, value, 0, 1);
        } else if (key == "seed") {
            result.seed = number<std::uint64_t>(text, key, value, 0, most);
        } else {
            refuse(text, quoted(part) + " is none of method=, after=, every=, count=, probability=, seed=");
        }
    }
    return result;
}

bool Misbehaver::Rule::applies(const std::vector<std::string>& methods) {
    const auto isMine = [&](const std::string& method) { return matches(misbehaviour.method, method); };
    if (std::ranges::none_of(methods, isMine)) {
        return false;
    }
    const std::uint64_t before = seen++;
    if (before < misbehaviour.after ||
        (before - misbehaviour.after) % std::max<std::uint64_t>(misbehaviour.every, 1) != 0 ||
        (misbehaviour.count && done >= *misbehaviour.count)) {
        return false;
    }
    // The top 53 bits as a number from 0 up to 1; the library's own distributions
    // differ between implementations.
    const double chance = static_cast<double>(random() >> 11) * 0x1p-53;
    return chance < misbehaviour.probability;
}

void Misbehaver::add(Misbehaviour misbehaviour) {
    std::mt19937_64 random(misbehaviour.seed);
    rules.push_back({std::move(misbehaviour), random});
}

Misbehaver::Plan Misbehaver::plan(const std::string& request, std::string reply) {
    Plan plan;
    const std::vector<std::string> methods = methodsOf(request);
    // Each counts its requests and draws its chances, whether or not another has its way.
    Rule* acting = nullptr;
    for (Rule& rule : rules) {
        if (rule.applies(methods) && acting == nullptr) {
            acting = &rule;
            ++rule.done;
        }
    }
    const bool due = !reply.empty();
    const auto send = [&](std::string record) {
        record += '\0';
        plan.pieces.push_back(std::move(record));
    };
    if (acting == nullptr) {
        if (due) {
            send(std::move(reply));
        }
        return plan;
    }
    const std::optional<std::int64_t> amount = acting->misbehaviour.amount;
    const auto bytes = [&](std::size_t otherwise) {
        return amount ? static_cast<std::size_t>(std::max<std::int64_t>(*amount, 0)) : otherwise;
    };
    switch (acting->misbehaviour.kind) {
        case Kind::reset:
            plan.reset = true;
            if (due && bytes(0) > 0) {
                plan.pieces.push_back(reply.substr(0, bytes(0)));
            }
            return plan;
        case Kind::delay:
            plan.delayMs = amount.value_or(0);
            break;
        default:
            break;
    }
    // The others change a reply, and so need one.
    if (!due) {
        return plan;
    }
    switch (acting->misbehaviour.kind) {
        case Kind::noAnswer:
        case Kind::reset:
            break;
        case Kind::delay:
            send(std::move(reply));
            break;
        case Kind::wrongId:
            send(changed(reply, [&](Json::Value& one) { shiftId(one, amount.value_or(1)); }));
            break;
        case Kind::duplicate:
            send(reply);
            send(std::move(reply));
            break;
        case Kind::late:
            reply += '\0';
            plan.late.push_back(std::move(reply));
            break;
        case Kind::error:
            send(changed(reply, [&](Json::Value& one) {
                one.removeMember("result");
                one["error"] = Json::Value(Json::objectValue);
                one["error"]["code"] = static_cast<Json::Int64>(amount.value_or(ErrorCode::deviceError));
                one["error"]["message"] = "Simulated error";
            }));
            break;
        case Kind::split: {
            constexpr std::size_t mostPieces = 64;
            reply += '\0';
            const std::size_t piece =
                std::max({bytes(1), (reply.size() + mostPieces - 1) / mostPieces, std::size_t{1}});
            for (std::size_t at = 0; at < reply.size(); at += piece) {
                plan.pieces.push_back(reply.substr(at, piece));
            }
            break;
        }
        case Kind::truncate:
            send(reply.substr(0, bytes(reply.size() / 2)));
            break;
        case Kind::garbage: {
            // A brace that never closes, so that no luck makes it JSON.
            std::string garbage = "{";
            for (std::size_t i = 1; i < bytes(32); ++i) {
                garbage += static_cast<char>(1 + acting->random() % 255);
            }
            // ... and none that could close it.
            std::ranges::replace(garbage, '}', '{');
            send(std::move(garbage));
            break;
        }
    }
    return plan;
}

}  // namespace JsonDevice
