#include "DeviceManager/JsonDevice/MarshalTypes.h"

#include <mutex>
#include <utility>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/GeneralTypes.h"

namespace JsonDevice {

MarshalJson::MarshalJson() = default;
MarshalJson::~MarshalJson() = default;

MarshalJson::MarshalJson(const MarshalJson& other) {
    *this = other;
}

MarshalJson& MarshalJson::operator=(const MarshalJson& other) {
    if (this != &other) {
        std::map<std::string, Entry> otherEntries;
        std::vector<std::shared_ptr<const void>> otherOwners;
        {
            const std::shared_lock guard(other.lock);
            otherEntries = other.entries;
            otherOwners = other.owners;
        }
        const std::unique_lock guard(lock);
        entries = std::move(otherEntries);
        // Added to what is there: another thread may be using what is replaced.
        owners.insert(owners.end(), otherOwners.begin(), otherOwners.end());
    }
    return *this;
}

MarshalJson* MarshalJson::instance() {
    struct General : MarshalJson {
        General() { registerGeneralTypes(*this); }
    };
    static General registry;
    return &registry;
}

Json::Value MarshalJson::toJson(const std::string& typeName, const void* object,
                                const MarshalOptions& options) {
    return marshaller(typeName).toJson(object, options);
}

void* MarshalJson::fromJson(const Json::Value& value, const std::string& typeName) {
    return marshaller(typeName).fromJson(value);
}

void* MarshalJson::create(const std::string& typeName) {
    return typeName.empty() ? nullptr : find(typeName).create();
}

void MarshalJson::destroy(const std::string& typeName, void* object) {
    if (!typeName.empty()) {
        find(typeName).destroy(object);
    }
}

bool MarshalJson::isRegistered(const std::string& typeName) const {
    const std::shared_lock guard(lock);
    return entries.contains(typeName);
}

void MarshalJson::add(const std::string& typeName, const JType* type, std::shared_ptr<const void> owner,
                      std::function<void*()> create, std::function<void(void*)> destroy) {
    const std::unique_lock guard(lock);
    owners.push_back(std::move(owner));
    entries[typeName] = Entry{type, std::move(create), std::move(destroy)};
}

MarshalJson::Entry MarshalJson::find(const std::string& typeName) {
    {
        const std::shared_lock guard(lock);
        const auto found = entries.find(typeName);
        if (found != entries.end()) {
            return found->second;
        }
    }
    const std::unique_lock guard(lock);
    return entries[typeName];
}

const JType& MarshalJson::marshaller(const std::string& typeName) {
    const JType* type = nullptr;
    {
        const std::shared_lock guard(lock);
        const auto found = entries.find(typeName);
        type = found == entries.end() ? nullptr : found->second.type;
    }
    if (type == nullptr) {
        type = find(typeName).type;
    }
    if (type == nullptr) {
        throw KorvanException("DeviceManager/JsonDevice/MarshalTypes", __LINE__,
                              L"No marshaller is registered for the type \"" + toWide(typeName) + L"\"");
    }
    return *type;
}

}  // namespace JsonDevice
