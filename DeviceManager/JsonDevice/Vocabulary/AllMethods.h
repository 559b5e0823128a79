#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/BlackLevel.h"
#include "DeviceManager/JsonDevice/Vocabulary/Blending.h"
#include "DeviceManager/JsonDevice/Vocabulary/Color.h"
#include "DeviceManager/JsonDevice/Vocabulary/Control.h"
#include "DeviceManager/JsonDevice/Vocabulary/Gamma.h"
#include "DeviceManager/JsonDevice/Vocabulary/IG.h"
#include "DeviceManager/JsonDevice/Vocabulary/Masking.h"
#include "DeviceManager/JsonDevice/Vocabulary/Model.h"
#include "DeviceManager/JsonDevice/Vocabulary/Remote.h"
#include "DeviceManager/JsonDevice/Vocabulary/Status.h"
#include "DeviceManager/JsonDevice/Vocabulary/Warp.h"

namespace JsonDevice::Vocabulary {

/// Visits the typed descriptor of every method of every interface.
template <class Visitor>
constexpr void forEachMethod(Visitor&& visit) {
    Remote::forEachMethod(visit);
    Status::forEachMethod(visit);
    Warp::forEachMethod(visit);
    Blending::forEachMethod(visit);
    BlackLevel::forEachMethod(visit);
    Masking::forEachMethod(visit);
    Model::forEachMethod(visit);
    IG::forEachMethod(visit);
    Control::forEachMethod(visit);
    Color::forEachMethod(visit);
    Gamma::forEachMethod(visit);
}

}  // namespace JsonDevice::Vocabulary
