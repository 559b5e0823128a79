#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"

namespace Tool {

/// The method that is meant by its whole string, or by its operation's name
/// alone where only one interface has it. Refuses the command line otherwise,
/// with the methods that may have been meant.
const JsonDevice::Vocabulary::Operation& lookUpMethod(std::string_view name);

/// The methods whose names are close to the text, the closest first, at most five.
std::vector<std::string> similarMethods(std::string_view name);

}  // namespace Tool
