#include "Tools/Commands/AllCommands.h"

namespace Tool {

std::vector<Command> allCommands() {
    std::vector<Command> all;
    all.push_back(listCommand());
    all.push_back(describeCommand());
    all.push_back(callCommand());
    all.push_back(statusCommand());
    all.push_back(remoteCommand());
    all.push_back(powerCommand());
    all.push_back(inputCommand());
    all.push_back(shutterCommand());
    all.push_back(gammaCommand());
    all.push_back(colorCommand());
    all.push_back(settingsCommand());
    all.push_back(getCommand());
    all.push_back(setCommand());
    all.push_back(attributesCommand());
    all.push_back(propertiesCommand());
    all.push_back(watchCommand());
    all.push_back(imageCommand());
    all.push_back(warpCommand());
    all.push_back(blendCommand());
    all.push_back(uniformityCommand());
    all.push_back(maskCommand());
    all.push_back(blackLevelCommand());
    all.push_back(modelCommand());
    all.push_back(contentCommand());
    all.push_back(patternCommand());
    all.push_back(snapshotCommand());
    all.push_back(completionCommand());
    return all;
}

}  // namespace Tool
