#include "Tools/Commands/AllCommands.h"

namespace Tool {

std::vector<Command> allCommands() {
    return {listCommand(), describeCommand(), callCommand(), statusCommand(), remoteCommand(), imageCommand()};
}

}  // namespace Tool
