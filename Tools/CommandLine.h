#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Tools/Command.h"

namespace Tool {

/// A command line that was understood.
struct CommandLine {
    using Values = std::vector<std::pair<std::string, std::vector<std::string>>>;

    /// Null when there is only a text to print: help, the version.
    const Command* command = nullptr;
    std::string text;
    /// What was given for the command, and for the options that all commands take.
    Values values;
    Values common;
};

/// Refuses the command line when it does not fit the commands. The commands
/// have to outlive the result.
CommandLine parseCommandLine(const std::vector<Command>& commands, const std::vector<std::string>& arguments);

/// Whether an option stands among the arguments; for what has to be known of a
/// command line that was refused.
bool hasOption(const std::vector<std::string>& arguments, const std::string& option);

}  // namespace Tool
