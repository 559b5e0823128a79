#pragma once

namespace JsonDevice {

/// The live page (Page.html), one file with all that it needs.
extern const char* const page;

}  // namespace JsonDevice
