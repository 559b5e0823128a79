#include "Simulator/PowerModel.h"

namespace JsonDevice::Simulation {

PowerModel::PowerModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable),
      power(codes, {.code = "power", .summary = "Whether the projector is on.", .range = Range{0, 1}}, 1) {}

}  // namespace JsonDevice::Simulation
