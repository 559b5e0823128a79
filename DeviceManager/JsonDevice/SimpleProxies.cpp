#include "DeviceManager/JsonDevice/SimpleProxies.h"

#include <utility>

#include "Platform/Devices/GrayscaleImage.h"
#include "Platform/Devices/RGBImage.h"

namespace JsonDevice {

SimpleBlendProxy::SimpleBlendProxy(std::wstring name, std::wstring xml,
                                   std::unique_ptr<const GrayscaleImage> image)
    : name(std::move(name)), xml(std::move(xml)), image(std::move(image)) {}
SimpleBlendProxy::~SimpleBlendProxy() = default;

SimpleBlackLevelProxy::SimpleBlackLevelProxy(std::wstring name, std::wstring xml,
                                             std::unique_ptr<const GrayscaleImage> image, double redFactor,
                                             double greenFactor, double blueFactor)
    : name(std::move(name)),
      xml(std::move(xml)),
      image(std::move(image)),
      redFactor(redFactor),
      greenFactor(greenFactor),
      blueFactor(blueFactor) {}
SimpleBlackLevelProxy::~SimpleBlackLevelProxy() = default;

void SimpleBlackLevelProxy::getFactors(double& red, double& green, double& blue) const {
    red = redFactor;
    green = greenFactor;
    blue = blueFactor;
}

SimpleIGContentProxy::SimpleIGContentProxy(std::wstring name, std::wstring xml,
                                           std::unique_ptr<const RGBImage> image)
    : name(std::move(name)), xml(std::move(xml)), image(std::move(image)) {}
SimpleIGContentProxy::~SimpleIGContentProxy() = default;

}  // namespace JsonDevice
