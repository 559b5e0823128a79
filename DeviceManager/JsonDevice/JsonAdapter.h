#pragma once

#include <cstddef>
#include <memory>

#include "DeviceManager/JsonDevice/JsonConnection.h"
#include "Platform/Devices/Device.h"

namespace JsonDevice {

/// What all adapters have in common: each implements one interface of the host,
/// one request for one operation, over a connection of its own.
///
/// An adapter is made from a Device or straight from a Communicator; it owns
/// neither, and both must outlive it. It adds no lock: its calls are serialised
/// by the connection, and where an operation returns a reference to a member,
/// that operation is for one thread at a time.
///
/// Every operation throws what the connection throws (JsonConnection.h), and
/// KorvanParseException when the result is missing or of another type. A
/// failure changes nothing in the adapter unless the operation says so.
template <class Interface>
class JsonAdapter : public Interface {
public:
    /// In bytes: a longer reply is skipped and fails the call; 512 MiB unless
    /// set. For times without a call.
    void setLargestReply(std::size_t bytes) { connection->setLargestRecord(bytes); }

protected:
    explicit JsonAdapter(Device* device)
        : Interface(device),
          connection(
              std::make_unique<JsonConnection>(device == nullptr ? nullptr : device->getCommunicator())) {}
    explicit JsonAdapter(Communicator* communicator)
        : Interface(nullptr), connection(std::make_unique<JsonConnection>(communicator)) {}

    const std::unique_ptr<JsonConnection> connection;
};

}  // namespace JsonDevice
