#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Common/Export.h"

/// Where a device listens: a host and a TCP port.
///
/// The text form is `tcp://host:port`. The host is a name, an IPv4 address or
/// an IPv6 address in brackets (`tcp://[fe80::1%eth0]:5000`); the scheme may be
/// left out when reading (`projector:5000`). There is no default port.
class JSONDEVICE_EXPORT DeviceAddress {
public:
    /// Reads the text form. Names and addresses are checked for their form
    /// alone; nothing is looked up.
    /// Throws DeviceException, which quotes the text and says what is wrong.
    static DeviceAddress parse(std::string_view text);

    /// In lower case, an IPv6 address in its shortest form, without brackets.
    const std::string& getHost() const noexcept { return host; }
    std::uint16_t getPort() const noexcept { return port; }

    /// The text form, always with the scheme.
    std::string toText() const;

    friend bool operator==(const DeviceAddress&, const DeviceAddress&) = default;

private:
    DeviceAddress(std::string host, std::uint16_t port) : host(std::move(host)), port(port) {}

    std::string host;
    std::uint16_t port;
};
