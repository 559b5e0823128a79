#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"

/// Values as people read them. All texts are safe for a terminal: what could
/// control it, or turn the direction of what is written, is escaped, and bad
/// UTF-8 replaced.
namespace Tool {

/// With line ends and tabs left alone.
std::string printable(std::string_view text);
/// On one line, shortened to about `longest` characters (0: not at all) with a note of the whole length.
std::string printableLine(std::string_view text, std::size_t longest = 0);
/// On one line in double quotes, shortened.
std::string inQuotes(std::string_view text);

/// The columns that the text takes on a terminal.
std::size_t displayWidth(std::string_view utf8);

enum class Align { left, right };

/// Aligned columns, two blanks between them, each line with its end. Rows may
/// be shorter than the alignments.
std::string table(const std::vector<std::vector<std::string>>& rows, const std::vector<Align>& columns);

/// A JSON document that reads back equal, with numbers in their shortest form,
/// text in UTF-8, and every control character escaped; without a line end.
std::string jsonText(const Json::Value& value, bool indented);

/// What a method's result is to a person: nothing for no result, else whole
/// lines. Long texts inside of lists and records are shortened.
std::string formatResult(const JsonDevice::Vocabulary::WireType& type, const Json::Value& value);
/// The same for a value of which nothing is known but its JSON form.
std::string formatValue(const Json::Value& value);
/// As formatResult, but on one line and without its end.
std::string formatInline(const JsonDevice::Vocabulary::WireType& type, const Json::Value& value);
std::string formatValueInline(const Json::Value& value);

/// What an argument of the type looks like: "a whole number", "{"x": whole number, ...}".
std::string describeType(const JsonDevice::Vocabulary::WireType& type);

/// "METHOD keyCode osd".
std::string signature(const JsonDevice::Vocabulary::Operation& operation);

}  // namespace Tool
