#pragma once

#include <string_view>

namespace JsonDevice {

/// Writes the line and a line end to standard output, in one go. Numbers are
/// made text by the caller (std::to_string), so that no locale has a say.
void printDiagnostic(std::string_view line);

}  // namespace JsonDevice
