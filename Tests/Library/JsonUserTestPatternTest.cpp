#include "DeviceManager/JsonDevice/JsonUserTestPattern.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonUserTestPattern;

template <class Operation>
Row set(const std::string& name, const std::string& params, Operation operation) {
    return sends<JsonUserTestPattern>("UserTestPatternInterface::" + name, params, operation);
}

Row boxLimit() {
    const auto ask = [](const JsonUserTestPattern& pattern) { return pattern.getBoxLimit(); };
    Row row = returns<JsonUserTestPattern>("UserTestPatternInterface::getBoxLimit", "[]", "4000000000", ask,
                                           4000000000U);
    row.onFailure = OnFailure::answers;
    row.expectAnswer = [=](Communicator& device) {
        const JsonUserTestPattern pattern(&device);
        EXPECT_EQ(ask(pattern), 65536U);
    };
    return row;
}

const Table table({
    set("flushUserTestPattern", "[true]",
        [](JsonUserTestPattern& pattern) { pattern.flushUserTestPattern(true); }),
    set("clearUserTestPattern", "[false]",
        [](JsonUserTestPattern& pattern) { pattern.clearUserTestPattern(false); }),
    set("showUserTestPatternGrid", "[1,2,3,4,-5]",
        [](JsonUserTestPattern& pattern) { pattern.showUserTestPatternGrid(1, 2, 3, 4, -5); }),
    set("drawBoxes", R"([[{"x":1,"y":2},{"x":3,"y":4}],5,6,7,8,9])",
        [](JsonUserTestPattern& pattern) {
            pattern.drawBoxes({{1, 2}, {3, 4}}, 5, 6, 7, 8, 9);
        }),
    set("drawLines", "[1,2,3,4,5,6,7]",
        [](JsonUserTestPattern& pattern) { pattern.drawLines(1, 2, 3, 4, 5, 6, 7); }),
    returns<JsonUserTestPattern>(
        "UserTestPatternInterface::isUserTestPatternDisplayed", "[]", "true",
        [](JsonUserTestPattern& pattern) { return pattern.isUserTestPatternDisplayed(); }, true),
    boxLimit(),
});

TEST(JsonUserTestPattern, TheBoxLimitIsGenerousWhereTheDeviceGivesNoNumber) {
    for (const std::string result : {R"("many")", "-1", "4294967296", "{}", "null"}) {
        ScriptedCommunicator device;
        device.expectAny().reply(R"({"id":1,"result":)" + result + "}");
        EXPECT_EQ(JsonUserTestPattern(&device).getBoxLimit(), 65536U) << result;
    }
}

}  // namespace
