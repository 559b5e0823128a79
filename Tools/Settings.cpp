#include "Tools/Settings.h"

#include <algorithm>
#include <string_view>

#include "DeviceManager/JsonDevice/Vocabulary/Color.h"
#include "DeviceManager/JsonDevice/Vocabulary/Control.h"
#include "DeviceManager/JsonDevice/Vocabulary/Gamma.h"
#include "Tools/Arguments.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

using JsonDevice::Vocabulary::Operation;
namespace Color = JsonDevice::Vocabulary::Color;
namespace Control = JsonDevice::Vocabulary::Control;
namespace Gamma = JsonDevice::Vocabulary::Gamma;

using Names = std::span<const std::pair<int, const char*>>;

constexpr std::pair<int, const char*> powerNames[] = {
    {0, "off"}, {1, "on"}, {2, "warming up"}, {3, "cooling down"}};
constexpr std::pair<int, const char*> shutterNames[] = {{0, "open"}, {1, "closed"}};
constexpr std::pair<int, const char*> switchNames[] = {{0, "off"}, {1, "on"}};

/// What people should see beside the number.
struct Reading {
    const char* method;
    Names names;
    const char* unit = "";
};
const Reading readings[] = {
    {Control::getPower.name, powerNames},        {Control::getShutter.name, shutterNames},
    {Control::isSourceLocked.name, switchNames}, {Control::getAutomaticInputCycling.name, switchNames},
    {Color::getColorTemperature.name, {}, "K"},
};

/// Ranges whose methods do not go by the setting's name.
struct OtherRange {
    const char* method;
    const char* least;
    const char* most;
};
const OtherRange otherRanges[] = {
    {Gamma::getGammaCorrection.name, Gamma::getGammaCorrectionRangeMin.name,
     Gamma::getGammaCorrectionRangeMax.name},
};

/// All chromaticity targets have one range.
bool isTarget(const Operation& operation) {
    const std::string_view name = operation.operationName();
    return operation.interfaceName() == "ColorInterface" && operation.parameters.empty() &&
           (name.ends_with("X") || name.ends_with("Y"));
}

/// "RedOfGreen" as "red-of-green".
std::string inWords(std::string_view name) {
    std::string words;
    for (const char c : name) {
        if (c >= 'A' && c <= 'Z') {
            words += words.empty() ? "" : "-";
            words += static_cast<char>(c - 'A' + 'a');
        } else {
            words += c;
        }
    }
    return words;
}

std::vector<Setting> findSettings() {
    using JsonDevice::Vocabulary::find;
    std::vector<Setting> all;
    for (const Operation& get : JsonDevice::Vocabulary::operations()) {
        std::string_view name = get.operationName();
        const bool reads = name.starts_with("get") || name.starts_with("is");
        if (!reads || !get.parameters.empty() || get.interfaceName().find("Pattern") != std::string::npos) {
            continue;
        }
        name.remove_prefix(name.starts_with("get") ? 3 : 2);
        const std::string interfaceName(get.interfaceName());
        const Operation* const set = find(interfaceName + "::set" + std::string(name));
        if (set == nullptr || set->parameters.size() != 1) {
            continue;
        }
        Setting setting{inWords(name), get, *set};
        setting.least = isTarget(get) ? find(Color::getColorXYMin.name) : find(setting.method() + "Min");
        setting.most = isTarget(get) ? find(Color::getColorXYMax.name) : find(setting.method() + "Max");
        for (const OtherRange& range : otherRanges) {
            if (get.method == range.method) {
                setting.least = find(range.least);
                setting.most = find(range.most);
            }
        }
        for (const Reading& reading : readings) {
            if (get.method == reading.method) {
                setting.names = reading.names;
                setting.unit = reading.unit;
            }
        }
        all.push_back(std::move(setting));
    }
    std::vector<Setting> ordered;
    for (const bool power : {false, true}) {
        for (const Setting& setting : all) {
            if ((setting.get.method == Control::getPower.name) == power) {
                ordered.push_back(setting);
            }
        }
    }
    return ordered;
}

}  // namespace

std::string Setting::show(const Json::Value& value) const {
    for (const auto& [number, text] : names) {
        if (value.isIntegral() && value.asInt64() == number) {
            return text;
        }
    }
    return formatInline(get.result, value) + (*unit == '\0' ? "" : std::string(" ") + unit);
}

Json::Value Setting::params(const std::string& typed) const {
    for (const auto& [number, text] : names) {
        // A state that passes is no value to set.
        if (typed == text && settable(number) == Json::Value(number)) {
            Json::Value params(Json::arrayValue);
            params.append(number);
            return params;
        }
    }
    Input none;
    return parseArguments(set, {typed}, none);
}

Json::Value Setting::settable(const Json::Value& value) const {
    if (get.method == Control::getPower.name && value.isIntegral()) {
        return value == Json::Value(2) ? Json::Value(1) : value == Json::Value(3) ? Json::Value(0) : value;
    }
    return value;
}

const std::vector<Setting>& allSettings() {
    static const std::vector<Setting> all = findSettings();
    return all;
}

}  // namespace Tool
