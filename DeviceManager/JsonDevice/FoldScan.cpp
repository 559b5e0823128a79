#include "DeviceManager/JsonDevice/FoldScan.h"

#include <utility>

#include "Platform/Devices/MeshProxy.h"

namespace JsonDevice {

namespace {

/// Reads the ticket so that no data race arises with an atomic store elsewhere.
int readTicket(const volatile int* ticket) {
#if defined(__GNUC__)
    return __atomic_load_n(ticket, __ATOMIC_RELAXED);
#else
    return *ticket;
#endif
}

/// Whether the mesh folds or degenerates at (u, v): a step of one unit in u does
/// not go right, one in v does not go down, or the two span no positive area.
bool foldsAt(const Mesh& mesh, double u, double v) {
    const std::pair<double, double> p0 = mesh.evaluate(static_cast<float>(u), static_cast<float>(v));
    const std::pair<double, double> p1 = mesh.evaluate(static_cast<float>(u), static_cast<float>(v + 1));
    const std::pair<double, double> p2 = mesh.evaluate(static_cast<float>(u + 1), static_cast<float>(v));
    return p2.first < p0.first || p1.second < p0.second ||
           (p2.first - p0.first) * (p1.second - p0.second) <= (p1.first - p0.first) * (p2.second - p0.second);
}

}  // namespace

std::optional<std::vector<WarpLineSegment>> findFolds(MeshProxy& proxy, int ticket,
                                                      const volatile int* currentTicket) {
    const auto cancelled = [&] { return currentTicket != nullptr && readTicket(currentTicket) != ticket; };
    if (cancelled()) {
        return std::nullopt;
    }
    Mesh& mesh = proxy.getMesh();
    mesh.prepareRows();
    mesh.prepareColumns();
    const std::pair<int, int> size = proxy.getSize();
    const double width = size.first;
    const double height = size.second;
    // The horizontal lines are as far apart as the 16 intervals of the vertical
    // ones. A size without a shape has none of them.
    const double shape = height * 16.0 / width;
    const int rows = shape > -1.0 && shape < 2147483648.0 ? static_cast<int>(shape) : -1;
    constexpr int samples = 50;

    std::vector<WarpLineSegment> segments;
    const double uStep = width * 0.0625;
    const double vStep = height / samples;
    for (int i = 0; i <= 16; ++i) {
        const double u = i * uStep;
        for (int j = 0; j <= samples; ++j) {
            if (cancelled()) {
                return std::nullopt;
            }
            const double v = j * vStep;
            if (foldsAt(mesh, u, v) && j != 0) {
                segments.push_back({u, v, u, v - vStep, 1});
            }
        }
    }
    // A picture too flat for an interval has one line, at its top.
    const double rowStep = rows > 0 ? height / rows : 0.0;
    const double columnStep = width / samples;
    for (long long i = 0; i <= rows; ++i) {
        const double v = static_cast<double>(i) * rowStep;
        for (int j = 0; j <= samples; ++j) {
            if (cancelled()) {
                return std::nullopt;
            }
            const double u = j * columnStep;
            if (foldsAt(mesh, u, v) && j != 0) {
                segments.push_back({u, v, u - columnStep, v, 1});
            }
        }
    }
    return segments;
}

}  // namespace JsonDevice
