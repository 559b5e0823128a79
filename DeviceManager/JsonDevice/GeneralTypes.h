#pragma once

namespace JsonDevice {

class MarshalJson;

/// Registers the types that every registry of the process starts with.
void registerGeneralTypes(MarshalJson& registry);

}  // namespace JsonDevice
