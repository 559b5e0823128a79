#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonRemote.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonRemote;

const Table table({
    sends<JsonRemote>("RemoteInterface::sendKeyCode", "[12]",
                      [](JsonRemote& remote) { remote.sendKeyCode(12); }),
    sends<JsonRemote>("RemoteInterface::sendOSD", "[-1]", [](JsonRemote& remote) { remote.sendOSD(-1); }),
});

TEST(JsonRemote, TheLargestReplyCanBeSet) {
    ScriptedCommunicator device;
    JsonRemote remote(&device);
    remote.setLargestReply(50);
    device.expectAny().reply(R"({"id":1,"result":")" + std::string(50, 'x') + "\"}");
    EXPECT_THROW(remote.sendOSD(1), KorvanParseException);
    device.expectAny().reply(R"({"id":2,"result":1})");
    remote.sendOSD(1);
}

}  // namespace
