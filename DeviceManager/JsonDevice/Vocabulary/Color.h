#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Color
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Color.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
