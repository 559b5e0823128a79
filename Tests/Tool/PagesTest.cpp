#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "Tools/Pages.h"

namespace Tool {
namespace {

TEST(Pages, TheReferenceOfMethodsIsUpToDate) {
    std::ifstream file(JSONDEVICE_SOURCE_DIR "/Docs/methods.md", std::ios::binary);
    const std::string kept((std::istreambuf_iterator<char>(file)), {});
    EXPECT_TRUE(kept == methodsPage()) << "Docs/methods.md is stale: build the target methods-page";
}

}  // namespace
}  // namespace Tool
