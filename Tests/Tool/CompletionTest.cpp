#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Support/TemporaryFolder.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Completion.h"
#include "Tools/Pages.h"

namespace Tool {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        all.push_back(line);
    }
    return all;
}

/// The words that may come, without their descriptions.
std::vector<std::string> wordsFor(const std::vector<std::string>& typed) {
    std::vector<std::string> words;
    for (const std::string& line : lines(complete(allCommands(), typed))) {
        words.push_back(line.substr(0, line.find('\t')));
    }
    return words;
}

TEST(Completion, Commands) {
    const auto all = wordsFor({""});
    EXPECT_EQ(all.size(), allCommands().size());
    EXPECT_THAT(wordsFor({"po"}), ElementsAre("power"));
    EXPECT_EQ(complete(allCommands(), {"shu"}), "shutter\tShow, open or close the shutter\n");
    EXPECT_THAT(wordsFor({"settings", ""}), ElementsAre("dump", "restore"));
    EXPECT_THAT(wordsFor({"-d", "tcp://a:1", "--json", "remote", "k"}), ElementsAre("key"));
    EXPECT_THAT(wordsFor({"nonsense", ""}), IsEmpty());
    EXPECT_THAT(wordsFor({}), Not(IsEmpty()));
}

TEST(Completion, OptionsOfTheCommandAndOfAll) {
    EXPECT_THAT(
        wordsFor({"settings", "restore", "--"}),
        ElementsAre("--dry-run", "--device", "--json", "--timeout", "--quiet", "--verbose", "--help"));
    EXPECT_THAT(wordsFor({"--js"}), ElementsAre("--json"));
    EXPECT_THAT(wordsFor({"power", "--wait", ""}), IsEmpty());
    EXPECT_THAT(wordsFor({"power", "--wait", "10", ""}), ElementsAre("on", "off"));
    EXPECT_THAT(wordsFor({"power", "--wait=10", ""}), ElementsAre("on", "off"));
    EXPECT_THAT(wordsFor({"power", "on", ""}), IsEmpty());
}

TEST(Completion, ValuesMethodsAndFiles) {
    EXPECT_THAT(wordsFor({"shutter", ""}), ElementsAre("open", "closed"));
    EXPECT_THAT(wordsFor({"gamma", "gamma-"}), ElementsAre("gamma-correction"));
    EXPECT_THAT(wordsFor({"describe", "StatusInterface::getLamp"}),
                Contains("StatusInterface::getLampHours"));
    EXPECT_THAT(wordsFor({"describe", "getLampH"}), ElementsAre("getLampHours"));
    EXPECT_THAT(wordsFor({"call", ""}).size(), 248U);
    EXPECT_THAT(wordsFor({"settings", "restore", ""}), ElementsAre(":file"));
    // The last parameter may come any number of times; behind "--" nothing is an option.
    EXPECT_THAT(wordsFor({"call", "setGamma", "1", "2", ""}), ElementsAre(":file"));
    EXPECT_THAT(wordsFor({"call", "setGamma", "--", "-"}), ElementsAre(":file"));
    EXPECT_THAT(wordsFor({"completion", ""}), ElementsAre("bash", "zsh", "fish"));
}

/// What a shell prints that runs the script with this tool in its path.
class Shells : public testing::Test {
protected:
    static bool has(const std::string& program) {
        return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
    }
    std::string run(const std::string& shell, const std::string& script) const {
        std::ofstream(folder + "/completion") << completionScript(shell);
        std::ofstream(folder + "/test") << script;
        const std::string tool = std::filesystem::path(JSONDEVICE_TOOL).parent_path();
        const std::string command = "cd '" + folder + "' && touch 'a file.json' && HOME='" + folder +
                                    "' PATH='" + tool + "':\"$PATH\" " + shell +
                                    (shell == "zsh" ? " -f" : "") + " ./test 2>&1";
        std::string output;
        FILE* const pipe = ::popen(command.c_str(), "r");
        std::array<char, 4096> block;
        while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe)) {
            output.append(block.data(), count);
        }
        EXPECT_EQ(::pclose(pipe), 0) << output;
        return output;
    }

    const TemporaryFolder temporary;
    const std::string folder = temporary.path().string();
};

TEST_F(Shells, Bash) {
    // What readline hands over: the line, and its words, broken at colons too.
    const std::string output = run("bash", R"(source ./completion
comp() {
    COMP_LINE=$1 COMP_POINT=${#1}; shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _jsondevice
    printf '[%s]' "${COMPREPLY[@]}"; echo
}
comp 'jsondevice po' jsondevice po
comp 'jsondevice -d tcp://h:5 shutter ' jsondevice -d tcp : //h : 5 shutter ''
comp 'jsondevice call StatusInterface::getLampH' jsondevice call StatusInterface :: getLampH
comp 'jsondevice settings restore a' jsondevice settings restore a
)");
    EXPECT_EQ(output, "[power]\n[open][closed]\n[getLampHours]\n[a file.json]\n");
}

TEST_F(Shells, Zsh) {
    if (!has("zsh")) {
        GTEST_SKIP() << "there is no zsh";
    }
    const std::string output = run("zsh", R"(compdef() { }
source ./completion
_describe() { print -rl -- "${(@P)2}"; }
_files() { print files; }
comp() { words=("$@"); CURRENT=$#; _jsondevice; }
comp jsondevice po
comp jsondevice -d tcp://h:5 shutter ''
comp jsondevice call StatusInterface::getLampH
comp jsondevice settings restore ''
)");
    EXPECT_EQ(output,
              "power:Show the power's state, or switch it on or off\nopen:\nclosed:\n"
              "StatusInterface\\:\\:getLampHours:The hours of each lamp.\nfiles\n");
}

TEST_F(Shells, Fish) {
    if (!has("fish")) {
        GTEST_SKIP() << "there is no fish";
    }
    const std::string output = run("fish", R"(source ./completion
complete -C 'jsondevice po'
complete -C 'jsondevice -d tcp://h:5 shutter op'
complete -C 'jsondevice call StatusInterface::getLampH'
complete -C 'jsondevice settings restore a'
)");
    EXPECT_EQ(output,
              "power\tShow the power's state, or switch it on or off\nopen\n"
              "StatusInterface::getLampHours\tThe hours of each lamp.\na file.json\n");
}

TEST(ManualPages, EachCommandHasOne) {
    std::set<std::string> files;
    const auto pages = manualPages(allCommands(), "1.2.3");
    for (const ManualPage& page : pages) {
        EXPECT_TRUE(files.insert(page.file).second) << page.file;
        EXPECT_THAT(page.text, StartsWith(".TH "));
        EXPECT_THAT(page.text, HasSubstr("jsondevice 1.2.3"));
        EXPECT_THAT(page.text, Not(HasSubstr("\n\n"))) << page.file;
    }
    EXPECT_EQ(files.size(), allCommands().size() + 1);
    for (const Command& command : allCommands()) {
        EXPECT_TRUE(files.contains("jsondevice-" + command.name + ".1"));
        EXPECT_THAT(pages.front().text, HasSubstr("jsondevice\\-" + command.name + " (1)"));
    }
}

TEST(ManualPages, HaveNothingThatTheFormatterComplainsOf) {
    if (std::system("command -v groff >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "there is no groff";
    }
    for (const ManualPage& page : manualPages(allCommands(), "1.2.3")) {
        const std::string file = testing::TempDir() + page.file;
        std::ofstream(file) << page.text;
        const std::string command = "groff -man -Tutf8 -Kutf8 -ww -z '" + file + "' 2>&1";
        FILE* const pipe = ::popen(command.c_str(), "r");
        std::string output;
        for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
            output += static_cast<char>(c);
        }
        EXPECT_EQ(::pclose(pipe), 0);
        EXPECT_EQ(output, "") << page.file;
        std::remove(file.c_str());
    }
}

}  // namespace
}  // namespace Tool
