#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/Calls.h"
#include "Tools/MethodLookup.h"

namespace Tool {

Command callCommand() {
    Command command{
        "call",
        "Call any method",
        "-d tcp://projector:5000 call RemoteInterface::sendKeyCode 12",
        {{"METHOD", "The method, or its operation's name where that is unambiguous (see: list)",
          Hint::method},
         {"ARGUMENT",
          "Its arguments: numbers, true or false, text, JSON for the rest; @FILE for what is in a "
          "file, - for standard input, @@... for a text that begins with @; behind -- nothing is "
          "taken for an option",
          Hint::file, Parameter::Count::any}}};
    command.prepare = [](const Given& given) {
        return callTask(lookUpMethod(given.text("METHOD")), given.all("ARGUMENT"), given.input());
    };
    return command;
}

}  // namespace Tool
