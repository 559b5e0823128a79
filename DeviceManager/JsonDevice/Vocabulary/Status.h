#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE Status
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/Status.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
