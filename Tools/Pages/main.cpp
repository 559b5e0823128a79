#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

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

/// Makes pages at build time: jsondevice-pages methods FILE
int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    try {
        if (what == "methods") {
            write(argv[2], Tool::methodsPage());
            return 0;
        }
    } catch (const std::exception& error) {
        std::cerr << "jsondevice-pages: " << argv[2] << ": " << error.what() << '\n';
        return 1;
    }
    std::cerr << "usage: jsondevice-pages methods FILE\n";
    return 2;
}
