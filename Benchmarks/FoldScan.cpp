// The scan of a 3840 x 2160 mesh for folds, on grids of several sizes, with the
// preparation of a mesh that has just changed and without.

#include <cmath>

#include <benchmark/benchmark.h>

#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "Platform/Devices/MeshProxy.h"

namespace {

void scan(benchmark::State& state, bool changed) {
    const int columns = static_cast<int>(state.range(0));
    const int rows = static_cast<int>(state.range(1));
    Mesh mesh(3840, 2160, columns, rows);
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const auto at = mesh.getControlPoint(column, row);
            mesh.setControlPoint(column, row,
                                 {at[0] + 80 * std::sin(at[1] / 700), at[1] + 60 * std::cos(at[0] / 900)});
        }
    }
    SimpleMeshProxy proxy(L"", mesh);
    JsonDevice::JsonWarp warp(static_cast<Communicator*>(nullptr));
    volatile int ticket = 1;
    std::size_t folds = 0;
    for (auto _ : state) {
        if (changed) {
            proxy.getMesh().setControlPoint(0, 0, proxy.getMesh().getControlPoint(0, 0));
        }
        warp.evaluateWarp(
            &proxy, [&](const std::vector<WarpLineSegment>& segments) { folds += segments.size(); }, nullptr,
            1, &ticket);
    }
    if (folds != 0) {
        state.SkipWithError("a smooth mesh has no folds");
    }
}

BENCHMARK_CAPTURE(scan, prepared, false)->Args({33, 19})->Args({481, 271})->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(scan, changed, true)
    ->Args({33, 19})
    ->Args({129, 73})
    ->Args({481, 271})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
