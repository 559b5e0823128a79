#include "Tests/Simulator/RawClient.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

RawClient::RawClient(std::uint16_t port) : handle(socket(AF_INET, SOCK_STREAM, 0)) {
    const timeval patience{10, 0};
    setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(handle, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(handle);
        fail("connect");
    }
}

RawClient::~RawClient() {
    close(handle);
}

void RawClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(handle, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            fail("send");
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void RawClient::sendRecord(std::string_view text) {
    send(std::string(text) + '\0');
}

bool RawClient::receiveMore() {
    char block[65'536];
    const ssize_t length = recv(handle, block, sizeof block, 0);
    if (length > 0) {
        received.append(block, static_cast<std::size_t>(length));
        return true;
    }
    if (length < 0 && errno != ECONNRESET) {
        fail("receive");
    }
    resetSeen = length < 0;
    return false;
}

std::string RawClient::receiveRecord() {
    std::size_t scanned = 0;
    for (;;) {
        const std::size_t nul = received.find('\0', scanned);
        if (nul != std::string::npos) {
            std::string record = received.substr(0, nul);
            received.erase(0, nul + 1);
            return record;
        }
        scanned = received.size();
        if (!receiveMore()) {
            throw std::runtime_error("the connection ended before a record");
        }
    }
}

std::string RawClient::receiveToEnd() {
    while (receiveMore()) {
    }
    return std::exchange(received, {});
}

void RawClient::closeSending() {
    shutdown(handle, SHUT_WR);
}
