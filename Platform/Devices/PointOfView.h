#pragma once

/// Where a viewer is, where he looks and how much he sees. Units and axes are
/// the device's.
struct PointOfView {
    // Position.
    double x = 0;
    double y = 0;
    double z = 0;
    // Orientation.
    double yaw = 0;
    double pitch = 0;
    double roll = 0;
    // The extents of the view frustum.
    double left = 0;
    double right = 0;
    double top = 0;
    double bottom = 0;

    bool operator==(const PointOfView&) const = default;
};
