#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Common/Export.h"
#include "Platform/Transport/Communicator.h"
#include "Platform/Transport/DeviceAddress.h"

/// A device reached over TCP.
///
/// Constructing one touches no network. The first read or write of an exchange
/// connects when there is no connection; a write also when the device has
/// closed the one there was. A read that finds the connection closed throws
/// DeviceNotConnectedException, because the reply to an earlier message may have
/// been lost with it, and so does the rest of that exchange; the next exchange
/// connects. Nothing that was received on an earlier connection is kept.
///
/// Nothing waits without limit unless a time-out is 0. A connection is kept
/// alive by probes, so that a device that lost its power is noticed within
/// about 25 seconds also while nothing is sent; data that a device does not
/// acknowledge for 20 seconds ends the connection.
///
/// Threads: read() and write() belong to the thread that holds the Connector.
/// close(), the time-outs and the state may be used from any thread at any
/// time, but not from a signal handler. No thread is started, and no signal is
/// raised by a connection that is gone.
class JSONDEVICE_EXPORT TcpCommunicator final : public Communicator {
public:
    /// How far a long write has come; called on the writing thread whenever the
    /// system took some of the bytes. It must not throw, and must not use the
    /// communicator except for its state.
    using SendObserver = std::function<void(std::size_t bytesSent, std::size_t bytesTotal)>;

    /// As the latest read, write or close() left it: a device that goes away
    /// while nobody talks to it is noticed at the next exchange.
    struct State {
        bool connected = false;
        /// When `connected` last changed; the construction at first.
        std::chrono::steady_clock::time_point since;
        /// Why the last connection ended or could not be made; empty when there
        /// was no failure since the last connection was made.
        std::wstring lastError;
        /// The numeric address that the current connection leads to, such as
        /// "192.168.1.20:5000"; empty when there is none.
        std::string peer;
        /// Of all connections together, as the system took and gave them.
        std::uint64_t bytesSent = 0;
        std::uint64_t bytesReceived = 0;
        std::uint64_t connections = 0;
    };

    static constexpr std::chrono::milliseconds defaultConnectTimeout{5000};
    static constexpr std::chrono::milliseconds defaultWriteTimeout{10000};

    explicit TcpCommunicator(DeviceAddress address);
    /// Throws DeviceException when the text is no address (DeviceAddress::parse).
    explicit TcpCommunicator(std::string_view address);
    /// No other thread may be using the communicator any more.
    ~TcpCommunicator() override;

    const DeviceAddress& getAddress() const noexcept;

    /// The time for looking up the name and connecting together; the addresses
    /// of a host that has several share it. 0 waits without limit.
    void setConnectTimeout(std::chrono::milliseconds timeout) noexcept;
    std::chrono::milliseconds getConnectTimeout() const noexcept;

    /// The longest time in which the device may take none of the bytes that are
    /// being written. A write of any length that goes on is not cut short. 0
    /// waits without limit.
    void setWriteTimeout(std::chrono::milliseconds timeout) noexcept;
    std::chrono::milliseconds getWriteTimeout() const noexcept;

    /// To be set while no exchange is under way; empty for none.
    void setSendObserver(SendObserver observer);

    State getState() const;

    /// Closes the connection. A read or write that is under way, connecting
    /// included, ends soon with DeviceNotConnectedException, and so does what is
    /// left of its exchange; the next exchange connects anew.
    void close() noexcept;

    /// The address in its text form.
    std::wstring getDisplayName() const override;

    /// `minimum` is taken as no more than `capacity`; with 0 the call returns
    /// what is there already, if anything. A negative time-out has passed.
    int read(char* buffer, int capacity, int minimum, int timeoutMs) override;

    /// Always hands all bytes over to the system before it returns, whatever
    /// `block` and `flush` say. What arrives meanwhile is kept for the next
    /// read, so that a device that sends before it reads cannot block the write.
    /// After a time-out, which leaves a part of a record sent, the connection is
    /// closed.
    int write(const char* data, std::size_t length, int block, int flush) override;

    std::uint64_t connectionCount() const override;
    void beginExchange() noexcept override;
    void abandonExchange() noexcept override;

private:
    class Connection;
    std::unique_ptr<Connection> connection;
};
