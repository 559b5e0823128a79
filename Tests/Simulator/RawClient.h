#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The host's side of a TCP connection to the loopback address, byte by byte,
/// without any of the code under test. Waiting ends after ten seconds with a
/// std::runtime_error, so that a mistake fails a test and does not hang it.
class RawClient {
public:
    explicit RawClient(std::uint16_t port);
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;
    ~RawClient();

    void send(std::string_view bytes);
    /// The text and a NUL.
    void sendRecord(std::string_view text);
    /// The next record without its NUL. Throws when the connection ends before it.
    std::string receiveRecord();
    std::string exchange(std::string_view text) {
        sendRecord(text);
        return receiveRecord();
    }
    /// What comes up to the end of the connection; `wasReset` says how it ended.
    std::string receiveToEnd();
    bool wasReset() const { return resetSeen; }
    void closeSending();

private:
    /// False at the end of the connection.
    bool receiveMore();

    int handle;
    std::string received;
    bool resetSeen = false;
};
