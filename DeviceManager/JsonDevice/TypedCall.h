#pragma once

#include <memory>
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
        Json::Value params(Json::arrayValue);
        (params.append(registry.toJson(Types::name, Types::address(arguments), {})), ...);
        [[maybe_unused]] const Json::Value result =
            connection.callInternal(method.name, params, static_cast<int>(method.timeout.count()));
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
    [[noreturn]] static void refuseNullResult();
};

}  // namespace JsonDevice
