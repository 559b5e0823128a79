#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "DeviceManager/JsonDevice/Vocabulary/WireTypes.h"
#include "Platform/Devices/Mesh.h"
#include "Simulator/Feature.h"
#include "Simulator/Protocol.h"
#include "Simulator/Shelf.h"

class GrayscaleImage;

namespace JsonDevice::Simulation {

/// A mesh with the four maps that go with it. Either may be missing.
struct WarpContent {
    std::optional<Mesh> mesh;
    /// In the order "mask", "screenMask", "blend", "bu".
    std::array<std::shared_ptr<const BlendProxy>, 4> maps;
};

struct BlackLevelContent {
    std::shared_ptr<const BlackLevelProxy> proxy;
};

/// The geometry and the calibration maps of the projector: warps, blends,
/// uniformity corrections, masks and black levels, each in four locations.
///
/// What a device would refuse is refused: a location that does not exist or is
/// empty, a text that is no mesh, a mesh or a map of another size than the
/// picture (code "nativeResolution").
class GeometryModel : public Feature {
public:
    GeometryModel(RequestDispatcher& dispatcher, CodeTable& codeTable, Protocol ownProtocol);
    ~GeometryModel() override;

    void restoreDefaults() override;
    void show(Scene& scene) const override;

    Shelf<WarpContent> warps;
    Shelf<WarpContent> blends;
    Shelf<WarpContent> uniformities;
    Shelf<WarpContent> masks;
    Shelf<BlackLevelContent> blackLevels;

private:
    using Map = Wire::Blend::Received;
    using BlackLevel = Wire::BlackLevelMap::Received;
    using MeshText = Wire::Mesh::Received;

    void bindWarps();
    void bindWarpSettings();
    void bindBlends();
    void bindOlderSelection();
    void bindMasks();
    void bindBlackLevels();
    /// Locations as the protocol numbers them, to those of the shelves.
    int stored(int location) const;
    int sent(int location) const;
    void checkSize(const char* what, int width, int height) const;
    void checkMap(const char* what, const GrayscaleImage* image) const;
    std::optional<Mesh> readMesh(const MeshText& text) const;
    std::shared_ptr<const WarpContent> read(const MeshText& mesh, Map mask, Map screenMask, Map blend,
                                            Map bu) const;
    std::shared_ptr<const BlackLevelContent> read(BlackLevel blackLevel) const;

    const Protocol protocol;
    Property<Wire::Int> horizontalPreFilter;
    Property<Wire::Int> verticalPreFilter;
    Property<Wire::Int> latency;
    Property<Wire::Int> mapControl;
    Property<Wire::Int> sharpness;
};

}  // namespace JsonDevice::Simulation
