#include "Simulator/ViewerModel.h"

#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/Vocabulary/IG.h"
#include "DeviceManager/JsonDevice/Vocabulary/Model.h"
#include "Platform/Devices/IGContentProxy.h"

namespace JsonDevice::Simulation {

namespace {

CodeDescription told(const char* code, const char* summary) {
    return {.code = code, .summary = summary, .readOnly = true};
}

}  // namespace

ViewerModel::ViewerModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable),
      perspective(codes, told("perspective", "The perspective that was told last."), {}),
      position(codes, told("position", "Where the viewer is."), {}),
      orientation(codes, told("orientation", "Where the viewer looks."), {}),
      content(codes, told("content", "The name of the content shown; empty for none."), L"") {
    requests.bind(Vocabulary::Model::updatePositionOrientation, [this](Point3D where, Point3D direction) {
        position.set(where);
        orientation.set(direction);
        return true;
    });
    requests.bind(Vocabulary::Model::updatePerspectivePositionOrientation,
                  [this](std::vector<float> view, Point3D where, Point3D direction) {
                      perspective.set(std::move(view));
                      position.set(where);
                      orientation.set(direction);
                      return true;
                  });
    // Both answer whether it could be done, which is no error.
    requests.bind(Vocabulary::IG::addContent, [this](std::wstring name, Wire::IGContent::Received added) {
        if (name.empty() || !added) {
            return false;
        }
        contents.insert_or_assign(std::move(name), std::move(added));
        return true;
    });
    requests.bind(Vocabulary::IG::selectContent, [this](std::wstring name) {
        if (!contents.contains(name)) {
            return false;
        }
        content.set(std::move(name));
        return true;
    });
}

ViewerModel::~ViewerModel() = default;

void ViewerModel::restoreDefaults() {
    contents.clear();
}

const IGContentProxy* ViewerModel::activeContent() const {
    const auto found = contents.find(content.get());
    return found == contents.end() ? nullptr : found->second.get();
}

}  // namespace JsonDevice::Simulation
