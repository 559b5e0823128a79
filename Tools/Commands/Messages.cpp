#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonInterpreter.h"
#include "DeviceManager/JsonDevice/JsonParser.h"
#include "DeviceManager/JsonDevice/Vocabulary/Method.h"
#include "Platform/Transport/Communicator.h"
#include "Tools/Arguments.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/Session.h"

/// The commands that speak in messages about codes instead of methods.
namespace Tool {

namespace {

using JsonDevice::DeviceMessage;
using JsonDevice::JsonConnection;
using JsonDevice::JsonInterpreter;

int waitMs(const Session& session) {
    return session.timeout().value_or(static_cast<int>(JsonDevice::defaultReplyTimeout.count()));
}

/// An interpreter whose failures can be told apart.
class MessageClient : public JsonInterpreter {
public:
    using JsonInterpreter::JsonInterpreter;
    using JsonInterpreter::sendAndGetReply;
};

Task exchange(const DeviceMessage& message) {
    return [message](Session& session) {
        MessageClient client(&session.communicator());
        const Json::Value result = session.guarded(waitMs(session), [&] {
            return client.sendAndGetReply(message, static_cast<unsigned int>(waitMs(session))).getParams();
        });
        return Answer{formatValue(result), result};
    };
}

/// A request for a code, with a value where one is given. All values travel
/// behind the code: by itself an object or an array would take its place.
DeviceMessage request(const std::string& method, const std::string& code,
                      const std::optional<Json::Value>& value = {}) {
    if (!isUtf8(code)) {
        refuseUsage("the code " + inQuotes(code) + " is not text in UTF-8");
    }
    DeviceMessage message;
    message.setMethod(method);
    message.setCode(code);
    message.addParameter(code);
    if (value) {
        message.addParameter(*value);
    }
    return message;
}

Command command(const std::string& name, const std::string& method, const std::string& summary) {
    Command command{name, summary, "-d tcp://projector:5000 " + name + " osd", {{"CODE", "The code"}}};
    command.prepare = [method](const Given& given) { return exchange(request(method, given.text("CODE"))); };
    return command;
}

/// Makes no connection but when told to: on one that was made in passing a
/// device would have nothing to tell.
class SteadyCommunicator final : public Communicator {
public:
    explicit SteadyCommunicator(Communicator& device) : inner(device) {}

    /// The next exchange may connect.
    void allowConnecting() { mayConnect = true; }

    std::wstring getDisplayName() const override { return inner.getDisplayName(); }
    int read(char* buffer, int capacity, int minimum, int timeoutMs) override {
        return inner.read(buffer, capacity, minimum, timeoutMs);
    }
    int write(const char* data, std::size_t length, int block, int flush) override {
        return inner.write(data, length, block, flush);
    }
    std::uint64_t connectionCount() const override { return inner.connectionCount(); }
    void beginExchange() noexcept override {
        if (mayConnect) {
            inner.beginExchange();
            mayConnect = false;
        }
    }
    void abandonExchange() noexcept override { inner.abandonExchange(); }

private:
    Communicator& inner;
    bool mayConnect = true;
};

/// Prints what a device tells of its own accord.
class Watch {
public:
    Watch(Session& session, const std::vector<std::string>& codes, std::uint64_t count)
        : session(session),
          codes(codes),
          left(count),
          communicator(session.communicator()),
          connection(&communicator) {}

    void run() {
        subscribe();
        while (left > 0) {
            try {
                handle(read(0));
            } catch (const FailureException& e) {
                // A record too large to be read costs the connection.
                if (e.get().status != ExitStatus::notConnected || !lastWasUnreadable) {
                    throw;
                }
                lastWasUnreadable = false;
                communicator.allowConnecting();
                subscribe();
            }
        }
    }

private:
    /// A device notifies those who have asked it something.
    void subscribe() {
        if (codes.empty()) {
            ask("");
        }
        for (const std::string& code : codes) {
            ask(code);
        }
        session.note("watching " + session.name());
    }

    void ask(const std::string& code) {
        Json::Value message = JsonDevice::JsonParser::convertToJsonValue(request("get", code));
        session.guarded(waitMs(session), [&] { connection.sendMsg(message); });
        const bool limited = waitMs(session) != 0;
        const auto deadline = Clock::now() + std::chrono::milliseconds(waitMs(session));
        // Notifications may come before the reply.
        for (;;) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (limited && rest.count() <= 0) {
                session.guarded(waitMs(session), [] { throw KorvanTimedOutException(L"no reply"); });
            }
            try {
                const Json::Value record = read(limited ? static_cast<int>(rest.count()) : 0);
                if (record.isMember("id") && record["id"] == message["id"]) {
                    return;
                }
                handle(record);
            } catch (const FailureException& e) {
                // Without a code to ask for, an error is as good an answer as any.
                if (e.get().status == ExitStatus::deviceError && code.empty()) {
                    return;
                }
                throw;
            }
        }
    }

    /// The next record; null when none came in time, or when it cannot be read.
    Json::Value read(int timeoutMs) {
        return session.guarded(waitMs(session), [&]() -> Json::Value {
            try {
                Json::Value record = connection.readMsg(timeoutMs);
                lastWasUnreadable = false;
                return record;
            } catch (const JsonDevice::BrokenProtocolException& e) {
                lastWasUnreadable = true;
                session.dropDiagnostics();
                session.note("a record that cannot be read was skipped: " +
                             printableLine(toUtf8(e.getMessage()), 200));
                return {};
            }
        });
    }

    void handle(const Json::Value& record) {
        if (!record.isObject() || !record["method"].isString() || left == 0) {
            return;
        }
        const std::string method = record["method"].asString();
        const Json::Value& params = record["params"];
        const bool named = params.isArray() && !params.empty() && params[0].isString();
        const std::string code = named ? params[0].asString() : "";
        if (!codes.empty() && std::ranges::find(codes, code) == codes.end()) {
            return;
        }
        // Behind the code there is one value, or else a list of them.
        Json::Value value = params;
        if (named) {
            Json::Value removed;
            value.removeIndex(0, &removed);
            value = value.size() == 1 ? Json::Value(params[1]) : value;
        }
        Answer answer;
        answer.data["method"] = method;
        answer.data["code"] = named ? Json::Value(code) : Json::Value();
        answer.data["value"] = value;
        answer.text = printableLine(named ? code : method) + "  " + formatValueInline(value) + "\n";
        session.print(answer);
        --left;
    }

    using Clock = std::chrono::steady_clock;

    Session& session;
    const std::vector<std::string>& codes;
    std::uint64_t left;
    SteadyCommunicator communicator;
    JsonConnection connection;
    bool lastWasUnreadable = false;
};

}  // namespace

Command getCommand() {
    return command("get", "get", "Get the value of a code");
}

Command attributesCommand() {
    return command("attributes", "getAttributes", "Tell what a value of a code must be like");
}

Command propertiesCommand() {
    return command("properties", "getProperties", "Tell what the device knows of a code");
}

Command setCommand() {
    Command command{"set",
                    "Set the value of a code",
                    "-d tcp://projector:5000 set osd 1",
                    {{"CODE", "The code"},
                     {"VALUE",
                      "JSON, or else text; @FILE for what is in a file, - for standard input, @@... for a "
                      "text that begins with @",
                      Hint::file}}};
    command.prepare = [](const Given& given) {
        return exchange(request("set", given.text("CODE"), parseValue(given.text("VALUE"), given.input())));
    };
    return command;
}

Command watchCommand() {
    Command command{"watch",
                    "Show the changes that the device tells of, as they come, until interrupted",
                    "-d tcp://projector:5000 watch osd",
                    {{"CODE", "Only these codes", Hint::none, Parameter::Count::any}},
                    {{"-n,--count", "N", "End after so many changes"}}};
    command.prepare = [](const Given& given) -> Task {
        const std::uint64_t count =
            given.has("count")
                ? static_cast<std::uint64_t>(given.number("count", 1, std::numeric_limits<int>::max(), 1))
                : std::numeric_limits<std::uint64_t>::max();
        for (const std::string& code : given.all("CODE")) {
            request("get", code);  // refuses one that cannot be sent
        }
        return [codes = given.all("CODE"), count](Session& session) {
            Watch(session, codes, count).run();
            return Answer();
        };
    };
    command.streams = true;
    return command;
}

}  // namespace Tool
