#include "Tools/Commands/AllCommands.h"

namespace Tool {

std::vector<Command> allCommands() {
    std::vector<Command> all;
    all.push_back(listCommand());
    all.push_back(describeCommand());
    all.push_back(callCommand());
    all.push_back(statusCommand());
    all.push_back(remoteCommand());
    all.push_back(getCommand());
    all.push_back(setCommand());
    all.push_back(attributesCommand());
    all.push_back(propertiesCommand());
    all.push_back(watchCommand());
    all.push_back(imageCommand());
    return all;
}

}  // namespace Tool
