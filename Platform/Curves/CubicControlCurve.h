#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Common/Export.h"
#include "Platform/Curves/ControlCurve.h"

/// The natural cubic spline through its control points: smooth to the second
/// derivative, which is 0 at both ends. Beyond the ends it goes on straight.
///
/// Its XML form reads back equal, whatever the locale:
/// `<CubicControlCurve><Point x="0" y="0.5"/><Point x="1" y="0.25"/></CubicControlCurve>`
class JSONDEVICE_EXPORT CubicControlCurve : public ControlCurve {
public:
    struct ControlPoint {
        double x;
        double y;
        bool operator==(const ControlPoint&) const = default;
    };
    static constexpr std::size_t maxControlPoints = 65'536;

    /// Throws KorvanException unless there are 1 to maxControlPoints points,
    /// all finite, with x growing from one to the next. One point makes a constant.
    explicit CubicControlCurve(std::vector<ControlPoint> points);
    ~CubicControlCurve() override;

    const std::vector<ControlPoint>& getControlPoints() const { return points; }
    double evaluate(double x) const override;
    std::wstring toXml() const override;

    /// Equal control points make equal curves.
    bool operator==(const CubicControlCurve& other) const { return points == other.points; }

private:
    std::vector<ControlPoint> points;
    /// The second derivative at each control point.
    std::vector<double> bends;
};
