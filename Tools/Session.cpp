#include "Tools/Session.h"

#include <algorithm>
#include <memory>

#include "Common/NumberText.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "Platform/Transport/Communicator.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tools/Console.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

using JsonDevice::MarshalJson;
using JsonDevice::Vocabulary::Operation;
using JsonDevice::Wire::Form;

constexpr std::size_t longestMessage = 300;

/// The exception's text without the device's name that the transport and the connection put in front.
std::string withoutName(const KorvanExceptionBase& exception, const std::string& name) {
    std::string text = toUtf8(exception.getMessage());
    for (const std::string& front : {"[" + name + "]", name + ": "}) {
        if (text.starts_with(front)) {
            text.erase(0, front.size());
        }
    }
    text.erase(0, text.find_first_not_of(" \n"));
    text.erase(text.find_last_not_of(" \n") + 1);
    return printableLine(text, longestMessage);
}

std::string inSeconds(int milliseconds) {
    std::string text;
    appendNumber(text, milliseconds / 1000.0);
    return text + " s";
}

Failure ofErrorReply(const JsonDevice::ErrorReplyException& e, const std::string& name) {
    const std::string code = e.getCode() == 0 ? "" : " " + std::to_string(e.getCode());
    const std::string what = printableLine(e.getErrorMessage(), longestMessage);
    const std::string data =
        e.getData().isNull() ? "" : " (" + printableLine(jsonText(e.getData(), false), longestMessage) + ")";
    return {ExitStatus::deviceError,
            name + ": the device answered with error" + code + (what.empty() ? "" : ": " + what) + data,
            e.getCode(), e.getData()};
}

}  // namespace

Session::Session(Communicator& communicator, const Frame& f)
    : device(communicator),
      deviceName(printableLine(toUtf8(communicator.getDisplayName()))),
      frame(f),
      connection(&device) {}

Json::Value Session::call(const Operation& operation, const Json::Value& params) {
    const int waitMs = frame.timeout.value_or(static_cast<int>(operation.timeout.count()));
    Json::Value reply = guarded(waitMs, [&] {
        return connection.callCommunicator(std::string(operation.method), params,
                                           std::chrono::milliseconds(waitMs));
    });
    Json::Value result;
    result.swap(reply["result"]);
    if (operation.result.form == Form::nothing) {
        return result;
    }
    const std::string type = operation.result.name;
    MarshalJson& registry = *MarshalJson::instance();
    const auto release = [&](void* object) { registry.destroy(type, object); };
    std::unique_ptr<void, decltype(release)> native(nullptr, release);
    try {
        native.reset(registry.fromJson(result, type));
    } catch (const KorvanExceptionBase&) {
        // Refused below, as a result is that the library makes nothing of.
    } catch (const std::exception&) {
        // jsoncpp's own refusal, for numbers beyond a range.
    }
    if (!native) {
        throw FailureException(
            {ExitStatus::brokenProtocol, deviceName + ": the result of " + std::string(operation.method) +
                                             " is not " + describeType(operation.result) + ": " +
                                             printableLine(jsonText(result, false), longestMessage)});
    }
    return result;
}

void Session::refuse(int waitMs) {
    const std::string rawName = toUtf8(device.getDisplayName());
    const auto is = [&](ExitStatus status, const std::string& message) -> FailureException {
        return FailureException({status, message});
    };
    // What the library said of an error reply says the same as the failure, and less well.
    const bool diagnosed = !frame.console.verbose;
    try {
        throw;
    } catch (const FailureException&) {
        throw;
    } catch (const JsonDevice::ErrorReplyException& e) {
        if (diagnosed) {
            frame.diagnostics.drop();
        }
        throw FailureException(ofErrorReply(e, deviceName));
    } catch (const JsonDevice::NoReplyException&) {
        if (diagnosed) {
            frame.diagnostics.drop();
        }
        throw is(ExitStatus::timedOut, deviceName + ": no reply within " + inSeconds(waitMs));
    } catch (const KorvanTimedOutException&) {
        throw is(ExitStatus::timedOut, deviceName + ": no reply within " + inSeconds(waitMs));
    } catch (const DeviceTimedOutException& e) {
        throw is(ExitStatus::timedOut, deviceName + ": " + withoutName(e, rawName));
    } catch (const DeviceNotConnectedException& e) {
        const char* const what =
            device.connectionCount() == 0 ? "cannot connect to " : "lost the connection to ";
        throw is(ExitStatus::notConnected, what + deviceName + ": " + withoutName(e, rawName));
    } catch (const KorvanExceptionBase& e) {
        throw is(ExitStatus::brokenProtocol, deviceName + ": " + withoutName(e, rawName));
    } catch (const std::exception& e) {
        throw is(ExitStatus::brokenProtocol, deviceName + ": " + printableLine(e.what(), longestMessage));
    }
}

void Session::note(const std::string& line) {
    frame.console.note((frame.oneOfSeveral ? deviceName + "  " : "") + line);
}

void Session::dropDiagnostics() {
    frame.diagnostics.drop();
}

void Session::print(const Answer& answer) {
    if (frame.console.json) {
        frame.console.data(jsonText(document(deviceName, answer), false) + "\n");
    } else {
        frame.console.data(frame.oneOfSeveral ? prefixLines(deviceName, answer.text) : answer.text);
    }
}

Json::Value document(const std::string& device, const Answer& answer) {
    Json::Value json(Json::objectValue);
    if (!device.empty()) {
        json["device"] = device;
    }
    json["result"] = answer.data;
    return json;
}

Json::Value document(const std::string& device, const Failure& failure) {
    Json::Value json(Json::objectValue);
    if (!device.empty()) {
        json["device"] = device;
    }
    json["error"] = toJson(failure);
    return json;
}

std::string prefixLines(const std::string& name, const std::string& text) {
    std::string prefixed;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size() - 1);
        prefixed += name + "  " + text.substr(start, end - start + 1);
        start = end + 1;
    }
    return prefixed;
}

}  // namespace Tool
