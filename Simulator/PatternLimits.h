#pragma once

#include <string>

#include "Simulator/Canvas.h"
#include "Simulator/RequestError.h"

namespace JsonDevice::Simulation {

/// Throws RequestError when the value is not within the limits, both included.
inline void checkLimits(const char* what, long long value, long long minimum, long long maximum) {
    if (value < minimum || value > maximum) {
        throw RequestError(ErrorCode::outOfRange, std::string(what) + " " + std::to_string(value) +
                                                      " is not within " + std::to_string(minimum) + " to " +
                                                      std::to_string(maximum));
    }
}

/// A colour of three components, 0 to 255 each.
inline Rgb colourOf(int red, int green, int blue) {
    checkLimits("red", red, 0, 255);
    checkLimits("green", green, 0, 255);
    checkLimits("blue", blue, 0, 255);
    return {static_cast<unsigned char>(red), static_cast<unsigned char>(green),
            static_cast<unsigned char>(blue)};
}

/// A colour in one number, 0xRRGGBB.
inline Rgb colourOf(int value) {
    checkLimits("colour", value, 0, 0xFFFFFF);
    return {static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
            static_cast<unsigned char>(value)};
}

}  // namespace JsonDevice::Simulation
