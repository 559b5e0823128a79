#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Remote
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Remote.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
