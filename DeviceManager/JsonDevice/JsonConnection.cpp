#include "DeviceManager/JsonDevice/JsonConnection.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/Diagnostics.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "DeviceManager/JsonDevice/Logging.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "Platform/Transport/Communicator.h"
#include "Platform/Transport/Connector.h"

namespace JsonDevice {

namespace {

constexpr const char* file = "DeviceManager/JsonDevice/JsonConnection";
/// How many requests back a reply may belong to and still be skipped as late.
constexpr long long lateReplies = 16;
constexpr int messageReadMs = 10000;

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonConnection");

/// What opens a request, and the most digits that an id has.
constexpr std::string_view requestHead = R"({"id":)";
constexpr std::size_t idRoom = 20;

/// What stands between the id and the params. The members of a request stand in
/// ascending order of their keys.
void appendMethod(std::string& text, std::string_view method) {
    text += R"(,"jsonrpc":"2.0","method":)";
    JsonText::appendString(text, method);
    text += R"(,"params":)";
}

/// Puts the id, right-aligned, into the room that was left for it; the request from its first character on.
std::string_view withId(std::string& text, long long id) {
    const std::string digits = std::to_string(id);
    const std::size_t start = idRoom - digits.size();
    text.replace(start, requestHead.size(), requestHead);
    text.replace(start + requestHead.size(), digits.size(), digits);
    return std::string_view(text).substr(start);
}

}  // namespace

JsonConnection::JsonConnection(Communicator* c) : marshal(MarshalJson::instance()) {
    setCommunicator(c, true);
}

JsonConnection::~JsonConnection() = default;

Communicator* JsonConnection::setCommunicator(Communicator* newCommunicator, bool resetId) {
    Communicator* const previous = communicator;
    if (resetId) {
        nextId = 0;
    }
    communicator = newCommunicator;
    reader.follow(communicator);
    if (communicator != nullptr) {
        logContext = "[" + toUtf8(communicator->getDisplayName()) + "]";
    }
    return previous;
}

std::string JsonConnection::buildRequestString(const std::string& method, const Json::Value& id,
                                               const Json::Value& params) {
    std::string text(requestHead);
    JsonText::append(text, id);
    appendMethod(text, method);
    JsonText::append(text, params);
    text += "}\n";
    return text;
}

std::string JsonConnection::buildRequestString(const Json::Value& id, Json::Value& request) {
    request["id"] = id;
    return JsonText::write(request);
}

std::string JsonConnection::buildRequestString(const Json::Value& request) {
    return JsonText::write(request);
}

bool JsonConnection::validKeysInRequest(const Json::Value& request) {
    constexpr std::pair<const char*, int> keys[] = {{"method", 307}, {"params", 312}, {"jsonrpc", 317}};
    for (const auto& [key, line] : keys) {
        if (!request.isObject() || !request.isMember(key)) {
            throw KorvanParseException(file, line, toWide(logContext + "JSON response missing tag: " + key));
        }
    }
    return true;
}

void JsonConnection::sendMsg(Json::Value& msg) {
    const std::lock_guard guard(lock);
    Connector connector(communicator);
    msg["id"] = static_cast<Json::Int64>(++nextId);
    const std::string text = JsonText::write(msg);
    JSONDEVICE_LOG(logger, Info, logContext + "sendMsg--->" + text);
    write(text);
    connector.succeeded();
}

Json::Value JsonConnection::readMsg(int timeoutMs) {
    Json::Value message;
    read(timeoutMs, message);
    return message;
}

void JsonConnection::read(int timeoutMs, Json::Value& message) {
    std::string line;
    {
        Connector connector(communicator);
        // A record that came to its end is no reason to give up the connection, whatever is in it.
        try {
            line = readResponse(timeoutMs);
        } catch (const BrokenProtocolException&) {
            connector.succeeded();
            throw;
        }
        connector.succeeded();
    }
    if (!line.empty()) {
        JSONDEVICE_LOG(logger, Info, logContext + "<---Response was:" + line);
        check(line, kDoesNotRequireId, logContext, message);
    }
}

Json::Value JsonConnection::checkResponse(const std::string& text, bool requireId,
                                          const std::string& logContext) {
    Json::Value reply;
    check(text, requireId, logContext, reply);
    return reply;
}

void JsonConnection::check(const std::string& text, bool requireId, const std::string& logContext,
                           Json::Value& reply) {
    const auto report = [&](const char* what) {
        printDiagnostic(logContext + "JsonConnection::checkResponse() " + what + text);
    };
    const auto message = [&](const char* what) { return toWide(logContext + what + text); };
    if (text.empty() || !JsonText::read(text, reply)) {
        report("Failed to parse JSON response ");
        constexpr const char* what = " Failed to parse JSON response: ";
        if (text.empty()) {
            throw NoReplyException(file, 90, message(what));
        }
        throw BrokenProtocolException(file, 90, message(what));
    }
    if (!reply.isObject() || (requireId && !reply.isMember("id"))) {
        report("JSON response missing id tag ");
        throw BrokenProtocolException(file, 95, message(" JSON response missing id tag: "));
    }
    if (reply.isMember("error")) {
        report("Error response ");
        throw ErrorReplyException(file, 102, message(" Json response contained Error tag: "), reply["error"]);
    }
}

Json::Value JsonConnection::callCommunicator(const std::string& method, const Json::Value& params,
                                             std::chrono::milliseconds timeout) {
    // Whatever does not fit is longer than three weeks; it must not become 0, which means without limit.
    constexpr auto longest = static_cast<std::chrono::milliseconds::rep>(std::numeric_limits<int>::max());
    return sendAndReplyInternal(method, params,
                                static_cast<int>(std::clamp(timeout.count(), -longest, longest)));
}

Json::Value JsonConnection::callCommunicator(const Json::Value& request) {
    return sendAndReplyInternal(request, messageReadMs);
}

Json::Value JsonConnection::sendAndReplyInternal(const std::string& method, const Json::Value& params,
                                                 int timeoutMs) {
    std::string text = beginRequest(method);
    JsonText::append(text, params);
    return exchange(std::move(text), timeoutMs);
}

std::string JsonConnection::beginRequest(std::string_view method) {
    std::string text;
    {
        const std::lock_guard guard(lock);
        text.swap(requestText);
    }
    text.assign(requestHead.size() + idRoom, ' ');
    appendMethod(text, method);
    return text;
}

Json::Value JsonConnection::exchange(std::string text, int timeoutMs) {
    text += "}\n";
    const std::lock_guard guard(lock);
    Connector connector(communicator);
    const std::string_view request = withId(text, ++nextId);
    JSONDEVICE_LOG(logger, Trace, (logContext + "sendAndReplyInternal--->").append(request));
    write(request);
    requestText.swap(text);
    const auto deadline = getClock().now() + std::chrono::milliseconds(timeoutMs);
    for (bool late = false;; late = true) {
        // A device that keeps sending late replies must not keep the caller for ever.
        const bool outOfTime = late && timeoutMs != 0 && getClock().now() >= deadline;
        const std::string line = outOfTime ? std::string() : readResponse(timeoutMs);
        JSONDEVICE_LOG(logger, Trace, logContext + "<---Response was:" + line);
        Json::Value reply;
        try {
            check(line, kRequiresId, logContext, reply);
        } catch (const ErrorReplyException&) {
            concludeIfAnswered(reply, connector);
            throw;
        }
        if (answers(reply, 211)) {
            connector.succeeded();
            return reply;
        }
    }
}

Json::Value JsonConnection::sendAndReplyInternal(const Json::Value& request, int /*timeoutMs*/) {
    const std::lock_guard guard(lock);
    Connector connector(communicator);
    Json::Value numbered = request;
    numbered["id"] = static_cast<Json::Int64>(++nextId);
    JSONDEVICE_LOG(logger, Trace, logContext + "sendAndReplyInternal--->" + numbered.toStyledString());
    write(JsonText::write(numbered));
    const auto deadline = getClock().now() + std::chrono::milliseconds(messageReadMs);
    for (bool late = false;; late = true) {
        Json::Value reply;
        if (late && getClock().now() >= deadline) {
            return reply;
        }
        try {
            read(messageReadMs, reply);
        } catch (const ErrorReplyException&) {
            concludeIfAnswered(reply, connector);
            throw;
        }
        if (!reply.isMember("id")) {
            return reply;
        }
        if (answers(reply, 267)) {
            connector.succeeded();
            return reply;
        }
    }
}

Json::Value JsonConnection::callInternal(std::string text, int timeoutMs) {
    Json::Value reply = exchange(std::move(text), timeoutMs);
    Json::Value result;
    result.swap(reply["result"]);
    return result;
}

std::string JsonConnection::readResponse(int timeoutMs) {
    return reader.read(*communicator, timeoutMs, logContext);
}

void JsonConnection::write(std::string_view text) {
    // The NUL behind the text ends the record.
    communicator->write(text.data(), text.size() + 1, 1, 1);
}

bool JsonConnection::answers(const Json::Value& reply, int line) const {
    switch (match(reply)) {
        case Match::current:
            return true;
        case Match::late:
            return false;
        case Match::other:
            break;
    }
    throw BrokenProtocolException(file, line, toWide(logContext + "JSON response id didn't match"));
}

void JsonConnection::concludeIfAnswered(const Json::Value& reply, Connector& connector) const {
    if (match(reply) == Match::current) {
        connector.succeeded();
    }
}

JsonConnection::Match JsonConnection::match(const Json::Value& reply) const {
    long long id = 0;
    try {
        id = reply["id"].asInt64();
    } catch (const Json::Exception&) {
        return Match::other;
    }
    if (id == nextId) {
        return Match::current;
    }
    return id < nextId && id >= nextId - lateReplies ? Match::late : Match::other;
}

}  // namespace JsonDevice
