#include "Tools/Completion.h"

#include "Tools/Commands/AllCommands.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

Command completionCommand() {
    Command command{
        "completion",
        "Print the script that completes command lines in a shell",
        "completion bash > ~/.local/share/bash-completion/completions/jsondevice",
        {{"SHELL", "bash, zsh or fish", Hint::none, Parameter::Count::one, {"bash", "zsh", "fish"}}}};
    command.answer = [](const Given& given) {
        const std::string script = completionScript(given.text("SHELL"));
        if (script.empty()) {
            refuseUsage("there is no completion for " + inQuotes(given.text("SHELL")) +
                        "; there is one for: bash, zsh, fish");
        }
        return Answer{script, script};
    };
    return command;
}

}  // namespace Tool
