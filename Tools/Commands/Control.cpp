#include "DeviceManager/JsonDevice/Vocabulary/Control.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>

#include "Common/NumberText.h"
#include "Tools/Arguments.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/Calls.h"
#include "Tools/Commands/SettingCommands.h"
#include "Tools/Console.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

namespace Control = JsonDevice::Vocabulary::Control;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds pollingInterval{250};

/// Asks until the power has come to what was set. There is no method that
/// would tell of it, so it has to be asked for again and again.
Json::Value awaitPower(Session& session, const Json::Value& wanted, milliseconds longest) {
    const Setting& power = settingOf(Control::getPower);
    const auto end = steady_clock::now() + longest;
    for (;;) {
        const Json::Value state = readSetting(session, power);
        // Others are states that pass.
        if (state.asInt64() == wanted.asInt64()) {
            return state;
        }
        if (steady_clock::now() + pollingInterval > end) {
            throw FailureException(
                {ExitStatus::timedOut, session.name() + ": the power is still " + power.show(state)});
        }
        session.console().progress(session.name() + ": " + power.show(state));
        std::this_thread::sleep_for(pollingInterval);
    }
}

Answer showSetting(const Setting& setting, const Json::Value& value) {
    return {setting.show(value) + "\n", value};
}

/// What there is to see of the inputs.
Answer showInputs(Session& session) {
    const Json::Value none(Json::arrayValue);
    Answer answer;
    answer.data = Json::Value(Json::objectValue);
    const Json::Value selected = session.call(operationOf(Control::getInputSignal), none);
    const Json::Value status = session.call(operationOf(Control::getSignalStatus), none);
    answer.data["selected"] = selected;
    answer.data["signal"] = status;
    Json::Value& inputs = answer.data["inputs"] = Json::Value(Json::arrayValue);
    std::vector<std::vector<std::string>> rows;
    for (const Json::Value& item : session.call(operationOf(Control::getInputSignalList), none)) {
        Json::Value described(Json::objectValue);
        described["number"] = item["first"];
        described["name"] = item["second"];
        std::string description;
        try {
            Json::Value params(Json::arrayValue);
            params.append(item["first"]);
            described["description"] =
                session.call(operationOf(Control::getOptionalInputSignalDescription), params);
            description = printableLine(described["description"].asString(), 60);
        } catch (const FailureException& e) {
            // It is optional.
            if (e.get().status != ExitStatus::deviceError) {
                throw;
            }
        }
        const bool isSelected = item["first"].asInt64() == selected.asInt64();
        rows.push_back({isSelected ? "*" : " ", item["first"].asString(),
                        printableLine(item["second"].asString(), 40), description,
                        isSelected ? printableLine(status.asString(), 60) : ""});
        inputs.append(std::move(described));
    }
    answer.text = table(rows, {Align::left, Align::right, Align::left, Align::left, Align::left});
    return answer;
}

std::string lowerCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

/// The number of the input that is meant by a number or a name.
Json::Value findInput(Session& session, const std::string& typed) {
    std::optional<Json::Value> found;
    std::string names;
    for (const Json::Value& item :
         session.call(operationOf(Control::getInputSignalList), Json::Value(Json::arrayValue))) {
        const std::string name = item["second"].asString();
        names += (names.empty() ? "" : ", ") + printableLine(name, 40);
        if (lowerCase(name) == lowerCase(typed) && !found) {
            found = item["first"];
        }
    }
    if (!found) {
        throw FailureException({ExitStatus::usage, session.name() + ": there is no input " + inQuotes(typed) +
                                                       "; there are: " + names});
    }
    return *found;
}

}  // namespace

Command powerCommand() {
    Command command{
        "power",
        "Show the power's state, or switch it on or off",
        "-d tcp://projector:5000 power on --wait 120",
        {{"STATE", "on or off", Hint::none, Parameter::Count::optional, {"on", "off"}}},
        {{"-w,--wait", "SECONDS", "Wait at most so long until it has warmed up, or cooled down"}}};
    command.prepare = [](const Given& given) -> Task {
        Json::Value params;
        if (given.has("STATE")) {
            params = settingOf(Control::getPower).params(given.text("STATE"));
        }
        std::optional<milliseconds> wait;
        if (given.has("wait")) {
            wait = milliseconds(parseTimeout(given.text("wait")));
        }
        if (wait && params.isNull()) {
            refuseUsage("--wait goes with on or off");
        }
        return [params, wait](Session& session) {
            const Setting& power = settingOf(Control::getPower);
            if (!params.isNull()) {
                writeSetting(session, power, params);
            }
            return showSetting(power,
                               wait ? awaitPower(session, params[0], *wait) : readSetting(session, power));
        };
    };
    return command;
}

Command shutterCommand() {
    Command command{
        "shutter",
        "Show, open or close the shutter",
        "-d tcp://projector:5000 shutter closed",
        {{"STATE", "open or closed", Hint::none, Parameter::Count::optional, {"open", "closed"}}}};
    command.prepare = [](const Given& given) -> Task {
        const Setting& shutter = settingOf(Control::getShutter);
        Json::Value params;
        if (given.has("STATE")) {
            params = shutter.params(given.text("STATE"));
        }
        return [&shutter, params](Session& session) {
            if (!params.isNull()) {
                writeSetting(session, shutter, params);
            }
            return showSetting(shutter, readSetting(session, shutter));
        };
    };
    return command;
}

Command inputCommand() {
    Command command{
        "input",
        "Show the inputs and the signal, or select an input",
        "-d tcp://projector:5000 input 2",
        {{"INPUT", "The number of an input, or its name", Hint::none, Parameter::Count::optional}}};
    command.prepare = [](const Given& given) -> Task {
        const std::string typed = given.text("INPUT");
        const bool number = readNumber<unsigned int>(typed).has_value();
        const bool select = given.has("INPUT");
        return [typed, number, select](Session& session) {
            if (select) {
                const Setting& input = settingOf(Control::getInputSignal);
                Json::Value params(Json::arrayValue);
                params.append(number ? Json::Value(*readNumber<unsigned int>(typed))
                                     : findInput(session, typed));
                writeSetting(session, input, params);
            }
            return showInputs(session);
        };
    };
    return command;
}

}  // namespace Tool
