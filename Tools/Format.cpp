#include "Tools/Format.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Common/NumberText.h"
#include "Common/WideText.h"

namespace Tool {

namespace {

using JsonDevice::Vocabulary::Operation;
using JsonDevice::Vocabulary::WireType;
using JsonDevice::Wire::Form;

constexpr std::size_t longestQuote = 60;
constexpr std::size_t longestMember = 120;
constexpr std::size_t longestOneLineArray = 100;

/// Whether a terminal might take it for more than a character: control
/// characters, line separators, and what changes the direction of writing.
bool isControl(char32_t c) {
    return c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x61c || c == 0x200e || c == 0x200f ||
           (c >= 0x2028 && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069) || c == 0xfeff;
}

void appendHex(std::string& out, char32_t c, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        out += "0123456789abcdef"[(c >> shift) & 0xf];
    }
}

/// Appends text as UTF-8, with `escape` for what isControl.
template <class Escape>
void appendEscaped(std::string& out, std::string_view text, const Escape& escape) {
    // Plain ASCII, which most texts are, is copied as it stands.
    const auto isPlain = [](char c) { return c >= 0x20 && c < 0x7f; };
    if (std::ranges::all_of(text, isPlain)) {
        std::size_t start = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '"' || text[i] == '\\') {
                out.append(text, start, i - start);
                if (!escape(static_cast<char32_t>(text[i]))) {
                    out += text[i];
                }
                start = i + 1;
            }
        }
        out.append(text, start);
        return;
    }
    const std::wstring wide = toWide(text);
    std::wstring run;
    for (const wchar_t c : wide) {
        const auto point = static_cast<char32_t>(c);
        if (isControl(point) || c == L'"' || c == L'\\') {
            out += toUtf8(run);
            run.clear();
            if (escape(point)) {
                continue;
            }
        }
        run += c;
    }
    out += toUtf8(run);
}

std::string escaped(std::string_view text, bool keepLines) {
    std::string out;
    appendEscaped(out, text, [&](char32_t c) {
        if (c == '"' || c == '\\' || (keepLines && (c == '\n' || c == '\t'))) {
            return false;
        }
        switch (c) {
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                out += c < 0x100 ? "\\x" : "\\u";
                appendHex(out, c, c < 0x100 ? 2 : 4);
        }
        return true;
    });
    return out;
}

void appendJsonString(std::string& out, std::string_view text) {
    out += '"';
    appendEscaped(out, text, [&](char32_t c) {
        if (c == '"' || c == '\\') {
            out += '\\';
            return false;
        }
        out += "\\u";
        appendHex(out, c, 4);
        return true;
    });
    out += '"';
}

void appendReal(std::string& out, double number) {
    if (std::isinf(number)) {
        out += number < 0 ? "-1e+9999" : "1e+9999";
    } else if (std::isnan(number)) {
        out += "null";
    } else {
        const std::size_t start = out.size();
        appendNumber(out, number);
        // Stays a real number for whoever reads it.
        if (out.find_first_of(".en", start) == std::string::npos) {
            out += ".0";
        }
    }
}

bool isScalar(const Json::Value& value) {
    return !value.isArray() && !value.isObject();
}

void appendJson(std::string& out, const Json::Value& value, bool indented, std::size_t depth);

template <class Element>
void appendMembers(std::string& out, const Json::Value& value, bool indented, std::size_t depth, char open,
                   char close, const Element& element) {
    out += open;
    bool first = true;
    for (auto i = value.begin(); i != value.end(); ++i) {
        if (!first) {
            out += ',';
        }
        if (indented) {
            out += '\n';
            out.append(2 * (depth + 1), ' ');
        }
        first = false;
        element(i);
    }
    if (indented && !first) {
        out += '\n';
        out.append(2 * depth, ' ');
    }
    out += close;
}

void appendJson(std::string& out, const Json::Value& value, bool indented, std::size_t depth) {
    switch (value.type()) {
        case Json::nullValue:
            out += "null";
            break;
        case Json::intValue:
            appendNumber(out, value.asInt64());
            break;
        case Json::uintValue:
            appendNumber(out, value.asUInt64());
            break;
        case Json::realValue:
            appendReal(out, value.asDouble());
            break;
        case Json::booleanValue:
            out += value.asBool() ? "true" : "false";
            break;
        case Json::stringValue:
            appendJsonString(out, value.asString());
            break;
        case Json::arrayValue: {
            const std::size_t start = out.size();
            const auto element = [&](const auto& i) { appendJson(out, *i, indented, depth + 1); };
            // Short lists of plain values stay on one line.
            if (indented && value.size() <= 16 && std::all_of(value.begin(), value.end(), isScalar)) {
                appendMembers(out, value, false, depth, '[', ']', element);
                if (out.size() - start <= longestOneLineArray) {
                    break;
                }
                out.resize(start);
            }
            appendMembers(out, value, indented, depth, '[', ']', element);
            break;
        }
        case Json::objectValue:
            appendMembers(out, value, indented, depth, '{', '}', [&](const auto& i) {
                appendJsonString(out, i.name());
                out += indented ? ": " : ":";
                appendJson(out, *i, indented, depth + 1);
            });
            break;
    }
}

/// The copy that people are shown of a value with long texts in it.
Json::Value shortened(const Json::Value& value) {
    if (value.isString()) {
        return printableLine(value.asString(), longestMember);
    }
    Json::Value copy = isScalar(value) ? value : Json::Value(value.type());
    if (value.isArray()) {
        for (const Json::Value& item : value) {
            copy.append(shortened(item));
        }
    } else if (value.isObject()) {
        for (const std::string& name : value.getMemberNames()) {
            copy[name] = shortened(value[name]);
        }
    }
    return copy;
}

/// A value that stands in a cell or in a line.
std::string cell(const Json::Value& value) {
    if (value.isString()) {
        return printableLine(value.asString(), longestMember);
    }
    return jsonText(shortened(value), false);
}

/// Whether all are objects with the same members, each with a plain value.
bool areRecords(const Json::Value& array) {
    if (array.empty() || !array[0].isObject() || array[0].empty()) {
        return false;
    }
    const auto names = array[0].getMemberNames();
    return std::all_of(array.begin(), array.end(), [&](const Json::Value& item) {
        return item.isObject() && item.getMemberNames() == names &&
               std::all_of(item.begin(), item.end(), isScalar);
    });
}

std::string formatRecords(const Json::Value& array) {
    const auto names = array[0].getMemberNames();
    // Items of lists are pairs of a location and a name, which speak for themselves.
    const bool items = names == std::vector<std::string>{"first", "second"};
    std::vector<std::vector<std::string>> rows;
    if (!items) {
        rows.push_back(names);
        for (std::string& name : rows.back()) {
            name = printableLine(name);
        }
    }
    std::vector<Align> columns;
    for (const std::string& name : names) {
        columns.push_back(array[0][name].isNumeric() ? Align::right : Align::left);
    }
    for (const Json::Value& item : array) {
        auto& row = rows.emplace_back();
        for (const std::string& name : names) {
            row.push_back(cell(item[name]));
        }
    }
    return table(rows, columns);
}

/// (known, (names, values)): the two lists side by side.
std::string formatParallelLists(const Json::Value& names, const Json::Value& values) {
    std::vector<std::vector<std::string>> rows;
    for (Json::ArrayIndex i = 0; i < std::max(names.size(), values.size()); ++i) {
        rows.push_back({i < names.size() ? cell(names[i]) : "", i < values.size() ? cell(values[i]) : ""});
    }
    return table(rows, {Align::left, Align::right});
}

bool isTemperatures(const WireType& type) {
    return type.name == std::string_view("PairBoolPairVectorStringVectorInt");
}

std::string formatJson(const WireType& type, const Json::Value& value) {
    if (isTemperatures(type)) {
        const Json::Value& lists = value["second"];
        return value["first"].asBool() ? formatParallelLists(lists["first"], lists["second"]) : "not known\n";
    }
    if (value.isArray()) {
        if (areRecords(value)) {
            return formatRecords(value);
        }
        std::string lines;
        for (const Json::Value& item : value) {
            lines += cell(item) + "\n";
        }
        return lines;
    }
    if (value.isObject()) {
        std::vector<std::vector<std::string>> rows;
        for (const std::string& name : value.getMemberNames()) {
            rows.push_back({printableLine(name), cell(value[name])});
        }
        return table(rows, {Align::left, Align::left});
    }
    return cell(value) + "\n";
}

/// Everything but texts and JSON.
std::string formatScalar(const WireType& type, const Json::Value& value) {
    std::string text;
    switch (type.form) {
        case Form::integer:
            appendNumber(text, value.asInt64());
            break;
        case Form::unsignedInteger:
            appendNumber(text, value.asUInt64());
            break;
        case Form::real:
            if (type.name == std::string_view("float")) {
                appendNumber(text, value.asFloat());
            } else {
                appendNumber(text, value.asDouble());
            }
            break;
        case Form::boolean:
            text = value.asBool() ? "true" : "false";
            break;
        case Form::nothing:
        case Form::text:
        case Form::json:
            break;
    }
    return text;
}

std::string describeJson(std::string_view name) {
    constexpr std::string_view vector = "std::vector<";
    if (name.starts_with(vector) && name.ends_with('>')) {
        return "[" + describeJson(name.substr(vector.size(), name.size() - vector.size() - 1)) + ", ...]";
    }
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 25> known = {{
        {"int", "whole number"},
        {"unsigned int", "whole number"},
        {"float", "number"},
        {"double", "number"},
        {"bool", "true or false"},
        {"std::string", "\"text\""},
        {"std::wstring", "\"text\""},
        {"TestPatternInterface::TestPatternColour", "whole number"},
        {"TestPatternColour", "whole number"},
        {"ColorInterface::ColorAdjustmentType", "whole number"},
        {"GrayscaleImage", "an image as the library encodes it"},
        {"RGBImage", "an image as the library encodes it"},
        {"Gamut", R"({"rx", "ry", "rz", "gx", ..., "wz": numbers})"},
        {"TestPatternItem", R"({"first": whole number, "second": "name"})"},
        {"WarpItem", R"({"first": whole number, "second": "name"})"},
        {"BlendItem", R"({"first": whole number, "second": "name"})"},
        {"ColorAdjustmentItem", R"({"first": whole number, "second": "name"})"},
        {"Point2I", R"({"x": whole number, "y": whole number})"},
        {"Point3D", R"({"x": number, "y": number, "z": number})"},
        {"Point3F", R"({"x": number, "y": number, "z": number})"},
        {"PointOfView",
         R"({"x", "y", "z", "yaw", "pitch", "roll", "left", "right", "top", "bottom": numbers})"},
        {"BlendProxy", R"({"name": "text", "xml": "text", "image": {...} or null})"},
        {"IGContentProxy", R"({"name": "text", "xml": "text", "image": {...} or null})"},
        {"BlackLevelProxy",
         R"({"name": "text", "xml": "text", "image": {...}, "redFactor", "greenFactor", "blueFactor": numbers})"},
        {"ControlCurveProxy",
         R"({"bottom", "top", "left", "right": "XML" or null, "name": "text", "xml": "text"})"},
    }};
    const auto found = std::ranges::find(known, name, [](const auto& entry) { return entry.first; });
    return found == known.end() ? "JSON" : std::string(found->second);
}

}  // namespace

std::string printable(std::string_view text) {
    return escaped(text, true);
}

std::string printableLine(std::string_view text, std::size_t longest) {
    if (longest == 0 || text.size() <= longest) {
        return escaped(text, false);
    }
    std::size_t cut = longest;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xc0) == 0x80) {
        --cut;
    }
    return escaped(text.substr(0, cut), false) + "... (" + std::to_string(text.size()) + " bytes)";
}

std::string inQuotes(std::string_view text) {
    return "\"" + printableLine(text, longestQuote) + "\"";
}

std::size_t displayWidth(std::string_view utf8) {
    // The blocks that terminals draw two columns wide (Unicode, UAX #11, W and F).
    static constexpr std::pair<char32_t, char32_t> wide[] = {
        {0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},  {0xac00, 0xd7a3},
        {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},  {0xffe0, 0xffe6},
        {0x1f300, 0x1f64f}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd}};
    std::size_t width = 0;
    for (const wchar_t c : toWide(utf8)) {
        const auto point = static_cast<char32_t>(c);
        const bool combining = (point >= 0x300 && point <= 0x36f) || (point >= 0x200b && point <= 0x200d) ||
                               (point >= 0xfe00 && point <= 0xfe0f);
        const bool isWide = std::ranges::any_of(
            wide, [&](const auto& block) { return point >= block.first && point <= block.second; });
        width += combining ? 0 : isWide ? 2 : 1;
    }
    return width;
}

std::string table(const std::vector<std::vector<std::string>>& rows, const std::vector<Align>& columns) {
    std::vector<std::size_t> widths(columns.size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - displayWidth(row[i]), ' ');
            line += i == 0 ? "" : "  ";
            line += columns[i] == Align::right ? padding + row[i] : row[i] + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string jsonText(const Json::Value& value, bool indented) {
    std::string text;
    appendJson(text, value, indented, 0);
    return text;
}

std::string formatResult(const WireType& type, const Json::Value& value) {
    switch (type.form) {
        case Form::nothing:
            return "";
        case Form::text: {
            std::string text = printable(value.asString());
            if (!text.ends_with('\n')) {
                text += '\n';
            }
            return text;
        }
        case Form::json:
            return formatJson(type, value);
        default:
            return formatScalar(type, value) + "\n";
    }
}

std::string formatInline(const WireType& type, const Json::Value& value) {
    switch (type.form) {
        case Form::nothing:
            return "";
        case Form::text:
            return printableLine(value.asString(), longestMember);
        case Form::json: {
            if (!value.isArray() || !std::all_of(value.begin(), value.end(), isScalar)) {
                return cell(value);
            }
            std::string list;
            for (const Json::Value& item : value) {
                list += (list.empty() ? "" : ", ") + cell(item);
            }
            return list;
        }
        default:
            return formatScalar(type, value);
    }
}

std::string formatValue(const Json::Value& value) {
    return formatResult({"", value.isString() ? Form::text : Form::json}, value);
}

std::string formatValueInline(const Json::Value& value) {
    return formatInline({"", value.isString() ? Form::text : Form::json}, value);
}

std::string describeType(const WireType& type) {
    switch (type.form) {
        case Form::nothing:
            return "nothing";
        case Form::integer:
        case Form::unsignedInteger:
            return "whole number";
        case Form::real:
            return "number";
        case Form::boolean:
            return "true or false";
        case Form::text:
            return "text";
        case Form::json:
            break;
    }
    if (isTemperatures(type)) {
        return "whether known, names and temperatures";
    }
    return describeJson(type.name);
}

std::string signature(const Operation& operation) {
    std::string text(operation.method);
    for (const auto& parameter : operation.parameters) {
        text += std::string(" ") + parameter.name;
    }
    return text;
}

}  // namespace Tool
