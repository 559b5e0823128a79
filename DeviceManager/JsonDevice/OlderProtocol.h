#pragma once

namespace JsonDevice {

/// Projectors of the older protocol count the locations that are selected and
/// reported two higher on the wire. A device may report any 32-bit number, so
/// both ways wrap around instead of overflowing.
inline constexpr unsigned int olderProtocolOffset = 2;

constexpr int toOlderProtocol(int location) {
    return static_cast<int>(static_cast<unsigned int>(location) + olderProtocolOffset);
}

constexpr int fromOlderProtocol(int location) {
    return static_cast<int>(static_cast<unsigned int>(location) - olderProtocolOffset);
}

}  // namespace JsonDevice
