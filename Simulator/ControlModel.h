#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Simulator/Feature.h"
#include "Simulator/PowerModel.h"

namespace JsonDevice::Simulation {

/// Inputs and their signals, shutter, automatic set-up, source lock and the
/// factory default.
///
/// What is at the inputs can be changed by code as by plugging something in
/// ("input1Signal", an empty text for nothing).
class ControlModel : public Feature {
public:
    /// `restoreAll` gives the whole projector its defaults.
    ControlModel(RequestDispatcher& dispatcher, CodeTable& codeTable, const PowerModel& power,
                 std::function<void()> restoreAll);

    void advance(std::chrono::steady_clock::duration elapsed) override;
    void show(Scene& scene) const override;

    Property<Wire::Int> inputSignal;
    Property<Wire::Int> shutter;
    Property<Wire::Int> sourceLock;
    Property<Wire::Int> sourceLocked;
    Property<Wire::UInt> inputCycling;
    Property<Wire::Int> autoSetup;

private:
    struct Input {
        int number;
        std::wstring name;
        std::wstring description;
        std::unique_ptr<Property<Wire::Text>> signal;
    };

    const Input& input(unsigned int number) const;
    const std::wstring& selectedSignal() const;
    bool canSetUp() const;
    /// After whatever changed: what follows from power, input and signal.
    void follow(const Code& changed);

    const PowerModel& power;
    std::vector<Input> inputs;
    std::chrono::steady_clock::duration setUpLeft{};
    std::chrono::steady_clock::duration sinceCycled{};
};

}  // namespace JsonDevice::Simulation
