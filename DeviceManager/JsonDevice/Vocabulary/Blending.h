#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Blending
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Blending.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
