#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonGamma.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonGamma;

Row get(const std::string& name, int (JsonGamma::*operation)()) {
    return returns<JsonGamma>(
        "GammaInterface::" + name, "[]", "-22", [=](JsonGamma& gamma) { return (gamma.*operation)(); }, -22);
}

Row set(const std::string& name, void (JsonGamma::*operation)(int)) {
    return sends<JsonGamma>("GammaInterface::" + name, "[-5]",
                            [=](JsonGamma& gamma) { (gamma.*operation)(-5); });
}

Row range() {
    const auto run = [](Communicator& communicator) {
        JsonGamma gamma(&communicator);
        int minimum = 1;
        int maximum = 2;
        gamma.getGammaCorrectionRange(minimum, maximum);
        return std::pair(minimum, maximum);
    };
    return {"getGammaCorrectionRange",
            {{"GammaInterface::getCammaCorrectionRangeMin", "[]", "-10"},
             {"GammaInterface::getCammaCorrectionRangeMax", "[]", "30"}},
            [=](Communicator& communicator) { EXPECT_EQ(run(communicator), std::pair(-10, 30)); },
            [=](Communicator& communicator) { run(communicator); }};
}

const Table table({
    get("getType", &JsonGamma::getType),
    set("setType", &JsonGamma::setType),
    get("getGamma", &JsonGamma::getGamma),
    set("setGamma", &JsonGamma::setGamma),
    get("getGammaCorrection", &JsonGamma::getGammaCorrection),
    set("setGammaCorrection", &JsonGamma::setGammaCorrection),
    range(),
    get("getSlope", &JsonGamma::getSlope),
    set("setSlope", &JsonGamma::setSlope),
});

TEST(JsonGamma, HalfARangeIsStored) {
    ScriptedCommunicator device;
    JsonGamma gamma(&device);
    int minimum = 1;
    int maximum = 2;
    device.expectAny().reply(R"({"id":1,"error":{"code":1,"message":"no"}})");
    EXPECT_THROW(gamma.getGammaCorrectionRange(minimum, maximum), JsonDevice::ErrorReplyException);
    EXPECT_EQ(minimum, 1);
    EXPECT_EQ(maximum, 2);
    device.expectAny().reply(R"({"id":2,"result":-10})");
    device.expectAny().reply(R"({"id":3,"error":{"code":1,"message":"no"}})");
    EXPECT_THROW(gamma.getGammaCorrectionRange(minimum, maximum), JsonDevice::ErrorReplyException);
    EXPECT_EQ(minimum, -10);
    EXPECT_EQ(maximum, 2);
}

}  // namespace
