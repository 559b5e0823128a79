#pragma once

#include <vector>

#include "Tools/Command.h"

namespace Tool {

/// Every command of the tool, in the order of the help.
std::vector<Command> allCommands();

Command listCommand();
Command describeCommand();
Command callCommand();
Command statusCommand();
Command remoteCommand();
Command getCommand();
Command setCommand();
Command attributesCommand();
Command propertiesCommand();
Command watchCommand();
Command powerCommand();
Command inputCommand();
Command shutterCommand();
Command gammaCommand();
Command colorCommand();
Command settingsCommand();
Command imageCommand();
Command completionCommand();
Command warpCommand();
Command blendCommand();
Command uniformityCommand();
Command maskCommand();
Command blackLevelCommand();
Command modelCommand();
Command contentCommand();
Command patternCommand();
Command snapshotCommand();

}  // namespace Tool
