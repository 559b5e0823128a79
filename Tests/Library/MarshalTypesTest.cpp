#include <functional>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/GeneralTypes.h"
#include "DeviceManager/JsonDevice/JsonRemote.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/Marshallers.h"

namespace JsonDevice {
namespace {

Json::Value json(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(JsonText::read(text, value)) << text;
    return value;
}

template <class T>
std::string written(const std::string& type, const T& object) {
    std::string text;
    JsonText::append(text, MarshalJson::instance()->toJson(type, &object, {}));
    return text;
}

/// What a type reads from a JSON text; it must read something.
template <class T>
T read(const std::string& type, const std::string& text) {
    MarshalJson& registry = *MarshalJson::instance();
    void* const object = registry.fromJson(json(text), type);
    EXPECT_NE(object, nullptr) << type << " " << text;
    const T value = *static_cast<T*>(object);
    registry.destroy(type, object);
    return value;
}

void expectRefused(const std::string& type, const std::string& text, const std::wstring& message) {
    MarshalJson& registry = *MarshalJson::instance();
    try {
        registry.destroy(type, registry.fromJson(json(text), type));
        ADD_FAILURE() << type << " accepted " << text;
    } catch (const KorvanParseException& e) {
        EXPECT_EQ(e.getMessage(), message) << type << " " << text;
        EXPECT_EQ(e.getFile(), "DeviceManager/JsonDevice/MarshalTypes");
        EXPECT_GT(e.getLine(), 0);
    }
}

constexpr const wchar_t* noInteger = L"JSON Value could not be converted to an integer";
constexpr const wchar_t* noUnsigned = L"JSON Value could not be converted to an unsigned integer";
constexpr const wchar_t* noReal = L"JSON Value could not be converted to a real number";
constexpr const wchar_t* noBoolean = L"JSON Value could not be converted to a boolean";
constexpr const wchar_t* noString = L"JSON Value could not be converted to a string";
constexpr const wchar_t* noVector = L"JSON Value could not be converted to a vector";
constexpr const wchar_t* noPair = L"JSON Value could not be converted to a pair";
constexpr const wchar_t* noItem = L"JSON value is not a std::pair<int, wstring>";

TEST(MarshalRegistry, AnUnknownNameIsKnownOnlyAfterItWasUsed) {
    MarshalJson registry;
    EXPECT_FALSE(registry.isRegistered("nothing"));
    EXPECT_FALSE(registry.isRegistered("nothing"));
    EXPECT_THROW(registry.create("nothing"), std::bad_function_call);
    EXPECT_TRUE(registry.isRegistered("nothing"));
    EXPECT_THROW(registry.destroy("nothing too", nullptr), std::bad_function_call);
    EXPECT_TRUE(registry.isRegistered("nothing too"));
}

TEST(MarshalRegistry, ConvertingAnUnknownTypeSaysWhich) {
    MarshalJson registry;
    const int object = 1;
    for (const bool writing : {true, false}) {
        try {
            if (writing) {
                registry.toJson("std::vector<nothing>", &object, {});
            } else {
                registry.fromJson(Json::Value(1), "std::vector<nothing>");
            }
            FAIL();
        } catch (const KorvanParseException&) {
            FAIL() << "an unknown type is not a matter of the value's shape";
        } catch (const KorvanException& e) {
            EXPECT_NE(e.getMessage().find(L"std::vector<nothing>"), std::wstring::npos);
        }
        EXPECT_TRUE(registry.isRegistered("std::vector<nothing>"));
    }
}

TEST(MarshalRegistry, TheEmptyNameDoesNothing) {
    MarshalJson& registry = *MarshalJson::instance();
    int object = 0;
    EXPECT_EQ(registry.create(""), nullptr);
    registry.destroy("", &object);
    EXPECT_FALSE(registry.isRegistered(""));
}

TEST(MarshalRegistry, CreatesAndDestroysDefaultObjects) {
    MarshalJson& registry = *MarshalJson::instance();
    void* const number = registry.create("int");
    EXPECT_EQ(*static_cast<int*>(number), 0);
    registry.destroy("int", number);
    void* const list = registry.create("std::vector<std::wstring>");
    EXPECT_TRUE(static_cast<std::vector<std::wstring>*>(list)->empty());
    registry.destroy("std::vector<std::wstring>", list);
}

TEST(MarshalRegistry, CopiesShareTheMarshallersAndNotTheNames) {
    MarshalJson original;
    registerGeneralTypes(original);
    MarshalJson copy = original;
    copy.registerType<int, JTypeInteger<int>>("mine");
    EXPECT_FALSE(original.isRegistered("mine"));
    auto assigned = std::make_unique<MarshalJson>();
    *assigned = copy;
    const int seven = 7;
    EXPECT_EQ(assigned->toJson("mine", &seven, {}), 7);
    copy = *assigned;
    assigned.reset();
    EXPECT_EQ(copy.toJson("mine", &seven, {}), 7);
    EXPECT_EQ(copy.toJson("int", &seven, {}), 7);
}

struct Tagged : JType {
    explicit Tagged(int t) : tag(t) {}
    Json::Value toJson(const void*, const MarshalOptions&) const override { return tag; }
    void* fromJson(const Json::Value&) const override { return nullptr; }
    int tag;
};

TEST(MarshalRegistry, ACopyKeepsTheMarshallersThatItShares) {
    auto marshaller = std::make_shared<Tagged>(1);
    const std::weak_ptr<Tagged> watched = marshaller;
    auto original = std::make_unique<MarshalJson>();
    original->registerType<int>("x", std::move(marshaller), []() -> void* { return nullptr; });
    {
        MarshalJson assigned;
        assigned = *original;
        original.reset();
        EXPECT_FALSE(watched.expired());
        EXPECT_EQ(assigned.toJson("x", nullptr, {}), 1);
    }
    EXPECT_TRUE(watched.expired());
}

TEST(MarshalRegistry, AReplacedMarshallerStaysAlive) {
    MarshalJson registry;
    auto first = std::make_shared<Tagged>(1);
    const std::weak_ptr<Tagged> watched = first;
    registry.registerType<int>("x", std::move(first), []() -> void* { return nullptr; });
    registry.registerType<int, Tagged>("x", 2);
    EXPECT_EQ(registry.toJson("x", nullptr, {}), 2);
    EXPECT_FALSE(watched.expired());
}

TEST(MarshalRegistry, FirstUseAndAdaptersOnManyThreadsAtOnce) {
    constexpr int threads = 8;
    std::latch start(threads);
    std::vector<std::thread> all;
    for (int i = 0; i < threads; ++i) {
        all.emplace_back([&, i] {
            start.arrive_and_wait();
            for (int round = 0; round < 50; ++round) {
                const JsonStatus status(static_cast<Communicator*>(nullptr));
                const JsonRemote remote(static_cast<Communicator*>(nullptr));
                EXPECT_EQ(written("int", i), std::to_string(i));
                EXPECT_EQ(read<std::vector<int>>("std::vector<int>", "[1,2]").size(), 2U);
                EXPECT_TRUE(MarshalJson::instance()->isRegistered("PairBoolPairVectorStringVectorInt"));
                EXPECT_THROW(MarshalJson::instance()->create("unknown" + std::to_string(round)),
                             std::bad_function_call);
            }
        });
    }
    for (std::thread& thread : all) {
        thread.join();
    }
}

TEST(Marshallers, NullOnBothSides) {
    MarshalJson& registry = *MarshalJson::instance();
    JsonStatus::registerStatusInterfaceTypes();
    for (const char* const type :
         {"char", "wchar_t", "short", "int", "long", "long long", "unsigned char", "unsigned short",
          "unsigned int", "unsigned long long", "float", "double", "bool", "std::string", "std::wstring",
          "uint", "signed int", "PairVectorStringVectorInt", "PairBoolPairVectorStringVectorInt"}) {
        EXPECT_TRUE(registry.toJson(type, nullptr, {}).isNull()) << type;
        EXPECT_EQ(registry.fromJson(Json::Value(), type), nullptr) << type;
    }
    for (const char* const type :
         {"std::vector<int>", "std::vector<std::wstring>", "TestPatternItem", "WarpItem", "BlendItem"}) {
        EXPECT_EQ(registry.fromJson(Json::Value(), type), nullptr) << type;
    }
}

TEST(Marshallers, Integers) {
    EXPECT_EQ(written("int", -5), "-5");
    EXPECT_EQ(written("char", 'A'), "65");
    EXPECT_EQ(written("wchar_t", L'\u20AC'), "8364");
    EXPECT_EQ(written<short>("short", -300), "-300");
    EXPECT_EQ(written("signed int", 7), "7");
    // Only 32 bits of a long travel; all 64 of a long long.
    EXPECT_EQ(written("long", 0x100000002L), "2");
    EXPECT_EQ(written("long long", -5000000000LL), "-5000000000");

    EXPECT_EQ(read<int>("int", "3.0"), 3);
    EXPECT_EQ(read<int>("int", "3.7"), 3);
    EXPECT_EQ(read<int>("int", "-3.7"), -3);
    EXPECT_EQ(read<int>("int", "true"), 1);
    EXPECT_EQ(read<int>("int", "-2147483648"), std::numeric_limits<int>::min());
    EXPECT_EQ(read<char>("char", "65"), 'A');
    EXPECT_EQ(read<short>("short", "70000"), 4464);
    EXPECT_EQ(read<long long>("long long", "-7"), -7);
    for (const char* const type : {"char", "short", "int", "long", "long long", "signed int", "wchar_t"}) {
        for (const char* const text :
             {"\"12\"", "[]", "{}", "2147483648", "5000000000", "-2147483649", "1e10"}) {
            expectRefused(type, text, noInteger);
        }
    }
}

TEST(Marshallers, UnsignedIntegers) {
    EXPECT_EQ(written("unsigned int", 4000000000U), "4000000000");
    EXPECT_EQ(written("uint", 4000000000U), written("unsigned int", 4000000000U));
    EXPECT_EQ(written<unsigned char>("unsigned char", 255), "255");
    EXPECT_EQ(written("unsigned long long", 18446744073709551615ULL), "18446744073709551615");

    EXPECT_EQ(read<unsigned int>("unsigned int", "4294967295"), 4294967295U);
    EXPECT_EQ(read<unsigned char>("unsigned char", "300"), 44);
    EXPECT_EQ(read<unsigned int>("uint", "3.9"), 3U);
    EXPECT_EQ(read<unsigned long long>("unsigned long long", "7"), 7U);
    for (const char* const type :
         {"unsigned char", "unsigned short", "unsigned int", "uint", "unsigned long long"}) {
        for (const char* const text : {"-1", "4294967296", "\"1\"", "[]", "-0.5"}) {
            expectRefused(type, text, noUnsigned);
        }
    }
}

TEST(Marshallers, Reals) {
    EXPECT_EQ(written("double", 0.5), "0.5");
    EXPECT_EQ(written("float", 0.1F), "0.10000000149011612");
    EXPECT_EQ(read<double>("double", "1e300"), 1e300);
    EXPECT_EQ(read<float>("float", "0.1"), 0.1F);
    EXPECT_EQ(read<double>("double", "3"), 3.0);
    EXPECT_EQ(read<double>("double", "true"), 1.0);
    for (const char* const text : {"\"1.5\"", "[]", "{}"}) {
        expectRefused("double", text, noReal);
        expectRefused("float", text, noReal);
    }
}

TEST(Marshallers, Booleans) {
    EXPECT_EQ(written("bool", true), "true");
    EXPECT_EQ(written("bool", false), "false");
    EXPECT_TRUE(read<bool>("bool", "true"));
    EXPECT_TRUE(read<bool>("bool", "2"));
    EXPECT_FALSE(read<bool>("bool", "0.0"));
    for (const char* const text : {"\"true\"", "[]", "{}"}) {
        expectRefused("bool", text, noBoolean);
    }
}

TEST(Marshallers, Texts) {
    const std::wstring wide = L"Gr\u00fc\u00dfe \U0001F4FD";
    const std::string utf8 =
        "Gr\xC3\xBC\xC3\x9F"
        "e \xF0\x9F\x93\xBD";
    MarshalJson& registry = *MarshalJson::instance();
    EXPECT_EQ(registry.toJson("std::wstring", &wide, {}).asString(), utf8);
    EXPECT_EQ(read<std::wstring>("std::wstring", "\"" + utf8 + "\""), wide);
    EXPECT_EQ(read<std::wstring>("std::wstring", written("std::wstring", wide)), wide);
    // Narrow text is bytes.
    const std::string bytes = "\xFF\xC3";
    EXPECT_EQ(registry.toJson("std::string", &bytes, {}).asString(), bytes);
    EXPECT_EQ(read<std::string>("std::string", "\"\xFF\xC3\""), bytes);
    EXPECT_EQ(read<std::wstring>("std::wstring", "\"bad \xFF\""), L"bad \uFFFD");
    EXPECT_EQ(read<std::wstring>("std::wstring", "12"), L"12");
    EXPECT_EQ(read<std::string>("std::string", "true"), "true");
    for (const char* const text : {"[]", "{}", "[\"a\"]"}) {
        expectRefused("std::string", text, noString);
        expectRefused("std::wstring", text, noString);
    }
}

TEST(Marshallers, Vectors) {
    EXPECT_EQ(written("std::vector<int>", std::vector<int>{1, -2, 3}), "[1,-2,3]");
    EXPECT_EQ(written("std::vector<int>", std::vector<int>{}), "[]");
    EXPECT_EQ(written("std::vector<char>", std::vector<char>{'a', 'b'}), "[97,98]");
    EXPECT_EQ(written("std::vector<std::wstring>", std::vector<std::wstring>{L"a", L"\u00e9"}),
              "[\"a\",\"\\u00e9\"]");
    EXPECT_EQ(read<std::vector<int>>("std::vector<int>", "[]"), std::vector<int>{});
    EXPECT_EQ(read<std::vector<int>>("std::vector<int>", "[1,2.9,true]"), (std::vector<int>{1, 2, 1}));
    EXPECT_EQ(read<std::vector<double>>("std::vector<double>", "[1,2.5]"), (std::vector<double>{1, 2.5}));
    expectRefused("std::vector<int>", "{}", noVector);
    expectRefused("std::vector<int>", "1", noVector);
    expectRefused("std::vector<int>", "\"[1]\"", noVector);
    expectRefused("std::vector<int>", "[1,\"a\"]", noInteger);
    expectRefused("std::vector<unsigned int>", "[1,-1]", noUnsigned);
    expectRefused("std::vector<std::wstring>", "[\"a\",[]]", noString);
    expectRefused("std::vector<int>", "[1,null]", noVector);
    expectRefused("std::vector<std::string>", "[null]", noVector);
}

TEST(Marshallers, Items) {
    using Item = std::pair<int, std::wstring>;
    for (const std::string type : {"TestPatternItem", "WarpItem", "BlendItem"}) {
        const Item item{3, L"Gr\u00fcn"};
        EXPECT_EQ(written(type, item), R"({"first":3,"second":"Gr\u00fcn"})");
        EXPECT_EQ(read<Item>(type, R"({"first":3.9,"second":"Gr\u00fcn","more":1})"), item);
        EXPECT_EQ(read<Item>(type, R"({"first":1,"second":2})"), (Item{1, L"2"}));
        for (const char* const text : {"{}", "[]", "3", R"({"first":1})", R"({"second":"a"})",
                                       R"({"first":"1","second":"a"})", R"({"first":1,"second":[]})",
                                       R"({"first":null,"second":"a"})", R"({"first":1,"second":null})"}) {
            expectRefused(type, text, noItem);
        }
        const std::string list = "std::vector<" + type + ">";
        EXPECT_EQ(written(list, std::vector<Item>{{1, L"a"}}), R"([{"first":1,"second":"a"}])");
        EXPECT_EQ(read<std::vector<Item>>(list, R"([{"first":1,"second":"a"}])"),
                  (std::vector<Item>{{1, L"a"}}));
        expectRefused(list, R"([{"first":1}])", noItem);
        expectRefused(list, "{}", noVector);
        expectRefused(list, "[null]", noVector);
    }
}

TEST(Marshallers, StatusPairs) {
    JsonStatus::registerStatusInterfaceTypes();
    using Lists = std::pair<std::vector<std::wstring>, std::vector<int>>;
    const Lists lists{{L"lamp", L"board"}, {60, 41}};
    const std::string text = R"({"first":["lamp","board"],"second":[60,41]})";
    EXPECT_EQ(written("PairVectorStringVectorInt", lists), text);
    EXPECT_EQ(read<Lists>("PairVectorStringVectorInt", text), lists);
    using Known = std::pair<bool, Lists>;
    EXPECT_EQ(written("PairBoolPairVectorStringVectorInt", Known{true, lists}),
              R"({"first":true,"second":)" + text + "}");
    EXPECT_EQ(read<Known>("PairBoolPairVectorStringVectorInt", R"({"first":true,"second":)" + text + "}"),
              (Known{true, lists}));
    expectRefused("PairVectorStringVectorInt", "[]", noPair);
    expectRefused("PairVectorStringVectorInt", "{}", noPair);
    expectRefused("PairVectorStringVectorInt", R"({"first":[]})", noPair);
    expectRefused("PairVectorStringVectorInt", R"({"first":[],"second":null})", noPair);
    expectRefused("PairVectorStringVectorInt", R"({"first":1,"second":[]})", noVector);
    expectRefused("PairVectorStringVectorInt", R"({"first":[],"second":["a"]})", noInteger);
    expectRefused("PairBoolPairVectorStringVectorInt", R"({"first":"x","second":{}})", noBoolean);
    expectRefused("PairBoolPairVectorStringVectorInt", R"({"first":true,"second":[]})", noPair);
}

TEST(Marshallers, RawJson) {
    const Json::Value tree = json(R"({"a":[1,null,"x"]})");
    EXPECT_EQ(MarshalJson::instance()->toJson("Json::Value", &tree, {}), tree);
    EXPECT_EQ(read<Json::Value>("Json::Value", R"({"a":[1,null,"x"]})"), tree);
    EXPECT_TRUE(read<Json::Value>("Json::Value", "null").isNull());
}

TEST(Marshallers, RealsBeyondEveryInteger) {
    expectRefused("int", "1e30", noInteger);
    expectRefused("long long", "1e30", noInteger);
    expectRefused("unsigned long long", "1e30", noUnsigned);
    EXPECT_EQ(read<double>("double", "1e30"), 1e30);
}

}  // namespace
}  // namespace JsonDevice
