#include "Simulator/GeometryModel.h"

#include <utility>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlackLevel.h"
#include "DeviceManager/JsonDevice/Vocabulary/Blending.h"
#include "DeviceManager/JsonDevice/Vocabulary/Masking.h"
#include "DeviceManager/JsonDevice/Vocabulary/Warp.h"
#include "Platform/Devices/BlackLevelProxy.h"
#include "Platform/Devices/BlendProxy.h"
#include "Platform/Devices/GrayscaleImage.h"
#include "Simulator/Scene.h"

namespace JsonDevice::Simulation {

namespace {

/// How much higher the older protocol numbers what is selected.
constexpr int olderShift = 2;
constexpr float maximumGain = 0.25F;
/// What saving and previewing answer when they have succeeded.
constexpr int done = 0;
/// The map that a blend is named after, and whose XML stands for it.
constexpr std::size_t blendMap = 2;
constexpr std::size_t maskMap = 0;

std::wstring nameOf(const WarpContent& content) {
    const auto& map = content.maps[blendMap];
    return map ? map->getName() : std::wstring();
}

CodeDescription setting(const char* code, const char* summary, double most) {
    return {.code = code, .summary = summary, .range = Range{0, most}};
}

}  // namespace

GeometryModel::GeometryModel(RequestDispatcher& dispatcher, CodeTable& codeTable, Protocol ownProtocol)
    : Feature(dispatcher, codeTable),
      warps(codes, "warp", "warpLocation"),
      blends(codes, "blend", "blendLocation"),
      uniformities(codes, "uniformity correction", "uniformityLocation"),
      masks(codes, "mask", "maskLocation"),
      blackLevels(codes, "black level", "blackLevelLocation"),
      protocol(ownProtocol),
      horizontalPreFilter(codes, setting("warpHorizontalPreFilter", "The horizontal pre-filter.", 8), 0),
      verticalPreFilter(codes, setting("warpVerticalPreFilter", "The vertical pre-filter.", 8), 0),
      latency(codes, setting("warpLatency", "The latency of the warp engine in frames.", 2), 1),
      mapControl(codes,
                 setting("warpMapControl", "Which maps are applied: one bit for each of the four.", 15), 15),
      sharpness(codes, setting("warpSharpness", "The sharpness of the warp's interpolation.", 15), 5) {
    bindWarps();
    bindWarpSettings();
    bindBlends();
    bindMasks();
    bindBlackLevels();
}

GeometryModel::~GeometryModel() = default;

void GeometryModel::restoreDefaults() {
    warps.clear();
    blends.clear();
    uniformities.clear();
    masks.clear();
    blackLevels.clear();
}

void GeometryModel::show(Scene& scene) const {
    const auto warp = warps.active();
    if (warp && warp->mesh) {
        scene.warp = std::shared_ptr<const Mesh>(warp, &*warp->mesh);
    }
    // A warp brings its maps along; a blend or a mask of its own goes before them.
    const auto map = [&](const std::shared_ptr<const WarpContent>& own, std::size_t index) {
        const auto& content = own ? own : warp;
        const auto proxy = content ? content->maps[index] : nullptr;
        return proxy ? std::shared_ptr<const GrayscaleImage>(proxy, proxy->getImage()) : nullptr;
    };
    scene.mask = map(masks.active(), maskMap);
    scene.blend = map(blends.active(), blendMap);
}

void GeometryModel::bindWarps() {
    namespace Methods = Vocabulary::Warp;
    requests.bind(Methods::previewWarp, [this](int location, MeshText mesh, Map mask, Map screenMask,
                                               Map blend, Map bu) {
        warps.checkLocation(location);
        warps.preview(read(mesh, std::move(mask), std::move(screenMask), std::move(blend), std::move(bu)));
        return done;
    });
    requests.bind(Methods::saveWarp, [this](int location, MeshText mesh) {
        warps.checkLocation(location);
        if (!mesh) {
            throw RequestError(ErrorCode::invalidParams, "There is no mesh to be saved");
        }
        warps.save(location, {}, read(mesh, {}, {}, {}, {}));
        return done;
    });
    requests.bind(Methods::showWarp, [this] { warps.show(); });
    requests.bind(Methods::nameWarp,
                  [this](int location, std::wstring name) { warps.name(location, std::move(name)); });
    requests.bind(Methods::deleteWarp, [this](int location) { warps.remove(location); });
    // Of the six numbers this device takes the first three as the locations of
    // the warp, the blend and the black level (0: not stored), and leaves the rest.
    requests.bind(Methods::previewAll, [this](int, int, int, int, int, int, MeshText mesh, Map mask,
                                              Map screenMask, Map blend, Map bu, BlackLevel blackLevel) {
        auto warp = read(mesh, std::move(mask), std::move(screenMask), std::move(blend), std::move(bu));
        auto black = read(std::move(blackLevel));
        warps.preview(warp);
        blends.preview(std::move(warp));
        blackLevels.preview(std::move(black));
        return done;
    });
    requests.bind(Methods::saveAll, [this](int warpLocation, int blendLocation, int blackLevelLocation, int,
                                           int, int, MeshText mesh, Map mask, Map screenMask, Map blend,
                                           Map bu, BlackLevel blackLevel) {
        // All is checked before anything is stored.
        warps.checkLocation(warpLocation);
        if (blendLocation != 0) {
            blends.checkLocation(blendLocation);
        }
        if (blackLevelLocation != 0) {
            blackLevels.checkLocation(blackLevelLocation);
        }
        auto warp = read(mesh, std::move(mask), std::move(screenMask), std::move(blend), std::move(bu));
        auto black = read(std::move(blackLevel));
        if (blendLocation != 0) {
            blends.save(blendLocation, nameOf(*warp), warp);
        }
        if (blackLevelLocation != 0 && black->proxy) {
            std::wstring name = black->proxy->getName();
            blackLevels.save(blackLevelLocation, std::move(name), std::move(black));
        }
        warps.save(warpLocation, {}, std::move(warp));
        return done;
    });
    requests.bind(Methods::getWarpLocation, [this] { return sent(warps.getSelected()); });
    requests.bind(Methods::selectWarp, [this](int location) { warps.select(stored(location)); });
    requests.bind(Methods::getWarpXmlFromProjector, [this](int location) {
        const auto& mesh = warps.at(location).mesh;
        return mesh ? mesh->toXml() : std::wstring();
    });
    requests.bind(Methods::getBlendXmlFromProjector, [this](int location) {
        const auto& map = blends.at(location).maps[blendMap];
        return map ? map->getXml() : std::wstring();
    });
    requests.bind(Methods::getWarpNamesAndLocations, [this] { return warps.list(); });
    requests.bind(Methods::getBlendNamesAndLocations, [this] { return blends.list(); });
}

void GeometryModel::bindWarpSettings() {
    namespace Methods = Vocabulary::Warp;
    serveGet(Methods::getHorizontalPreFilter, horizontalPreFilter);
    serveSet(Methods::setHorizontalPreFilter, horizontalPreFilter);
    serveGet(Methods::getVerticalPreFilter, verticalPreFilter);
    serveSet(Methods::setVerticalPreFilter, verticalPreFilter);
    serveGet(Methods::getLatency, latency);
    serveSet(Methods::setLatency, latency);
    serveGet(Methods::getMapControl, mapControl);
    serveSet(Methods::setMapControl, mapControl);
    serveGet(Methods::getSharpness, sharpness);
    serveSet(Methods::setSharpness, sharpness);
    requests.bind(Methods::doesQuellSupportCurrentWarpFormat, [] { return true; });
}

void GeometryModel::bindBlends() {
    namespace Methods = Vocabulary::Blending;
    const auto bindShelf = [this](Shelf<WarpContent>& shelf, const auto& name, const auto& save,
                                  const auto& remove, const auto& preview, const auto& show) {
        requests.bind(name,
                      [&shelf](int location, std::wstring text) { shelf.name(location, std::move(text)); });
        requests.bind(
            save, [this, &shelf](int location, MeshText mesh, Map mask, Map screenMask, Map blend, Map bu) {
                shelf.checkLocation(location);
                auto content =
                    read(mesh, std::move(mask), std::move(screenMask), std::move(blend), std::move(bu));
                shelf.save(location, nameOf(*content), content);
            });
        requests.bind(remove, [&shelf](int location) { shelf.remove(location); });
        requests.bind(preview, [this, &shelf](int location, MeshText mesh, Map mask, Map screenMask,
                                              Map blend, Map bu) {
            shelf.checkLocation(location);
            shelf.preview(
                read(mesh, std::move(mask), std::move(screenMask), std::move(blend), std::move(bu)));
        });
        requests.bind(show, [&shelf] { shelf.show(); });
    };
    bindShelf(blends, Methods::nameBlend, Methods::saveBlend, Methods::deleteBlend, Methods::previewBlend,
              Methods::showBlend);
    bindShelf(uniformities, Methods::nameUniformity, Methods::saveUniformity, Methods::deleteUniformity,
              Methods::previewUniformity, Methods::showUniformity);
    namespace Masks = Vocabulary::Masking;
    bindShelf(masks, Masks::nameMask, Masks::saveMask, Masks::deleteMask, Masks::previewMask,
              Masks::showMask);

    if (protocol == Protocol::Older) {
        bindOlderSelection();
        return;
    }
    requests.bind(Methods::getBlendLocation, [this] { return blends.getSelected(); });
    requests.bind(Methods::selectBlend, [this](int location) { blends.select(location); });
    requests.bind(Methods::getUniformityLocation, [this] { return uniformities.getSelected(); });
    requests.bind(Methods::selectUniformity, [this](int location) { uniformities.select(location); });
}

void GeometryModel::bindOlderSelection() {
    namespace Methods = Vocabulary::Blending;
    // One selection serves both families: whichever has something there.
    requests.bind(Methods::getBlendLocation, [this] {
        return sent(blends.getSelected() != 0 ? blends.getSelected() : uniformities.getSelected());
    });
    requests.bind(Methods::selectBlend, [this](int location) {
        const int slot = stored(location);
        const bool uniformity = !blends.contains(slot) && uniformities.contains(slot);
        (uniformity ? uniformities : blends).select(slot);
        (uniformity ? blends : uniformities).select(0);
    });
    const char* const refusal = "A device of the older protocol has one selection, that of the blend";
    requests.bind(Methods::getUniformityLocation,
                  [refusal]() -> int { throw RequestError(ErrorCode::methodNotFound, refusal); });
    requests.bind(Methods::selectUniformity,
                  [refusal](int) { throw RequestError(ErrorCode::methodNotFound, refusal); });
}

void GeometryModel::bindMasks() {
    namespace Methods = Vocabulary::Masking;
    requests.bind(Methods::selectMask, [this](int location) { masks.select(location); });
    requests.bind(Methods::getMaskLocation, [this] { return masks.getSelected(); });
}

void GeometryModel::bindBlackLevels() {
    namespace Methods = Vocabulary::BlackLevel;
    const auto given = [this](BlackLevel proxy) {
        auto content = read(std::move(proxy));
        if (!content->proxy) {
            throw RequestError(ErrorCode::invalidParams, "There is no black level");
        }
        return content;
    };
    requests.bind(Methods::previewBlacklevel, [this, given](int location, BlackLevel proxy) {
        blackLevels.checkLocation(location);
        blackLevels.preview(given(std::move(proxy)));
    });
    requests.bind(Methods::saveBlacklevel, [this, given](int location, BlackLevel proxy) {
        blackLevels.checkLocation(location);
        auto content = given(std::move(proxy));
        blackLevels.save(location, content->proxy->getName(), content);
    });
    requests.bind(Methods::deleteBlackLevel, [this](int location) { blackLevels.remove(location); });
    requests.bind(Methods::selectBlackLevel, [this](int location) { blackLevels.select(location); });
    requests.bind(Methods::getBlackLevelLocation, [this] { return blackLevels.getSelected(); });
    requests.bind(Methods::getMaxBlackLevelGainValue, [] { return maximumGain; });
    requests.bind(Methods::getBlackLevelBlendNamesAndLocations, [this] { return blackLevels.list(); });
    requests.bind(Methods::getBlackLevelXmlFromProjector,
                  [this](int location) { return blackLevels.at(location).proxy->getXml(); });
}

int GeometryModel::stored(int location) const {
    return protocol == Protocol::Older ? location - olderShift : location;
}

int GeometryModel::sent(int location) const {
    return protocol == Protocol::Older ? location + olderShift : location;
}

void GeometryModel::checkSize(const char* what, int width, int height) const {
    const Json::Value resolution = codes.find("nativeResolution").read();
    if (width != resolution[0].asInt() || height != resolution[1].asInt()) {
        const auto size = [](int w, int h) { return std::to_string(w) + " x " + std::to_string(h); };
        throw RequestError(ErrorCode::outOfRange, std::string("The ") + what + " is " + size(width, height) +
                                                      ", the picture is " +
                                                      size(resolution[0].asInt(), resolution[1].asInt()));
    }
}

void GeometryModel::checkMap(const char* what, const GrayscaleImage* image) const {
    if (image != nullptr) {
        checkSize(what, image->getHSize(), image->getVSize());
    }
}

std::optional<Mesh> GeometryModel::readMesh(const MeshText& text) const {
    if (!text) {
        return std::nullopt;
    }
    std::optional<Mesh> mesh;
    try {
        mesh = Mesh::fromText(*text);
    } catch (const KorvanException& e) {
        throw RequestError(ErrorCode::invalidParams, toUtf8(e.getMessage()));
    }
    checkSize("mesh", mesh->getSize().first, mesh->getSize().second);
    mesh->prepareRows();
    mesh->prepareColumns();
    return mesh;
}

std::shared_ptr<const WarpContent> GeometryModel::read(const MeshText& mesh, Map mask, Map screenMask,
                                                       Map blend, Map bu) const {
    auto content = std::make_shared<WarpContent>();
    content->mesh = readMesh(mesh);
    content->maps = {std::move(mask), std::move(screenMask), std::move(blend), std::move(bu)};
    for (const auto& map : content->maps) {
        checkMap("map", map ? map->getImage() : nullptr);
    }
    return content;
}

std::shared_ptr<const BlackLevelContent> GeometryModel::read(BlackLevel blackLevel) const {
    checkMap("black level", blackLevel ? blackLevel->getImage() : nullptr);
    return std::make_shared<BlackLevelContent>(BlackLevelContent{std::move(blackLevel)});
}

}  // namespace JsonDevice::Simulation
