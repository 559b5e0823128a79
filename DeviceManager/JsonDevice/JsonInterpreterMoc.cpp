#include "DeviceManager/JsonDevice/JsonInterpreterMoc.h"

#include <utility>

#include "Common/WideText.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace UnitTestJsonDevice {

namespace {

constexpr const char* file = "DeviceManager/JsonDevice/JsonInterpreterMoc";

}  // namespace

JsonInterpreterMoc::JsonInterpreterMoc(bool strict) : JsonInterpreter(nullptr), strictOrder(strict) {}
JsonInterpreterMoc::~JsonInterpreterMoc() = default;

void JsonInterpreterMoc::addSequence(const DeviceMessage& request, DeviceMessage reply, bool compareParams) {
    sequences.push_back({request, {std::move(reply), compareParams, false, {}, {}}});
}

void JsonInterpreterMoc::clearSequences() {
    sequences.clear();
    received.clear();
}

int JsonInterpreterMoc::expectedSize() {
    return static_cast<int>(sequences.size());
}

int JsonInterpreterMoc::receivedSize() {
    return static_cast<int>(received.size());
}

void JsonInterpreterMoc::triggerSequence() {
    if (sequences.empty()) {
        throw DeviceException(file, __LINE__, L"triggerSequence() but no more sequences are queued");
    }
    const DeviceMessage reply = sequences.front().response.reply;
    emitMessage(reply);
    // A callback may have cleared the script.
    if (!sequences.empty()) {
        sequences.pop_front();
    }
}

void JsonInterpreterMoc::addBypassMethod(const std::string& method) {
    bypassMethods.insert(method);
}

void JsonInterpreterMoc::removeAllBypassMethods() {
    bypassMethods.clear();
}

DeviceMessage JsonInterpreterMoc::popNextReceivedMsg() {
    if (received.empty()) {
        throw DeviceException(file, __LINE__, L"popNextReceivedMsg() but no message was received");
    }
    DeviceMessage msg = std::move(received.front());
    received.pop_front();
    return msg;
}

DeviceMessage JsonInterpreterMoc::popLastReceivedMsg() {
    if (received.empty()) {
        throw DeviceException(file, __LINE__, L"popLastReceivedMsg() but no message was received");
    }
    DeviceMessage msg = std::move(received.back());
    received.pop_back();
    return msg;
}

ResponseStruct JsonInterpreterMoc::getResponseToMsg(const DeviceMessage& msg) const {
    const std::size_t index = getSequenceIdx(msg);
    if (index == sequences.size()) {
        throw DeviceException(file, __LINE__,
                              L"getResponseToMsg() but no sequence matches the message " +
                                  toWide(msg.getMethod() + "(" + msg.getCode() + ")"));
    }
    return sequences[index].response;
}

DeviceMessage JsonInterpreterMoc::createResponse(Json::Value v) {
    DeviceMessage reply;
    reply.setCode("result");
    reply.setParams(v);
    return reply;
}

DeviceMessage JsonInterpreterMoc::createValueResponse(Json::Value& v) {
    Json::Value object(Json::objectValue);
    object["value"] = v;
    return createResponse(std::move(object));
}

DeviceMessage JsonInterpreterMoc::createErrorResponse() {
    // What an interpreter itself answers for a failure.
    return DeviceMessage("error");
}

// The four requests stand here again because they are part of this class's
// interface; each ends in this class's sendMsg.
Json::Value JsonInterpreterMoc::getValue(const std::string& code) {
    return JsonInterpreter::getValue(code);
}

Json::Value JsonInterpreterMoc::setValue(const std::string& code, Json::Value value) {
    return JsonInterpreter::setValue(code, std::move(value));
}

Json::Value JsonInterpreterMoc::getAttributes(const std::string& code) {
    return JsonInterpreter::getAttributes(code);
}

Json::Value JsonInterpreterMoc::getProperties(const std::string& code) {
    return JsonInterpreter::getProperties(code);
}

DeviceMessage JsonInterpreterMoc::sendMsg(const DeviceMessage& msg) {
    if (bypassMethods.contains(msg.getMethod())) {
        return JsonInterpreter::sendMsg(msg);
    }
    if (sequences.empty()) {
        throw DeviceException(file, 83, L"send(cmd) but no more commands expected");
    }
    const std::size_t index = getSequenceIdx(msg);
    if (index == sequences.size()) {
        throw DeviceException(file, 90, L"Unexpected command in JsonCommunicatorMoc");
    }
    received.push_back(msg);
    lastRequestParams = msg.getParams();
    lastRequestMethod = msg.getMethod();
    ResponseStruct& response = sequences[index].response;
    response.answered = true;
    response.lastParams = lastRequestParams;
    response.allParams.push_back(lastRequestParams);
    DeviceMessage reply = response.reply;
    if (strictOrder) {
        sequences.pop_front();
    }
    return reply;
}

bool JsonInterpreterMoc::matches(const Sequence& sequence, const DeviceMessage& msg) {
    const DeviceMessage& request = sequence.request;
    return request == msg && request.getMethod() == msg.getMethod() && request.getCode() == msg.getCode() &&
           (!sequence.response.compareParams || request.getParams() == msg.getParams());
}

std::size_t JsonInterpreterMoc::getSequenceIdx(const DeviceMessage& msg) const {
    const std::size_t candidates = strictOrder && !sequences.empty() ? 1 : sequences.size();
    for (std::size_t i = 0; i < candidates; ++i) {
        if (matches(sequences[i], msg)) {
            return i;
        }
    }
    return sequences.size();
}

}  // namespace UnitTestJsonDevice
