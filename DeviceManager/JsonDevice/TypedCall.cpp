#include "DeviceManager/JsonDevice/TypedCall.h"

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonText.h"

namespace JsonDevice {

void TypedCall::appendArgument(std::string& request, std::size_t index, MarshalJson& registry,
                               const char* typeName, const void* object) {
    if (index > 0) {
        request += ',';
    }
    JsonText::append(request, registry.toJson(typeName, object, {}));
}

void TypedCall::refuseNullResult() {
    throw KorvanParseException(L"JSON: result was nullptr, felt best not to read that");
}

}  // namespace JsonDevice
