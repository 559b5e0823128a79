#pragma once

#include <chrono>
#include <span>
#include <string_view>
#include <vector>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/Vocabulary/WireTypes.h"

/// The table of all methods, for whatever walks or looks through them at run
/// time. Typed code uses the constants of the interfaces' headers instead.
namespace JsonDevice::Vocabulary {

struct WireType {
    /// The name in the registry of marshallers; empty for no result.
    const char* name;
    Wire::Form form;
    /// Whether null stands for a value that is not there.
    bool nullable = false;
};

struct Parameter {
    const char* name;
    WireType type;
};

struct Operation {
    /// The method string.
    std::string_view method;
    const char* summary;
    WireType result;
    std::vector<Parameter> parameters;
    std::chrono::milliseconds timeout;

    /// What stands before and behind the "::" of the method string.
    std::string_view interfaceName() const { return method.substr(0, method.find("::")); }
    std::string_view operationName() const { return method.substr(method.find("::") + 2); }
};

/// All of them, interface by interface. Any thread may ask.
JSONDEVICE_EXPORT std::span<const Operation> operations();

/// Null when there is no such method.
JSONDEVICE_EXPORT const Operation* find(std::string_view method);

/// Registers the types of all interfaces, which adapters otherwise do as they
/// are constructed. For callers that go by type names.
JSONDEVICE_EXPORT void registerAllTypes();

}  // namespace JsonDevice::Vocabulary
