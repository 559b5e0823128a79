#include "Simulator/RemoteModel.h"

#include "DeviceManager/JsonDevice/Vocabulary/Remote.h"

namespace JsonDevice::Simulation {

namespace Methods = Vocabulary::Remote;

RemoteModel::RemoteModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable),
      lastKey(codes,
              {.code = "lastKey",
               .summary = "The key of the remote control that was pressed last.",
               .range = Range{0, 255},
               .readOnly = true},
              0),
      osd(codes, {.code = "osd", .summary = "Whether the on-screen display is shown.", .range = Range{0, 1}},
          0) {
    serveSet(Methods::sendKeyCode, lastKey);
    serveSet(Methods::sendOSD, osd);
}

}  // namespace JsonDevice::Simulation
