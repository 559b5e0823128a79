#include "DeviceManager/JsonDevice/Vocabulary/Status.h"

#include <algorithm>

#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/Calls.h"
#include "Tools/Console.h"
#include "Tools/Format.h"
#include "Tools/Session.h"

namespace Tool {

namespace {

using JsonDevice::Vocabulary::Operation;

/// One line of the status.
struct Entry {
    const Operation& operation;
    /// In the JSON form.
    const char* key;
    const char* label;
    const char* unit = "";
};

struct Group {
    const char* key;
    const char* title;
    std::vector<Entry> entries;
};

const std::vector<Group>& groups() {
    namespace Status = JsonDevice::Vocabulary::Status;
    static const std::vector<Group> all = {
        {"projector",
         "Projector",
         {{operationOf(Status::getModel), "model", "Model"},
          {operationOf(Status::getSerialNumber), "serialNumber", "Serial number"},
          {operationOf(Status::getSoftware), "software", "Software"},
          {operationOf(Status::getProjectorHours), "hours", "Running time", "h"},
          {operationOf(Status::getNativeResolution), "resolution", "Resolution", "pixels"}}},
        {"signal",
         "Signal",
         {{operationOf(Status::getSampleRate), "sampleRate", "Sample rate"},
          {operationOf(Status::getSyncType), "syncType", "Sync type"},
          {operationOf(Status::getSync), "sync", "Sync"}}},
        {"lamps",
         "Lamps",
         {{operationOf(Status::getLampCounter), "count", "Lamps counted"},
          {operationOf(Status::getLampHours), "hours", "Lamp hours", "h"},
          {operationOf(Status::getLampOvertempIndicator), "overTemperature", "Too hot"}}},
        {"temperatures",
         "Temperatures",
         {{operationOf(Status::getLampIntakeTemperature), "lampIntake", "Lamp intake", "°C"},
          {operationOf(Status::getLampExhaustTemperature), "lampExhaust", "Lamp exhaust", "°C"},
          {operationOf(Status::getDMDHeatsinkTemperature), "dmdHeatsink", "DMD heat sink", "°C"},
          {operationOf(Status::getImageProcessorTemperature), "imageProcessor", "Image processor", "°C"},
          {operationOf(Status::getPanelDriverTemperature), "panelDriver", "Panel driver", "°C"},
          {operationOf(Status::getBackplaneTemperature), "backplane", "Backplane", "°C"},
          {operationOf(Status::getPostProcessingTemperature), "postProcessing", "Post-processing", "°C"},
          {operationOf(Status::getQuellFPGATemperature), "quellFpga", "Quell FPGA", "°C"}}},
        {"sensors", "All sensors", {{operationOf(Status::getAllTemperatures), "allTemperatures", "Sensors"}}},
    };
    return all;
}

bool is(const Operation& operation, const char* method) {
    return operation.method == method;
}

std::string withUnit(const std::string& text, const Entry& entry) {
    return text + (*entry.unit == '\0' || text.empty() ? "" : std::string(" ") + entry.unit);
}

/// The value as it stands in the table.
std::string show(const Entry& entry, const Json::Value& value) {
    namespace Status = JsonDevice::Vocabulary::Status;
    if (is(entry.operation, Status::getNativeResolution.name) && value.size() == 2) {
        return withUnit(value[0].asString() + " x " + value[1].asString(), entry);
    }
    if (is(entry.operation, Status::getLampOvertempIndicator.name)) {
        return value.asInt64() == 0 ? "no" : "yes (" + std::to_string(value.asInt64()) + ")";
    }
    return withUnit(formatInline(entry.operation.result, value), entry);
}

using Rows = std::vector<std::vector<std::string>>;

/// The sensors that the device names itself, a row for each.
void addSensors(const Json::Value& value, Rows& rows) {
    const Json::Value& names = value["second"]["first"];
    const Json::Value& temperatures = value["second"]["second"];
    if (!value["first"].asBool()) {
        rows.push_back({"  Sensors", "not known"});
        return;
    }
    for (Json::ArrayIndex i = 0; i < std::max(names.size(), temperatures.size()); ++i) {
        rows.push_back({"  " + (i < names.size() ? printableLine(names[i].asString(), 40) : ""),
                        i < temperatures.size() ? temperatures[i].asString() + " °C" : ""});
    }
}

Answer status(Session& session) {
    Answer answer;
    answer.data = Json::Value(Json::objectValue);
    Rows rows;
    bool anything = false;
    ExitStatus worst = ExitStatus::done;
    for (const Group& group : groups()) {
        rows.push_back({session.console().heading(group.title)});
        for (const Entry& entry : group.entries) {
            const std::string label = "  " + std::string(entry.label);
            Json::Value& data = answer.data[group.key][entry.key];
            try {
                data = session.call(entry.operation, Json::Value(Json::arrayValue));
                anything = true;
                if (is(entry.operation, JsonDevice::Vocabulary::Status::getAllTemperatures.name)) {
                    addSensors(data, rows);
                } else {
                    rows.push_back({label, show(entry, data)});
                }
            } catch (const FailureException& e) {
                const Failure& failure = e.get();
                const bool goesOn =
                    failure.status == ExitStatus::deviceError || failure.status == ExitStatus::brokenProtocol;
                if (!goesOn) {
                    throw;
                }
                data["error"] = toJson(failure);
                // The device is named once for all, not in each line.
                std::string why = failure.message;
                if (why.starts_with(session.name() + ": ")) {
                    why.erase(0, session.name().size() + 2);
                }
                rows.push_back({label, "(" + why + ")"});
                worst = failure.status == ExitStatus::brokenProtocol || !anything ? failure.status : worst;
            }
        }
    }
    answer.text = table(rows, {Align::left, Align::left});
    // A projector need not have everything that can be asked for.
    answer.status = anything && worst == ExitStatus::deviceError ? ExitStatus::done : worst;
    return answer;
}

}  // namespace

Command statusCommand() {
    Command command{"status", "Show the status of the projector", "-d tcp://projector:5000 status"};
    command.prepare = [](const Given&) -> Task { return status; };
    return command;
}

}  // namespace Tool
