#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/BlackLevel.h"
#include "DeviceManager/JsonDevice/Vocabulary/Blending.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlockPatterns.h"
#include "DeviceManager/JsonDevice/Vocabulary/CheckPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/Color.h"
#include "DeviceManager/JsonDevice/Vocabulary/Control.h"
#include "DeviceManager/JsonDevice/Vocabulary/Gamma.h"
#include "DeviceManager/JsonDevice/Vocabulary/GridTestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/IG.h"
#include "DeviceManager/JsonDevice/Vocabulary/Masking.h"
#include "DeviceManager/JsonDevice/Vocabulary/Model.h"
#include "DeviceManager/JsonDevice/Vocabulary/Remote.h"
#include "DeviceManager/JsonDevice/Vocabulary/Status.h"
#include "DeviceManager/JsonDevice/Vocabulary/TestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/UploadTestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/UserTestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/Warp.h"

namespace JsonDevice::Vocabulary {

/// Visits the typed descriptor of every method of every interface.
template <class Visitor>
constexpr void forEachMethod(Visitor&& visit) {
    BlackLevel::forEachMethod(visit);
    Blending::forEachMethod(visit);
    CheckPattern::forEachMethod(visit);
    Color::forEachMethod(visit);
    Control::forEachMethod(visit);
    Gamma::forEachMethod(visit);
    GridTestPattern::forEachMethod(visit);
    IG::forEachMethod(visit);
    Masking::forEachMethod(visit);
    Model::forEachMethod(visit);
    PreWarpBlockPattern::forEachMethod(visit);
    ProjectorBlockPattern::forEachMethod(visit);
    Remote::forEachMethod(visit);
    Status::forEachMethod(visit);
    TestPattern::forEachMethod(visit);
    UploadTestPattern::forEachMethod(visit);
    UserTestPattern::forEachMethod(visit);
    Warp::forEachMethod(visit);
}

}  // namespace JsonDevice::Vocabulary
