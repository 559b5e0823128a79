#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tools/Failure.h"
#include "Tools/MethodLookup.h"

namespace {

using namespace Tool;
using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

std::string refusal(const std::string& name) {
    try {
        return "found " + std::string(lookUpMethod(name).method);
    } catch (const FailureException& e) {
        EXPECT_EQ(e.get().status, ExitStatus::usage);
        return e.get().message;
    }
}

TEST(MethodLookup, FindsTheWholeStringAndTheOperationAlone) {
    EXPECT_EQ(lookUpMethod("StatusInterface::getLampHours").method, "StatusInterface::getLampHours");
    EXPECT_EQ(lookUpMethod("getLampHours").method, "StatusInterface::getLampHours");
}

TEST(MethodLookup, EveryMethodIsFound) {
    for (const auto& operation : JsonDevice::Vocabulary::operations()) {
        EXPECT_EQ(&lookUpMethod(operation.method), &operation);
    }
}

// Whatever the interfaces have in common: the operation alone finds one, or tells all.
TEST(MethodLookup, AnOperationOfSeveralInterfacesIsAmbiguous) {
    const auto all = JsonDevice::Vocabulary::operations();
    for (const auto& operation : all) {
        const std::string name(operation.operationName());
        const auto count = std::ranges::count(all, operation.operationName(),
                                              [](const auto& other) { return other.operationName(); });
        if (count == 1) {
            EXPECT_EQ(lookUpMethod(name).method, operation.method);
        } else {
            EXPECT_THAT(refusal(name), HasSubstr(std::string(operation.method)));
            EXPECT_THAT(refusal(name), HasSubstr("is in several interfaces"));
        }
    }
}

TEST(MethodLookup, SuggestsWhatIsClose) {
    EXPECT_THAT(refusal("getLampHous"), EndsWith("did you mean StatusInterface::getLampHours?"));
    EXPECT_THAT(similarMethods("GETLAMPHOURS"), Contains("StatusInterface::getLampHours"));
    EXPECT_THAT(similarMethods("StatusInterface::getLampHour"), Contains("StatusInterface::getLampHours"));
    EXPECT_THAT(similarMethods("getBackplaneTemperature"),
                Contains("StatusInterface::getBackplaceTemperature"));
    EXPECT_THAT(similarMethods("serial"), Contains("StatusInterface::getSerialNumber"));
    EXPECT_LE(similarMethods("get").size(), 5u);
    EXPECT_THAT(similarMethods("zzzzzzzzzzzz"), IsEmpty());
    EXPECT_THAT(refusal("zzzzzzzzzzzz"), EndsWith("see: jsondevice list"));
    EXPECT_THAT(refusal(""), HasSubstr("there is no method"));
    EXPECT_THAT(similarMethods(std::string(1 << 20, 'x')), IsEmpty());
}

}  // namespace
