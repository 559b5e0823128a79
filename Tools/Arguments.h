#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"

namespace Tool {

/// The files and the standard input that arguments name. Standard input can be
/// read once.
class Input {
public:
    /// Refuses the command line when the file cannot be read, or is beyond the largest record.
    static std::string readFile(const std::string& path);
    std::string readStandardInput();

private:
    bool standardInputRead = false;
};

/// The params of a request, from arguments as they were typed, by the types of
/// the method's parameters: numbers, true or false, text as it stands, JSON for
/// the rest. "@FILE" stands for what is in the file, "-" for what comes on
/// standard input, and "@@..." for a text that begins with "@".
///
/// What is sent is what the library would send: each value goes through the
/// registry once. Refuses the command line, naming the argument and what is
/// expected, before anything is sent.
Json::Value parseArguments(const JsonDevice::Vocabulary::Operation& operation,
                           const std::vector<std::string>& arguments, Input& input);

/// A value of which no type is known: JSON where the argument is JSON, else
/// text; with the same "@FILE", "-" and "@@...".
Json::Value parseValue(const std::string& argument, Input& input);

/// One JSON value, strictly; refuses the command line, `what` naming the value.
Json::Value parseJson(const std::string& text, const std::string& what);

/// Seconds with a fraction, or milliseconds ("250ms"), as milliseconds.
int parseTimeout(std::string_view text);

/// Whether the text is UTF-8 throughout.
bool isUtf8(std::string_view text);

}  // namespace Tool
