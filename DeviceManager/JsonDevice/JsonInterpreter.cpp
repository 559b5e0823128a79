#include "DeviceManager/JsonDevice/JsonInterpreter.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <utility>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/Clock.h"
#include "DeviceManager/JsonDevice/Diagnostics.h"
#include "DeviceManager/JsonDevice/JsonConnection.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonParser.h"
#include "DeviceManager/JsonDevice/Logging.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace JsonDevice {

namespace {

constexpr unsigned int defaultReplyMs = 10000;
constexpr int pollMs = 50;

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonInterpreter");

/// 'method(code)', as all lines of sendMsg name a message.
std::string quoted(const DeviceMessage& msg) {
    return "'" + msg.getMethod() + "(" + msg.getCode() + ")'";
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

/// A request and what has come of it; one of the two when its reply has arrived.
struct JsonInterpreter::Waiting {
    long long id;
    Json::Value reply;
    std::exception_ptr error;
};

JsonInterpreter::JsonInterpreter(Communicator* communicator)
    : connection(std::make_unique<JsonConnection>(communicator)),
      parser(std::make_unique<JsonParser>()),
      clock(&Clock::standard()) {}

JsonInterpreter::~JsonInterpreter() = default;

Json::Value JsonInterpreter::getValue(const std::string& code) {
    return sendMsg("get", code).getParams();
}

Json::Value JsonInterpreter::setValue(const std::string& code, Json::Value value) {
    return sendMsg("set", code, std::move(value)).getParams();
}

Json::Value JsonInterpreter::getAttributes(const std::string& code) {
    return sendMsg("getAttributes", code).getParams();
}

Json::Value JsonInterpreter::getProperties(const std::string& code) {
    return sendMsg("getProperties", code).getParams();
}

DeviceMessage JsonInterpreter::sendMethodMsg(const std::string& method, Json::Value params) {
    return sendMsg(method, "", std::move(params));
}

DeviceMessage JsonInterpreter::sendMethodMsg(const std::string& method) {
    return sendMsg(method, "");
}

DeviceMessage JsonInterpreter::sendMethodMsgWithTimeout(const std::string& method, Json::Value params,
                                                        unsigned int timeoutMs) {
    // Held for the whole call, so that the time-out is this call's alone.
    const std::lock_guard guard(sendLock);
    struct Reset {
        JsonInterpreter& interpreter;
        ~Reset() { interpreter.setReplyTimeout(0); }
    } const reset{*this};
    setReplyTimeout(timeoutMs);
    return sendMethodMsg(method, std::move(params));
}

DeviceMessage JsonInterpreter::sendMsg(const std::string& method, const std::string& code,
                                       Json::Value value) {
    DeviceMessage msg(code, value);
    msg.setMethod(method);
    return sendMsg(msg);
}

DeviceMessage JsonInterpreter::sendMsg(const std::string& method, const std::string& code) {
    DeviceMessage msg(code);
    msg.setMethod(method);
    return sendMsg(msg);
}

DeviceMessage JsonInterpreter::sendMsg(const std::string& code) {
    return sendMsg(DeviceMessage(code));
}

DeviceMessage JsonInterpreter::sendMsg(const DeviceMessage& msg) {
    const std::lock_guard guard(sendLock);
    const std::string opening = "JsonInterpreter::sendMsg() ";
    JSONDEVICE_LOG(logger, Trace, connection->getLogContext() + opening + "--> " + quoted(msg));
    try {
        return sendAndGetReply(msg, defaultReplyMs);
    } catch (const KorvanTimedOutException&) {
        JSONDEVICE_LOG(logger, Warn,
                       connection->getLogContext() + opening + "Timedout Exception " + quoted(msg));
    } catch (const DeviceTimedOutException&) {
        const std::string text = opening + "Device Timedout Exception " + quoted(msg);
        JSONDEVICE_LOG(logger, Warn, connection->getLogContext() + text);
        printDiagnostic(text);
    } catch (const KorvanParseException& e) {
        const std::string text = opening + "Parse Exception " + quoted(msg) + " - ";
        const std::string what = toUtf8(e.getMessage());
        JSONDEVICE_LOG(logger, Error, connection->getLogContext() + text + what);
        printDiagnostic(text + "Response: " + what);
    } catch (const DeviceNotConnectedException&) {
        const std::string text = opening + "Device Not Connected Exception " + quoted(msg);
        JSONDEVICE_LOG(logger, Info, connection->getLogContext() + text);
        printDiagnostic(text);
    } catch (...) {
        const std::string text = opening + "Other Exception " + quoted(msg);
        JSONDEVICE_LOG(logger, Error, connection->getLogContext() + text);
        printDiagnostic(text);
    }
    return DeviceMessage("error");
}

void JsonInterpreter::sendBatchMessage(std::vector<DeviceMessage*>* batch) {
    for (const DeviceMessage* const msg : *batch) {
        sendMsg(*msg);
    }
}

Communicator* JsonInterpreter::setCommunicator(Communicator* communicator, bool newConnection) {
    const std::lock_guard guard(sendLock);
    if (!newConnection) {
        return connection->setCommunicator(communicator, false);
    }
    Communicator* const previous = connection->getCommunicator();
    const std::size_t largest = connection->getLargestRecord();
    connection = std::make_unique<JsonConnection>(communicator);
    connection->setClock(*clock);
    connection->setLargestRecord(largest);
    return previous;
}

JsonInterpreter::iterator JsonInterpreter::addCallback(const std::string& key, Callback callback) {
    const std::lock_guard guard(callbackLock);
    return callbacks.emplace(key, std::move(callback));
}

void JsonInterpreter::removeCallback(const iterator& entry) {
    const std::lock_guard guard(callbackLock);
    for (std::vector<iterator>* const round : rounds) {
        std::erase(*round, entry);
    }
    callbacks.erase(entry);
}

void JsonInterpreter::processMessages() {
    const std::lock_guard guard(sendLock);
    receive(pollMs);
}

void JsonInterpreter::receive(int timeoutMs) {
    Json::Value message;
    try {
        connection->read(timeoutMs, message);
    } catch (const ErrorReplyException&) {
        Waiting* const request = waitingFor(message);
        if (request == nullptr) {
            throw;
        }
        request->error = std::current_exception();
        return;
    }
    if (message.isNull()) {
        return;
    }
    if (Waiting* const request = waitingFor(message)) {
        request->reply = std::move(message);
    } else {
        emitMessage(JsonParser::convertToMessage(message));
    }
}

JsonInterpreter::Waiting* JsonInterpreter::waitingFor(const Json::Value& message) const {
    const Json::Value& id = message["id"];
    if (!id.isInt64()) {
        return nullptr;
    }
    const auto found = std::find_if(waiting.begin(), waiting.end(),
                                    [&](const Waiting* request) { return request->id == id.asInt64(); });
    return found == waiting.end() ? nullptr : *found;
}

void JsonInterpreter::setLargestMessage(std::size_t bytes) {
    const std::lock_guard guard(sendLock);
    connection->setLargestRecord(bytes);
}

void JsonInterpreter::setClock(const Clock& newClock) {
    clock = &newClock;
    connection->setClock(newClock);
}

DeviceMessage JsonInterpreter::sendAndGetReply(const DeviceMessage& msg, unsigned int timeoutMs) {
    const std::lock_guard guard(sendLock);
    Json::Value request = JsonParser::convertToJsonValue(msg);
    connection->sendMsg(request);
    Waiting mine{request["id"].asInt64(), {}, nullptr};
    waiting.push_back(&mine);
    struct Leave {
        JsonInterpreter& interpreter;
        ~Leave() { interpreter.waiting.pop_back(); }
    } const leave{*this};
    const unsigned int wait = replyTimeout != 0 ? replyTimeout.load() : timeoutMs;
    const int readMs = static_cast<int>(std::min<unsigned int>(wait, std::numeric_limits<int>::max()));
    const auto deadline = clock->now() + std::chrono::milliseconds(wait);
    for (;;) {
        receive(readMs);
        if (mine.error) {
            std::rethrow_exception(mine.error);
        }
        if (!mine.reply.isNull()) {
            return JsonParser::convertToMessage(mine.reply);
        }
        if (wait != 0 && clock->now() >= deadline) {
            throw KorvanTimedOutException(
                "DeviceManager/JsonDevice/JsonInterpreter", __LINE__,
                toWide(connection->getLogContext() + "JsonConnection read line timed out"));
        }
    }
}

void JsonInterpreter::emitMessage(const DeviceMessage& msg) {
    if (!emitMessages) {
        return;
    }
    const std::string& method = msg.getMethod();
    if (!contains(method, "notify") && !contains(method, "Notify")) {
        return;
    }
    const std::string& key = method == "notify" ? msg.getCode() : method;
    // Always in this order, since a callback may send.
    const std::lock_guard sending(sendLock);
    const std::lock_guard guard(callbackLock);
    std::vector<iterator> round;
    for (auto [entry, end] = callbacks.equal_range(key); entry != end; ++entry) {
        round.push_back(entry);
    }
    std::reverse(round.begin(), round.end());
    rounds.push_back(&round);
    struct Leave {
        JsonInterpreter& interpreter;
        ~Leave() { interpreter.rounds.pop_back(); }
    } const leave{*this};
    while (!round.empty()) {
        // A copy: the callback may remove itself.
        const Callback callback = round.back()->second;
        round.pop_back();
        callback(msg);
    }
}

}  // namespace JsonDevice
