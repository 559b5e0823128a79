#pragma once

#include <string>

#include "Common/Export.h"

class GrayscaleImage;

/// A black level correction as the host holds it: a map, and how much of it
/// each colour gets.
class JSONDEVICE_EXPORT BlackLevelProxy {
public:
    BlackLevelProxy() = default;
    BlackLevelProxy(const BlackLevelProxy&) = delete;
    BlackLevelProxy& operator=(const BlackLevelProxy&) = delete;
    virtual ~BlackLevelProxy();

    /// The map, owned by the proxy; null when there is none.
    virtual const GrayscaleImage* getImage() const = 0;
    virtual std::wstring getName() const = 0;
    virtual std::wstring getXml() const = 0;
    /// Sets the factors that differ from what the caller put there, which is 1.
    virtual void getFactors(double& red, double& green, double& blue) const = 0;
};
