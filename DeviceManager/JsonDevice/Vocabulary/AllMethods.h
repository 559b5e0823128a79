#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Remote.h"
#include "DeviceManager/JsonDevice/Vocabulary/Status.h"

namespace JsonDevice::Vocabulary {

/// Visits the typed descriptor of every method of every interface.
template <class Visitor>
constexpr void forEachMethod(Visitor&& visit) {
    Remote::forEachMethod(visit);
    Status::forEachMethod(visit);
}

}  // namespace JsonDevice::Vocabulary
