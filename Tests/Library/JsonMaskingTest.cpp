#include "DeviceManager/JsonDevice/JsonMasking.h"
#include "Tests/Library/GeometryProxies.h"
#include "Tests/Library/OperationRows.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonMasking;

const Table table({
    sends<JsonMasking>("MaskingInterface::nameMask", R"([2,"Dome \u2192"])",
                       [](JsonMasking& masking) { masking.nameMask(2, L"Dome \u2192"); }),
    sends<JsonMasking>("MaskingInterface::saveMask", GeometryProxies::params("3"),
                       [](JsonMasking& masking) {
                           GeometryProxies p;
                           masking.saveMask(3, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
                       }),
    sends<JsonMasking>("MaskingInterface::deleteMask", "[2]",
                       [](JsonMasking& masking) { masking.deleteMask(2); }),
    sends<JsonMasking>("MaskingInterface::previewMask", GeometryProxies::params("3"),
                       [](JsonMasking& masking) {
                           GeometryProxies p;
                           masking.previewMask(3, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
                       }),
    sends<JsonMasking>("MaskingInterface::showMask", "[]", [](JsonMasking& masking) { masking.showMask(); }),
    sends<JsonMasking>("MaskingInterface::selectMask", "[2]",
                       [](JsonMasking& masking) { masking.selectMask(2); }),
    returns<JsonMasking>(
        "MaskingInterface::getMaskLocation", "[]", "4",
        [](JsonMasking& masking) { return masking.getMaskLocation(); }, 4),
});

}  // namespace
