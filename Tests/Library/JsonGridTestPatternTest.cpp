#include "DeviceManager/JsonDevice/JsonGridTestPattern.h"
#include "Tests/Library/OperationRows.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonGridTestPattern;

template <class Operation>
Row set(const std::string& name, const std::string& params, Operation operation) {
    return sends<JsonGridTestPattern>("GridTestPatternInterface::" + name, params, operation);
}

// Each row is an adapter of its own, so the flush is sent without a setter before it.
const Table table({
    set("setLineColor", "[255,128,0]", [](JsonGridTestPattern& grid) { grid.setLineColor(255, 128, 0); }),
    set("setBackgroundColor", "[1,2,-3]",
        [](JsonGridTestPattern& grid) { grid.setBackgroundColor(1, 2, -3); }),
    set("setRange", "[10,20,300,400]", [](JsonGridTestPattern& grid) { grid.setRange(10, 20, 300, 400); }),
    set("setLines", "[1,[5,25,125]]",
        [](JsonGridTestPattern& grid) {
            grid.setLines(1, {5, 25, 125});
        }),
    set("setMode", "[2]",
        [](JsonGridTestPattern& grid) { grid.setMode(GridTestPatternInterface::Mode::crossings); }),
    set("flushCommandQueue", "[]", [](JsonGridTestPattern& grid) { grid.flushCommandQueue(); }),
});

}  // namespace
