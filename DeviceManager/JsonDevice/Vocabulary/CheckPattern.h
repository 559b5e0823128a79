#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE CheckPattern
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/CheckPattern.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
