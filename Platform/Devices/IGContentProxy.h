#pragma once

#include <string>

#include "Common/Export.h"

class RGBImage;

/// A content of an image generator as the host holds it.
class JSONDEVICE_EXPORT IGContentProxy {
public:
    IGContentProxy() = default;
    IGContentProxy(const IGContentProxy&) = delete;
    IGContentProxy& operator=(const IGContentProxy&) = delete;
    virtual ~IGContentProxy();

    /// The picture, owned by the proxy; null when there is none.
    virtual const RGBImage* getImage() const = 0;
    virtual std::wstring getName() const = 0;
    virtual std::wstring getXml() const = 0;
};
