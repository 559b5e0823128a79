#include "DeviceManager/JsonDevice/JsonPreWarpBlockPattern.h"
#include "DeviceManager/JsonDevice/JsonProjectorBlockPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlockPatterns.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonPreWarpBlockPattern;
using JsonDevice::JsonProjectorBlockPattern;

/// The rows that both adapters have. The strings of both lists stand here in
/// full but for the prefix, as they go over the wire.
template <class Adapter>
std::vector<Row> rows(const std::string& prefix) {
    const auto set = [&](const std::string& name, const std::string& params, auto operation) {
        return sends<Adapter>(prefix + name, params, operation);
    };
    const auto get = [&](const std::string& name, auto operation) {
        return returns<Adapter>(prefix + name, "[]", "17", operation, 17);
    };
    Row noBlocks = set("setArbitraryBlocks2", "[0,[],[],[]]",
                       [](Adapter& pattern) { pattern.setArbitraryBlocks(0, {}); });
    noBlocks.name += " without blocks";
    return {
        set("setPatternMode", "[3]", [](Adapter& pattern) { pattern.setPatternMode(3); }),
        get("getPatternMode", [](Adapter& pattern) { return pattern.getPatternMode(); }),
        set("setDisplayMode", "[-1]", [](Adapter& pattern) { pattern.setDisplayMode(-1); }),
        set("setGapColor", "[255]", [](Adapter& pattern) { pattern.setGapColor(255); }),
        get("getArbitraryBlockLimit", [](Adapter& pattern) { return pattern.getArbitraryBlockLimit(); }),
        set("setArbitraryBlock", R"([5,{"x":1,"y":2},{"x":3,"y":4},-7])",
            [](Adapter& pattern) {
                pattern.setArbitraryBlock(5, {1, 2}, {3, 4}, -7);
            }),
        set("setArbitraryBlocks", R"([2,[{"x":1,"y":2},{"x":3,"y":4}],{"x":5,"y":6},8])",
            [](Adapter& pattern) {
                pattern.setArbitraryBlocks(2, {Point2I{1, 2}, Point2I{3, 4}}, {5, 6}, 8);
            }),
        set("setArbitraryBlocks2",
            R"([9,[{"x":1,"y":2},{"x":11,"y":12},{"x":21,"y":22}],)"
            R"([{"x":3,"y":4},{"x":13,"y":14},{"x":23,"y":24}],[1,2,3]])",
            [](Adapter& pattern) {
                using Block = typename Adapter::Block;
                pattern.setArbitraryBlocks(9, {Block{{1, 2}, {3, 4}, 1}, Block{{11, 12}, {13, 14}, 2},
                                               Block{{21, 22}, {23, 24}, 3}});
            }),
        noBlocks,
        set("clearArbitraryBlocks", "[]", [](Adapter& pattern) { pattern.clearArbitraryBlocks(); }),
        set("setArbitraryBlockRange", "[0,64]",
            [](Adapter& pattern) { pattern.setArbitraryBlockRange(0, 64); }),
        set("setBinaryBlocksPerLine", "[16]", [](Adapter& pattern) { pattern.setBinaryBlocksPerLine(16); }),
        set("setBinaryNumBlockLines", "[9]", [](Adapter& pattern) { pattern.setBinaryNumBlockLines(9); }),
        set("setBinaryBlockColor", "[16777215]",
            [](Adapter& pattern) { pattern.setBinaryBlockColor(0xFFFFFF); }),
        set("setBinaryBlockExponent", "[2,1]",
            [](Adapter& pattern) { pattern.setBinaryBlockExponent(2, 1); }),
        set("setBinaryStartPosition", R"([{"x":-10,"y":20}])",
            [](Adapter& pattern) {
                pattern.setBinaryStartPosition({-10, 20});
            }),
        set("setBinaryStartBlockCount", "[100]",
            [](Adapter& pattern) { pattern.setBinaryStartBlockCount(100); }),
        set("setBinaryBlockSize", R"([{"x":32,"y":24}])",
            [](Adapter& pattern) {
                pattern.setBinaryBlockSize({32, 24});
            }),
        set("setBinaryBlockSpacing", R"([{"x":40,"y":30}])",
            [](Adapter& pattern) {
                pattern.setBinaryBlockSpacing({40, 30});
            }),
    };
}

const Table preWarp(rows<JsonPreWarpBlockPattern>("PreWarpBlockPattern::"));
const Table projector(rows<JsonProjectorBlockPattern>("ProjectorBlockPatternInterface::"));

Row projectorFlush(bool flag) {
    Row row = sends<JsonProjectorBlockPattern>(
        "ProjectorBlockPatternInterface::flushCommandQueue", "[]",
        [=](JsonProjectorBlockPattern& pattern) { pattern.flushCommandQueue(flag); });
    row.name += flag ? " true" : " false";
    return row;
}

const Table flushes({
    sends<JsonPreWarpBlockPattern>("PreWarpBlockPattern::flushCommandQueue", "[]",
                                   [](JsonPreWarpBlockPattern& pattern) { pattern.flushCommandQueue(); }),
    projectorFlush(true),
    projectorFlush(false),
});

TEST(JsonBlockPattern, EveryMethodOfAnAdapterHasItsPrefixAndTheNamesAgree) {
    std::vector<std::string> preWarpNames;
    const std::string preWarpPrefix = "PreWarpBlockPattern::";
    JsonDevice::Vocabulary::PreWarpBlockPattern::forEachMethod([&](const auto& method) {
        const std::string name = method.name;
        ASSERT_TRUE(name.starts_with(preWarpPrefix)) << name;
        preWarpNames.push_back(name.substr(preWarpPrefix.size()));
    });
    std::vector<std::string> projectorNames;
    const std::string projectorPrefix = "ProjectorBlockPatternInterface::";
    JsonDevice::Vocabulary::ProjectorBlockPattern::forEachMethod([&](const auto& method) {
        const std::string name = method.name;
        ASSERT_TRUE(name.starts_with(projectorPrefix)) << name;
        projectorNames.push_back(name.substr(projectorPrefix.size()));
    });
    EXPECT_EQ(preWarpNames, projectorNames);
    EXPECT_EQ(preWarpNames.size(), 19U);
}

}  // namespace
