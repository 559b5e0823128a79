#pragma once

#include <string>

#include "Common/Export.h"

class GrayscaleImage;

/// A map of a warp or a blend as the host holds it. Operations that take four
/// of them take, in this order, the maps "mask", "screenMask", "blend" and "bu".
class JSONDEVICE_EXPORT BlendProxy {
public:
    /// The map, owned by the proxy; null when there is none.
    virtual const GrayscaleImage* getImage() const = 0;

    BlendProxy() = default;
    BlendProxy(const BlendProxy&) = delete;
    BlendProxy& operator=(const BlendProxy&) = delete;
    virtual ~BlendProxy();

    virtual std::wstring getName() const = 0;
    virtual std::wstring getXml() const = 0;
};
