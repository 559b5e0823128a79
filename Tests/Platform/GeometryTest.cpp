#include <gtest/gtest.h>

#include "Platform/Devices/MACAddressFilename.h"
#include "Platform/Devices/Point.h"
#include "Platform/Devices/PointOfView.h"

namespace {

TEST(Point, HoldsItsCoordinates) {
    Point3D point{1, 2};
    EXPECT_EQ(point[0], 1);
    EXPECT_EQ(point[1], 2);
    EXPECT_EQ(point[2], 0);
    point[2] = 3.5;
    EXPECT_EQ(point, (Point3D{1, 2, 3.5}));
    EXPECT_NE(point, (Point3D{1, 2, 3}));
    EXPECT_EQ(Point2I(), (Point2I{0, 0}));
}

TEST(PointOfView, StartsAtTheOrigin) {
    EXPECT_EQ(PointOfView(), (PointOfView{0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(MACAddressFilename, TellsDevicesApart) {
    EXPECT_EQ(makeMACAddressFilename("00:1B:C5:00:00:01", "blend", ".pgm"), "00-1B-C5-00-00-01_blend.pgm");
    EXPECT_EQ(makeMACAddressFilename("", "mask", ".pgm"), "mask.pgm");
    EXPECT_EQ(makeMACAddressFilename("../../etc\n", "bu", ".pgm"), "------etc-_bu.pgm");
}

}  // namespace
