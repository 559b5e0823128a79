#pragma once

#include <string>
#include <vector>

#include "Tools/Command.h"

/// Completion in a shell: the shell's script asks the tool itself, by the
/// command line that was typed so far, so that the tables are the only place
/// that knows commands, options and methods.
namespace Tool {

/// What asks for a completion: the tool's first argument, before the words.
inline constexpr const char* completionRequest = "__complete";

/// What the last of the words may become; the words are those behind the
/// tool's name. A line for each, the word, a tab and a description; ":file" on
/// a line by itself where files fit.
std::string complete(const std::vector<Command>& commands, const std::vector<std::string>& words);

/// The script for "bash", "zsh" or "fish"; empty for another shell.
std::string completionScript(const std::string& shell);

}  // namespace Tool
