#pragma once

#include <string>
#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/Vocabulary/WireTypes.h"
#include "Platform/Devices/ColorInterface.h"

/// Marshals a Gamut as an object of twelve real numbers: "rx", "ry", "rz", and
/// the same for g, b and w.
class JSONDEVICE_EXPORT JTypeGamut : public JsonDevice::JType {
public:
    Json::Value toJson(const void* object, const JsonDevice::MarshalOptions& options) const override;
    void* fromJson(const Json::Value& value) const override;
};

/// Implements every operation of ColorInterface. The plain getters and setters
/// are made from the list of the methods; what is not plain is written out.
class JSONDEVICE_EXPORT JsonColor : public JsonDevice::JsonAdapter<ColorInterface> {
public:
    explicit JsonColor(Device* device);
    explicit JsonColor(Communicator* communicator);
    ~JsonColor() override;

    /// Adds the types of this interface to the registry, where absent; the
    /// marshaller of the last one is replaced each time. The constructors call it.
    static void registerColorInterfaceTypes();

#define JSONDEVICE_METHOD(...)
#define JSONDEVICE_GETTER(operation, Result, summary) JsonDevice::Wire::Result::Native operation() override;
#define JSONDEVICE_SETTER(operation, Type, parameter, summary) \
    void operation(JsonDevice::Wire::Type::Native value) override;
#include "DeviceManager/JsonDevice/Vocabulary/Color.def"
#undef JSONDEVICE_METHOD

    /// Throws the C string "Not Implemented": there is no method for it.
    bool isColorMatcherEnabled() override;
    // These three take whatever numbers come, and leave the vector alone when the call fails.
    bool getSaturationValueRanges(std::vector<int>& ranges) override;
    bool getSaturationValues(std::vector<int>& values) override;
    bool getXYValues(std::vector<int>& values, std::wstring name) override;
    void setColorXY(std::vector<int>& values, int selection) override;
    /// Two requests, and each value is stored as it comes: when the second
    /// fails, the minimum is new and the maximum is left alone.
    void getColorTemperatureRange(unsigned int& minimum, unsigned int& maximum) override;
    Gamut getGamut(std::wstring name) override;
    void setGamut(std::wstring name, Gamut gamut) override;
    /// Asks the device anew at each call; the list is empty when that failed.
    const ColorAdjustments& getColorAdjustmentList() override;

private:
    ColorAdjustments colorAdjustments;
};
