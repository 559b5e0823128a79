#include "Tools/Commands/SettingCommands.h"

#include <algorithm>

#include "Tools/Console.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

/// The range for people, empty where there is none, and in the JSON form.
std::string readRange(Session& session, const Setting& setting, Json::Value& json) {
    if (setting.least == nullptr || setting.most == nullptr) {
        return "";
    }
    json["minimum"] = session.call(*setting.least, Json::Value(Json::arrayValue));
    json["maximum"] = session.call(*setting.most, Json::Value(Json::arrayValue));
    return "(" + setting.show(json["minimum"]) + " to " + setting.show(json["maximum"]) + ")";
}

std::vector<std::string> describe(Session& session, const Setting& setting, Json::Value& json) {
    std::vector<std::string> row{setting.name, ""};
    try {
        json["value"] = readSetting(session, setting);
        row[1] = setting.show(json["value"]);
        row.push_back(readRange(session, setting, json));
    } catch (const FailureException& e) {
        // A projector need not have everything that can be asked for.
        if (e.get().status != ExitStatus::deviceError) {
            throw;
        }
        json["error"] = toJson(e.get());
        row[1] = "(" + (e.get().code == -32601 ? "not available" : e.get().message) + ")";
    }
    return row;
}

std::vector<const Setting*> settingsOf(const std::string& interfaceName, const std::string& name) {
    std::vector<const Setting*> found;
    std::string names;
    for (const Setting& setting : allSettings()) {
        if (setting.interfaceName() == interfaceName) {
            names += (names.empty() ? "" : ", ") + setting.name;
            if (name.empty() || setting.name == name) {
                found.push_back(&setting);
            }
        }
    }
    if (found.empty()) {
        refuseUsage("there is no setting " + inQuotes(name) + "; there are: " + names);
    }
    return found;
}

}  // namespace

Json::Value readSetting(Session& session, const Setting& setting) {
    return session.call(setting.get, Json::Value(Json::arrayValue));
}

void writeSetting(Session& session, const Setting& setting, const Json::Value& params) {
    const Json::Value result = session.call(setting.set, params);
    if (result.isBool() && !result.asBool()) {
        throw FailureException(
            {ExitStatus::deviceError,
             session.name() + ": the device did not set " + setting.name + " to " + setting.show(params[0])});
    }
}

Command settingsCommand(const std::string& name, const std::string& summary, const std::string& example,
                        const std::string& interfaceName) {
    std::vector<std::string> names;
    for (const Setting* setting : settingsOf(interfaceName, "")) {
        names.push_back(setting->name);
    }
    Command command{name,
                    summary,
                    example,
                    {{"SETTING", "Only this one", Hint::none, Parameter::Count::optional, std::move(names)},
                     {"VALUE", "What to set it to; behind -- where it is negative", Hint::none,
                      Parameter::Count::optional}}};
    command.prepare = [interfaceName](const Given& given) -> Task {
        const auto settings = settingsOf(interfaceName, given.text("SETTING"));
        Json::Value params;
        if (given.has("VALUE")) {
            params = settings.front()->params(given.text("VALUE"));
        }
        return [settings, params, one = given.has("SETTING")](Session& session) {
            if (!params.isNull()) {
                writeSetting(session, *settings.front(), params);
            }
            Answer answer;
            answer.data = Json::Value(Json::objectValue);
            std::vector<std::vector<std::string>> rows;
            for (const Setting* setting : settings) {
                rows.push_back(describe(session, *setting, answer.data[setting->name]));
            }
            // Asked for one, which it has not: that is the answer.
            if (const Json::Value& error = answer.data[settings.front()->name]["error"];
                one && !error.isNull()) {
                throw FailureException({ExitStatus::deviceError, error["message"].asString(),
                                        error["code"].asInt(), error["data"]});
            }
            answer.text = table(rows, {Align::left, Align::left, Align::left});
            return answer;
        };
    };
    return command;
}

}  // namespace Tool
