#include "DeviceManager/JsonDevice/JsonCheckPattern.h"
#include "Tests/Library/HostileLocale.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/LogCapture.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;

class Projector : public Device {
public:
    explicit Projector(Communicator* transport) : communicator(transport) {}
    Communicator* getCommunicator() override { return communicator; }
    std::string getMACAddress() const override { return {}; }

private:
    Communicator* communicator;
};

/// The adapter is made from a device alone.
class CheckPattern : private Projector, public JsonDevice::JsonCheckPattern {
public:
    explicit CheckPattern(Communicator* communicator)
        : Projector(communicator), JsonCheckPattern(static_cast<Projector*>(this)) {}
};

const Table table({
    sends<CheckPattern>("CheckPatternInterface::displayCheckPattern", "[8,6,0,0,true,false,true]",
                        [](CheckPattern& pattern) {
                            pattern.displayCheckPattern(8, 6, 0, 0, true, false, true);
                        }),
    sends<CheckPattern>("CheckPatternInterface::clearCheckPattern", "[true]",
                        [](CheckPattern& pattern) { pattern.clearCheckPattern(true); }),
});

TEST(JsonCheckPattern, LogsBothCallsBeforeTheyAreSent) {
    const LogCapture log("DeviceManager.JsonDevice.JsonCheckPattern");
    ScriptedCommunicator device;
    CheckPattern pattern(&device);
    device.expectAny().reply(R"({"id":1,"result":null})");
    pattern.displayCheckPattern(8, 6, 0, 0, true, false, true);
    device.expectAny().reply(R"({"id":2,"error":"no camera"})");
    EXPECT_ANY_THROW(pattern.clearCheckPattern(false));
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "DEBUG JSONRPC:displayCheckPattern from Gridsense xSize:8, ySize:6, xShift:0, yShift:0, "
                  "sync:1, subliminal:0, sine:1",
                  "DEBUG JSONRPC:clearCheckPattern from Gridsense : clearing sync:0"}));
}

TEST(JsonCheckPattern, LogsNumbersAlikeInEveryLocale) {
    const LogCapture log("DeviceManager.JsonDevice.JsonCheckPattern");
    const HostileLocale locale;
    ScriptedCommunicator device;
    CheckPattern pattern(&device);
    device.expectAny().reply(R"({"id":1,"result":null})");
    pattern.displayCheckPattern(1920, 1080, -1200, 34567, false, true, false);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "DEBUG JSONRPC:displayCheckPattern from Gridsense xSize:1920, ySize:1080, xShift:-1200, "
                  "yShift:34567, sync:0, subliminal:1, sine:0"}));
}

TEST(JsonCheckPattern, LogsNothingAboveDebugLevel) {
    const LogCapture log("DeviceManager.JsonDevice.JsonCheckPattern", log4cxx::Level::getInfo());
    ScriptedCommunicator device;
    CheckPattern pattern(&device);
    device.expectAny().reply(R"({"id":1,"result":null})");
    pattern.clearCheckPattern(true);
    EXPECT_TRUE(log.lines().empty());
}

}  // namespace
