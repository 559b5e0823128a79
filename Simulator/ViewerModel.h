#pragma once

#include <map>
#include <memory>
#include <string>

#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

/// What an image generator behind the projector is told: where the viewer is,
/// and which content to show.
class ViewerModel : public Feature {
public:
    ViewerModel(RequestDispatcher& dispatcher, CodeTable& codeTable);
    ~ViewerModel() override;

    void restoreDefaults() override;
    /// The content shown; null for none.
    const IGContentProxy* activeContent() const;

    Property<Wire::Floats> perspective;
    Property<Wire::Position> position;
    Property<Wire::Position> orientation;
    Property<Wire::Text> content;

private:
    std::map<std::wstring, std::shared_ptr<const IGContentProxy>> contents;
};

}  // namespace JsonDevice::Simulation
