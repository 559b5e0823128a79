#pragma once

#include <optional>
#include <vector>

#include "Platform/Devices/WarpLineSegment.h"

class MeshProxy;

namespace JsonDevice {

/// Samples a mesh along 17 vertical lines and as many horizontal ones as the
/// picture's shape asks for, and returns a segment for each sample where the
/// mapping stops growing in x or y or turns over. Prepares the mesh.
///
/// Nothing when *currentTicket was found different from ticket, which is looked
/// at before every sample and may be changed by another thread at any time; a
/// null currentTicket never cancels.
std::optional<std::vector<WarpLineSegment>> findFolds(MeshProxy& proxy, int ticket,
                                                      const volatile int* currentTicket);

}  // namespace JsonDevice
