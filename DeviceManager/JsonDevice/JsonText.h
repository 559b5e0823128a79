#pragma once

#include <string>
#include <string_view>

#include <json/value.h>

#include "Common/Export.h"

/// The one place where text becomes JSON values and JSON values text. No
/// process-wide locale has any effect here.
namespace JsonDevice::JsonText {

/// Reads one JSON value, as liberally as Json::Reader does under the C locale:
/// the same texts are accepted, with the same kinds and values, comments
/// included (which are dropped where the text is long). Returns false for a text that is not JSON; `value` is
/// then unspecified. Throws nothing of its own.
///
/// A text with at least readPadding bytes of unused capacity is read in place,
/// without a copy.
JSONDEVICE_EXPORT bool read(const std::string& text, Json::Value& value);

/// See read.
inline constexpr std::size_t readPadding = 64;

/// The compact form: no blanks, members in ascending byte order of their keys,
/// all outside ASCII escaped, ended by "\n". The same bytes as Json::FastWriter.
JSONDEVICE_EXPORT std::string write(const Json::Value& value);

/// Appends the compact form without the line end.
JSONDEVICE_EXPORT void append(std::string& text, const Json::Value& value);

/// Appends a JSON string.
JSONDEVICE_EXPORT void appendString(std::string& text, std::string_view string);

}  // namespace JsonDevice::JsonText
