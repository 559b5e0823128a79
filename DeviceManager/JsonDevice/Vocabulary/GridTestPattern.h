#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE GridTestPattern
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/GridTestPattern.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
