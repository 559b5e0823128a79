#include "Platform/Transport/TcpCommunicator.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include "Common/WideText.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Platform/Transport/NameLookup.h"

namespace {

using asio::ip::tcp;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* source = "Platform/Transport/TcpCommunicator";

// A silent connection is probed after 10 s, then every 5 s, and given up after 3 probes without an answer.
constexpr int keepAliveIdleSeconds = 10;
constexpr int keepAliveIntervalSeconds = 5;
constexpr int keepAliveProbes = 3;
// Longer than the default write time-out, so that a device that only stopped reading is reported as such.
constexpr int unacknowledgedMilliseconds = 20000;

// What a device may send while a write is under way and nobody reads. Beyond it the device has to wait.
constexpr std::size_t largestPending = 16 * 1024 * 1024;
constexpr std::size_t drainBlock = 64 * 1024;

void setOption(int socket, int level, int name, int value) {
    // None of the options is worth failing for: a kernel that lacks one still carries the bytes.
    ::setsockopt(socket, level, name, &value, sizeof value);
}

Deadline deadlineAfter(milliseconds timeout) {
    return timeout.count() == 0 ? Deadline() : Clock::now() + timeout;
}

/// An equal part of what is left until the deadline for each of `shares` attempts.
Deadline shareOf(Deadline deadline, std::size_t shares) {
    if (!deadline) {
        return deadline;
    }
    const auto now = Clock::now();
    return now + (*deadline - now) / static_cast<Clock::rep>(shares);
}

/// In words of our own: the system's are translated by the process's locale.
std::wstring describe(const asio::error_code& error) {
    switch (error.value()) {
        case ECONNREFUSED:
            return L"the connection was refused";
        case ECONNRESET:
        case EPIPE:
            return L"the device reset the connection";
        case ETIMEDOUT:
            return L"the device does not answer";
        case EHOSTUNREACH:
            return L"the host cannot be reached";
        case ENETUNREACH:
        case EADDRNOTAVAIL:
        case EAFNOSUPPORT:
            return L"there is no route to the host";
        default:
            return L"system error " + std::to_wstring(error.value());
    }
}

asio::error_code systemError() {
    return asio::error_code(errno, asio::error::get_system_category());
}

std::string toText(const tcp::endpoint& endpoint) {
    const std::string host = endpoint.address().to_string();
    return (endpoint.address().is_v6() ? "[" + host + "]" : host) + ":" + std::to_string(endpoint.port());
}

std::wstring inMilliseconds(milliseconds time) {
    return std::to_wstring(time.count()) + L" ms";
}

}  // namespace

class TcpCommunicator::Connection {
public:
    explicit Connection(DeviceAddress given)
        : address(std::move(given)), displayName(toWide(address.toText())), socket(context) {
        state.since = Clock::now();
    }

    int read(char* buffer, int capacity, int minimum, int timeoutMs);
    void write(const char* data, std::size_t length);
    void beginExchange() noexcept { startsExchange = true; }
    void abandonExchange() noexcept;
    void close() noexcept;
    State getState() const;

    const DeviceAddress address;
    const std::wstring displayName;
    std::atomic<milliseconds> connectTimeout{defaultConnectTimeout};
    std::atomic<milliseconds> writeTimeout{defaultWriteTimeout};
    std::atomic<std::uint64_t> connections{0};
    SendObserver observer;

private:
    /// One read or write. While it lasts, only its own thread opens and closes
    /// the socket; other threads make it end.
    class Operation {
    public:
        explicit Operation(Connection& owner) : owner(owner) {
            const std::lock_guard guard(owner.mutex);
            owner.busy = true;
        }
        Operation(const Operation&) = delete;
        Operation& operator=(const Operation&) = delete;
        ~Operation() {
            const std::lock_guard guard(owner.mutex);
            owner.busy = false;
            if (owner.closeRequested) {
                owner.drop(closedByUs);
                owner.closeRequested = false;
            }
        }

    private:
        Connection& owner;
    };

    static constexpr const wchar_t* closedByUs = L"the connection was closed at this end";
    static constexpr const wchar_t* closedByDevice = L"the device closed the connection";

    [[noreturn]] void fail(int line, const std::wstring& why);
    [[noreturn]] void failAgain(int line) const;
    /// With the mutex held.
    void drop(std::wstring_view why) noexcept;
    void dropLocked(std::wstring_view why) noexcept {
        const std::lock_guard guard(mutex);
        drop(why);
    }

    void connect();
    asio::error_code connectTo(const tcp::endpoint& endpoint, Deadline deadline);
    bool wasClosedByDevice();
    short wait(short events, Deadline deadline);
    std::size_t receive(char* buffer, std::size_t capacity, int flags, asio::error_code& error);
    std::size_t receiveWithin(char* buffer, std::size_t capacity, int timeoutMs, asio::error_code& error);
    void drain();
    std::size_t takePending(char* buffer, std::size_t capacity);

    asio::io_context context{1};
    tcp::socket socket;

    // These belong to the thread that holds the exchange.
    bool startsExchange = true;
    bool wroteLast = false;
    int receiveLimitMs = 0;
    std::vector<char> pending;
    std::size_t pendingTaken = 0;

    // These are guarded by the mutex; the socket is opened and closed under it too.
    mutable std::mutex mutex;
    bool busy = false;
    bool connecting = false;
    State state;

    std::atomic<bool> closeRequested{false};
    std::atomic<std::uint64_t> bytesSent{0};
    std::atomic<std::uint64_t> bytesReceived{0};
};

void TcpCommunicator::Connection::fail(int line, const std::wstring& why) {
    const std::wstring reason = closeRequested ? closedByUs : why;
    dropLocked(reason);
    throw DeviceNotConnectedException(source, line, displayName + L": " + reason);
}

void TcpCommunicator::Connection::failAgain(int line) const {
    const std::lock_guard guard(mutex);
    throw DeviceNotConnectedException(
        source, line, displayName + L": the connection ended earlier in this exchange: " + state.lastError);
}

void TcpCommunicator::Connection::drop(std::wstring_view why) noexcept {
    asio::error_code ignored;
    socket.close(ignored);
    pending.clear();
    pendingTaken = 0;
    if (state.connected) {
        state.connected = false;
        state.since = Clock::now();
    }
    state.peer.clear();
    state.lastError = why;
}

void TcpCommunicator::Connection::abandonExchange() noexcept {
    const std::lock_guard guard(mutex);
    if (socket.is_open()) {
        drop(L"an exchange ended before its reply had arrived");
    }
}

void TcpCommunicator::Connection::close() noexcept {
    const std::lock_guard guard(mutex);
    if (!busy) {
        if (socket.is_open()) {
            drop(closedByUs);
        }
        return;
    }
    closeRequested = true;
    if (connecting) {
        context.stop();
    } else if (socket.is_open()) {
        asio::error_code ignored;
        socket.shutdown(tcp::socket::shutdown_both, ignored);  // wakes the thread that waits
    }
}

TcpCommunicator::State TcpCommunicator::Connection::getState() const {
    const std::lock_guard guard(mutex);
    State result = state;
    result.bytesSent = bytesSent;
    result.bytesReceived = bytesReceived;
    result.connections = connections;
    return result;
}

void TcpCommunicator::Connection::connect() {
    const milliseconds timeout = connectTimeout;
    const Deadline deadline = deadlineAfter(timeout);
    const LookupResult found =
        lookUp(address.getHost(), address.getPort(), deadline, [this] { return closeRequested.load(); });
    if (found.endpoints.empty()) {
        fail(__LINE__, found.failure);
    }
    std::wstring failures;
    for (std::size_t i = 0; i < found.endpoints.size() && !closeRequested; ++i) {
        const tcp::endpoint& endpoint = found.endpoints[i];
        const asio::error_code error = connectTo(endpoint, shareOf(deadline, found.endpoints.size() - i));
        if (!error) {
            return;
        }
        failures += failures.empty() ? L"" : L"; ";
        if (found.endpoints.size() > 1) {
            failures += toWide(toText(endpoint)) + L": ";
        }
        failures += error == asio::error::timed_out ? L"no connection within " + inMilliseconds(timeout)
                                                    : describe(error);
    }
    fail(__LINE__, failures);
}

asio::error_code TcpCommunicator::Connection::connectTo(const tcp::endpoint& endpoint, Deadline deadline) {
    asio::error_code result;
    {
        const std::lock_guard guard(mutex);
        socket.open(endpoint.protocol(), result);
        if (result) {
            return result;
        }
        ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
        context.restart();
        connecting = true;  // from here on close() stops the context
    }
    bool done = false;
    socket.async_connect(endpoint, [&](const asio::error_code& error) {
        done = true;
        result = error;
    });
    if (!closeRequested) {
        deadline ? context.run_one_until(*deadline) : context.run_one();
    }
    const std::lock_guard guard(mutex);
    connecting = false;
    asio::error_code ignored;
    if (!done) {
        socket.close(ignored);
        context.restart();
        context.run();
        return asio::error::timed_out;
    }
    // A connection to a free port of the own machine may be given that very port and meet itself.
    if (!result && socket.local_endpoint(ignored) == endpoint) {
        result = asio::error::connection_refused;
    }
    if (result) {
        socket.close(ignored);
        return result;
    }
    // Asio leaves the socket non-blocking. Calls that must not wait say so themselves.
    socket.native_non_blocking(false, ignored);
    receiveLimitMs = 0;
    const int handle = socket.native_handle();
    setOption(handle, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(handle, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(handle, IPPROTO_TCP, TCP_KEEPIDLE, keepAliveIdleSeconds);
    setOption(handle, IPPROTO_TCP, TCP_KEEPINTVL, keepAliveIntervalSeconds);
    setOption(handle, IPPROTO_TCP, TCP_KEEPCNT, keepAliveProbes);
    setOption(handle, IPPROTO_TCP, TCP_USER_TIMEOUT, unacknowledgedMilliseconds);
    connections.fetch_add(1, std::memory_order_relaxed);
    state.connected = true;
    state.since = Clock::now();
    state.peer = toText(endpoint);
    state.lastError.clear();
    return {};
}

bool TcpCommunicator::Connection::wasClosedByDevice() {
    pollfd wanted{socket.native_handle(), POLLRDHUP, 0};
    return ::poll(&wanted, 1, 0) > 0;
}

/// Waits for the events and returns those that came, 0 when the deadline passed
/// first.
short TcpCommunicator::Connection::wait(short events, Deadline deadline) {
    for (;;) {
        int timeout = -1;
        if (deadline) {
            const auto left = std::chrono::ceil<milliseconds>(*deadline - Clock::now()).count();
            timeout = static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
        }
        pollfd wanted{socket.native_handle(), events, 0};
        const int count = ::poll(&wanted, 1, timeout);
        if (count > 0) {
            return wanted.revents;
        }
        if (count == 0 && Clock::now() >= *deadline) {
            return 0;
        }
        if (count < 0 && errno != EINTR) {
            fail(__LINE__, describe(systemError()));
        }
    }
}

/// Without MSG_DONTWAIT it waits as long as the socket's receive time-out says.
std::size_t TcpCommunicator::Connection::receive(char* buffer, std::size_t capacity, int flags,
                                                 asio::error_code& error) {
    const ssize_t count = ::recv(socket.native_handle(), buffer, capacity, flags);
    if (count > 0) {
        error.clear();
        bytesReceived.fetch_add(static_cast<std::uint64_t>(count), std::memory_order_relaxed);
        return static_cast<std::size_t>(count);
    }
    if (count == 0) {
        error = asio::error::eof;
    } else if (errno == EINTR) {
        error = asio::error::would_block;
    } else {
        error = systemError();
    }
    return 0;
}

/// Waits for the bytes in the very call that receives them, which is the one
/// system call that a bare blocking socket needs. The system counts the
/// time-out in coarse steps, so would_block may come a little early.
std::size_t TcpCommunicator::Connection::receiveWithin(char* buffer, std::size_t capacity, int timeoutMs,
                                                       asio::error_code& error) {
    if (receiveLimitMs != timeoutMs) {
        const timeval limit{timeoutMs / 1000, timeoutMs % 1000 * 1000};
        ::setsockopt(socket.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        receiveLimitMs = timeoutMs;
    }
    return receive(buffer, capacity, 0, error);
}

std::size_t TcpCommunicator::Connection::takePending(char* buffer, std::size_t capacity) {
    const std::size_t count = std::min(capacity, pending.size() - pendingTaken);
    std::memcpy(buffer, pending.data() + pendingTaken, count);
    pendingTaken += count;
    if (pendingTaken == pending.size()) {
        pending.clear();
        pendingTaken = 0;
    }
    return count;
}

void TcpCommunicator::Connection::drain() {
    const std::size_t before = pending.size();
    pending.resize(before + drainBlock);
    asio::error_code error;
    const std::size_t count = receive(pending.data() + before, drainBlock, MSG_DONTWAIT, error);
    pending.resize(before + count);
    if (error && error != asio::error::would_block) {
        fail(__LINE__, error == asio::error::eof ? closedByDevice : describe(error));
    }
}

int TcpCommunicator::Connection::read(char* buffer, int capacity, int minimum, int timeoutMs) {
    if (capacity <= 0) {
        return 0;
    }
    const Operation operation(*this);
    const auto room = static_cast<std::size_t>(capacity);
    const auto wanted = static_cast<std::size_t>(std::clamp(minimum, 0, capacity));
    const bool mayConnect = std::exchange(startsExchange, false);
    // Straight after a request there is no reply yet; it would be a wasted call to look.
    bool expectsReply = std::exchange(wroteLast, false) && wanted > 0 && timeoutMs >= 0 && !mayConnect;
    bool waits = false;
    if (!socket.is_open()) {
        mayConnect ? connect() : failAgain(__LINE__);
    }
    const Deadline deadline = deadlineAfter(milliseconds(timeoutMs));
    std::size_t got = pending.empty() ? 0 : takePending(buffer, room);
    while (got < wanted || got == 0) {
        asio::error_code error;
        if (std::exchange(expectsReply, false)) {
            got += receiveWithin(buffer + got, room - got, timeoutMs, error);
        } else if (!waits || wait(POLLIN, deadline) != 0) {
            got += receive(buffer + got, room - got, MSG_DONTWAIT, error);
        } else {
            pending.assign(buffer, buffer + got);
            throw DeviceTimedOutException(
                source, __LINE__,
                displayName + L": nothing came within " + inMilliseconds(milliseconds(timeoutMs)));
        }
        if (error == asio::error::would_block) {
            if (wanted == 0) {
                break;
            }
            waits = true;
        } else if (error) {
            fail(__LINE__, error == asio::error::eof ? closedByDevice : describe(error));
        } else {
            waits = false;
        }
    }
    return static_cast<int>(got);
}

void TcpCommunicator::Connection::write(const char* data, std::size_t length) {
    if (length == 0) {
        return;
    }
    const Operation operation(*this);
    wroteLast = true;
    if (std::exchange(startsExchange, false)) {
        if (socket.is_open() && wasClosedByDevice()) {
            dropLocked(closedByDevice);
        }
        if (!socket.is_open()) {
            connect();
        }
    } else if (!socket.is_open()) {
        failAgain(__LINE__);
    }
    std::size_t sent = 0;
    Deadline deadline;
    bool waiting = false;
    while (sent < length) {
        const ssize_t count =
            ::send(socket.native_handle(), data + sent, length - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            sent += static_cast<std::size_t>(count);
            waiting = false;
            bytesSent.fetch_add(static_cast<std::uint64_t>(count), std::memory_order_relaxed);
            if (observer) {
                observer(sent, length);
            }
            continue;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN) {
            fail(__LINE__, describe(systemError()));
        }
        const milliseconds timeout = writeTimeout;
        if (!waiting) {
            waiting = true;
            deadline = deadlineAfter(timeout);
        }
        const short events = pending.size() < largestPending ? POLLIN | POLLOUT : POLLOUT;
        const short ready = wait(events, deadline);
        if ((ready & POLLIN) != 0) {
            drain();
        }
        // A device that goes on sending does not thereby take anything.
        if (ready == 0 || (ready == POLLIN && deadline && Clock::now() >= *deadline)) {
            const std::wstring why = L"the device took nothing for " + inMilliseconds(timeout) + L", after " +
                                     std::to_wstring(sent) + L" of " + std::to_wstring(length) + L" bytes";
            dropLocked(why);
            throw DeviceTimedOutException(source, __LINE__, displayName + L": " + why);
        }
    }
}

TcpCommunicator::TcpCommunicator(DeviceAddress address) try
    : connection(std::make_unique<Connection>(std::move(address))) {
} catch (const asio::system_error& error) {
    throw DeviceException(source, __LINE__,
                          L"No communicator could be made: " + describe(error.code()) +
                              L" (the process may have too many files open)");
}

TcpCommunicator::TcpCommunicator(std::string_view address) : TcpCommunicator(DeviceAddress::parse(address)) {}

TcpCommunicator::~TcpCommunicator() = default;

const DeviceAddress& TcpCommunicator::getAddress() const noexcept {
    return connection->address;
}

void TcpCommunicator::setConnectTimeout(milliseconds timeout) noexcept {
    connection->connectTimeout = timeout;
}

milliseconds TcpCommunicator::getConnectTimeout() const noexcept {
    return connection->connectTimeout;
}

void TcpCommunicator::setWriteTimeout(milliseconds timeout) noexcept {
    connection->writeTimeout = timeout;
}

milliseconds TcpCommunicator::getWriteTimeout() const noexcept {
    return connection->writeTimeout;
}

void TcpCommunicator::setSendObserver(SendObserver observer) {
    connection->observer = std::move(observer);
}

TcpCommunicator::State TcpCommunicator::getState() const {
    return connection->getState();
}

void TcpCommunicator::close() noexcept {
    connection->close();
}

std::wstring TcpCommunicator::getDisplayName() const {
    return connection->displayName;
}

int TcpCommunicator::read(char* buffer, int capacity, int minimum, int timeoutMs) {
    return connection->read(buffer, capacity, minimum, timeoutMs);
}

int TcpCommunicator::write(const char* data, std::size_t length, int /*block*/, int /*flush*/) {
    connection->write(data, length);
    return static_cast<int>(std::min<std::size_t>(length, INT_MAX));
}

std::uint64_t TcpCommunicator::connectionCount() const {
    return connection->connections.load(std::memory_order_relaxed);
}

void TcpCommunicator::beginExchange() noexcept {
    connection->beginExchange();
}

void TcpCommunicator::abandonExchange() noexcept {
    connection->abandonExchange();
}
