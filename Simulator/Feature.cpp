#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

Feature::~Feature() = default;

void Feature::advance(std::chrono::steady_clock::duration) {}

}  // namespace JsonDevice::Simulation
