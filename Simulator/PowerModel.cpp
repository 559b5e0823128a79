#include "Simulator/PowerModel.h"

#include "DeviceManager/JsonDevice/Vocabulary/Control.h"
#include "Simulator/Scene.h"

namespace JsonDevice::Simulation {

namespace Methods = Vocabulary::Control;

PowerModel::PowerModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable),
      power(codes,
            {.code = "power",
             .summary = "Whether the projector is to be on.",
             .range = Range{0, 1},
             .keptByFactoryDefault = true},
            1),
      state(codes,
            {.code = "powerState",
             .summary = "Off (0), on (1), warming up (2) or cooling down (3).",
             .range = Range{0, 3},
             .readOnly = true},
            static_cast<int>(State::on)),
      warmUpTime(codes,
                 {.code = "warmUpTime",
                  .summary = "How long warming up takes.",
                  .unit = "s",
                  .range = Range{0, 600},
                  .keptByFactoryDefault = true},
                 15),
      coolDownTime(codes,
                   {.code = "coolDownTime",
                    .summary = "How long cooling down takes.",
                    .unit = "s",
                    .range = Range{0, 600},
                    .keptByFactoryDefault = true},
                   10) {
    serveGet(Methods::getPower, state);
    serveSet(Methods::setPower, power);
    codes.addListener([this](const Code& changed) {
        if (&changed == &power) {
            follow();
        }
    });
}

void PowerModel::advance(std::chrono::steady_clock::duration elapsed) {
    while (getState() == State::warmingUp || getState() == State::coolingDown) {
        if (elapsed < left) {
            left -= elapsed;
            return;
        }
        elapsed -= left;
        state.set(static_cast<int>(getState() == State::warmingUp ? State::on : State::off));
        follow();
    }
}

void PowerModel::follow() {
    if (isOn() && getState() == State::off) {
        begin(State::warmingUp, warmUpTime);
    } else if (!isOn() && (getState() == State::on || getState() == State::warmingUp)) {
        begin(State::coolingDown, coolDownTime);
    }
}

void PowerModel::begin(State passing, const Property<Wire::UInt>& seconds) {
    left = std::chrono::seconds(seconds.get());
    state.set(static_cast<int>(passing));
}

void PowerModel::show(Scene& scene) const {
    scene.on = getState() == State::on;
}

}  // namespace JsonDevice::Simulation
