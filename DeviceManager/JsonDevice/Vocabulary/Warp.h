#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Warp
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Warp.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
