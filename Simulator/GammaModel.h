#pragma once

#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

/// The gamma curve.
class GammaModel : public Feature {
public:
    GammaModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    Property<Wire::Int> type;
    Property<Wire::Int> gamma;
    Property<Wire::Int> correction;
    Property<Wire::Int> slope;
};

}  // namespace JsonDevice::Simulation
