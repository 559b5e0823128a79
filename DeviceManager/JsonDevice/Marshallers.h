#pragma once

#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <json/value.h>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"

/// The marshallers of numbers, booleans, texts, vectors, pairs and raw JSON.
///
/// What can be converted is what jsoncpp converts: a boolean reads as 0 or 1, a
/// real as an integer loses its fraction. Each refusal is a KorvanParseException
/// with the marshaller's fixed text; what jsoncpp's own accessors refuse raises
/// jsoncpp's own error.
namespace JsonDevice {

/// The source that all general marshallers name in what they raise.
inline constexpr const char* marshalTypesFile = "DeviceManager/JsonDevice/MarshalTypes";

[[noreturn]] inline void refuse(const wchar_t* message, int line) {
    throw KorvanParseException(marshalTypesFile, line, message);
}

/// Reads one T through its marshaller; null for JSON null.
template <class T>
std::unique_ptr<T> readObject(const JType& marshaller, const Json::Value& value) {
    return std::unique_ptr<T>(static_cast<T*>(marshaller.fromJson(value)));
}

/// Whether value is an object with a member of that key that can be read as the
/// type. A null counts as missing, though jsoncpp reads it as 0 or "".
inline bool hasMember(const Json::Value& value, const char* key, Json::ValueType type) {
    return value.isObject() && value.isMember(key) && !value[key].isNull() &&
           value[key].isConvertibleTo(type);
}

/// The frame of the marshallers of plain values: null on both sides, the test
/// before the reading, the object. Kind says how to write, test and read one T.
template <class T, class Kind>
class JTypeScalar : public JType {
public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override {
        return object == nullptr ? Json::Value() : Kind::write(*static_cast<const T*>(object));
    }
    void* fromJson(const Json::Value& value) const override {
        if (value.isNull()) {
            return nullptr;
        }
        if (!value.isConvertibleTo(Kind::accepted)) {
            refuse(Kind::refusal, Kind::line);
        }
        return new T(Kind::read(value));
    }
};

template <class T>
struct IntegerKind {
    static constexpr Json::ValueType accepted = Json::intValue;
    static constexpr const wchar_t* refusal = L"JSON Value could not be converted to an integer";
    static constexpr int line = 48;
    static Json::Value write(const T& value) {
        if constexpr (std::is_same_v<T, long long>) {
            return Json::Value(static_cast<Json::Int64>(value));
        } else {
            return Json::Value(static_cast<int>(value));
        }
    }
    static T read(const Json::Value& value) { return static_cast<T>(value.asInt64()); }
};

template <class T>
struct UnsignedIntegerKind {
    static constexpr Json::ValueType accepted = Json::uintValue;
    static constexpr const wchar_t* refusal = L"JSON Value could not be converted to an unsigned integer";
    static constexpr int line = 78;
    static Json::Value write(const T& value) {
        if constexpr (std::is_same_v<T, unsigned long long>) {
            return Json::Value(static_cast<Json::UInt64>(value));
        } else {
            return Json::Value(static_cast<unsigned int>(value));
        }
    }
    static T read(const Json::Value& value) { return static_cast<T>(value.asUInt64()); }
};

template <class T>
struct RealKind {
    static constexpr Json::ValueType accepted = Json::realValue;
    static constexpr const wchar_t* refusal = L"JSON Value could not be converted to a real number";
    static constexpr int line = 109;
    static Json::Value write(const T& value) { return Json::Value(static_cast<double>(value)); }
    static T read(const Json::Value& value) { return static_cast<T>(value.asDouble()); }
};

template <class T>
struct BoolKind {
    static constexpr Json::ValueType accepted = Json::booleanValue;
    static constexpr const wchar_t* refusal = L"JSON Value could not be converted to a boolean";
    static constexpr int line = 142;
    static Json::Value write(const T& value) { return Json::Value(value); }
    static T read(const Json::Value& value) { return value.asBool(); }
};

template <class T>
struct StringKind {
    static constexpr Json::ValueType accepted = Json::stringValue;
    static constexpr const wchar_t* refusal = L"JSON Value could not be converted to a string";
    static constexpr int line = 173;
    static Json::Value write(const T& value) { return Json::Value(value); }
    static T read(const Json::Value& value) { return value.asString(); }
};

template <class T>
struct WStringKind {
    static constexpr Json::ValueType accepted = Json::stringValue;
    static constexpr const wchar_t* refusal = StringKind<T>::refusal;
    static constexpr int line = 200;
    static Json::Value write(const T& value) { return Json::Value(toUtf8(value)); }
    static T read(const Json::Value& value) { return toWide(value.asString()); }
};

/// Signed integers and enumerations. All but `long long` travel as 32-bit
/// values, and all are read within the 32-bit range.
template <class T>
class JTypeInteger : public JTypeScalar<T, IntegerKind<T>> {};

template <class T>
class JTypeUnsignedInteger : public JTypeScalar<T, UnsignedIntegerKind<T>> {};

template <class T>
class JTypeReal : public JTypeScalar<T, RealKind<T>> {};

template <class T>
class JTypeBool : public JTypeScalar<T, BoolKind<T>> {};

/// Narrow text: the bytes as they stand, in both directions.
template <class T>
class JTypeString : public JTypeScalar<T, StringKind<T>> {};

/// Wide text, as UTF-8 on the wire.
template <class T>
class JTypeWString : public JTypeScalar<T, WStringKind<T>> {};

/// std::vector<T> as an array. The element's marshaller is shared with nobody
/// and is made by whoever registers the vector.
template <class T>
class JTypeVector : public JType {
public:
    template <class Element>
    explicit JTypeVector(std::shared_ptr<Element> marshaller)
        : element(marshaller.get()), owner(std::move(marshaller)) {}

    Json::Value toJson(const void* object, const MarshalOptions&) const override {
        Json::Value array(Json::arrayValue);
        for (const T& item : *static_cast<const std::vector<T>*>(object)) {
            array.append(element->toJson(&item, {}));
        }
        return array;
    }
    void* fromJson(const Json::Value& value) const override {
        if (value.isNull()) {
            return nullptr;
        }
        if (!value.isArray()) {
            refuse(refusal, 449);
        }
        auto items = std::make_unique<std::vector<T>>();
        items->reserve(value.size());
        for (const Json::Value& item : value) {
            auto read = readObject<T>(*element, item);
            if (!read) {
                refuse(refusal, 449);
            }
            items->push_back(std::move(*read));
        }
        return items.release();
    }

private:
    static constexpr const wchar_t* refusal = L"JSON Value could not be converted to a vector";
    const JType* element;
    std::shared_ptr<const void> owner;
};

/// A std::pair as {"first": ..., "second": ...}.
template <class T>
class JTypePair : public JType {
    using A = typename T::first_type;
    using B = typename T::second_type;

public:
    template <class First, class Second>
    JTypePair(std::shared_ptr<First> firstMarshaller, std::shared_ptr<Second> secondMarshaller)
        : first(firstMarshaller.get()),
          second(secondMarshaller.get()),
          firstOwner(std::move(firstMarshaller)),
          secondOwner(std::move(secondMarshaller)) {}

    Json::Value toJson(const void* object, const MarshalOptions&) const override {
        if (object == nullptr) {
            return Json::Value();
        }
        const T& pair = *static_cast<const T*>(object);
        Json::Value value(Json::objectValue);
        value["first"] = first->toJson(&pair.first, {});
        value["second"] = second->toJson(&pair.second, {});
        return value;
    }
    void* fromJson(const Json::Value& value) const override {
        if (value.isNull()) {
            return nullptr;
        }
        if (!value.isObject()) {
            refuse(refusal, 398);
        }
        const auto a = readObject<A>(*first, value["first"]);
        const auto b = readObject<B>(*second, value["second"]);
        if (!a || !b) {
            refuse(refusal, 398);
        }
        return new T(std::move(*a), std::move(*b));
    }

private:
    static constexpr const wchar_t* refusal = L"JSON Value could not be converted to a pair";
    const JType* first;
    const JType* second;
    std::shared_ptr<const void> firstOwner;
    std::shared_ptr<const void> secondOwner;
};

/// An item of a list, (location or index, name), as {"first": int, "second": string}.
template <class T>
class JTypePairIntString : public JType {
    static_assert(std::is_same_v<T, std::pair<int, std::wstring>>);

public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override {
        const T& item = *static_cast<const T*>(object);
        Json::Value value(Json::objectValue);
        value["first"] = item.first;
        value["second"] = toUtf8(item.second);
        return value;
    }
    void* fromJson(const Json::Value& value) const override {
        if (value.isNull()) {
            return nullptr;
        }
        if (!hasMember(value, "first", Json::intValue) || !hasMember(value, "second", Json::stringValue)) {
            refuse(L"JSON value is not a std::pair<int, wstring>", 361);
        }
        return new T(value["first"].asInt(), toWide(value["second"].asString()));
    }
};

/// Raw JSON, copied in both directions; JSON null reads as a null value.
template <class T>
class JTypeJsonValue : public JType {
    static_assert(std::is_same_v<T, Json::Value>);

public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override {
        return *static_cast<const Json::Value*>(object);
    }
    void* fromJson(const Json::Value& value) const override { return new Json::Value(value); }
};

}  // namespace JsonDevice
