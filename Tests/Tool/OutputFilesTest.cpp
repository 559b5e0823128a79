#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Tests/Support/TemporaryFolder.h"
#include "Tools/Failure.h"
#include "Tools/OutputFiles.h"

namespace Tool {
namespace {

class OutputFiles : public testing::Test {
protected:
    std::string path(const char* name) const { return (folder / name).string(); }
    std::string content(const char* name) const { return TemporaryFolder::content(folder / name); }
    std::size_t files() const { return temporary.entries(); }

    const TemporaryFolder temporary;
    const std::filesystem::path folder = temporary.path();
};

TEST_F(OutputFiles, AreReplacedAndKeepTheirModes) {
    writeFile(path("a.json"), "a text that is longer");
    EXPECT_EQ(content("a.json"), "a text that is longer");
    ASSERT_EQ(::chmod(path("a.json").c_str(), 0600), 0);
    writeFile(path("a.json"), "a text");
    EXPECT_EQ(content("a.json"), "a text");
    EXPECT_EQ(std::filesystem::status(folder / "a.json").permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(files(), 1U);
}

TEST_F(OutputFiles, AreWrittenWhereALinkLeads) {
    writeFile(path("real.json"), "old");
    std::filesystem::create_symlink("real.json", folder / "a.json");
    writeFile(path("a.json"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "a.json"));
    EXPECT_EQ(content("real.json"), "new");
    std::filesystem::create_symlink("/dev/null", folder / "null");
    writeFile(path("null"), "new");
    EXPECT_TRUE(std::filesystem::is_character_file(folder / "null"));
}

TEST_F(OutputFiles, TouchNoOtherFile) {
    writeFile(path("a.json.part"), "another's");
    writeFile(path("a.json"), "a text");
    EXPECT_EQ(content("a.json.part"), "another's");
}

TEST_F(OutputFiles, ThatCannotBeWrittenAreAFailure) {
    std::filesystem::create_symlink("/dev/full", folder / "full");
    for (const auto& [file, reason] : {std::pair(path("full"), "No space left on device"),
                                       std::pair(path("none/a.json"), "No such file or directory"),
                                       std::pair(folder.string(), "Is a directory")}) {
        try {
            writeFile(file, "a text");
            ADD_FAILURE() << file;
        } catch (const FailureException& e) {
            EXPECT_EQ(e.get().status, ExitStatus::cannotWrite);
            EXPECT_EQ(e.get().message, "cannot write \"" + file + "\": " + reason);
        }
    }
    EXPECT_EQ(files(), 1U);
}

}  // namespace
}  // namespace Tool
