#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

#include <json/value.h>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/RecordReader.h"

class Communicator;
class Connector;

namespace JsonDevice {

class MarshalJson;

/// A JSON-RPC 2.0 client over a Communicator: numbers requests, writes them,
/// reads NUL-delimited records and matches replies to requests by id. It knows
/// no method and no marshaller.
///
/// The Communicator is borrowed and may be null; every exchange then fails with
/// DeviceNotConnectedException.
///
/// Any thread may call. One lock is held for the whole of an exchange, so the
/// exchanges of one connection never interleave; connections that share a
/// Communicator are kept apart by the Connector. setCommunicator, setClock and
/// setLargestRecord are for times without an exchange.
///
/// An exchange throws what the transport throws, ErrorReplyException,
/// NoReplyException and BrokenProtocolException (all KorvanParseException), and
/// nothing else. After a failure the ids go on: a late reply to the failed
/// request is recognised and skipped.
class JSONDEVICE_EXPORT JsonConnection {
public:
    static constexpr bool kDoesNotRequireId = false;
    static constexpr bool kRequiresId = true;

    explicit JsonConnection(Communicator* communicator);
    JsonConnection(const JsonConnection&) = delete;
    JsonConnection& operator=(const JsonConnection&) = delete;
    ~JsonConnection();

    /// Returns the previous one. Bytes that were read and not used stay.
    Communicator* setCommunicator(Communicator* newCommunicator, bool resetId);
    Communicator* getCommunicator() const { return communicator; }
    /// The id of the last request that was sent.
    long long getNextId() const { return nextId; }
    /// "[" + the Communicator's display name + "]", in front of every log line and message.
    const std::string& getLogContext() const { return logContext; }

    /// The registry that typed calls on this connection use.
    MarshalJson* getMarshal() const { return marshal; }

    /// The compact text of a request, ended by "\n".
    static std::string buildRequestString(const std::string& method, const Json::Value& id,
                                          const Json::Value& params);
    /// Sets the request's "id" first.
    std::string buildRequestString(const Json::Value& id, Json::Value& request);
    std::string buildRequestString(const Json::Value& request);
    /// True when "method", "params" and "jsonrpc" are there; throws
    /// KorvanParseException for the first that is not.
    bool validKeysInRequest(const Json::Value& request);

    /// Gives the message, an object or null, the next id and sends it; reads nothing.
    void sendMsg(Json::Value& msg);
    /// The next record, whatever it is about; null when none came in time
    /// (milliseconds, 0: no limit). Takes no lock of its own: call it from one
    /// thread at a time.
    Json::Value readMsg(int timeoutMs);
    /// Parses a record. Throws when it is no JSON object, lacks a required id,
    /// or carries an error; what is wrong also goes to standard output.
    static Json::Value checkResponse(const std::string& text, bool requireId, const std::string& logContext);

    /// One exchange; returns the whole reply. The door for callers beside the adapters.
    Json::Value callCommunicator(const std::string& method, const Json::Value& params,
                                 std::chrono::milliseconds timeout);
    /// One exchange of a message that the caller composed, whose id is set
    /// here. Every read waits up to 10,000 ms. A record without an id ends the
    /// wait and is returned, and so does a read without a record, as null. Late
    /// replies are skipped for 10,000 ms altogether.
    Json::Value callCommunicator(const Json::Value& request);

    /// Beyond this a record is skipped and the call fails; 512 MiB unless set.
    void setLargestRecord(std::size_t bytes) { reader.setLargestRecord(bytes); }
    std::size_t getLargestRecord() const { return reader.getLargestRecord(); }
    /// For tests. Not owned.
    void setClock(const Clock& clock) { reader.setClock(clock); }
    const Clock& getClock() const { return reader.getClock(); }

private:
    friend class TypedCall;
    friend class JsonInterpreter;

    Json::Value sendAndReplyInternal(const std::string& method, const Json::Value& params, int timeoutMs);
    Json::Value sendAndReplyInternal(const Json::Value& request, int timeoutMs);
    /// A request up to its params, with room for its id, in the memory of an earlier one.
    std::string beginRequest(std::string_view method);
    /// Gives a request that was begun, and to which its params were added, an id
    /// and its end, sends it, and returns the whole reply.
    Json::Value exchange(std::string text, int timeoutMs);
    /// The same; returns the "result" of the reply.
    Json::Value callInternal(std::string text, int timeoutMs);
    /// checkResponse, with what was parsed left in `reply` also when it throws.
    static void check(const std::string& text, bool requireId, const std::string& logContext,
                      Json::Value& reply);
    std::string readResponse(int timeoutMs);
    /// The next record as readMsg gives it, left in `message` also when it throws.
    void read(int timeoutMs, Json::Value& message);
    /// A NUL stands behind the text.
    void write(std::string_view text);
    enum class Match { current, late, other };
    Match match(const Json::Value& reply) const;
    /// Whether it is the reply to the last request, and not a late one. Throws,
    /// with this line, for the reply to anything else.
    bool answers(const Json::Value& reply, int line) const;
    /// Nothing more is to come of an exchange whose own reply is an error.
    void concludeIfAnswered(const Json::Value& reply, Connector& connector) const;

    std::string logContext;
    Communicator* communicator = nullptr;
    RecordReader reader;
    std::atomic<long long> nextId{0};
    MarshalJson* marshal;
    std::recursive_mutex lock;
    /// The text of the last request, whose memory the next one takes.
    std::string requestText;
};

}  // namespace JsonDevice
