#pragma once

#include <string>
#include <vector>

#include "Tools/Command.h"

/// Pages for people and scripts for shells, made from the tables of methods and
/// commands.
namespace Tool {

/// The reference of all methods, as Markdown.
std::string methodsPage();

struct ManualPage {
    /// "jsondevice-call.1"
    std::string file;
    std::string text;
};
/// One page for the tool, and one for each command.
std::vector<ManualPage> manualPages(const std::vector<Command>& commands, const std::string& version);

}  // namespace Tool
