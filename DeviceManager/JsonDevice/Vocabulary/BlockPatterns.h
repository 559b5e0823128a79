#pragma once

#include "DeviceManager/JsonDevice/Vocabulary/Method.h"

// One list serves both block patterns: their methods differ in the prefix alone.

// Devices answer to this prefix, which lacks the word Interface.
#define JSONDEVICE_PREFIX "PreWarpBlockPattern::"
#define JSONDEVICE_INTERFACE PreWarpBlockPattern
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/BlockPattern.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
#undef JSONDEVICE_PREFIX

#define JSONDEVICE_PREFIX "ProjectorBlockPatternInterface::"
#define JSONDEVICE_INTERFACE ProjectorBlockPattern
#define JSONDEVICE_METHODS "DeviceManager/JsonDevice/Vocabulary/BlockPattern.def"
#include "DeviceManager/JsonDevice/Vocabulary/Define.inc"
#undef JSONDEVICE_PREFIX

class PreWarpBlockPatternInterface;
class ProjectorBlockPatternInterface;

namespace JsonDevice::Vocabulary {

/// The methods by the host's interface, for code that serves both.
template <class Interface>
struct BlockPattern;

template <>
struct BlockPattern<PreWarpBlockPatternInterface> {
#define JSONDEVICE_METHOD(constant, ...) \
    static constexpr const auto& constant = PreWarpBlockPattern::constant;
#include "DeviceManager/JsonDevice/Vocabulary/BlockPattern.def"
#undef JSONDEVICE_METHOD
};

template <>
struct BlockPattern<ProjectorBlockPatternInterface> {
#define JSONDEVICE_METHOD(constant, ...) \
    static constexpr const auto& constant = ProjectorBlockPattern::constant;
#include "DeviceManager/JsonDevice/Vocabulary/BlockPattern.def"
#undef JSONDEVICE_METHOD
};

}  // namespace JsonDevice::Vocabulary
