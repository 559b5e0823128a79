#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <json/value.h>

#include "DeviceManager/JsonDevice/JsonConnection.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

namespace JsonDevice {

/// One call of a method of the vocabulary: converts the arguments in order
/// through the registry, exchanges request and reply, converts the result.
///
/// Throws what the connection throws, what the marshallers throw, and
/// KorvanParseException when the device gives no result where one is due.
class TypedCall {
public:
    template <class Result, class... Types>
    static typename Result::Native call(JsonConnection& connection, const Method<Result, Types...>& method,
                                        typename Types::Argument... arguments) {
        [[maybe_unused]] MarshalJson& registry = *connection.getMarshal();
        std::string request = connection.beginRequest(method.name);
        request += '[';
        [[maybe_unused]] std::size_t index = 0;
        (appendArgument(request, index++, registry, Types::name, Types::address(arguments)), ...);
        request += ']';
        [[maybe_unused]] const Json::Value result =
            connection.callInternal(std::move(request), static_cast<int>(method.timeout.count()));
        if constexpr (!std::is_void_v<typename Result::Native>) {
            using Native = typename Result::Native;
            const auto release = [&](Native* object) { registry.destroy(Result::name, object); };
            const std::unique_ptr<Native, decltype(release)> object(
                static_cast<Native*>(registry.fromJson(result, Result::name)), release);
            if (!object) {
                refuseNullResult();
            }
            return std::move(*object);
        }
    }

private:
    /// Converts one argument and writes it at once: of arguments of megabytes
    /// only one is there as a value at a time.
    static void appendArgument(std::string& request, std::size_t index, MarshalJson& registry,
                               const char* typeName, const void* object);
    [[noreturn]] static void refuseNullResult();
};

}  // namespace JsonDevice
