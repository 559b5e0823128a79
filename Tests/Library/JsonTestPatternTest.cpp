#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonTestPattern.h"
#include "DeviceManager/JsonDevice/JsonUploadTestPattern.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using Items = std::vector<std::pair<int, std::wstring>>;
using Colour = TestPatternInterface::TestPatternColour;

/// As most hosts have it: without an interface to upload patterns.
class TestPattern : public JsonDevice::JsonTestPattern {
public:
    explicit TestPattern(Communicator* communicator) : JsonTestPattern(communicator, nullptr) {}
};

template <class Operation, class Value>
Row get(const std::string& name, const std::string& result, Operation operation, const Value& expected) {
    return returns<TestPattern>("TestPatternInterface::" + name, "[]", result, operation, expected);
}

template <class Operation>
Row set(const std::string& name, const std::string& params, Operation operation) {
    return sends<TestPattern>("TestPatternInterface::" + name, params, operation);
}

const Table table({
    set("setInternalTestPattern", "[4000000000]",
        [](TestPattern& pattern) { pattern.setInternalTestPattern(4000000000U); }),
    get(
        "getInternalTestPattern", "-3", [](TestPattern& pattern) { return pattern.getInternalTestPattern(); },
        -3),
    get(
        "getInternalTestPatternList",
        R"([{"first":2,"second":"Grille \u00e0 croix"},{"first":1,"second":""}])",
        [](TestPattern& pattern) { return pattern.getInternalTestPatternList(); },
        Items{{2, L"Grille \u00e0 croix"}, {1, L""}}),
    get(
        "isInternalTestPatternShowing", "true",
        [](TestPattern& pattern) { return pattern.isInternalTestPatternShowing(); }, true),
    set("clearPointTestPattern", "[]", [](TestPattern& pattern) { pattern.clearPointTestPattern(); }),
    set("setPointTestPatternColor", "[6]",
        [](TestPattern& pattern) { pattern.setPointTestPatternColor(Colour::cyan); }),
    set("enablePointTestPattern", "[false]",
        [](TestPattern& pattern) { pattern.enablePointTestPattern(false); }),
    set("addPointTestPattern", R"([[{"x":3,"y":-4},{"x":0,"y":9}]])",
        [](TestPattern& pattern) {
            pattern.addPointTestPattern({{3, -4}, {0, 9}});
        }),
    set("setPointTestPattern", "[[]]", [](TestPattern& pattern) { pattern.setPointTestPattern({}); }),
    set("flushUserTestPattern", "[]", [](TestPattern& pattern) { pattern.flushUserTestPattern(); }),
    set("clearUserTestPattern", "[]", [](TestPattern& pattern) { pattern.clearUserTestPattern(); }),
    set("showUserTestPatternGrid", "[1,2,3,4,-5]",
        [](TestPattern& pattern) { pattern.showUserTestPatternGrid(1, 2, 3, 4, -5); }),
    set("drawBoxes", R"([[{"x":1,"y":2},{"x":3,"y":4}],5,6,7,8,9])",
        [](TestPattern& pattern) {
            pattern.drawBoxes({{1, 2}, {3, 4}}, 5, 6, 7, 8, 9);
        }),
    set("drawLines", "[1,2,3,4,5,6,7]", [](TestPattern& pattern) { pattern.drawLines(1, 2, 3, 4, 5, 6, 7); }),
});

TEST(JsonTestPattern, TheListEndsWithTheUploadSlotsAndDoesNotAccumulate) {
    ScriptedCommunicator device;
    JsonDevice::JsonUploadTestPattern upload(&device);
    JsonDevice::JsonTestPattern pattern(&device, &upload);
    for (const std::string id : {"1", "2"}) {
        device
            .expect(
                R"({"id":)" + id +
                R"(,"jsonrpc":"2.0","method":"TestPatternInterface::getInternalTestPatternList","params":[]})")
            .reply(R"({"id":)" + id + R"(,"result":[{"first":7,"second":"Checks"}]})");
        device
            .expect(
                R"({"id":)" + id +
                R"(,"jsonrpc":"2.0","method":"UploadTestPatternInterface::getAvailableUploadSlots","params":[]})")
            .reply(R"({"id":)" + id +
                   R"(,"result":[{"first":30,"second":"Slot B"},{"first":20,"second":"Slot A"}]})");
        EXPECT_EQ(pattern.getInternalTestPatternList(),
                  (Items{{7, L"Checks"}, {30, L"Slot B"}, {20, L"Slot A"}}));
    }
}

TEST(JsonTestPattern, AFailureOfTheUploadInterfaceLeavesTheListAsItWas) {
    ScriptedCommunicator device;
    ScriptedCommunicator uploadDevice;
    JsonDevice::JsonUploadTestPattern upload(&uploadDevice);
    JsonDevice::JsonTestPattern pattern(&device, &upload);
    device.expectAny().reply(R"({"id":1,"result":[{"first":7,"second":"Checks"}]})");
    uploadDevice.expectAny().reply(R"({"id":1,"result":[]})");
    const Items& list = pattern.getInternalTestPatternList();
    EXPECT_EQ(list, (Items{{7, L"Checks"}}));

    device.expectAny().reply(R"({"id":2,"result":[{"first":8,"second":"Bars"}]})");
    uploadDevice.expectAny().reply(R"({"id":2,"error":"no slots"})");
    EXPECT_THROW(pattern.getInternalTestPatternList(), JsonDevice::ErrorReplyException);
    EXPECT_EQ(list, (Items{{7, L"Checks"}}));
}

TEST(JsonTestPattern, ColoursAreSumsOfTheirParts) {
    EXPECT_EQ(static_cast<int>(Colour::black), 0);
    EXPECT_EQ(static_cast<int>(Colour::yellow),
              static_cast<int>(Colour::red) + static_cast<int>(Colour::green));
    EXPECT_EQ(static_cast<int>(Colour::magenta),
              static_cast<int>(Colour::red) + static_cast<int>(Colour::blue));
    EXPECT_EQ(static_cast<int>(Colour::white), 7);
}

}  // namespace
