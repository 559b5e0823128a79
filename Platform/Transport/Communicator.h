#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "Common/Export.h"

/// A byte stream to one device. The host owns it; adapters and connections
/// only borrow it and must not outlive it.
///
/// Reads and writes happen inside exchanges, each under a Connector, which
/// keeps other threads and other users of the communicator out meanwhile. An
/// implementation therefore needs no lock of its own for them.
class JSONDEVICE_EXPORT Communicator {
public:
    Communicator();
    Communicator(const Communicator&) = delete;
    Communicator& operator=(const Communicator&) = delete;
    virtual ~Communicator();

    /// What a person calls the device, for logs and messages.
    virtual std::wstring getDisplayName() const = 0;

    /// Waits until at least `minimum` bytes can be had, reads at most
    /// `capacity` of them into `buffer` and returns how many.
    /// timeoutMs 0 waits without limit.
    /// Throws DeviceTimedOutException when nothing came in time (nothing is
    /// lost then), DeviceNotConnectedException when the connection is gone.
    virtual int read(char* buffer, int capacity, int minimum, int timeoutMs) = 0;

    /// Sends all of `data`. `block` asks to return only when the bytes were
    /// handed over, `flush` to send them on without gathering more; the
    /// library passes 1 for both. Returns the number of bytes sent.
    /// Throws DeviceNotConnectedException, or DeviceTimedOutException when the
    /// device does not take the bytes.
    virtual int write(const char* data, std::size_t length, int block, int flush) = 0;

    /// Changes whenever what was read before no longer belongs to what will be
    /// read next (a new connection was made). A stream that never reconnects
    /// leaves it as it is.
    virtual std::uint64_t connectionCount() const { return 0; }

    /// An exchange starts: the outermost Connector of a thread took hold. A
    /// communicator that can reconnect does so here or at the first read or
    /// write after it, and at no other moment, so that a reply is never waited
    /// for on another connection than the one its request went out on.
    virtual void beginExchange() noexcept {}

    /// An exchange ended before its reply arrived. Bytes that come later could
    /// be taken for the answer to another request, so a communicator that can
    /// reconnect should drop its connection here.
    virtual void abandonExchange() noexcept {}

private:
    friend class Connector;
    std::recursive_mutex exchangeLock;
    // Both belong to whoever holds the lock.
    int exchangeDepth = 0;
    bool exchangeAbandoned = false;
};
