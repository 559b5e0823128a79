#pragma once

#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

/// Whether the projector is on, which other features follow.
class PowerModel : public Feature {
public:
    PowerModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    bool isOn() const { return power.get() != 0; }

    Property<Wire::Int> power;
};

}  // namespace JsonDevice::Simulation
