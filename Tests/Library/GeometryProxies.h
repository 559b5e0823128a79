#pragma once

#include <string>

#include "DeviceManager/JsonDevice/SimpleProxies.h"
#include "Platform/Devices/GrayscaleImage.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Devices/RGBImage.h"

/// A warp's mesh, its four maps and its black level, each with a name of its
/// own and without an image, and the JSON that is sent for them.
struct GeometryProxies {
    SimpleMeshProxy mesh{L"mesh", Mesh(4, 2, 2, 2)};
    JsonDevice::SimpleBlendProxy mask{L"mask", L"<m/>", nullptr};
    JsonDevice::SimpleBlendProxy screenMask{L"screenMask", L"", nullptr};
    JsonDevice::SimpleBlendProxy blend{L"blend", L"", nullptr};
    JsonDevice::SimpleBlendProxy bu{L"bu", L"", nullptr};
    JsonDevice::SimpleBlackLevelProxy blackLevel{L"black", L"", nullptr, 0.5, 1, 2};

    static std::string meshJson() { return R"("mesh 1\nsize 4 2\ngrid 2 2\n0 0 4 0\n0 2 4 2\n")"; }
    static std::string mapsJson() {
        return R"({"image":null,"name":"mask","xml":"<m/>"},{"image":null,"name":"screenMask","xml":""},)"
               R"({"image":null,"name":"blend","xml":""},{"image":null,"name":"bu","xml":""})";
    }
    static std::string blackLevelJson() {
        return R"({"blueFactor":2.0,"greenFactor":1.0,"image":null,"name":"black","redFactor":0.5,"xml":""})";
    }
    /// The params of an operation that takes a location, a mesh and four maps.
    static std::string params(const std::string& location) {
        return "[" + location + "," + meshJson() + "," + mapsJson() + "]";
    }
};
