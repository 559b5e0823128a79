#pragma once

#include <deque>
#include <set>
#include <string>
#include <vector>

#include <json/value.h>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/JsonInterpreter.h"

namespace UnitTestJsonDevice {

using JsonDevice::DeviceMessage;

/// The reply part of a scripted exchange, and what has come of it so far.
struct JSONDEVICE_EXPORT ResponseStruct {
    DeviceMessage reply;
    /// Whether a request must have the expected params too.
    bool compareParams = false;
    /// Whether a request has matched.
    bool answered = false;
    /// The params of the last request that matched, and of all of them in turn.
    Json::Value lastParams;
    std::vector<Json::Value> allParams;
};

/// An interpreter that answers from a script instead of a device, for tests of
/// what is built on interpreters. The script is a queue of expected requests
/// with their replies; in strict order only the front one may come, and goes
/// with it; in free order the first that matches answers, as often as it is
/// asked. Selected methods can be passed on to a real device (setCommunicator).
///
/// A request that the script does not expect raises DeviceException.
/// For one thread at a time.
class JSONDEVICE_EXPORT JsonInterpreterMoc : public JsonDevice::JsonInterpreter {
public:
    explicit JsonInterpreterMoc(bool strictOrder);
    ~JsonInterpreterMoc() override;

    void addSequence(const DeviceMessage& request, DeviceMessage reply, bool compareParams);
    /// Forgets the script and what was received.
    void clearSequences();
    /// How many exchanges are in the script.
    int expectedSize();
    /// How many requests were received and not yet taken.
    int receivedSize();
    /// Hands the reply of the front exchange to the callbacks, as if the device
    /// had sent it unasked, and removes the exchange. Throws DeviceException when there is none.
    void triggerSequence();

    /// Requests with this method go to the device.
    void addBypassMethod(const std::string& method);
    void removeAllBypassMethods();

    /// Takes the oldest, or the newest, request received. Throws DeviceException when there is none.
    DeviceMessage popNextReceivedMsg();
    DeviceMessage popLastReceivedMsg();
    /// The reply part of the exchange that this message would match now. Throws
    /// DeviceException when there is none.
    ResponseStruct getResponseToMsg(const DeviceMessage& msg) const;
    /// Of the last request that matched; null before.
    const Json::Value& getRequestParams() const { return lastRequestParams; }
    const Json::Value& getRequestMethod() const { return lastRequestMethod; }

    /// Replies to put into a script.
    static DeviceMessage createResponse(Json::Value v);
    static DeviceMessage createValueResponse(Json::Value& v);
    static DeviceMessage createErrorResponse();

    using JsonInterpreter::sendMsg;
    Json::Value getValue(const std::string& code) override;
    Json::Value setValue(const std::string& code, Json::Value value) override;
    Json::Value getAttributes(const std::string& code) override;
    Json::Value getProperties(const std::string& code) override;
    DeviceMessage sendMsg(const DeviceMessage& msg) override;

private:
    struct Sequence {
        DeviceMessage request;
        ResponseStruct response;
    };
    static bool matches(const Sequence& sequence, const DeviceMessage& msg);
    /// The position of the exchange that matches; the size of the script when none does.
    std::size_t getSequenceIdx(const DeviceMessage& msg) const;

    std::deque<Sequence> sequences;
    std::deque<DeviceMessage> received;
    std::set<std::string> bypassMethods;
    bool strictOrder;
    Json::Value lastRequestParams;
    Json::Value lastRequestMethod;
};

}  // namespace UnitTestJsonDevice
