#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The device's side of TCP connections, byte by byte, without any of the code
/// under test. The system accepts connections by itself, so that a test can
/// play both sides in one thread. Waiting ends after ten seconds with a
/// std::runtime_error, so that a mistake fails a test and does not hang it.
class TcpPeer {
public:
    /// One accepted connection.
    class Link {
    public:
        explicit Link(int handle) : handle(handle) {}
        Link(Link&& other) noexcept;
        Link& operator=(Link&& other) noexcept;
        ~Link();

        void send(std::string_view bytes);
        /// Exactly so many bytes.
        std::string receive(std::size_t count);
        /// Up to the next NUL, which is not part of the result.
        std::string receiveRecord();
        /// Waits for the other side's end of stream (or reset), throwing away what comes before it.
        void waitForEnd();
        /// An orderly end; what was not read makes the system reset instead.
        void close();
        /// No more is sent, while what comes can still be read.
        void closeSending();
        /// Ends with a reset.
        void reset();

    private:
        int handle;
    };

    enum class Family { V4, V6 };

    /// Listens on a free port of the loopback address. Throws when the machine has no such address.
    explicit TcpPeer(Family family = Family::V4);
    TcpPeer(const TcpPeer&) = delete;
    TcpPeer& operator=(const TcpPeer&) = delete;
    ~TcpPeer();

    static bool hasV6Loopback();

    std::uint16_t getPort() const { return port; }
    /// "tcp://127.0.0.1:port" or the same for IPv6.
    std::string getAddress() const;
    Link accept();
    /// From here on connections are refused.
    void stopListening();

private:
    Family family;
    int handle = -1;
    std::uint16_t port = 0;
};
