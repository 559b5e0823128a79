#include "Tools/Maps.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "Common/Exceptions.h"
#include "Common/NumberText.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/ImageTypes.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/SimpleProxies.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"
#include "Tools/Arguments.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

using ImageFiles::Picture;

constexpr int largestDrawing = 1920;
constexpr int drawnLines = 32;

template <class Read>
Picture reading(const Read& read) {
    try {
        return read();
    } catch (const ImageFiles::ImageFileError& e) {
        refuseUsage(printableLine(e.what()));
    }
}

std::unique_ptr<const GrayscaleImage> grayscale(const Picture& map) {
    return std::make_unique<RasterGrayscaleImage>(map.width, map.height, map.values.data());
}

/// Through the registry under the name of the proxy's interface class.
template <class Interface, class Proxy>
Json::Value toJson(const char* typeName, const Proxy& proxy) {
    const Interface& object = proxy;
    return JsonDevice::MarshalJson::instance()->toJson(typeName, &object, {});
}

/// One line, by as many steps as it has pixels.
void drawLine(Picture& picture, std::pair<float, float> from, std::pair<float, float> to,
              const float* colour) {
    const float dx = to.first - from.first;
    const float dy = to.second - from.second;
    const float length = std::max(std::fabs(dx), std::fabs(dy));
    // What a mesh throws far out of the picture is not worth a walk there.
    if (!(length < 4.0F * largestDrawing)) {
        return;
    }
    const int steps = static_cast<int>(length) + 1;
    for (int i = 0; i <= steps; ++i) {
        const float part = static_cast<float>(i) / static_cast<float>(steps);
        const float x = std::round(from.first + part * dx);
        const float y = std::round(from.second + part * dy);
        if (x >= 0 && y >= 0 && x < static_cast<float>(picture.width) &&
            y < static_cast<float>(picture.height)) {
            const std::size_t pixel = static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                                      static_cast<std::size_t>(x);
            std::copy_n(colour, 3, picture.values.begin() + static_cast<std::ptrdiff_t>(3 * pixel));
        }
    }
}

}  // namespace

std::optional<Size> parseSize(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const std::size_t x = std::min(text.find('x'), text.size() - 1);
    const auto width = readNumber<int>(std::string_view(text).substr(0, x));
    const auto height = readNumber<int>(std::string_view(text).substr(x + 1));
    if (!width || !height || *width < 1 || *height < 1 || *width > Mesh::maxSize || *height > Mesh::maxSize) {
        refuseUsage("size: " + inQuotes(text) + " is no size in pixels, such as 1920x1200");
    }
    return Size(*width, *height);
}

std::string toText(Size size) {
    return std::to_string(size.first) + " x " + std::to_string(size.second);
}

Mesh readMesh(const std::string& file, std::optional<Size> size) {
    const std::string content = Input::readFile(file);
    const std::string name = printableLine(file);
    try {
        if (!content.starts_with("PF") && !content.starts_with("Pf")) {
            return Mesh::fromText(std::string_view(content));
        }
        const Picture coordinates = reading([&] { return ImageFiles::parsePicture(content, file); });
        if (coordinates.channels != 3) {
            refuseUsage(name + ": a PFM with a mesh has x and y as red and green, and this one is grey");
        }
        if (!size) {
            refuseUsage(name + ": a PFM does not say which size of picture the mesh is for; use --size");
        }
        Mesh mesh(size->first, size->second, coordinates.width, coordinates.height);
        for (int row = 0; row < coordinates.height; ++row) {
            for (int column = 0; column < coordinates.width; ++column) {
                const std::size_t pixel =
                    static_cast<std::size_t>(row) * static_cast<std::size_t>(coordinates.width) +
                    static_cast<std::size_t>(column);
                const float point[] = {coordinates.values[3 * pixel], coordinates.values[3 * pixel + 1]};
                Mesh::ControlPoint control;
                control[0] = point[0];
                control[1] = point[1];
                mesh.setControlPoint(column, row, control);
            }
        }
        return mesh;
    } catch (const KorvanException& e) {
        refuseUsage(name + ": " + printableLine(toUtf8(e.getMessage()), 200));
    }
}

Picture readMap(const std::string& file) {
    Picture map = readImage(file);
    if (map.channels != 1) {
        refuseUsage(printableLine(file) + ": a map is grey, and this picture has colours");
    }
    return map;
}

Picture readImage(const std::string& file) {
    return reading([&] { return ImageFiles::readPicture(file, JsonDevice::maximumImagePixels()); });
}

Json::Value meshParameter(const Mesh& mesh) {
    return toJson<MeshProxy>("MeshProxy", SimpleMeshProxy(L"", mesh));
}

Json::Value blendParameter(const Picture* map, const std::string& name) {
    if (map == nullptr) {
        return {};
    }
    return toJson<BlendProxy>("BlendProxy", JsonDevice::SimpleBlendProxy(toWide(name), L"", grayscale(*map)));
}

Json::Value blackLevelParameter(const Picture& map, const std::string& name,
                                const std::vector<double>& factors) {
    return toJson<BlackLevelProxy>(
        "BlackLevelProxy", JsonDevice::SimpleBlackLevelProxy(toWide(name), L"", grayscale(map), factors.at(0),
                                                             factors.at(1), factors.at(2)));
}

Json::Value contentParameter(const Picture& picture, const std::string& name) {
    std::vector<float> colours;
    if (picture.channels == 1) {
        colours.reserve(3 * picture.values.size());
        for (const float value : picture.values) {
            colours.insert(colours.end(), 3, value);
        }
    }
    const float* const data = colours.empty() ? picture.values.data() : colours.data();
    return toJson<IGContentProxy>(
        "IGContentProxy",
        JsonDevice::SimpleIGContentProxy(
            toWide(name), L"", std::make_unique<RasterRGBImage>(picture.width, picture.height, data, true)));
}

Picture drawMesh(Mesh& mesh, const std::vector<WarpLineSegment>& segments) {
    mesh.prepareRows();
    mesh.prepareColumns();
    const auto [width, height] = mesh.getSize();
    const float scale =
        std::min(1.0F, static_cast<float>(largestDrawing) / static_cast<float>(std::max(width, height)));
    Picture picture(std::max(1, static_cast<int>(static_cast<float>(width) * scale)),
                    std::max(1, static_cast<int>(static_cast<float>(height) * scale)), 3);
    const auto place = [&](float u, float v) {
        const auto [x, y] = mesh.evaluate(u, v);
        return std::pair(x * scale, y * scale);
    };
    const auto drawCurve = [&](float u1, float v1, float u2, float v2, const float* colour, int parts) {
        auto from = place(u1, v1);
        for (int i = 1; i <= parts; ++i) {
            const float part = static_cast<float>(i) / static_cast<float>(parts);
            const auto to = place(u1 + part * (u2 - u1), v1 + part * (v2 - v1));
            drawLine(picture, from, to, colour);
            from = to;
        }
    };
    const float grey[] = {0.55F, 0.6F, 0.65F};
    const float red[] = {1.0F, 0.2F, 0.15F};
    const auto w = static_cast<float>(width);
    const auto h = static_cast<float>(height);
    const int rows = std::max(2, static_cast<int>(drawnLines * h / w));
    for (int i = 0; i <= drawnLines; ++i) {
        const float u = w * static_cast<float>(i) / drawnLines;
        drawCurve(u, 0, u, h, grey, 128);
    }
    for (int i = 0; i <= rows; ++i) {
        const float v = h * static_cast<float>(i) / static_cast<float>(rows);
        drawCurve(0, v, w, v, grey, 128);
    }
    for (const WarpLineSegment& segment : segments) {
        // Three lines side by side, since one is hardly seen among the others.
        for (int shift = -1; shift <= 1; ++shift) {
            const float aside = static_cast<float>(shift) / scale;
            drawCurve(static_cast<float>(segment.x1) + aside, static_cast<float>(segment.y1) + aside,
                      static_cast<float>(segment.x2) + aside, static_cast<float>(segment.y2) + aside, red, 8);
        }
    }
    return picture;
}

}  // namespace Tool
