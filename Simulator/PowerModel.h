#pragma once

#include <chrono>

#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

/// Power: what was asked for, and the state, which follows it through warming
/// up and cooling down. Asked for the other while it does one of the two, the
/// projector stops warming up at once, and cools down before it warms up again.
class PowerModel : public Feature {
public:
    enum class State { off, on, warmingUp, coolingDown };

    PowerModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    void advance(std::chrono::steady_clock::duration elapsed) override;
    void show(Scene& scene) const override;

    /// Whether the lamp is lit.
    bool isOn() const { return power.get() != 0; }
    State getState() const { return static_cast<State>(state.get()); }

    Property<Wire::Int> power;
    Property<Wire::Int> state;
    Property<Wire::UInt> warmUpTime;
    Property<Wire::UInt> coolDownTime;

private:
    /// Goes towards what was asked for, where it is not on the way.
    void follow();
    void begin(State passing, const Property<Wire::UInt>& seconds);

    /// Of the state that passes.
    std::chrono::steady_clock::duration left{};
};

}  // namespace JsonDevice::Simulation
