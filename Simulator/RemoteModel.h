#pragma once

#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

/// Takes the keys of the remote control, and remembers the last one.
class RemoteModel : public Feature {
public:
    RemoteModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

private:
    Property<Wire::Int> lastKey;
    Property<Wire::Int> osd;
};

}  // namespace JsonDevice::Simulation
