#pragma once

#include <functional>
#include <map>
#include <memory>
#include <shared_mutex>
#include <string>
#include <vector>

#include <json/value.h>

#include "Common/Export.h"

namespace JsonDevice {

/// Hints for the marshallers, by name. Only the image marshallers read one:
/// "compression".
using MarshalOptions = std::map<std::string, std::string>;

/// Converts values of one native type to and from JSON. The object pointers are
/// untyped: a marshaller is registered under a type name, and whoever names the
/// type vouches for the pointer. Where the registered type is an abstract class,
/// the pointer is one to that class, never to a derived one.
///
/// Marshallers hold no state that changes; any number of threads may use one.
class JSONDEVICE_EXPORT JType {
public:
    JType() = default;
    /// The JSON form of *object. The scalar, string, pair and proxy marshallers
    /// turn a null object into JSON null; the others require an object.
    virtual Json::Value toJson(const void* object, const MarshalOptions& options) const = 0;
    /// A new object from its JSON form, released through MarshalJson::destroy;
    /// null for JSON null. Throws KorvanParseException for a value of the wrong shape.
    virtual void* fromJson(const Json::Value& value) const = 0;
    // No virtual destructor: the registry deletes each marshaller by its own type.
protected:
    ~JType() = default;
};

/// The registry of marshallers: from a type name ("int", "std::vector<int>",
/// "BlendProxy", ...) to a marshaller, a factory and a disposer.
///
/// instance() is the one that connections use. All operations may be called
/// from any thread at any time; a marshaller that is replaced stays alive as
/// long as the registry, since another thread may be using it.
///
/// Copies share the marshallers.
class JSONDEVICE_EXPORT MarshalJson {
public:
    MarshalJson();
    MarshalJson(const MarshalJson& other);
    MarshalJson& operator=(const MarshalJson& other);
    ~MarshalJson();

    /// The registry of the process, filled with the general types on first use.
    static MarshalJson* instance();

    /// Throws KorvanException when the type is unknown, and what the marshaller throws.
    Json::Value toJson(const std::string& typeName, const void* object, const MarshalOptions& options);
    /// The caller owns the object. Throws KorvanException when the type is
    /// unknown, and what the marshaller throws.
    void* fromJson(const Json::Value& value, const std::string& typeName);
    /// A default-constructed object; null for the empty name. Throws
    /// std::bad_function_call when the type is unknown, KorvanException for a
    /// type that has no default form.
    void* create(const std::string& typeName);
    /// Deletes an object of that type; does nothing for the empty name. Throws
    /// std::bad_function_call when the type is unknown.
    void destroy(const std::string& typeName, void* object);
    /// Whether the name is known. The other operations make an unknown name
    /// known (with an empty entry); this one does not.
    bool isRegistered(const std::string& typeName) const;

    /// Registers Marshaller (made from the arguments) for T under the name,
    /// replacing what was registered there.
    template <class T, class Marshaller, class... Arguments>
    void registerType(const std::string& typeName, Arguments&&... arguments) {
        registerType<T>(typeName, std::make_shared<Marshaller>(std::forward<Arguments>(arguments)...),
                        []() -> void* { return new T(); });
    }
    /// The same for a type that has no default form: create calls the given function.
    template <class T, class Marshaller>
    void registerType(const std::string& typeName, std::shared_ptr<Marshaller> marshaller,
                      std::function<void*()> create) {
        const JType* const type = marshaller.get();
        add(typeName, type, std::move(marshaller), std::move(create),
            [](void* object) { delete static_cast<T*>(object); });
    }

private:
    struct Entry {
        const JType* type = nullptr;
        std::function<void*()> create;
        std::function<void(void*)> destroy;
    };
    void add(const std::string& typeName, const JType* type, std::shared_ptr<const void> owner,
             std::function<void*()> create, std::function<void(void*)> destroy);
    /// The entry of the name, inserted empty when absent.
    Entry find(const std::string& typeName);
    const JType& marshaller(const std::string& typeName);

    mutable std::shared_mutex lock;
    std::map<std::string, Entry> entries;
    std::vector<std::shared_ptr<const void>> owners;
};

}  // namespace JsonDevice
