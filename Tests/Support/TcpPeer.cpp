#include "Tests/Support/TcpPeer.h"

#include <cerrno>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int patienceMs = 10000;

[[noreturn]] void give(const std::string& what) {
    throw std::runtime_error("TcpPeer: " + what + " failed, system error " + std::to_string(errno));
}

void waitFor(int handle, short events) {
    pollfd wanted{handle, events, 0};
    if (::poll(&wanted, 1, patienceMs) != 1) {
        give("waiting");
    }
}

}  // namespace

TcpPeer::Link::Link(Link&& other) noexcept : handle(std::exchange(other.handle, -1)) {}

TcpPeer::Link& TcpPeer::Link::operator=(Link&& other) noexcept {
    std::swap(handle, other.handle);
    return *this;
}

TcpPeer::Link::~Link() {
    close();
}

void TcpPeer::Link::send(std::string_view bytes) {
    while (!bytes.empty()) {
        waitFor(handle, POLLOUT);
        const ssize_t sent = ::send(handle, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            give("send");
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::string TcpPeer::Link::receive(std::size_t count) {
    std::string result(count, '\0');
    for (std::size_t got = 0; got < count;) {
        waitFor(handle, POLLIN);
        const ssize_t received = ::recv(handle, result.data() + got, count - got, 0);
        if (received <= 0) {
            give("recv");
        }
        got += static_cast<std::size_t>(received);
    }
    return result;
}

std::string TcpPeer::Link::receiveRecord() {
    std::string record;
    for (;;) {
        char ahead[65536];
        waitFor(handle, POLLIN);
        const ssize_t seen = ::recv(handle, ahead, sizeof ahead, MSG_PEEK);
        if (seen <= 0) {
            give("recv");
        }
        const std::size_t length = std::string_view(ahead, static_cast<std::size_t>(seen)).find('\0');
        if (length != std::string_view::npos) {
            record += receive(length);
            receive(1);
            return record;
        }
        record += receive(static_cast<std::size_t>(seen));
    }
}

void TcpPeer::Link::waitForEnd() {
    char thrownAway[4096];
    do {
        waitFor(handle, POLLIN);
    } while (::recv(handle, thrownAway, sizeof thrownAway, 0) > 0);
}

void TcpPeer::Link::close() {
    if (handle >= 0) {
        ::close(std::exchange(handle, -1));
    }
}

void TcpPeer::Link::closeSending() {
    ::shutdown(handle, SHUT_WR);
}

void TcpPeer::Link::reset() {
    const linger atOnce{1, 0};
    ::setsockopt(handle, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
}

TcpPeer::TcpPeer(Family given) : family(given) {
    sockaddr_storage address{};
    socklen_t length;
    if (family == Family::V4) {
        auto& v4 = reinterpret_cast<sockaddr_in&>(address);
        v4.sin_family = AF_INET;
        v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        length = sizeof v4;
    } else {
        auto& v6 = reinterpret_cast<sockaddr_in6&>(address);
        v6.sin6_family = AF_INET6;
        v6.sin6_addr = in6addr_loopback;
        length = sizeof v6;
    }
    handle = ::socket(address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (handle < 0) {
        give("socket");
    }
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(handle, generic, length) != 0 || ::listen(handle, 64) != 0 ||
        ::getsockname(handle, generic, &length) != 0) {
        const int error = errno;
        ::close(handle);
        errno = error;
        give("bind");
    }
    port = ntohs(family == Family::V4 ? reinterpret_cast<sockaddr_in&>(address).sin_port
                                      : reinterpret_cast<sockaddr_in6&>(address).sin6_port);
}

TcpPeer::~TcpPeer() {
    stopListening();
}

bool TcpPeer::hasV6Loopback() {
    try {
        TcpPeer peer(Family::V6);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

std::string TcpPeer::getAddress() const {
    return std::string("tcp://") + (family == Family::V4 ? "127.0.0.1" : "[::1]") + ":" +
           std::to_string(port);
}

TcpPeer::Link TcpPeer::accept() {
    waitFor(handle, POLLIN);
    const int accepted = ::accept4(handle, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted < 0) {
        give("accept");
    }
    const int on = 1;
    ::setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return Link(accepted);
}

void TcpPeer::stopListening() {
    if (handle >= 0) {
        ::close(std::exchange(handle, -1));
    }
}
