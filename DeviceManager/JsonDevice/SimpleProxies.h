#pragma once

#include <memory>
#include <string>

#include "Common/Export.h"
#include "Platform/Devices/BlackLevelProxy.h"
#include "Platform/Devices/BlendProxy.h"
#include "Platform/Devices/IGContentProxy.h"

/// Proxies that hold what they answer: what the registry makes when it reads a
/// proxy back, and what a program without proxies of its own sends.
namespace JsonDevice {

class JSONDEVICE_EXPORT SimpleBlendProxy : public BlendProxy {
public:
    /// The image may be null.
    SimpleBlendProxy(std::wstring name, std::wstring xml, std::unique_ptr<const GrayscaleImage> image);
    ~SimpleBlendProxy() override;

    const GrayscaleImage* getImage() const override { return image.get(); }
    std::wstring getName() const override { return name; }
    std::wstring getXml() const override { return xml; }

private:
    std::wstring name;
    std::wstring xml;
    std::unique_ptr<const GrayscaleImage> image;
};

class JSONDEVICE_EXPORT SimpleBlackLevelProxy : public BlackLevelProxy {
public:
    /// The image may be null.
    SimpleBlackLevelProxy(std::wstring name, std::wstring xml, std::unique_ptr<const GrayscaleImage> image,
                          double redFactor = 1.0, double greenFactor = 1.0, double blueFactor = 1.0);
    ~SimpleBlackLevelProxy() override;

    const GrayscaleImage* getImage() const override { return image.get(); }
    std::wstring getName() const override { return name; }
    std::wstring getXml() const override { return xml; }
    void getFactors(double& red, double& green, double& blue) const override;

private:
    std::wstring name;
    std::wstring xml;
    std::unique_ptr<const GrayscaleImage> image;
    double redFactor;
    double greenFactor;
    double blueFactor;
};

class JSONDEVICE_EXPORT SimpleIGContentProxy : public IGContentProxy {
public:
    /// The image may be null.
    SimpleIGContentProxy(std::wstring name, std::wstring xml, std::unique_ptr<const RGBImage> image);
    ~SimpleIGContentProxy() override;

    const RGBImage* getImage() const override { return image.get(); }
    std::wstring getName() const override { return name; }
    std::wstring getXml() const override { return xml; }

private:
    std::wstring name;
    std::wstring xml;
    std::unique_ptr<const RGBImage> image;
};

}  // namespace JsonDevice
