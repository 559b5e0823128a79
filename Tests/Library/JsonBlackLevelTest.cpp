#include <string>
#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/JsonBlackLevel.h"
#include "Tests/Library/GeometryProxies.h"
#include "Tests/Library/OperationRows.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonBlackLevel;
using Items = std::vector<std::pair<int, std::wstring>>;

Row proxied(const std::string& name, void (JsonBlackLevel::*operation)(int, BlackLevelProxy*)) {
    return sends<JsonBlackLevel>("BlackLevelInterface::" + name,
                                 "[2," + GeometryProxies::blackLevelJson() + "]",
                                 [=](JsonBlackLevel& blackLevel) {
                                     JsonBlackLevel::registerBlackLevelTypes();
                                     GeometryProxies p;
                                     (blackLevel.*operation)(2, &p.blackLevel);
                                 });
}

Row at(const std::string& name, void (JsonBlackLevel::*operation)(int)) {
    return sends<JsonBlackLevel>("BlackLevelInterface::" + name, "[2]",
                                 [=](JsonBlackLevel& blackLevel) { (blackLevel.*operation)(2); });
}

Row listed(const char* name, const std::string& result, const Items& expected) {
    Row row = returns<JsonBlackLevel>(
        "BlackLevelInterface::getBlackLevelBlendNamesAndLocations", "[]", result,
        [](JsonBlackLevel& blackLevel) { return blackLevel.getBlackLevelBlendNamesAndLocations(); },
        expected);
    row.name = name;
    return row;
}

const Table table({
    proxied("previewBlacklevel", &JsonBlackLevel::previewBlacklevel),
    proxied("saveBlacklevel", &JsonBlackLevel::saveBlacklevel),
    at("deleteBlackLevel", &JsonBlackLevel::deleteBlackLevel),
    at("selectBlackLevel", &JsonBlackLevel::selectBlackLevel),
    returns<JsonBlackLevel>(
        "BlackLevelInterface::getMaxBlackLevelGainValue", "[]", "0.1",
        [](JsonBlackLevel& blackLevel) { return blackLevel.getMaxBlackLevelGainValue(); }, 0.1F),
    listed("BlackLevelInterface::getBlackLevelBlendNamesAndLocations", R"([{"first":1,"second":"\u2192"}])",
           Items{{1, L"\u2192"}}),
    listed("BlackLevelInterface::getBlackLevelBlendNamesAndLocations of none", "[]", Items{}),
    returns<JsonBlackLevel>(
        "BlackLevelInterface::getBlackLevelLocation", "[]", "4",
        [](JsonBlackLevel& blackLevel) { return blackLevel.getBlackLevelLocation(); }, 4),
    returns<JsonBlackLevel>(
        "BlackLevelInterface::getBlackLevelXmlFromProjector", "[3]", R"("<x/>")",
        [](JsonBlackLevel& blackLevel) { return blackLevel.getBlackLevelXmlFromProjector(3); },
        std::wstring(L"<x/>")),
});

}  // namespace
