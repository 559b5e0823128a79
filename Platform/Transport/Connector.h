#pragma once

#include "Common/Export.h"

class Communicator;

/// Holds a communicator for the length of one exchange (a request and its
/// reply, a message sent, a message read), so that the exchanges of adapters
/// that share it never interleave. Exchanges of one thread may nest; to the
/// communicator they are one exchange, from the outermost Connector's
/// construction (Communicator::beginExchange) to its destruction.
///
/// Unless succeeded() was called on every Connector of the exchange, the end of
/// the outermost one tells the communicator that the exchange was abandoned
/// (Communicator::abandonExchange).
class JSONDEVICE_EXPORT Connector {
public:
    /// Throws DeviceNotConnectedException when there is no communicator.
    explicit Connector(Communicator* communicator);
    Connector(const Connector&) = delete;
    Connector& operator=(const Connector&) = delete;
    ~Connector();

    /// Nothing of this exchange is still to come.
    void succeeded() noexcept { abandoned = false; }

private:
    Communicator* communicator;
    bool abandoned = true;
};
