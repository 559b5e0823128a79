#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <json/value.h>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/Vocabulary/WireTypes.h"
#include "Simulator/RequestError.h"

namespace JsonDevice::Simulation {

struct Range {
    double minimum;
    double maximum;
};

/// What is known of a code beside its value.
struct CodeDescription {
    /// The name that "get", "set" and notifications use.
    std::string code;
    /// One line for people.
    std::string summary;
    /// For people; empty for values without one.
    std::string unit = {};
    /// For a number, and for each number of a list.
    std::optional<Range> range = {};
    /// Whether "set" is refused. The device itself changes it all the same.
    bool readOnly = false;
    /// Whether the factory default leaves it alone.
    bool keptByFactoryDefault = false;
};

/// One value of the device as the table sees it.
class JSONDEVICE_EXPORT Code {
public:
    explicit Code(CodeDescription description);
    Code(const Code&) = delete;
    Code& operator=(const Code&) = delete;
    virtual ~Code();

    const CodeDescription& getDescription() const { return description; }
    /// The name of the value's type in the registry of marshallers.
    virtual std::string getType() const = 0;
    virtual Json::Value read() const = 0;
    /// The value that a restored device has.
    virtual Json::Value readDefault() const = 0;
    /// Throws RequestError for a value of another type or out of range.
    virtual void write(const Json::Value& value) = 0;
    virtual void restore() = 0;

    /// The method strings that serve this value, in the order they were bound.
    std::vector<std::string> methods;

protected:
    /// Throws RequestError when the number is out of range.
    void checkRange(double number) const;
    /// A value from outside as an object of the type; never null. The caller
    /// destroys it. Throws RequestError.
    void* convert(const Json::Value& value, const char* typeName) const;

private:
    CodeDescription description;
};

/// All values of the device by code. The one place where "get", "set",
/// "getAttributes", "getProperties" and notifications find them.
///
/// Like all of the model it is not locked by itself (Projector is).
class JSONDEVICE_EXPORT CodeTable {
public:
    using Listener = std::function<void(const Code&)>;

    CodeTable();
    CodeTable(const CodeTable&) = delete;
    CodeTable& operator=(const CodeTable&) = delete;
    ~CodeTable();

    /// Adds a value, which has to outlive the table's use. A code that is
    /// already there is a bug of the program, and an assertion.
    void add(Code& code);
    /// Throws RequestError when there is no such code.
    Code& find(const std::string& code) const;
    /// In the order of the codes.
    const std::map<std::string, Code*>& all() const { return codes; }

    /// Called after each change, whichever way it came about.
    void addListener(Listener listener);
    void tellListeners(const Code& changed) const;

    /// Gives every setting its default: what can be set and is not to be kept.
    void restoreDefaults();

private:
    std::map<std::string, Code*> codes;
    std::vector<Listener> listeners;
};

/// A value of the device together with its entry in the table. Type is the wire
/// type of the value, so that what a method sends and what "get" sends is the same.
template <class Type>
class Property final : public Code {
public:
    using WireType = Type;
    using Native = typename Type::Native;
    /// Refuses, with a RequestError, a value that the range alone does not.
    using Check = std::function<void(const Native&)>;

    Property(CodeTable& codes, CodeDescription description, Native initial, Check furtherCheck = {})
        : Code(std::move(description)),
          table(codes),
          value(initial),
          initialValue(std::move(initial)),
          check(std::move(furtherCheck)) {
        table.add(*this);
    }

    const Native& get() const { return value; }

    /// Throws RequestError for a value out of range, and tells the listeners of
    /// one that is new.
    void set(Native changed) {
        checkValue(changed);
        if (check) {
            check(changed);
        }
        if (!(changed == value)) {
            value = std::move(changed);
            table.tellListeners(*this);
        }
    }

    std::string getType() const override { return Type::name; }
    Json::Value read() const override { return toJson(value); }
    Json::Value readDefault() const override { return toJson(initialValue); }
    void write(const Json::Value& json) override {
        const auto release = [](Native* object) { MarshalJson::instance()->destroy(Type::name, object); };
        const std::unique_ptr<Native, decltype(release)> read(static_cast<Native*>(convert(json, Type::name)),
                                                              release);
        set(std::move(*read));
    }
    void restore() override { set(initialValue); }

private:
    static Json::Value toJson(const Native& native) {
        return MarshalJson::instance()->toJson(Type::name, Type::address(native), {});
    }

    template <class T>
    void checkValue(const T& candidate) const {
        if constexpr (std::is_arithmetic_v<T>) {
            checkRange(static_cast<double>(candidate));
        }
    }
    template <class T>
    void checkValue(const std::vector<T>& candidates) const {
        for (const T& candidate : candidates) {
            checkValue(candidate);
        }
    }

    CodeTable& table;
    Native value;
    const Native initialValue;
    const Check check;
};

}  // namespace JsonDevice::Simulation
