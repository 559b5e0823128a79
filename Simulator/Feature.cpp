#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

Feature::~Feature() = default;

void Feature::advance(std::chrono::steady_clock::duration) {}

void Feature::restoreDefaults() {}

void Feature::show(Scene&) const {}

void Feature::describe(Json::Value&) const {}

}  // namespace JsonDevice::Simulation
