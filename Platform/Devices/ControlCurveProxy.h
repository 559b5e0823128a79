#pragma once

#include <string>

#include "Common/Export.h"

class ControlCurve;

/// The edges of a mask as the host holds them.
class JSONDEVICE_EXPORT ControlCurveProxy {
public:
    ControlCurveProxy() = default;
    ControlCurveProxy(const ControlCurveProxy&) = delete;
    ControlCurveProxy& operator=(const ControlCurveProxy&) = delete;
    virtual ~ControlCurveProxy();

    // The curve of each edge, owned by the proxy; null for an edge without one.
    virtual const ControlCurve* getBottom() const = 0;
    virtual const ControlCurve* getTop() const = 0;
    virtual const ControlCurve* getLeft() const = 0;
    virtual const ControlCurve* getRight() const = 0;
    virtual std::wstring getName() const = 0;
    virtual std::wstring getXml() const = 0;
};
