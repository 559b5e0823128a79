#pragma once

#include <string>
#include <utility>

#include "Common/Export.h"
#include "Platform/Devices/Mesh.h"

/// The geometry of a warp as the host holds it.
class JSONDEVICE_EXPORT MeshProxy {
public:
    MeshProxy() = default;
    MeshProxy(const MeshProxy&) = delete;
    MeshProxy& operator=(const MeshProxy&) = delete;
    virtual ~MeshProxy();

    /// The mesh itself, owned by the proxy. Preparing it is left to who evaluates it.
    virtual Mesh& getMesh() = 0;
    /// Width and height of the picture that the mesh covers, in pixels.
    virtual std::pair<int, int> getSize() const = 0;
    /// The mesh's text form, which is what a device is sent.
    virtual std::wstring getText() const = 0;
    virtual std::wstring getName() const = 0;
    virtual std::wstring getXml() const = 0;
};

/// A proxy that owns its mesh and has the forms that the mesh gives.
class JSONDEVICE_EXPORT SimpleMeshProxy : public MeshProxy {
public:
    SimpleMeshProxy(std::wstring name, Mesh mesh);
    ~SimpleMeshProxy() override;

    Mesh& getMesh() override { return mesh; }
    std::pair<int, int> getSize() const override { return mesh.getSize(); }
    std::wstring getText() const override { return mesh.toText(); }
    std::wstring getName() const override { return name; }
    std::wstring getXml() const override { return mesh.toXml(); }

private:
    std::wstring name;
    Mesh mesh;
};
