#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Control
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Control.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
