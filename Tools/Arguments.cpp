#include "Tools/Arguments.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <json/reader.h>
#include <unistd.h>

#include "Common/Exceptions.h"
#include "Common/NumberText.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/RecordReader.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

using JsonDevice::MarshalJson;
using JsonDevice::Vocabulary::Operation;
using JsonDevice::Vocabulary::Parameter;
using JsonDevice::Wire::Form;

std::string readAll(int file, const std::string& name) {
    std::string text;
    for (;;) {
        char block[65536];
        const ssize_t count = ::read(file, block, sizeof block);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            refuseUsage("cannot read " + name + ": " + std::strerror(errno));
        }
        if (count == 0) {
            return text;
        }
        text.append(block, static_cast<std::size_t>(count));
        if (text.size() > JsonDevice::RecordReader::defaultLargestRecord) {
            refuseUsage(name + " is larger than " +
                        std::to_string(JsonDevice::RecordReader::defaultLargestRecord >> 20) + " MiB");
        }
    }
}

/// The text that the argument stands for.
std::string resolve(const std::string& argument, Input& input) {
    if (argument.starts_with("@@")) {
        return argument.substr(1);
    }
    const bool fromOutside = argument == "-" || argument.starts_with("@");
    std::string text = !fromOutside      ? argument
                       : argument == "-" ? input.readStandardInput()
                                         : Input::readFile(argument.substr(1));
    // Editors and echo end a text with a line end that nobody meant.
    if (fromOutside && text.ends_with('\n')) {
        text.pop_back();
        if (text.ends_with('\r')) {
            text.pop_back();
        }
    }
    return text;
}

template <class Number>
std::string range() {
    return "a whole number from " + std::to_string(std::numeric_limits<Number>::min()) + " to " +
           std::to_string(std::numeric_limits<Number>::max());
}

/// Decimal, or hexadecimal behind "0x".
template <class Number>
std::optional<Number> readInteger(std::string_view text) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) {
        return readNumber<Number>(text);
    }
    Number number{};
    const auto end = std::from_chars(text.data() + 2, text.data() + text.size(), number, 16);
    const bool whole = end.ec == std::errc() && end.ptr == text.data() + text.size() && text[2] != '-';
    return whole ? std::optional(number) : std::nullopt;
}

std::optional<bool> readBoolean(std::string_view text) {
    for (const char* yes : {"true", "on", "yes", "1"}) {
        if (text == yes) {
            return true;
        }
    }
    for (const char* no : {"false", "off", "no", "0"}) {
        if (text == no) {
            return false;
        }
    }
    return std::nullopt;
}

/// One argument of a method on its way to a parameter.
class Argument {
public:
    Argument(const Operation& operation, std::size_t index)
        : operation(operation), parameter(operation.parameters[index]), number(index + 1) {}

    Json::Value parse(const std::string& typed, Input& input) const {
        const std::string text = resolve(typed, input);
        return throughRegistry(byForm(text), text);
    }

private:
    std::string name() const {
        return "argument " + std::to_string(number) + " (" + parameter.name + ") of " +
               std::string(operation.method);
    }

    [[noreturn]] void refuse(std::string_view text, const std::string& expected) const {
        refuseUsage(name() + ": " + inQuotes(text) + " is not " + expected);
    }

    template <class Number>
    Json::Value integer(const std::string& text) const {
        const auto value = readInteger<Number>(text);
        if (!value) {
            refuse(text, range<Number>());
        }
        return Json::Value(*value);
    }

    Json::Value byForm(const std::string& text) const {
        switch (parameter.type.form) {
            case Form::integer:
                return integer<Json::Int>(text);
            case Form::unsignedInteger:
                return integer<Json::UInt>(text);
            case Form::real: {
                const auto value = readNumber<double>(text);
                const bool isFloat = parameter.type.name == std::string_view("float");
                if (!value || (isFloat && std::fabs(*value) > std::numeric_limits<float>::max())) {
                    refuse(text, "a number with a value that fits " + std::string(parameter.type.name));
                }
                return Json::Value(*value);
            }
            case Form::boolean: {
                const auto value = readBoolean(text);
                if (!value) {
                    refuse(text, "true or false");
                }
                return Json::Value(*value);
            }
            case Form::text:
                if (!isUtf8(text)) {
                    refuse(text, "text in UTF-8");
                }
                return Json::Value(text);
            case Form::json:
                return parseJson(text, name() + " (" + describeType(parameter.type) + ")");
            case Form::nothing:
                break;
        }
        return {};
    }

    /// To the native value and back, as in a call of the library. What the
    /// library never reads back (a mesh), and null, go as they are.
    Json::Value throughRegistry(Json::Value value, const std::string& text) const {
        MarshalJson& registry = *MarshalJson::instance();
        const std::string type = parameter.type.name;
        const auto release = [&](void* object) { registry.destroy(type, object); };
        try {
            const std::unique_ptr<void, decltype(release)> object(registry.fromJson(value, type), release);
            if (object) {
                return registry.toJson(type, object.get(), {});
            }
        } catch (const KorvanExceptionBase&) {
            refuse(text, describeType(parameter.type));
        } catch (const std::exception&) {
            refuse(text, describeType(parameter.type));
        }
        if (value.isNull() && !parameter.type.nullable) {
            refuse(text, describeType(parameter.type));
        }
        return value;
    }

    const Operation& operation;
    const Parameter& parameter;
    std::size_t number;
};

}  // namespace

std::string Input::readFile(const std::string& path) {
    const std::string name = inQuotes(path);
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        refuseUsage("cannot read " + name + ": " + std::strerror(errno));
    }
    const auto close = [&](const int*) { ::close(file); };
    const std::unique_ptr<const int, decltype(close)> closer(&file, close);
    return readAll(file, name);
}

std::string Input::readStandardInput() {
    if (standardInputRead) {
        refuseUsage("standard input (\"-\") can be read only once");
    }
    standardInputRead = true;
    return readAll(STDIN_FILENO, "standard input");
}

Json::Value parseArguments(const Operation& operation, const std::vector<std::string>& arguments,
                           Input& input) {
    const std::size_t expected = operation.parameters.size();
    if (arguments.size() != expected) {
        const std::string count = expected == 0   ? "no arguments"
                                  : expected == 1 ? "1 argument"
                                                  : std::to_string(expected) + " arguments";
        refuseUsage(std::string(operation.method) + " takes " + count + ", not " +
                    std::to_string(arguments.size()) + (expected == 0 ? "" : ": " + signature(operation)));
    }
    Json::Value params(Json::arrayValue);
    for (std::size_t i = 0; i < expected; ++i) {
        params.append(Argument(operation, i).parse(arguments[i], input));
    }
    return params;
}

Json::Value parseValue(const std::string& argument, Input& input) {
    const std::string text = resolve(argument, input);
    if (!isUtf8(text)) {
        refuseUsage(inQuotes(text) + " is not text in UTF-8");
    }
    try {
        return parseJson(text, "");
    } catch (const FailureException&) {
        return Json::Value(text);
    }
}

Json::Value parseJson(const std::string& text, const std::string& what) {
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["rejectDupKeys"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    bool valid = false;
    try {
        valid = isUtf8(text) && reader->parse(text.data(), text.data() + text.size(), &value, &errors);
    } catch (const std::exception& error) {  // beyond the largest depth
        errors = error.what();
    }
    if (!valid) {
        std::string why = errors.substr(errors.find('\n') + 1);
        why.erase(0, why.find_first_not_of(" \n"));
        refuseUsage(what + ": " + inQuotes(text) + " is not JSON" +
                    (errors.empty() ? "" : ": " + printableLine(why.substr(0, why.find('\n')))));
    }
    return value;
}

int parseTimeout(std::string_view text) {
    const bool inMilliseconds = text.ends_with("ms");
    std::string_view digits = text;
    digits.remove_suffix(inMilliseconds ? 2 : text.ends_with("s") ? 1 : 0);
    const auto value = readNumber<double>(digits);
    const double milliseconds = value ? std::ceil(inMilliseconds ? *value : *value * 1000) : -1;
    // A week is more than anyone waits, and far from where the milliseconds would overflow.
    if (!(milliseconds >= 0 && milliseconds <= 7 * 24 * 3600 * 1000.0) || std::signbit(*value)) {
        refuseUsage("--timeout: " + inQuotes(text) +
                    " is not a time in seconds, such as 2.5, or in milliseconds, such as 250ms");
    }
    return static_cast<int>(milliseconds);
}

bool isUtf8(std::string_view text) {
    return toUtf8(toWide(text)) == text;
}

}  // namespace Tool
