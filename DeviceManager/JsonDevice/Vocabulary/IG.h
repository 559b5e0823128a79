#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE IG
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/IG.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
