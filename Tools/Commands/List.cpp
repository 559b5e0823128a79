#include <algorithm>

#include "Common/NumberText.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/MethodLookup.h"

namespace Tool {

namespace {

using JsonDevice::Vocabulary::Operation;
using JsonDevice::Wire::Form;

Json::Value toJson(const Operation& operation) {
    Json::Value json(Json::objectValue);
    json["method"] = std::string(operation.method);
    json["summary"] = operation.summary;
    json["parameters"] = Json::Value(Json::arrayValue);
    for (const auto& parameter : operation.parameters) {
        Json::Value& described = json["parameters"].append(Json::Value(Json::objectValue));
        described["name"] = parameter.name;
        described["type"] = parameter.type.name;
    }
    const bool none = operation.result.form == Form::nothing;
    json["result"] = none ? Json::Value() : Json::Value(operation.result.name);
    json["timeoutMs"] = static_cast<Json::Int64>(operation.timeout.count());
    return json;
}

bool contains(std::string_view text, std::string_view part) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    const auto same = [&](char a, char b) { return lower(a) == lower(b); };
    return part.empty() ||
           std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end();
}

Answer list(const Given& given) {
    Answer answer;
    answer.data = Json::Value(Json::arrayValue);
    std::vector<std::vector<std::string>> rows;
    for (const Operation& operation : JsonDevice::Vocabulary::operations()) {
        if (contains(operation.method, given.text("FILTER"))) {
            rows.push_back({signature(operation), operation.summary});
            answer.data.append(toJson(operation));
        }
    }
    answer.text = table(rows, {Align::left, Align::left});
    return answer;
}

std::string describe(const Operation& operation) {
    const auto typeText = [](const auto& type) {
        return describeType(type) + (type.form == Form::nothing ? "" : std::string(" [") + type.name + "]");
    };
    std::string seconds;
    appendNumber(seconds, static_cast<double>(operation.timeout.count()) / 1000);
    std::vector<std::vector<std::string>> rows;
    for (const auto& parameter : operation.parameters) {
        rows.push_back({rows.empty() ? "Arguments:" : "", parameter.name, typeText(parameter.type)});
    }
    if (rows.empty()) {
        rows.push_back({"Arguments:", "none"});
    }
    rows.push_back({"Result:", typeText(operation.result)});
    rows.push_back({"Time-out:", seconds + " s"});
    rows.push_back({"Use:", "jsondevice call " + signature(operation)});
    // The third column is for the arguments alone; it must not push the others apart.
    std::size_t nameWidth = 0;
    for (const auto& parameter : operation.parameters) {
        nameWidth = std::max(nameWidth, std::string_view(parameter.name).size());
    }
    for (auto& row : rows) {
        if (row.size() == 3) {
            row[1].resize(nameWidth, ' ');
            row[1] += "  " + row[2];
            row.pop_back();
        }
    }
    return std::string(operation.method) + "\n" + operation.summary + "\n\n" +
           table(rows, {Align::left, Align::left});
}

}  // namespace

Command listCommand() {
    Command command{
        "list",
        "List the methods that a device may answer to",
        "list Status",
        {{"FILTER", "Only methods with this in their names", Hint::none, Parameter::Count::optional}}};
    command.answer = list;
    return command;
}

Command describeCommand() {
    Command command{
        "describe",
        "Tell what a method does, its arguments and its result",
        "describe StatusInterface::getLampHours",
        {{"METHOD", "The method, or its operation's name where that is unambiguous", Hint::method}}};
    command.answer = [](const Given& given) {
        const Operation& operation = lookUpMethod(given.text("METHOD"));
        return Answer{describe(operation), toJson(operation)};
    };
    return command;
}

}  // namespace Tool
