#pragma once

#include <array>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>

#include "Platform/Transport/Communicator.h"

/// Two communicators in memory, connected to each other. What one writes the
/// other reads, as from a byte stream: all that is there at once. Each end can
/// be told to split, hold back (and so merge) and cut what it receives.
///
/// Thread-safe: the ends may be used and told by different threads.
class CommunicatorPair {
public:
    class End : public Communicator {
    public:
        /// Each read gives at most so many bytes; 0 for no such limit.
        void limitReads(std::size_t bytes);
        /// Nothing of what arrives is given to a reader until release().
        void hold();
        void release();
        /// The connection ends after so many more bytes were read here. They can all be read first.
        void cutAfter(std::size_t bytes);
        /// Ends the connection. What already arrived can still be read, on both ends.
        void disconnect();
        /// Makes a new connection, with nothing left over from the old one.
        void reconnect();

        /// For the thread that plays the device: writes as it stands, outside of an exchange.
        void send(std::string_view bytes);
        /// The next record, without its NUL. Throws like read().
        std::string receiveRecord(int timeoutMs = 10000);

        std::wstring getDisplayName() const override;
        int read(char* buffer, int capacity, int minimum, int timeoutMs) override;
        int write(const char* data, std::size_t length, int block, int flush) override;
        std::uint64_t connectionCount() const override;
        /// When the connection has ended, a write that comes first in an
        /// exchange makes a new one; a read does so only when this end knew.
        void beginExchange() noexcept override;
        void abandonExchange() noexcept override { disconnect(); }

    private:
        friend class CommunicatorPair;
        End(CommunicatorPair& owner, std::size_t index) : pair(owner), index(index) {}

        CommunicatorPair& pair;
        std::size_t index;
        bool startsExchange = false;
        bool knowsOfEnd = false;
    };

    CommunicatorPair();
    CommunicatorPair(const CommunicatorPair&) = delete;
    CommunicatorPair& operator=(const CommunicatorPair&) = delete;

    End& host() { return ends[0]; }
    End& device() { return ends[1]; }

    /// Waits until there have been so many connections; the first is there from the start.
    void waitForConnection(std::uint64_t count);

private:
    /// What one end receives.
    struct Inbox {
        std::string bytes;
        std::size_t taken = 0;
        std::size_t readLimit = std::string::npos;
        std::size_t untilCut = std::string::npos;
        bool held = false;
    };

    void connect();

    std::mutex mutex;
    std::condition_variable changed;
    bool connected = true;
    std::uint64_t connections = 1;
    std::array<Inbox, 2> inboxes;
    std::array<End, 2> ends;
};
