#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Masking
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Masking.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
