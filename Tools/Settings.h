#pragma once

#include <cstdlib>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"

namespace Tool {

/// Something of a projector that can be read and set: two methods that belong
/// together by their names, and where there are any, two more for its range.
struct Setting {
    /// From the operation's name: "gamma-correction".
    std::string name;
    const JsonDevice::Vocabulary::Operation& get;
    const JsonDevice::Vocabulary::Operation& set;
    const JsonDevice::Vocabulary::Operation* least = nullptr;
    const JsonDevice::Vocabulary::Operation* most = nullptr;
    /// Values that have a name for people.
    std::span<const std::pair<int, const char*>> names{};
    const char* unit = "";

    /// The method that reads it, which names it in files.
    std::string method() const { return std::string(get.method); }
    std::string_view interfaceName() const { return get.interfaceName(); }

    /// The value for people: its name, or the number with its unit.
    std::string show(const Json::Value& value) const;
    /// The params that set it to what was typed, a name of a value or what the
    /// method takes. Refuses the command line.
    Json::Value params(const std::string& typed) const;
    /// What to set for the value to be read again. The power passes through
    /// states that cannot be set.
    Json::Value settable(const Json::Value& value) const;
};

/// All settings that last, patterns left out; the power comes last, so that it
/// is on while the others are restored.
const std::vector<Setting>& allSettings();

/// The setting that the method reads.
template <class Method>
const Setting& settingOf(const Method& getter) {
    for (const Setting& setting : allSettings()) {
        if (setting.get.method == getter.name) {
            return setting;
        }
    }
    std::abort();
}

}  // namespace Tool
