#include <cstdio>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Tools/Arguments.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace {

using namespace Tool;
using JsonDevice::Vocabulary::Operation;
using JsonDevice::Vocabulary::WireType;
using JsonDevice::Wire::Form;
using testing::HasSubstr;

constexpr WireType intType{"int", Form::integer};
constexpr WireType unsignedType{"unsigned int", Form::unsignedInteger};
constexpr WireType floatType{"float", Form::real};
constexpr WireType boolType{"bool", Form::boolean};
constexpr WireType textType{"std::wstring", Form::text};
constexpr WireType intsType{"std::vector<int>", Form::json};
constexpr WireType itemsType{"std::vector<TestPatternItem>", Form::json};

Operation taking(std::vector<WireType> types) {
    Operation operation{"Test::operation", "", {"", Form::nothing}, {}, {}};
    for (const WireType& type : types) {
        operation.parameters.push_back({"value", type});
    }
    return operation;
}

/// The params of a request, as compact JSON.
std::string parse(std::vector<WireType> types, const std::vector<std::string>& arguments) {
    JsonDevice::Vocabulary::registerAllTypes();
    Input input;
    return jsonText(parseArguments(taking(std::move(types)), arguments, input), false);
}

std::string refusal(std::vector<WireType> types, const std::vector<std::string>& arguments) {
    try {
        const std::string params = parse(std::move(types), arguments);
        ADD_FAILURE() << "accepted as " << params;
        return "";
    } catch (const FailureException& e) {
        EXPECT_EQ(e.get().status, ExitStatus::usage);
        return e.get().message;
    }
}

class File {
public:
    explicit File(const std::string& content) {
        path = testing::TempDir() + "jsondevice-" + std::to_string(::getpid()) + "-argument";
        std::ofstream(path, std::ios::binary) << content;
    }
    ~File() { std::remove(path.c_str()); }
    std::string path;
};

TEST(Arguments, ParsesByType) {
    EXPECT_EQ(parse({}, {}), "[]");
    EXPECT_EQ(parse({intType}, {"-5"}), "[-5]");
    EXPECT_EQ(parse({intType}, {"0x1F"}), "[31]");
    EXPECT_EQ(parse({intType}, {"-2147483648"}), "[-2147483648]");
    EXPECT_EQ(parse({unsignedType}, {"4294967295"}), "[4294967295]");
    EXPECT_EQ(parse({boolType, boolType}, {"on", "false"}), "[true,false]");
    EXPECT_EQ(parse({textType}, {""}), R"([""])");
    EXPECT_EQ(parse({textType}, {"-5"}), R"(["-5"])");
    EXPECT_EQ(parse({textType}, {"M\xc3\xbcnchen"}), "[\"M\xc3\xbcnchen\"]");
    EXPECT_EQ(parse({intsType}, {"[1, 2]"}), "[[1,2]]");
    EXPECT_EQ(parse({intsType}, {"[]"}), "[[]]");
    EXPECT_EQ(parse({itemsType, intType}, {R"([{"first": 1, "second": "one"}])", "2"}),
              R"([[{"first":1,"second":"one"}],2])");
}

TEST(Arguments, NullStandsForAnObjectThatIsNotThere) {
    EXPECT_EQ(parse({{"BlendProxy", Form::json, true}}, {"null"}), "[null]");
    EXPECT_THAT(refusal({{"BlendProxy", Form::json, true}}, {"5"}), HasSubstr("is not {\"name\""));
    EXPECT_THAT(refusal({{"BlendProxy", Form::json}}, {"null"}), HasSubstr("is not {\"name\""));
}

// A mesh is sent as its text, and never read back by the library.
TEST(Arguments, AMeshIsText) {
    EXPECT_EQ(parse({{"MeshProxy", Form::text, true}}, {"mesh 2 2"}), R"(["mesh 2 2"])");
}

// A host that sets 0.1 sends what a float makes of it.
TEST(Arguments, SendsWhatTheLibraryWouldSend) {
    EXPECT_EQ(parse({floatType}, {"0.1"}), "[0.10000000149011612]");
    EXPECT_EQ(parse({floatType}, {"-2"}), "[-2.0]");
    EXPECT_EQ(parse({intsType}, {"[1.5, true]"}), "[[1,1]]");
}

TEST(Arguments, NamesTheArgumentThatIsWrongAndWhatIsExpected) {
    EXPECT_EQ(refusal({intType, intType}, {"1", "abc"}),
              "argument 2 (value) of Test::operation: \"abc\" is not a whole number from -2147483648 to "
              "2147483647");
    for (const char* text : {"", "2147483648", "-2147483649", "1.5", "1e3", " 1", "1 ", "+1", "0x", "0x-1",
                             "--1", "0x100000000", "1,000", "nan"}) {
        EXPECT_THAT(refusal({intType}, {text}), HasSubstr("is not a whole number")) << text;
    }
    for (const char* text : {"-1", "4294967296"}) {
        EXPECT_THAT(refusal({unsignedType}, {text}), HasSubstr("from 0 to 4294967295")) << text;
    }
    for (const char* text : {"", "nan", "inf", "1e39", "1,5", "abc"}) {
        EXPECT_THAT(refusal({floatType}, {text}), HasSubstr("is not a number")) << text;
    }
    EXPECT_THAT(refusal({boolType}, {"maybe"}), HasSubstr("true or false"));
    EXPECT_THAT(refusal({textType}, {"\xff"}), HasSubstr("is not text in UTF-8"));
    EXPECT_THAT(refusal({intsType}, {"[1,"}), HasSubstr("is not JSON"));
    EXPECT_THAT(refusal({intsType}, {"[1] 2"}), HasSubstr("is not JSON"));
    EXPECT_THAT(refusal({intsType}, {""}), HasSubstr("is not JSON"));
    EXPECT_THAT(refusal({intsType}, {"5"}), HasSubstr("is not [whole number, ...]"));
    EXPECT_THAT(refusal({intsType}, {"null"}), HasSubstr("is not [whole number, ...]"));
    EXPECT_THAT(refusal({intsType}, {"[99999999999]"}), HasSubstr("is not [whole number, ...]"));
    EXPECT_THAT(refusal({itemsType}, {R"([{"first": "x"}])"}), HasSubstr("\"second\": \"name\""));
    EXPECT_THAT(refusal({intsType}, {std::string(5000, '[')}), HasSubstr("is not JSON"));
}

TEST(Arguments, QuotesSafelyAndShort) {
    const std::string message = refusal({intType}, {"\x1b[31m" + std::string(1000, 'x')});
    EXPECT_EQ(message.find('\x1b'), std::string::npos);
    EXPECT_LT(message.size(), 250u);
}

TEST(Arguments, CountsThem) {
    EXPECT_EQ(refusal({}, {"1"}), "Test::operation takes no arguments, not 1");
    EXPECT_EQ(refusal({intType}, {}), "Test::operation takes 1 argument, not 0: Test::operation value");
    EXPECT_EQ(refusal({intType, intType}, {"1", "2", "3"}),
              "Test::operation takes 2 arguments, not 3: Test::operation value value");
}

TEST(Arguments, ReadsFiles) {
    const File file("one\ntwo\n");
    EXPECT_EQ(parse({textType}, {"@" + file.path}), R"(["one\u000atwo"])");
    const File json("[1,\n2]\n");
    EXPECT_EQ(parse({intsType}, {"@" + json.path}), "[[1,2]]");
    const File number("12\r\n");
    EXPECT_EQ(parse({intType}, {"@" + number.path}), "[12]");
    EXPECT_EQ(refusal({textType}, {"@/nowhere"}), "cannot read \"/nowhere\": No such file or directory");
    EXPECT_EQ(refusal({textType}, {"@/"}), "cannot read \"/\": Is a directory");
    EXPECT_EQ(refusal({textType}, {"@"}), "cannot read \"\": No such file or directory");
}

TEST(Arguments, TakesATextThatBeginsWithAnAt) {
    EXPECT_EQ(parse({textType}, {"@@home"}), R"(["@home"])");
    EXPECT_EQ(parse({textType}, {"@@@"}), R"(["@@"])");
    EXPECT_EQ(parse({textType}, {"@@"}), R"(["@"])");
    EXPECT_EQ(parse({textType}, {"a@b"}), R"(["a@b"])");
}

TEST(Arguments, ReadsTimeouts) {
    EXPECT_EQ(parseTimeout("2"), 2000);
    EXPECT_EQ(parseTimeout("0.5"), 500);
    EXPECT_EQ(parseTimeout("2s"), 2000);
    EXPECT_EQ(parseTimeout("250ms"), 250);
    EXPECT_EQ(parseTimeout("0"), 0);
    EXPECT_EQ(parseTimeout("0.0001"), 1) << "not 0, which would be for ever";
    for (const char* text : {"", "-1", "-0", "abc", "ms", "s", "1e9", "nan", "inf", "1m", "1 s"}) {
        EXPECT_THROW(parseTimeout(text), FailureException) << text;
    }
}

}  // namespace
