#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Devices/ColorInterface.h"
#include "Platform/Devices/Gamut.h"
#include "Platform/Devices/Point.h"
#include "Platform/Devices/TestPatternInterface.h"

class BlackLevelProxy;
class BlendProxy;
class IGContentProxy;
class MeshProxy;

/// The types of what goes over the wire. A wire type is a tag: it names the
/// marshaller in the registry and the native type that goes with it. Native
/// types alone would not do: an unsigned value may travel as "int", one native
/// pair has several registered names, a mesh is sent and never read back.
namespace JsonDevice::Wire {

/// How a person types a value of a wire type in a terminal, and reads it there.
enum class Form { nothing, integer, unsignedInteger, real, boolean, text, json };

/// A value that the registry converts in both directions under one name.
template <class Type>
struct Value {
    using Native = Type;
    using Argument = const Type&;
    static const void* address(Argument argument) { return &argument; }

    /// The other side of the wire: what a request's parameter is read as. A
    /// type that is not read under its own name has that of another one as
    /// receivedName.
    using Received = Type;
};

/// An object that the caller passes by pointer and that may be null. Type is
/// the class under which the marshaller is registered.
template <class Type>
struct Object {
    using Argument = Type*;
    static const void* address(Argument argument) { return argument; }

    /// Null when the caller sent none.
    using Received = std::shared_ptr<Type>;
};

/// No result.
struct Void {
    using Native = void;
    static constexpr const char* name = "";
    static constexpr Form form = Form::nothing;
};

struct Int : Value<int> {
    static constexpr const char* name = "int";
    static constexpr Form form = Form::integer;
};

struct UInt : Value<unsigned int> {
    static constexpr const char* name = "unsigned int";
    static constexpr Form form = Form::unsignedInteger;
};

struct Float : Value<float> {
    static constexpr const char* name = "float";
    static constexpr Form form = Form::real;
};

struct Bool : Value<bool> {
    static constexpr const char* name = "bool";
    static constexpr Form form = Form::boolean;
};

struct Text : Value<std::wstring> {
    static constexpr const char* name = "std::wstring";
    static constexpr Form form = Form::text;
};

struct Ints : Value<std::vector<int>> {
    static constexpr const char* name = "std::vector<int>";
    static constexpr Form form = Form::json;
};

struct Floats : Value<std::vector<float>> {
    static constexpr const char* name = "std::vector<float>";
    static constexpr Form form = Form::json;
};

/// A list of (location or index, name).
struct Items : Value<std::vector<std::pair<int, std::wstring>>> {
    static constexpr const char* name = "std::vector<TestPatternItem>";
    static constexpr Form form = Form::json;
};

/// (known, (sensor names, temperatures)); registered by JsonStatus.
struct Temperatures : Value<std::pair<bool, std::pair<std::vector<std::wstring>, std::vector<int>>>> {
    static constexpr const char* name = "PairBoolPairVectorStringVectorInt";
    static constexpr Form form = Form::json;
};

/// Three coordinates, or three angles.
struct Position : Value<Point3D> {
    static constexpr const char* name = "Point3D";
    static constexpr Form form = Form::json;
};

/// A mesh goes as its text, and the registry does not read it back: who
/// receives one gets the text.
struct Mesh : Object<MeshProxy> {
    static constexpr const char* name = "MeshProxy";
    static constexpr Form form = Form::text;
    using Received = std::shared_ptr<std::wstring>;
    static constexpr const char* receivedName = "std::wstring";
};

struct Blend : Object<BlendProxy> {
    static constexpr const char* name = "BlendProxy";
    static constexpr Form form = Form::json;
};

struct BlackLevelMap : Object<BlackLevelProxy> {
    static constexpr const char* name = "BlackLevelProxy";
    static constexpr Form form = Form::json;
};

struct IGContent : Object<IGContentProxy> {
    static constexpr const char* name = "IGContentProxy";
    static constexpr Form form = Form::json;
};

/// The primaries and the white of a projector; registered by JsonColor.
struct ColorGamut : Value<Gamut> {
    static constexpr const char* name = "Gamut";
    static constexpr Form form = Form::json;
};

/// Registered by JsonColor.
struct ColorAdjustmentTypes : Value<std::vector<ColorInterface::ColorAdjustmentType>> {
    static constexpr const char* name = "std::vector<ColorInterface::ColorAdjustmentType>";
    static constexpr Form form = Form::json;
};

/// Narrow text, its bytes as they stand. Here it is base64, of which a wide copy would be large.
struct Bytes : Value<std::string> {
    static constexpr const char* name = "std::string";
    static constexpr Form form = Form::text;
};

struct Colour : Value<TestPatternInterface::TestPatternColour> {
    static constexpr const char* name = "TestPatternInterface::TestPatternColour";
    static constexpr Form form = Form::integer;
};

/// The column and the row of a pixel, or a width and a height in pixels.
struct Pixel : Value<Point2I> {
    static constexpr const char* name = "Point2I";
    static constexpr Form form = Form::json;
};

struct Pixels : Value<std::vector<Point2I>> {
    static constexpr const char* name = "std::vector<Point2I>";
    static constexpr Form form = Form::json;
};

}  // namespace JsonDevice::Wire
