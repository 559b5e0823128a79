#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE BlackLevel
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/BlackLevel.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
