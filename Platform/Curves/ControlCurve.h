#pragma once

#include <string>

#include "Common/Export.h"

/// A curve through control points, y as a function of x. What x and y are is
/// the matter of who uses the curve; along the edge of a mask x is the position
/// on the edge and y the distance from it.
///
/// A curve does not change once it is made; any number of threads may read it.
class JSONDEVICE_EXPORT ControlCurve {
public:
    ControlCurve() = default;
    ControlCurve(const ControlCurve&) = default;
    ControlCurve& operator=(const ControlCurve&) = default;
    virtual ~ControlCurve();

    /// The value at x, which may be any finite number.
    virtual double evaluate(double x) const = 0;
    /// One XML element, without an XML declaration.
    virtual std::wstring toXml() const = 0;
};
