#include <charconv>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <vector>

#include <json/reader.h>
#include <simdjson.h>

#include "DeviceManager/JsonDevice/JsonText.h"

namespace JsonDevice::JsonText {

namespace {

static_assert(readPadding >= simdjson::SIMDJSON_PADDING);

/// Nesting beyond this is left to Json::Reader, which has a limit of its own.
constexpr std::size_t quickDepth = 500;

/// Json::Reader keeps the comments of a text no longer than this. To place one
/// it looks back to the value before it, so the time that many of them take
/// grows with the square of their number: minutes for a megabyte of them.
constexpr std::size_t longestCommentedText = std::size_t{16} << 10;

/// Json::Reader makes all integers that 32 bits hold signed, and larger positive ones unsigned.
Json::Value integer(std::uint64_t value) {
    return value <= static_cast<std::uint64_t>(std::numeric_limits<int>::max())
               ? Json::Value(static_cast<Json::Int64>(value))
               : Json::Value(static_cast<Json::UInt64>(value));
}

Json::Value integer(std::int64_t value) {
    return value < 0 ? Json::Value(static_cast<Json::Int64>(value))
                     : integer(static_cast<std::uint64_t>(value));
}

void convert(const simdjson::dom::element& element, Json::Value& value) {
    switch (element.type()) {
        case simdjson::dom::element_type::ARRAY: {
            value = Json::Value(Json::arrayValue);
            for (const simdjson::dom::element item : simdjson::dom::array(element)) {
                convert(item, value.append(Json::Value()));
            }
            break;
        }
        case simdjson::dom::element_type::OBJECT: {
            value = Json::Value(Json::objectValue);
            for (const auto& [key, member] : simdjson::dom::object(element)) {
                // Where a key stands twice the last one counts.
                convert(member, value[std::string(key)]);
            }
            break;
        }
        case simdjson::dom::element_type::INT64:
            value = integer(std::int64_t(element));
            break;
        case simdjson::dom::element_type::UINT64:
            value = integer(std::uint64_t(element));
            break;
        case simdjson::dom::element_type::DOUBLE:
            value = double(element);
            break;
        case simdjson::dom::element_type::STRING: {
            const std::string_view text = element;
            value = Json::Value(text.data(), text.data() + text.size());
            break;
        }
        case simdjson::dom::element_type::BOOL:
            value = bool(element);
            break;
        case simdjson::dom::element_type::NULL_VALUE:
            value = Json::Value();
            break;
    }
}

bool readQuickly(const std::string& text, Json::Value& value) {
    simdjson::dom::parser parser;
    if (parser.allocate(text.size(), quickDepth) != simdjson::SUCCESS) {
        return false;
    }
    const bool inPlace = text.capacity() - text.size() >= readPadding;
    simdjson::dom::element root;
    if (parser.parse(text.data(), text.size(), !inPlace).get(root) != simdjson::SUCCESS) {
        return false;
    }
    convert(root, value);
    return true;
}

/// Json::Reader takes numbers through the global C++ locale, so it is never
/// shown one: each number of the text is replaced by its position in a list,
/// and put back into the tree behind the reader's back.
class LiberalReader {
public:
    bool read(std::string_view text, Json::Value& value) {
        std::string numbered;
        replaceNumbers(text, numbered);
        Json::Reader reader;
        // The form that takes a std::string keeps a copy of its own, ended by
        // NUL; wording an error needs that byte.
        if (!reader.parse(numbered, value, text.size() <= longestCommentedText)) {
            return false;
        }
        restoreNumbers(value);
        return true;
    }

private:
    /// The tokens are cut just as Json::Reader cuts them. What it cannot cut
    /// it refuses, so the rest does not matter.
    void replaceNumbers(std::string_view text, std::string& out) {
        std::size_t at = 0;
        while (at < text.size()) {
            const std::size_t begin = at;
            const char c = text[at++];
            if (c == '"') {
                skipString(text, at);
            } else if (c == '/') {
                skipComment(text, at);
            } else if (c == '-' || isDigit(c)) {
                skipNumber(text, at);
                // Blanks keep it apart from what stood beside the number.
                if (auto number = decode(text.substr(begin, at - begin))) {
                    out += ' ' + std::to_string(numbers.size()) + ' ';
                    numbers.push_back(std::move(*number));
                } else {
                    out += " 1e ";  // the reader refuses this one too, under every locale
                }
                continue;
            }
            out.append(text, begin, at - begin);
        }
    }

    void restoreNumbers(Json::Value& value) {
        if (value.isArray() || value.isObject()) {
            for (Json::Value& element : value) {
                restoreNumbers(element);
            }
        } else if (value.isNumeric()) {
            // The payload alone: comments stay where they are.
            Json::Value number = numbers.at(value.asLargestUInt());
            value.swapPayload(number);
        }
    }

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }

    static void skipString(std::string_view text, std::size_t& at) {
        while (at < text.size()) {
            const char c = text[at++];
            if (c == '\\' && at < text.size()) {
                ++at;
            } else if (c == '"') {
                return;
            }
        }
    }

    static void skipComment(std::string_view text, std::size_t& at) {
        if (at < text.size() && text[at] == '*') {
            const std::size_t end = text.find("*/", at + 1);
            at = end == std::string_view::npos ? text.size() : end + 2;
        } else if (at < text.size() && text[at] == '/') {
            const std::size_t end = text.find_first_of("\r\n", at);
            at = end == std::string_view::npos ? text.size() : end + 1;
        }
    }

    static void skipNumber(std::string_view text, std::size_t& at) {
        const auto skipDigits = [&] {
            while (at < text.size() && isDigit(text[at])) {
                ++at;
            }
        };
        skipDigits();
        if (at < text.size() && text[at] == '.') {
            ++at;
            skipDigits();
        }
        if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
            ++at;
            if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
                ++at;
            }
            skipDigits();
        }
    }

    static std::optional<Json::Value> decode(std::string_view token) {
        if (token == "-") {
            return Json::Value(0);
        }
        const char* const end = token.data() + token.size();
        if (token.front() == '-') {
            std::int64_t value = 0;
            const auto [stop, error] = std::from_chars(token.data(), end, value);
            if (error == std::errc() && stop == end) {
                return integer(value);
            }
        } else {
            std::uint64_t value = 0;
            const auto [stop, error] = std::from_chars(token.data(), end, value);
            if (error == std::errc() && stop == end) {
                return integer(value);
            }
        }
        std::istringstream stream{std::string(token)};
        stream.imbue(std::locale::classic());
        double value = 0;
        if (!(stream >> value)) {
            return std::nullopt;
        }
        return Json::Value(value);
    }

    std::vector<Json::Value> numbers;
};

}  // namespace

bool read(const std::string& text, Json::Value& value) {
    try {
        return readQuickly(text, value) || LiberalReader().read(text, value);
    } catch (const std::exception&) {
        // Too deep for the reader, for one.
        return false;
    }
}

}  // namespace JsonDevice::JsonText
