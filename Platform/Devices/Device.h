#pragma once

#include <string>

#include "Common/Export.h"

class Communicator;

/// A projector or image generator as the host knows it. Owned by the host.
class JSONDEVICE_EXPORT Device {
public:
    Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    virtual ~Device();

    /// The transport to this device, not owned by the caller; null when there is none.
    virtual Communicator* getCommunicator() = 0;
    /// Six pairs of hexadecimal digits, for example "00:1B:C5:00:00:01"; empty when not known.
    virtual std::string getMACAddress() const = 0;
};
