#include "Simulator/CalibrationPatternModel.h"

#include <cstddef>
#include <string>
#include <vector>

#include "DeviceManager/JsonDevice/Vocabulary/CheckPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/GridTestPattern.h"
#include "Simulator/PatternLimits.h"

namespace JsonDevice::Simulation {

namespace GridMethods = Vocabulary::GridTestPattern;
namespace CheckMethods = Vocabulary::CheckPattern;

namespace {

constexpr std::size_t mostLines = 1024;
constexpr int mostPixels = 65536;

}  // namespace

CalibrationPatternModel::CalibrationPatternModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable) {
    requests.bind(GridMethods::setLineColor,
                  [this](int red, int green, int blue) { collected.line = colourOf(red, green, blue); });
    requests.bind(GridMethods::setBackgroundColor, [this](int red, int green, int blue) {
        collected.background = colourOf(red, green, blue);
    });
    requests.bind(GridMethods::setRange, [this](int left, int top, int right, int bottom) {
        checkLimits("right edge", right, static_cast<long long>(left) + 1, mostPixels);
        checkLimits("bottom edge", bottom, static_cast<long long>(top) + 1, mostPixels);
        collected.left = left;
        collected.top = top;
        collected.right = right;
        collected.bottom = bottom;
        rangeSet = true;
    });
    requests.bind(GridMethods::setLines, [this](int direction, const std::vector<int>& positions) {
        checkLimits("direction", direction, 0, 1);
        if (positions.size() > mostLines) {
            throw RequestError(ErrorCode::outOfRange,
                               "At most " + std::to_string(mostLines) + " lines can be kept");
        }
        (direction == 0 ? collected.horizontal : collected.vertical) = positions;
    });
    requests.bind(GridMethods::setMode, [this](int mode) {
        checkLimits("mode", mode, 0, 2);
        collected.mode = static_cast<GridLines::Mode>(mode);
    });
    requests.bind(GridMethods::flushCommandQueue, [this] {
        applied = collected;
        appliedRangeSet = rangeSet;
    });

    requests.bind(CheckMethods::displayCheckPattern,
                  [this](int xSize, int ySize, int xShift, int yShift, bool, bool subliminal, bool sine) {
                      checkLimits("xSize", xSize, 1, mostPixels);
                      checkLimits("ySize", ySize, 1, mostPixels);
                      checks = {true, xSize, ySize, xShift, yShift, subliminal, sine};
                  });
    requests.bind(CheckMethods::clearCheckPattern, [this](bool) { checks = {}; });
}

void CalibrationPatternModel::restoreDefaults() {
    collected = {};
    applied = {};
    rangeSet = false;
    appliedRangeSet = false;
    checks = {};
}

void CalibrationPatternModel::show(Scene& scene) const {
    scene.grid = applied;
    if (!appliedRangeSet) {
        scene.grid.right = scene.width;
        scene.grid.bottom = scene.height;
    }
    scene.checks = checks;
}

void CalibrationPatternModel::describe(Json::Value& state) const {
    static constexpr const char* modes[] = {"off", "lines", "crossings"};
    Json::Value& grid = state["GridTestPatternInterface"];
    grid["mode"] = modes[static_cast<int>(applied.mode)];
    grid["lines"] =
        std::to_string(applied.vertical.size()) + " x " + std::to_string(applied.horizontal.size());
    grid["settings to flush"] = !(applied == collected) || rangeSet != appliedRangeSet;
    Json::Value& check = state["CheckPatternInterface"];
    check["displayed"] = checks.shown;
    if (checks.shown) {
        check["size"] = std::to_string(checks.xSize) + " x " + std::to_string(checks.ySize);
        check["subliminal"] = checks.subliminal;
        check["sine"] = checks.sine;
    }
}

}  // namespace JsonDevice::Simulation
