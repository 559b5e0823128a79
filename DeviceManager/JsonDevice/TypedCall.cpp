#include "DeviceManager/JsonDevice/TypedCall.h"

#include "Common/Exceptions.h"

namespace JsonDevice {

void TypedCall::refuseNullResult() {
    throw KorvanParseException(L"JSON: result was nullptr, felt best not to read that");
}

}  // namespace JsonDevice
