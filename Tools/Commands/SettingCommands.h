#pragma once

#include <string>

#include "Tools/Command.h"
#include "Tools/Session.h"
#include "Tools/Settings.h"

/// What the commands share that show and change settings.
namespace Tool {

Json::Value readSetting(Session& session, const Setting& setting);
/// Throws a FailureException when the device says that it did not do it.
void writeSetting(Session& session, const Setting& setting, const Json::Value& params);

/// A command that shows all settings of an interface, or one, or changes one.
Command settingsCommand(const std::string& name, const std::string& summary, const std::string& example,
                        const std::string& interfaceName);

}  // namespace Tool
