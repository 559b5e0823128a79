#include "DeviceManager/JsonDevice/JsonColor.h"

#include <cstddef>
#include <memory>
#include <utility>

#include "DeviceManager/JsonDevice/Marshallers.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Color.h"

using namespace JsonDevice;

namespace {

namespace Methods = Vocabulary::Color;

/// Visits the twelve numbers of a gamut (const or not) with their keys.
template <class AnyGamut, class Visitor>
void forEachCoordinate(AnyGamut& gamut, Visitor visit) {
    visit("rx", gamut.red.x), visit("ry", gamut.red.y), visit("rz", gamut.red.z);
    visit("gx", gamut.green.x), visit("gy", gamut.green.y), visit("gz", gamut.green.z);
    visit("bx", gamut.blue.x), visit("by", gamut.blue.y), visit("bz", gamut.blue.z);
    visit("wx", gamut.white.x), visit("wy", gamut.white.y), visit("wz", gamut.white.z);
}

/// Asks for a list and says whether it has the expected length.
template <class Method, class... Arguments>
bool getNumbers(JsonConnection& connection, const Method& method, std::size_t length,
                std::vector<int>& numbers, const Arguments&... arguments) {
    numbers = TypedCall::call(connection, method, arguments...);
    return numbers.size() == length;
}

}  // namespace

Json::Value JTypeGamut::toJson(const void* object, const MarshalOptions&) const {
    Json::Value value(Json::objectValue);
    forEachCoordinate(*static_cast<const Gamut*>(object),
                      [&](const char* key, double coordinate) { value[key] = coordinate; });
    return value;
}

void* JTypeGamut::fromJson(const Json::Value& value) const {
    if (value.isNull()) {
        return nullptr;
    }
    auto gamut = std::make_unique<Gamut>();
    forEachCoordinate(*gamut, [&](const char* key, double& coordinate) {
        // A null is convertible for jsoncpp; here it is a coordinate that is missing.
        if (!value.isObject() || value[key].isNull() || !value[key].isConvertibleTo(Json::realValue)) {
            throw KorvanParseException("DeviceManager/JsonDevice/JsonColor", __LINE__,
                                       L"JSON value is not a Gamut");
        }
        coordinate = value[key].asDouble();
    });
    return gamut.release();
}

JsonColor::JsonColor(Device* device) : JsonAdapter(device) {
    registerColorInterfaceTypes();
}

JsonColor::JsonColor(Communicator* communicator) : JsonAdapter(communicator) {
    registerColorInterfaceTypes();
}

JsonColor::~JsonColor() = default;

void JsonColor::registerColorInterfaceTypes() {
    MarshalJson& registry = *MarshalJson::instance();
    using Type = ColorAdjustmentType;
    using Item = std::pair<int, std::wstring>;
    if (!registry.isRegistered("Gamut")) {
        registry.registerType<Gamut, JTypeGamut>("Gamut");
    }
    if (!registry.isRegistered("ColorInterface::ColorAdjustmentType")) {
        registry.registerType<Type, JTypeInteger<Type>>("ColorInterface::ColorAdjustmentType");
    }
    if (!registry.isRegistered("std::vector<ColorInterface::ColorAdjustmentType>")) {
        registry.registerType<std::vector<Type>, JTypeVector<Type>>(
            "std::vector<ColorInterface::ColorAdjustmentType>", std::make_shared<JTypeInteger<Type>>());
    }
    if (!registry.isRegistered("ColorAdjustmentItem")) {
        registry.registerType<Item, JTypePairIntString<Item>>("ColorAdjustmentItem");
    }
    // Hosts know this type as one that is registered anew at each construction: the name that is asked
    // for has a bracket too many and is never there.
    if (!registry.isRegistered("std::vector<ColorAdjustmentItem>>")) {
        registry.registerType<std::vector<Item>, JTypeVector<Item>>(
            "std::vector<ColorAdjustmentItem>", std::make_shared<JTypePairIntString<Item>>());
    }
}

#define JSONDEVICE_METHOD(...)
#define JSONDEVICE_GETTER(operation, Result, summary)            \
    Wire::Result::Native JsonColor::operation() {                \
        return TypedCall::call(*connection, Methods::operation); \
    }
#define JSONDEVICE_SETTER(operation, Type, parameter, summary)   \
    void JsonColor::operation(Wire::Type::Native value) {        \
        TypedCall::call(*connection, Methods::operation, value); \
    }
#include "DeviceManager/JsonDevice/Vocabulary/Color.def"
#undef JSONDEVICE_METHOD

bool JsonColor::isColorMatcherEnabled() {
    throw "Not Implemented";
}

bool JsonColor::getSaturationValueRanges(std::vector<int>& ranges) {
    return getNumbers(*connection, Methods::getSaturationValueRanges, 18, ranges);
}

bool JsonColor::getSaturationValues(std::vector<int>& values) {
    return getNumbers(*connection, Methods::getSaturationValues, 9, values);
}

bool JsonColor::getXYValues(std::vector<int>& values, std::wstring name) {
    return getNumbers(*connection, Methods::getXYValues, 8, values, name);
}

void JsonColor::setColorXY(std::vector<int>& values, int selection) {
    TypedCall::call(*connection, Methods::setColorXY, values, selection);
}

void JsonColor::getColorTemperatureRange(unsigned int& minimum, unsigned int& maximum) {
    minimum = TypedCall::call(*connection, Methods::getColorTemperatureMin);
    maximum = TypedCall::call(*connection, Methods::getColorTemperatureMax);
}

Gamut JsonColor::getGamut(std::wstring name) {
    return TypedCall::call(*connection, Methods::getGamut, name);
}

void JsonColor::setGamut(std::wstring name, Gamut gamut) {
    TypedCall::call(*connection, Methods::setGamut, name, gamut);
}

const ColorInterface::ColorAdjustments& JsonColor::getColorAdjustmentList() {
    colorAdjustments.clear();
    colorAdjustments = TypedCall::call(*connection, Methods::getColorAdjustmentList);
    return colorAdjustments;
}
