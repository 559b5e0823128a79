#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Model
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Model.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
