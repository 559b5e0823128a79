#include "DeviceManager/JsonDevice/GeneralTypes.h"

#include <string>
#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/GeometryMarshallers.h"
#include "DeviceManager/JsonDevice/ImageTypes.h"
#include "DeviceManager/JsonDevice/Marshallers.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"
#include "Platform/Devices/TestPatternInterface.h"

namespace JsonDevice {

namespace {

template <class T, template <class> class Marshaller>
void registerVector(MarshalJson& registry, const std::string& typeName) {
    registry.registerType<std::vector<T>, JTypeVector<T>>(typeName, std::make_shared<Marshaller<T>>());
}

}  // namespace

void registerGeneralTypes(MarshalJson& registry) {
    registry.registerType<char, JTypeInteger<char>>("char");
    registry.registerType<wchar_t, JTypeInteger<wchar_t>>("wchar_t");
    registry.registerType<short, JTypeInteger<short>>("short");
    registry.registerType<int, JTypeInteger<int>>("int");
    registry.registerType<long, JTypeInteger<long>>("long");
    registry.registerType<long long, JTypeInteger<long long>>("long long");
    registry.registerType<unsigned char, JTypeUnsignedInteger<unsigned char>>("unsigned char");
    registry.registerType<unsigned short, JTypeUnsignedInteger<unsigned short>>("unsigned short");
    registry.registerType<unsigned int, JTypeUnsignedInteger<unsigned int>>("unsigned int");
    registry.registerType<unsigned long long, JTypeUnsignedInteger<unsigned long long>>("unsigned long long");
    registry.registerType<float, JTypeReal<float>>("float");
    registry.registerType<double, JTypeReal<double>>("double");
    registry.registerType<bool, JTypeBool<bool>>("bool");
    registry.registerType<std::string, JTypeString<std::string>>("std::string");
    registry.registerType<std::wstring, JTypeWString<std::wstring>>("std::wstring");
    using Colour = TestPatternInterface::TestPatternColour;
    registry.registerType<Colour, JTypeInteger<Colour>>("TestPatternInterface::TestPatternColour");

    registerVector<char, JTypeInteger>(registry, "std::vector<char>");
    registerVector<short, JTypeInteger>(registry, "std::vector<short>");
    registerVector<int, JTypeInteger>(registry, "std::vector<int>");
    registerVector<long, JTypeInteger>(registry, "std::vector<long>");
    registerVector<long long, JTypeInteger>(registry, "std::vector<long long>");
    registerVector<unsigned char, JTypeUnsignedInteger>(registry, "std::vector<unsigned char>");
    registerVector<unsigned short, JTypeUnsignedInteger>(registry, "std::vector<unsigned short>");
    registerVector<unsigned int, JTypeUnsignedInteger>(registry, "std::vector<unsigned int>");
    registerVector<double, JTypeReal>(registry, "std::vector<double>");
    registerVector<float, JTypeReal>(registry, "std::vector<float>");
    registerVector<unsigned long long, JTypeUnsignedInteger>(registry, "std::vector<unsigned long long>");
    registerVector<std::string, JTypeString>(registry, "std::vector<std::string>");
    registerVector<std::wstring, JTypeWString>(registry, "std::vector<std::wstring>");
    // Second names.
    registry.registerType<unsigned int, JTypeUnsignedInteger<unsigned int>>("uint");
    registry.registerType<int, JTypeInteger<int>>("signed int");

    registry.registerType<Point2I, JTypePoint2I>("Point2I");
    registry.registerType<Point3D, JTypePoint3D>("Point3D");
    registry.registerType<Point3F, JTypePoint3F>("Point3F");
    registry.registerType<std::vector<Point2I>, JTypeVector<Point2I>>("std::vector<Point2I>",
                                                                      std::make_shared<JTypePoint2I>());
    registry.registerType<std::vector<Point3D>, JTypeVector<Point3D>>("std::vector<Point3D>",
                                                                      std::make_shared<JTypePoint3D>());
    registry.registerType<std::vector<Point3F>, JTypeVector<Point3F>>("std::vector<Point3F>",
                                                                      std::make_shared<JTypePoint3F>());
    registry.registerType<PointOfView, JTypePointOfView>("PointOfView");

    using Item = std::pair<int, std::wstring>;
    for (const char* const name : {"TestPatternItem", "WarpItem", "BlendItem"}) {
        registry.registerType<Item, JTypePairIntString<Item>>(name);
    }
    for (const char* const name :
         {"std::vector<TestPatternItem>", "std::vector<WarpItem>", "std::vector<BlendItem>"}) {
        registerVector<Item, JTypePairIntString>(registry, name);
    }

    // The pointers of the registry are to the image classes, which have no form of their own.
    registry.registerType<GrayscaleImage>(
        "GrayscaleImage", std::make_shared<JTypeGrayscaleImage>(),
        []() -> void* { return static_cast<GrayscaleImage*>(new RasterGrayscaleImage()); });
    registry.registerType<RGBImage>("RGBImage", std::make_shared<JTypeRGBImage>(),
                                    []() -> void* { return static_cast<RGBImage*>(new RasterRGBImage()); });

    registry.registerType<Json::Value, JTypeJsonValue<Json::Value>>("Json::Value");
}

}  // namespace JsonDevice
