#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Gamma
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Gamma.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
