#include "DeviceManager/JsonDevice/JsonRemote.h"
#include "Tests/Library/OperationRows.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonRemote;

const Table table({
    sends<JsonRemote>("RemoteInterface::sendKeyCode", "[12]",
                      [](JsonRemote& remote) { remote.sendKeyCode(12); }),
    sends<JsonRemote>("RemoteInterface::sendOSD", "[-1]", [](JsonRemote& remote) { remote.sendOSD(-1); }),
});

}  // namespace
