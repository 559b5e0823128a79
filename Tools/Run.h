#pragma once

namespace Tool {

/// The whole tool: parses the command line, does what it says, and returns the
/// exit status. Takes the process's standard streams and signals for itself.
int run(int argc, const char* const* argv);

}  // namespace Tool
