#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <json/value.h>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/DeviceMessage.h"

class Communicator;

namespace JsonDevice {

class Clock;
class JsonConnection;
class JsonParser;

/// The message-level client: sends DeviceMessage requests ("get", "set",
/// "getAttributes", "getProperties" or any method with a code and a value),
/// waits for the reply with the same id, and hands every other message that
/// arrives to the callbacks registered for it.
///
/// sendMsg never throws what a transport or a device does wrong: it answers
/// with a message for which isResultError() is true, and logs why. What a
/// callback throws is treated the same way while a request waits.
///
/// Give an interpreter a Communicator of its own: notifications that arrive
/// while an adapter waits on the same one are refused by that adapter.
///
/// Threads. There is no thread of the interpreter's own: callbacks run on the
/// thread that waits for a reply or that calls processMessages(), one at a
/// time. Any thread may call any operation at any time, except that
/// setCommunicator and the destructor need the interpreter idle. A callback may
/// send requests of its own, add callbacks (they join from the next message on),
/// and remove any, itself included. addCallback and removeCallback on another
/// thread wait until the callbacks that are running have returned, so a callback
/// must not wait for such a thread.
class JSONDEVICE_EXPORT JsonInterpreter {
public:
    using Callback = std::function<void(DeviceMessage)>;
    using Callbacks = std::multimap<std::string, Callback>;
    using iterator = Callbacks::iterator;

    /// The Communicator is borrowed and may be null.
    explicit JsonInterpreter(Communicator* communicator);
    JsonInterpreter(const JsonInterpreter&) = delete;
    JsonInterpreter& operator=(const JsonInterpreter&) = delete;
    virtual ~JsonInterpreter();

    /// The "params" of the reply to a message with that method and code.
    virtual Json::Value getValue(const std::string& code);
    virtual Json::Value setValue(const std::string& code, Json::Value value);
    virtual Json::Value getAttributes(const std::string& code);
    virtual Json::Value getProperties(const std::string& code);

    /// A message without a code.
    virtual DeviceMessage sendMethodMsg(const std::string& method, Json::Value params);
    virtual DeviceMessage sendMethodMsg(const std::string& method);
    /// The same with a reply time-out of its own, for this one call.
    virtual DeviceMessage sendMethodMsgWithTimeout(const std::string& method, Json::Value params,
                                                   unsigned int timeoutMs);

    virtual DeviceMessage sendMsg(const std::string& method, const std::string& code, Json::Value value);
    virtual DeviceMessage sendMsg(const std::string& method, const std::string& code);
    /// A request to read the code.
    virtual DeviceMessage sendMsg(const std::string& code);
    /// Sends the message and returns its reply. All other operations end here.
    virtual DeviceMessage sendMsg(const DeviceMessage& msg);
    /// Sends each of them in turn; the replies are discarded.
    virtual void sendBatchMessage(std::vector<DeviceMessage*>* batch);

    /// Returns the previous one. With newConnection the ids start at 1 again.
    Communicator* setCommunicator(Communicator* communicator, bool newConnection);
    /// When false, notifications are read and dropped.
    void setEmitMessages(bool emit) { emitMessages = emit; }
    JsonParser* getParser() const { return parser.get(); }

    /// Calls the function for every notification about that code (method
    /// "notify"), or with that method (a name with "notify" or "Notify" in it).
    /// Functions under one key are called in the order in which they were added.
    iterator addCallback(const std::string& key, Callback callback);
    /// The iterator must be of this interpreter and not removed before.
    void removeCallback(const iterator& entry);
    /// Waits up to 50 ms for one message and hands it to its callbacks. Throws
    /// what the connection and what a callback throws.
    void processMessages();

    /// In bytes: a longer message is skipped and fails whoever reads it; 512 MiB
    /// unless set. Kept when the Communicator changes.
    void setLargestMessage(std::size_t bytes);

    /// For tests. Not owned.
    void setClock(const Clock& newClock);

protected:
    /// Sends, and waits timeoutMs or the reply time-out that was set. Throws
    /// KorvanTimedOutException when no reply came in time, and what the
    /// connection and the callbacks throw.
    DeviceMessage sendAndGetReply(const DeviceMessage& msg, unsigned int timeoutMs);
    /// Milliseconds; 0: what the caller of sendAndGetReply says.
    void setReplyTimeout(unsigned int timeoutMs) { replyTimeout = timeoutMs; }
    unsigned int getReplyTimeout() const { return replyTimeout; }
    /// Hands a message to its callbacks. An empty callback raises std::bad_function_call.
    void emitMessage(const DeviceMessage& msg);

private:
    struct Waiting;
    /// Reads one message, hands a reply to the request that waits for it and all else to the callbacks.
    void receive(int timeoutMs);
    Waiting* waitingFor(const Json::Value& message) const;

    std::unique_ptr<JsonConnection> connection;
    std::unique_ptr<JsonParser> parser;
    Callbacks callbacks;
    std::atomic<std::uint32_t> replyTimeout{0};
    std::recursive_mutex sendLock;
    std::recursive_mutex callbackLock;
    std::atomic<bool> emitMessages{true};
    const Clock* clock;
    /// The requests under way, outermost first: a callback may have sent one while another waits.
    std::vector<Waiting*> waiting;
    /// The entries still to be called in each round under way, for removeCallback to take out.
    std::vector<std::vector<iterator>*> rounds;
};

}  // namespace JsonDevice
