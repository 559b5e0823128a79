#pragma once

#include <string>
#include <string_view>

#include "Common/Export.h"

namespace JsonDevice {

/// A text from a peer as one line that is fit for a terminal: control
/// characters escaped ("\n", "\x1b"), what is no UTF-8 as U+FFFD, and of a long text only its begin and its
/// length.
JSONDEVICE_EXPORT std::string trafficText(std::string_view text);

}  // namespace JsonDevice
