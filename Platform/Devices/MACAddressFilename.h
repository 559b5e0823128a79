#pragma once

#include <string>
#include <string_view>

#include "Common/Export.h"

/// A file name that tells the devices of a site apart, for example
/// "00-1B-C5-00-00-01_blend.pgm" from "00:1B:C5:00:00:01", "blend" and ".pgm";
/// "blend.pgm" where the address is empty. Characters of the address that
/// are no ASCII letters or digits become "-", so that a name is always one
/// that file systems take and never leaves the folder it is used in.
JSONDEVICE_EXPORT std::string makeMACAddressFilename(std::string_view macAddress, std::string_view word,
                                                     std::string_view extension);
