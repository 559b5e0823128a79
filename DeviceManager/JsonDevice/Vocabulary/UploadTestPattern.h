#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

#define JSONDEVICE_INTERFACE UploadTestPattern
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/UploadTestPattern.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
