#pragma once

#include <string_view>

#include <json/value.h>

namespace JsonDevice {

/// The member of an object, or null when there is none.
inline const Json::Value* memberOf(const Json::Value& object, std::string_view key) {
    return object.find(key.data(), key.data() + key.size());
}

}  // namespace JsonDevice
