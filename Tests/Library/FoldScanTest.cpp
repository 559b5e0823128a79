#include <atomic>
#include <cmath>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/FoldScan.h"
#include "Platform/Devices/MeshProxy.h"

namespace {

using JsonDevice::findFolds;
using Segments = std::vector<WarpLineSegment>;

/// A mesh with each control point where the function puts it.
template <class Function>
Mesh bent(Mesh mesh, Function where) {
    const auto [columns, rows] = mesh.getGrid();
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const auto at = mesh.getControlPoint(column, row);
            mesh.setControlPoint(column, row, where(at[0], at[1]));
        }
    }
    return mesh;
}

Segments scan(Mesh mesh) {
    SimpleMeshProxy proxy(L"", std::move(mesh));
    return findFolds(proxy, 1, nullptr).value();
}

TEST(FoldScan, AnIdentityMeshHasNoFold) {
    EXPECT_EQ(scan(Mesh(3840, 2160, 33, 19)), Segments());
    EXPECT_EQ(scan(Mesh(1920, 1200, 2, 2)), Segments());
    EXPECT_EQ(scan(Mesh(1, 1, 2, 2)), Segments());
    EXPECT_EQ(scan(Mesh(65536, 65536, 5, 5)), Segments());
}

TEST(FoldScan, ASmoothWarpHasNoFold) {
    EXPECT_EQ(scan(bent(Mesh(3840, 2160, 33, 19),
                        [](float x, float y) {
                            return Mesh::ControlPoint{x + 80 * std::sin(y / 700), y + 60 * std::cos(x / 900)};
                        })),
              Segments());
}

TEST(FoldScan, AMirroredMeshFoldsEverywhere) {
    const Segments segments = scan(bent(Mesh(3840, 2160, 3, 3), [](float x, float y) {
        return Mesh::ControlPoint{3840 - x, y};
    }));
    // 17 vertical lines and rows 0 to (int)(2160 * 16 / 3840) = 9, 50 segments each.
    ASSERT_EQ(segments.size(), 17u * 50 + 10u * 50);
    EXPECT_EQ(segments[0], (WarpLineSegment{0, 2160 / 50.0, 0, 0, 1}));
    EXPECT_EQ(segments[16 * 50 + 49],
              (WarpLineSegment{3840, 50 * (2160 / 50.0), 3840, 49 * (2160 / 50.0), 1}));
    EXPECT_EQ(segments[17 * 50], (WarpLineSegment{3840 / 50.0, 0, 0, 0, 1}));
    EXPECT_EQ(segments.back(), (WarpLineSegment{3840, 2160, 3840 - 3840 / 50.0, 2160, 1}));
}

TEST(FoldScan, AMeshThatIsTurnedFoldsThoughItsAreasArePositive) {
    const auto turned = [](float xOfX, float yOfX, float xOfY, float yOfY) {
        return scan(bent(Mesh(160, 160, 2, 2),
                         [=](float x, float y) {
                             return Mesh::ControlPoint{xOfX * x + xOfY * y, yOfX * x + yOfY * y};
                         }))
            .size();
    };
    EXPECT_EQ(turned(-1, 0, 0, -1), 34u * 50) << "upside down";
    EXPECT_EQ(turned(-0.5F, 1, -1, 0), 34u * 50) << "a step in u goes left";
    EXPECT_EQ(turned(0, 1, -1, -0.5F), 34u * 50) << "a step in v goes up";
    EXPECT_EQ(turned(0.5F, 1, -1, 0.5F), 0u) << "neither";
}

TEST(FoldScan, FindsALocalFold) {
    // One control point is pulled far over its right neighbour.
    Mesh mesh(1600, 1600, 17, 17);
    mesh.setControlPoint(8, 8, {1050, 800});
    const Segments segments = scan(mesh);
    ASSERT_FALSE(segments.empty());
    for (const WarpLineSegment& segment : segments) {
        EXPECT_NEAR(segment.x1, 800, 400);
        EXPECT_NEAR(segment.y1, 800, 400);
    }
}

TEST(FoldScan, AMeshThatCollapsesDegeneratesEverywhere) {
    const Segments segments = scan(bent(Mesh(160, 160, 2, 2), [](float, float) {
        return Mesh::ControlPoint{5, 5};
    }));
    EXPECT_EQ(segments.size(), 17u * 50 + 17u * 50);
}

TEST(FoldScan, AFlatMeshHasOneHorizontalLineAndNoNaN) {
    // (int)(10 * 16 / 1000) = 0 intervals.
    const Segments segments = scan(bent(Mesh(1000, 10, 2, 2), [](float x, float y) {
        return Mesh::ControlPoint{1000 - x, y};
    }));
    ASSERT_EQ(segments.size(), 17u * 50 + 50u);
    for (const WarpLineSegment& segment : segments) {
        EXPECT_TRUE(std::isfinite(segment.x1) && std::isfinite(segment.y1));
        EXPECT_TRUE(std::isfinite(segment.x2) && std::isfinite(segment.y2));
    }
    EXPECT_EQ(segments[17 * 50], (WarpLineSegment{20, 0, 0, 0, 1}));
    EXPECT_EQ(scan(Mesh(1000, 10, 2, 2)), Segments());
}

TEST(FoldScan, TakesAnySizeThatAProxyTells) {
    class OddProxy : public SimpleMeshProxy {
    public:
        explicit OddProxy(std::pair<int, int> size) : SimpleMeshProxy(L"", Mesh(10, 10, 2, 2)), size(size) {}
        std::pair<int, int> getSize() const override { return size; }

    private:
        std::pair<int, int> size;
    };
    for (const auto& size :
         std::vector<std::pair<int, int>>{{0, 0}, {0, 10}, {10, 0}, {-10, 10}, {10, -10}}) {
        OddProxy proxy(size);
        const auto segments = findFolds(proxy, 0, nullptr);
        ASSERT_TRUE(segments.has_value());
        for (const WarpLineSegment& segment : *segments) {
            EXPECT_TRUE(std::isfinite(segment.x1) && std::isfinite(segment.y2))
                << size.first << "x" << size.second;
        }
    }
}

TEST(FoldScan, AnotherTicketCancels) {
    SimpleMeshProxy proxy(L"", Mesh(10, 10, 2, 2));
    volatile int current = 2;
    EXPECT_FALSE(findFolds(proxy, 1, &current).has_value());
    EXPECT_TRUE(findFolds(proxy, 2, &current).has_value());
}

TEST(FoldScan, IsCancelledWhileItRuns) {
    // The size is asked for after the first look at the ticket; what is scanned
    // then would take hours.
    class Slow : public SimpleMeshProxy {
    public:
        Slow(std::atomic_ref<int> ticket, std::thread& canceller)
            : SimpleMeshProxy(L"", Mesh(10, 10, 2, 2)), ticket(ticket), canceller(canceller) {}
        std::pair<int, int> getSize() const override {
            canceller = std::thread([this] { ticket.store(8); });
            return {1, 100'000'000};
        }

    private:
        std::atomic_ref<int> ticket;
        std::thread& canceller;
    };
    int ticket = 7;
    std::thread canceller;
    Slow proxy(std::atomic_ref<int>(ticket), canceller);
    const auto segments = findFolds(proxy, 7, &ticket);
    canceller.join();
    EXPECT_FALSE(segments.has_value());
}

}  // namespace
