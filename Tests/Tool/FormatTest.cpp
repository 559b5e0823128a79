#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "DeviceManager/JsonDevice/JsonText.h"
#include "Tools/Format.h"

namespace {

using namespace Tool;
using JsonDevice::Vocabulary::WireType;
using JsonDevice::Wire::Form;

Json::Value read(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(JsonDevice::JsonText::read(text, value)) << text;
    return value;
}

bool controlsNothing(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool c1 = c == 0xc2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xa0;
        if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7f || c1) {
            return false;
        }
    }
    return true;
}

TEST(Format, EscapesWhatControlsATerminal) {
    EXPECT_EQ(printable("a\x1b[31mb\x07\x7f"), "a\\x1b[31mb\\x07\\x7f");
    EXPECT_EQ(printable("\xc2\x9b"
                        "31m"),
              "\\x9b31m");
    EXPECT_EQ(printable("\xe2\x80\xae"
                        "abc"),
              "\\u202eabc");
    EXPECT_EQ(printable("one\ntwo\tthree\r"), "one\ntwo\tthree\\r");
    EXPECT_EQ(printableLine("one\ntwo\t"), "one\\ntwo\\t");
    EXPECT_EQ(printable("M\xc3\xbcnchen"), "M\xc3\xbcnchen");
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(printable("\xff"), "\xef\xbf\xbd");
}

RC_GTEST_PROP(Format, NoTextControlsATerminal, (const std::string& text)) {
    RC_ASSERT(controlsNothing(printable(text)));
    RC_ASSERT(printableLine(text).find('\n') == std::string::npos);
    RC_ASSERT(controlsNothing(jsonText(Json::Value(text), true)));
}

TEST(Format, ShortensBetweenCharacters) {
    EXPECT_EQ(printableLine("abcdef", 6), "abcdef");
    EXPECT_EQ(printableLine("abcdefg", 6), "abcdef... (7 bytes)");
    EXPECT_EQ(printableLine("a\xc3\xbc"
                            "b",
                            2),
              "a... (4 bytes)");
}

TEST(Format, WritesJsonThatReadsBackEqual) {
    for (const char* text : {
             "null",
             "true",
             "[1,-2,3]",
             "18446744073709551615",
             "-9223372036854775808",
             "0.1",
             "1.0",
             "1e300",
             R"({"a":{"b":[{"c":"d"}]},"e":[]})",
             R"("\"\\\u0000\u001b\u009b\u202e\n")",
             "\"\xf0\x9f\x98\x80\"",
             "{}",
         }) {
        const Json::Value value = read(text);
        for (const bool indented : {false, true}) {
            const std::string written = jsonText(value, indented);
            EXPECT_EQ(read(written), value) << written;
            EXPECT_EQ(read(written).type(), value.type()) << written;
        }
    }
}

RC_GTEST_PROP(Format, RealsAreShortestAndReadBackEqual, (double number)) {
    const Json::Value value(number);
    RC_ASSERT(read(jsonText(value, false)).asDouble() == number);
}

TEST(Format, WritesNumbersShort) {
    EXPECT_EQ(jsonText(Json::Value(0.1), false), "0.1");
    EXPECT_EQ(jsonText(Json::Value(2.0), false), "2.0");
    EXPECT_EQ(jsonText(Json::Value(std::numeric_limits<double>::infinity()), false), "1e+9999");
}

TEST(Format, IndentsJson) {
    EXPECT_EQ(jsonText(read(R"({"b":[1,2],"a":{"c":null}})"), true),
              "{\n  \"a\": {\n    \"c\": null\n  },\n  \"b\": [1,2]\n}");
    EXPECT_EQ(jsonText(read(R"([[],{}])"), true), "[\n  [],\n  {}\n]");
}

TEST(Format, AlignsColumnsByWhatTheyTakeOnATerminal) {
    EXPECT_EQ(table({{"a", "1"}, {"m\xc3\xbc", "22"}, {"\xe6\x97\xa5", "333"}}, {Align::left, Align::right}),
              "a     1\nm\xc3\xbc   22\n\xe6\x97\xa5  333\n");
    EXPECT_EQ(table({{"title"}, {"a", "b"}}, {Align::left, Align::left}), "title\na      b\n");
    EXPECT_EQ(table({}, {}), "");
}

struct Shown {
    WireType type;
    const char* result;
    const char* text;
    const char* line;
};

class FormatResult : public testing::TestWithParam<Shown> {};

TEST_P(FormatResult, AsAPersonReadsIt) {
    const Shown& row = GetParam();
    EXPECT_EQ(formatResult(row.type, read(row.result)), row.text);
    EXPECT_EQ(formatInline(row.type, read(row.result)), row.line);
}

INSTANTIATE_TEST_SUITE_P(
    Types, FormatResult,
    testing::Values(
        Shown{{"", Form::nothing}, "null", "", ""}, Shown{{"int", Form::integer}, "-7", "-7\n", "-7"},
        Shown{{"int", Form::integer}, "true", "1\n", "1"}, Shown{{"int", Form::integer}, "2.9", "2\n", "2"},
        Shown{{"unsigned int", Form::unsignedInteger}, "4294967295", "4294967295\n", "4294967295"},
        Shown{{"float", Form::real}, "0.10000000149011612", "0.1\n", "0.1"},
        Shown{{"double", Form::real}, "0.1", "0.1\n", "0.1"},
        Shown{{"bool", Form::boolean}, "true", "true\n", "true"},
        Shown{{"std::wstring", Form::text}, "\"one\\ntwo\\u001b\"", "one\ntwo\\x1b\n", "one\\ntwo\\x1b"},
        Shown{{"std::wstring", Form::text}, "\"line\\n\"", "line\n", "line\\n"},
        Shown{{"std::vector<int>", Form::json}, "[3,4]", "3\n4\n", "3, 4"},
        Shown{{"std::vector<int>", Form::json}, "[]", "", ""},
        Shown{{"std::vector<TestPatternItem>", Form::json},
              R"([{"first":1,"second":"one"},{"first":22,"second":"two\u001b"}])",
              " 1  one\n22  two\\x1b\n",
              R"([{"first":1,"second":"one"},{"first":22,"second":"two\\x1b"}])"},
        Shown{{"std::vector<Point3F>", Form::json},
              R"([{"x":0.5,"y":1,"z":-2}])",
              "  x  y   z\n0.5  1  -2\n",
              R"([{"x":0.5,"y":1,"z":-2}])"},
        Shown{{"Point2I", Form::json}, R"({"x":1,"y":2})", "x  1\ny  2\n", R"({"x":1,"y":2})"},
        Shown{{"PairBoolPairVectorStringVectorInt", Form::json},
              R"({"first":true,"second":{"first":["lamp","dmd"],"second":[60,5]}})",
              "lamp  60\ndmd    5\n",
              R"({"first":true,"second":{"first":["lamp","dmd"],"second":[60,5]}})"},
        Shown{{"PairBoolPairVectorStringVectorInt", Form::json},
              R"({"first":false,"second":{"first":[],"second":[]}})",
              "not known\n",
              R"({"first":false,"second":{"first":[],"second":[]}})"}));

TEST(Format, ShortensLongTextsInsideOfRecords) {
    Json::Value value(Json::objectValue);
    value["image"] = std::string(100000, 'A');
    const std::string shown = formatResult({"BlendProxy", Form::json}, value);
    EXPECT_LT(shown.size(), 200u);
    EXPECT_NE(shown.find("(100000 bytes)"), std::string::npos);
}

TEST(Format, TellsWhatATypeLooksLike) {
    EXPECT_EQ(describeType({"std::vector<Point2I>", Form::json}),
              R"([{"x": whole number, "y": whole number}, ...])");
    EXPECT_EQ(describeType({"Something", Form::json}), "JSON");
}

// A type that is described as any JSON tells the user nothing.
TEST(Format, DescribesEveryTypeOfTheVocabulary) {
    for (const auto& operation : JsonDevice::Vocabulary::operations()) {
        for (const auto& parameter : operation.parameters) {
            EXPECT_NE(describeType(parameter.type), "JSON") << parameter.type.name;
        }
        EXPECT_NE(describeType(operation.result), "JSON") << operation.result.name;
    }
}

}  // namespace
