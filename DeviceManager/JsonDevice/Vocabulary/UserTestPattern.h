#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE UserTestPattern
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/UserTestPattern.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
