// The destructors of the proxy classes, so that each has its type information in this one library.
#include <utility>

#include "Platform/Devices/BlackLevelProxy.h"
#include "Platform/Devices/BlendProxy.h"
#include "Platform/Devices/ControlCurveProxy.h"
#include "Platform/Devices/IGContentProxy.h"
#include "Platform/Devices/MeshProxy.h"

BlackLevelProxy::~BlackLevelProxy() = default;
BlendProxy::~BlendProxy() = default;
ControlCurveProxy::~ControlCurveProxy() = default;
IGContentProxy::~IGContentProxy() = default;
MeshProxy::~MeshProxy() = default;

SimpleMeshProxy::SimpleMeshProxy(std::wstring name, Mesh mesh)
    : name(std::move(name)), mesh(std::move(mesh)) {}
SimpleMeshProxy::~SimpleMeshProxy() = default;
