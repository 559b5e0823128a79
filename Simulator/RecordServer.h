#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Common/Export.h"
#include "Simulator/Misbehaviour.h"
#include "Simulator/RequestDispatcher.h"

namespace JsonDevice {

/// What happens on a server's connections, for whoever wants to look on.
struct TrafficEvent {
    enum class Kind { connected, received, sent, disconnected };
    Kind kind;
    /// The peer as "address:port".
    const std::string& peer;
    /// The record without its NUL; why a connection ended, where that is known.
    const std::string& text;
};

/// Serves NUL-delimited records over TCP to any number of connections.
///
/// One thread of its own does all the work; the functions given to it are
/// called on that thread. Requests of one connection are served in order.
///
/// Replies are never dropped: a peer that does not read them is not read from
/// until it does. A peer that does not read its notifications is cut off.
class JSONDEVICE_EXPORT RecordServer {
public:
    struct Options {
        /// The largest record that is taken, in bytes. A longer one is answered
        /// with an error and skipped without being kept.
        std::size_t largestRecord = std::size_t{512} << 20;
        /// How many bytes of notifications may wait for one connection.
        std::size_t largestBacklog = std::size_t{16} << 20;
        /// Sees all traffic; may be empty. Must not throw.
        std::function<void(const TrafficEvent&)> onTraffic = {};
        /// Called about once a second while the server runs; may be empty. Must not throw.
        std::function<void()> onSecond = {};
    };
    /// The reply to a record, without NUL; empty for none.
    using Handler = std::function<std::string(const std::string& record, Caller& caller)>;
    /// The caller's connection has ended.
    using Forget = std::function<void(Caller& caller)>;

    RecordServer(Handler handler, Forget forget, Options options);
    RecordServer(const RecordServer&) = delete;
    RecordServer& operator=(const RecordServer&) = delete;
    /// Stops.
    ~RecordServer();

    // start, stop and the others may be called from any thread but the server's own.

    /// Port 0 takes a free one. Throws DeviceException when it cannot listen
    /// there, KorvanExceptionRuntime when it does already.
    void start(std::uint16_t port, const std::string& listenAddress);
    /// Ends all connections and the thread; does nothing when not started. It can be started again.
    void stop() noexcept;

    bool isRunning() const;
    /// The port it listens on; 0 when it does not.
    std::uint16_t getPort() const;
    /// As "tcp://address:port"; empty when it does not listen.
    std::string getAddress() const;
    std::size_t countConnections() const;
    /// Ends all connections at once and goes on listening.
    void disconnectAll();

    /// Adds a way to go wrong. The first added one that applies to a reply is the one.
    void misbehave(const Misbehaviour& misbehaviour);
    /// Goes wrong no more. What is under way is not taken back.
    void behave();

private:
    struct Implementation;
    const std::unique_ptr<Implementation> implementation;
};

}  // namespace JsonDevice
