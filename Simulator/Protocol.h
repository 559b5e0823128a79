#pragma once

namespace JsonDevice::Simulation {

/// How the numbers of selected locations travel. Projectors of the older
/// protocol number them two higher, and have one selection for blends and
/// uniformity corrections together.
enum class Protocol { Current, Older };

}  // namespace JsonDevice::Simulation
