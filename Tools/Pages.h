#pragma once

#include <span>
#include <string>
#include <vector>

#include "Tools/Command.h"

/// Pages for people and scripts for shells, made from the tables of methods and
/// commands.
namespace Tool {

/// The reference of all methods, as Markdown.
std::string methodsPage();

}  // namespace Tool
