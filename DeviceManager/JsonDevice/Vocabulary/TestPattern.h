#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE TestPattern
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/TestPattern.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
