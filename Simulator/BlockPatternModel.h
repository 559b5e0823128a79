#pragma once

#include "Simulator/Feature.h"
#include "Simulator/Scene.h"

class PreWarpBlockPatternInterface;
class ProjectorBlockPatternInterface;

namespace JsonDevice::Simulation {

/// The blocks before the warp, or those after it: Interface says which. Settings
/// are collected until the command queue is flushed.
template <class Interface>
class BlockPatternModel : public Feature {
public:
    BlockPatternModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    void restoreDefaults() override;
    void show(Scene& scene) const override;
    void describe(Json::Value& state) const override;

private:
    Blocks collected;
    Blocks applied;
};

extern template class BlockPatternModel<PreWarpBlockPatternInterface>;
extern template class BlockPatternModel<ProjectorBlockPatternInterface>;

}  // namespace JsonDevice::Simulation
