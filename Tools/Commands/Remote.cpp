#include "DeviceManager/JsonDevice/Vocabulary/Remote.h"

#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/Calls.h"

namespace Tool {

Command remoteCommand() {
    namespace Remote = JsonDevice::Vocabulary::Remote;
    Command command{"remote", "Use the remote control", "-d tcp://projector:5000 remote key 12"};
    command.commands = {
        callingCommand("key", operationOf(Remote::sendKeyCode), "Press a key",
                       "-d tcp://projector:5000 remote key 12",
                       {{"CODE", "The key's code, decimal or hexadecimal (0x0c)"}}),
        callingCommand("osd", operationOf(Remote::sendOSD), "Switch the on-screen display",
                       "-d tcp://projector:5000 remote osd 1", {{"N", "What to switch it to"}}),
    };
    return command;
}

}  // namespace Tool
