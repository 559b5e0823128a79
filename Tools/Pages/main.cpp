#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "Tools/Commands/AllCommands.h"
#include "Tools/Completion.h"
#include "Tools/Pages.h"

namespace {

/// Writes a file; its folder need not be there.
void write(const std::filesystem::path& path, const std::string& text) {
    if (path.has_parent_path()) {
        std::filesystem::create_directories(path.parent_path());
    }
    std::ofstream file(path, std::ios::binary);
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file << text << std::flush;
}

}  // namespace

/// Makes pages at build time:
///   jsondevice-pages methods FILE   the reference of methods
///   jsondevice-pages share FOLDER   what is installed below share/: manual pages and completions
int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    try {
        if (what == "methods") {
            write(argv[2], Tool::methodsPage());
            return 0;
        }
        if (what == "share") {
            const std::filesystem::path share = argv[2];
            for (const Tool::ManualPage& page : Tool::manualPages(Tool::allCommands(), JSONDEVICE_VERSION)) {
                write(share / "man/man1" / page.file, page.text);
            }
            write(share / "bash-completion/completions/jsondevice", Tool::completionScript("bash"));
            write(share / "zsh/vendor-completions/_jsondevice", Tool::completionScript("zsh"));
            write(share / "fish/vendor_completions.d/jsondevice.fish", Tool::completionScript("fish"));
            return 0;
        }
    } catch (const std::exception& error) {
        std::cerr << "jsondevice-pages: " << argv[2] << ": " << error.what() << '\n';
        return 1;
    }
    std::cerr << "usage: jsondevice-pages methods FILE | share FOLDER\n";
    return 2;
}
