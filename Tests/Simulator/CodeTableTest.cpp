#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Simulator/CodeTable.h"
#include "Simulator/Store.h"

namespace JsonDevice::Simulation {

namespace {

/// The code of the error that the function raises; 0 when it raises none.
template <class Function>
int errorOf(Function function) {
    try {
        function();
    } catch (const RequestError& error) {
        return error.getCode();
    }
    return 0;
}

class CodeTableTest : public ::testing::Test {
protected:
    CodeTableTest() {
        codes.addListener([this](const Code& changed) { told.push_back(changed.getDescription().code); });
    }

    CodeTable codes;
    std::vector<std::string> told;
    Property<Wire::Int> level{codes, {.code = "level", .summary = "", .range = Range{-5, 5}}, 1};
    Property<Wire::Float> gain{codes, {.code = "gain", .summary = "", .range = Range{0, 1}}, 0.5F};
    Property<Wire::Floats> gains{codes, {.code = "gains", .summary = "", .range = Range{0, 1}}, {0, 1}};
    Property<Wire::Text> name{codes, {.code = "name", .summary = ""}, L"initial"};
    Property<Wire::Int> counter{codes, {.code = "counter", .summary = "", .readOnly = true}, 7};
    Property<Wire::Int> even{codes, {.code = "even", .summary = ""}, 2, [](int value) {
                                 if (value % 2 != 0) {
                                     throw RequestError(ErrorCode::deviceError, "odd");
                                 }
                             }};
};

TEST_F(CodeTableTest, TellsOfNewValuesAlone) {
    level.set(1);
    EXPECT_TRUE(told.empty());
    level.set(2);
    name.set(L"other");
    EXPECT_EQ(told, (std::vector<std::string>{"level", "name"}));
}

TEST_F(CodeTableTest, ChecksTheRangeOfEachNumber) {
    level.set(-5);
    level.set(5);
    EXPECT_EQ(errorOf([&] { level.set(6); }), ErrorCode::outOfRange);
    EXPECT_EQ(errorOf([&] { level.set(-6); }), ErrorCode::outOfRange);
    EXPECT_EQ(errorOf([&] { gain.set(std::numeric_limits<float>::quiet_NaN()); }), ErrorCode::outOfRange);
    EXPECT_EQ(errorOf([&] { gains.set({0.5F, 1.5F}); }), ErrorCode::outOfRange);
    EXPECT_EQ(level.get(), 5);
    EXPECT_EQ(gain.get(), 0.5F);
    EXPECT_EQ(gains.get(), (std::vector<float>{0, 1}));
}

TEST_F(CodeTableTest, AsksAFurtherCheck) {
    even.set(4);
    EXPECT_EQ(errorOf([&] { even.set(5); }), ErrorCode::deviceError);
    EXPECT_EQ(even.get(), 4);
}

TEST_F(CodeTableTest, ReadsAndWritesByCode) {
    codes.find("gains").write(codes.find("gains").readDefault());
    EXPECT_TRUE(told.empty());
    codes.find("name").write("gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(name.get(), L"gr\u00fc\u00df");
    EXPECT_EQ(codes.find("name").read(), Json::Value("gr\xc3\xbc\xc3\x9f"));
    EXPECT_EQ(codes.find("name").readDefault(), Json::Value("initial"));
    EXPECT_EQ(codes.find("gains").getType(), "std::vector<float>");
    EXPECT_EQ(errorOf([&] { codes.find("none"); }), ErrorCode::unknownCode);
    EXPECT_EQ(errorOf([&] { codes.find("level").write("x"); }), ErrorCode::invalidParams);
    EXPECT_EQ(errorOf([&] { codes.find("level").write(Json::Value()); }), ErrorCode::invalidParams);
    EXPECT_EQ(codes.all().size(), 6U);
}

TEST_F(CodeTableTest, RestoresWhatCanBeSet) {
    level.set(3);
    name.set(L"other");
    counter.set(8);
    told.clear();
    codes.restoreDefaults();
    EXPECT_EQ(level.get(), 1);
    EXPECT_EQ(name.get(), L"initial");
    EXPECT_EQ(counter.get(), 8);
    EXPECT_EQ(told, (std::vector<std::string>{"level", "name"}));
}

TEST(StoreTest, KeepsThingsUnderLocations) {
    Store<int> store("warp", 1, 4);
    EXPECT_TRUE(store.list().empty());
    store.save(4, L"last", 40);
    store.save(1, L"first", 10);
    store.save(1, L"again", 11);
    EXPECT_EQ(store.list(), (std::vector<std::pair<int, std::wstring>>{{1, L"again"}, {4, L"last"}}));
    EXPECT_EQ(store.at(1).content, 11);
    store.at(1).name = L"renamed";
    EXPECT_EQ(store.at(1).name, L"renamed");
    store.remove(4);
    EXPECT_FALSE(store.contains(4));
    EXPECT_EQ(errorOf([&] { store.at(4); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { store.remove(4); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { store.save(0, L"", 0); }), ErrorCode::outOfRange);
    EXPECT_EQ(errorOf([&] { store.at(5); }), ErrorCode::outOfRange);
}

}  // namespace

}  // namespace JsonDevice::Simulation
