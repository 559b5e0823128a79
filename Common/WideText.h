#pragma once

#include <string>
#include <string_view>

#include "Common/Export.h"

/// Conversions between UTF-8 and wide text, for 16-bit (UTF-16) and 32-bit
/// (UTF-32) `wchar_t`. What is malformed becomes U+FFFD, one for each
/// ill-formed sequence; neither throws, and neither looks at any locale.
JSONDEVICE_EXPORT std::string toUtf8(std::wstring_view wide);
JSONDEVICE_EXPORT std::wstring toWide(std::string_view utf8);
