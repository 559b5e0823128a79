#pragma once

#include "Simulator/Feature.h"
#include "Simulator/Scene.h"

namespace JsonDevice::Simulation {

/// The patterns of calibration: the grid, whose settings are collected until the
/// command queue is flushed, and the checks, which come and go at once.
class CalibrationPatternModel : public Feature {
public:
    CalibrationPatternModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    void restoreDefaults() override;
    void show(Scene& scene) const override;
    void describe(Json::Value& state) const override;

private:
    GridLines collected;
    GridLines applied;
    /// Until a range is set, the whole picture has the grid.
    bool rangeSet = false;
    bool appliedRangeSet = false;
    Checks checks;
};

}  // namespace JsonDevice::Simulation
