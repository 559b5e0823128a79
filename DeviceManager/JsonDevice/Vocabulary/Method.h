#pragma once

#include <array>
#include <chrono>
#include <cstddef>

#include "DeviceManager/JsonDevice/Vocabulary/WireTypes.h"

namespace JsonDevice {

inline constexpr std::chrono::milliseconds defaultReplyTimeout{10000};

/// One method of the wire: its string, and a wire type for its result and for
/// each parameter. Adapters call it, devices bind a function to it, and the
/// compiler checks both against the types. One descriptor is one method string;
/// an overloaded operation, or one that sends two requests, has two.
template <class ResultType, class... ParameterTypes>
struct Method {
    using Result = ResultType;
    static constexpr std::size_t parameterCount = sizeof...(ParameterTypes);

    const char* name;
    /// One line for people.
    const char* summary;
    std::array<const char*, parameterCount> parameterNames;
    std::chrono::milliseconds timeout = defaultReplyTimeout;

    /// The same method with a reply time-out of its own.
    constexpr Method within(std::chrono::milliseconds ownTimeout) const {
        Method changed = *this;
        changed.timeout = ownTimeout;
        return changed;
    }
};

template <class Type>
struct ParameterName {
    const char* name;
};

template <class Type>
constexpr ParameterName<Type> arg(const char* name) {
    return {name};
}

template <class Result, class... Types>
constexpr Method<Result, Types...> method(const char* name, const char* summary,
                                          ParameterName<Types>... parameters) {
    return {name, summary, {parameters.name...}};
}

}  // namespace JsonDevice
