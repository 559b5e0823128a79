#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Tools/Arguments.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/SettingCommands.h"
#include "Tools/Console.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/OutputFiles.h"

namespace Tool {

namespace {

constexpr const char* formatName = "jsondevice settings";
constexpr int formatVersion = 1;

/// All settings that the device has, in the form of the file.
Json::Value readAll(Session& session) {
    Json::Value file(Json::objectValue);
    file["format"] = formatName;
    file["version"] = formatVersion;
    file["device"] = session.name();
    Json::Value& values = file["settings"] = Json::Value(Json::objectValue);
    std::string missing;
    for (const Setting& setting : allSettings()) {
        try {
            values[setting.method()] = setting.settable(readSetting(session, setting));
        } catch (const FailureException& e) {
            // A projector need not have everything that can be asked for.
            if (e.get().status != ExitStatus::deviceError) {
                throw;
            }
            missing += (missing.empty() ? "" : ", ") + setting.method();
        }
    }
    if (!missing.empty()) {
        session.console().note(session.name() + ": left out what it does not have: " + missing);
    }
    return file;
}

Task dump(const Given& given) {
    const std::string pattern = given.text("FILE");
    return [pattern, paths = std::make_shared<OutputPaths>()](Session& session) {
        Answer answer;
        if (pattern.empty() || pattern == "-") {
            answer.data = readAll(session);
            answer.text = jsonText(answer.data, true) + "\n";
            return answer;
        }
        const std::string path = paths->take(pattern, session.name());
        const Json::Value file = readAll(session);
        writeFile(path, jsonText(file, true) + "\n");
        answer.data["file"] = path;
        answer.data["settings"] = file["settings"].size();
        answer.text = std::to_string(file["settings"].size()) + " settings in " + printableLine(path) + "\n";
        return answer;
    };
}

/// Whether both are the same to the wire; a number may be kept with a sign or without.
bool same(const Json::Value& a, const Json::Value& b) {
    return jsonText(a, false) == jsonText(b, false);
}

/// A setting of the file.
struct Wanted {
    const Setting* setting;
    Json::Value value;
    Json::Value params;
};

/// In the order in which they are restored. Refuses the command line for what
/// is no file of settings, before a device is asked.
std::vector<Wanted> readFile(const Given& given) {
    const std::string& path = given.text("FILE");
    const std::string text = path == "-" ? given.input().readStandardInput() : Input::readFile(path);
    const Json::Value file = parseJson(text, path);
    if (!file.isObject() || file["format"] != formatName || !file["settings"].isObject()) {
        refuseUsage(inQuotes(path) + " has no settings that were dumped");
    }
    if (file["version"] != formatVersion) {
        refuseUsage(inQuotes(path) + " has settings of another version");
    }
    const Json::Value& values = file["settings"];
    std::vector<Wanted> wanted;
    for (const Setting& setting : allSettings()) {
        if (values.isMember(setting.method())) {
            const Json::Value& value = values[setting.method()];
            wanted.push_back({&setting, value, setting.params(jsonText(value, false))});
        }
    }
    for (const std::string& name : values.getMemberNames()) {
        if (std::ranges::none_of(wanted,
                                 [&](const Wanted& each) { return each.setting->method() == name; })) {
            refuseUsage(inQuotes(path) + " has a setting that is not known: " + inQuotes(name));
        }
    }
    return wanted;
}

/// What became of restoring, so far.
struct Restored {
    Answer answer;
    std::vector<std::vector<std::string>> rows;

    void changed(const Wanted& wanted, const Json::Value& before) {
        rows.push_back({wanted.setting->method(),
                        wanted.setting->show(before) + " -> " + wanted.setting->show(wanted.value)});
        Json::Value change(Json::objectValue);
        change["before"] = before;
        change["now"] = wanted.value;
        answer.data["changed"][wanted.setting->method()] = std::move(change);
    }
    void notDone(const Wanted& wanted, const std::string& why) {
        rows.push_back({wanted.setting->method(), "not done" + (why.empty() ? "" : ": " + why)});
        answer.data["notDone"].append(wanted.setting->method());
    }
    Answer take() {
        answer.text = rows.empty() ? "nothing to change\n" : table(rows, {Align::left, Align::left});
        return std::move(answer);
    }
};

Answer restore(Session& session, const std::vector<Wanted>& wanted, bool dryRun) {
    Restored restored;
    restored.answer.data = Json::Value(Json::objectValue);
    restored.answer.data["changed"] = Json::Value(Json::objectValue);
    restored.answer.data["notDone"] = Json::Value(Json::arrayValue);
    std::vector<std::pair<const Wanted*, Json::Value>> differing;
    std::size_t next = 0;
    try {
        for (next = 0; next < wanted.size(); ++next) {
            const Wanted& each = wanted[next];
            const Json::Value before = readSetting(session, *each.setting);
            if (same(each.setting->settable(before), each.value)) {
                continue;
            }
            if (!dryRun) {
                writeSetting(session, *each.setting, each.params);
            }
            restored.changed(each, before);
        }
    } catch (const FailureException& e) {
        session.console().error(e.get().message);
        restored.answer.data["error"] = toJson(e.get());
        restored.answer.status = e.get().status;
        for (std::size_t i = next; i < wanted.size(); ++i) {
            restored.notDone(wanted[i], i == next ? e.get().message : "");
        }
        return restored.take();
    }
    if (dryRun || restored.rows.empty()) {
        return restored.take();
    }
    // One setting may move another, as the colour temperature moves the white point: those are set once
    // more, and what then is still another value the device does not keep.
    for (const bool last : {false, true}) {
        for (const Wanted& each : wanted) {
            const Json::Value now = each.setting->settable(readSetting(session, *each.setting));
            const bool kept = same(now, each.value);
            if (!kept && !last) {
                writeSetting(session, *each.setting, each.params);
            } else if (!kept) {
                restored.notDone(each, "the device stays at " + each.setting->show(now));
                restored.answer.status = ExitStatus::deviceError;
            }
        }
    }
    return restored.take();
}

}  // namespace

Command settingsCommand() {
    Command command{"settings", "Keep all settings of a projector in a file",
                    "-d tcp://projector:5000 settings dump projector.json"};
    Command dumping{"dump",
                    "Write all settings that can be read and set to a file",
                    "-d tcp://projector:5000 settings dump projector.json",
                    {{"FILE", "The file, - for standard output; a % stands for the device's name", Hint::file,
                      Parameter::Count::optional}}};
    dumping.prepare = dump;
    Command restoring{"restore",
                      "Set what differs from a file, and show it; stops at the first error",
                      "-d tcp://projector:5000 settings restore projector.json",
                      {{"FILE", "The file, - for standard input", Hint::file}},
                      {{"-n,--dry-run", "", "Only show what would be changed"}}};
    restoring.prepare = [](const Given& given) -> Task {
        return [wanted = readFile(given), dryRun = given.has("dry-run")](Session& session) {
            return restore(session, wanted, dryRun);
        };
    };
    command.commands = {std::move(dumping), std::move(restoring)};
    return command;
}

}  // namespace Tool
