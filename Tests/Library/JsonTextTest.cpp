#include <chrono>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>
#include <rapidcheck/gtest.h>

#include "DeviceManager/JsonDevice/JsonText.h"
#include "Tests/Library/HostileLocale.h"

namespace JsonDevice {
namespace {

/// Equality of kinds as well as of values; Json::Value takes 1 and 1u for equal.
bool same(const Json::Value& a, const Json::Value& b) {
    if (a.type() != b.type() || a.size() != b.size()) {
        return false;
    }
    if (a.isArray()) {
        return std::equal(a.begin(), a.end(), b.begin(), same);
    }
    if (a.isObject()) {
        return a.getMemberNames() == b.getMemberNames() && std::equal(a.begin(), a.end(), b.begin(), same);
    }
    if (a.isDouble() && !a.isIntegral()) {
        return a.asDouble() == b.asDouble();
    }
    return a == b;
}

/// What Json::Reader makes of a text, told in one text; it is asked under the C locale.
bool referenceRead(const std::string& text, Json::Value& value) {
    Json::Reader reader;
    try {
        return reader.parse(text, value, true);
    } catch (const Json::Exception&) {
        return false;
    }
}

void expectReadAsReference(const std::string& text) {
    Json::Value expected;
    Json::Value actual;
    const bool accepted = referenceRead(text, expected);
    ASSERT_EQ(JsonText::read(text, actual), accepted) << text;
    if (accepted) {
        EXPECT_TRUE(same(actual, expected)) << text << "\n" << actual << "\n" << expected;
    }
}

std::string referenceWrite(const Json::Value& value) {
    return Json::FastWriter().write(value);
}

TEST(JsonTextRead, AcceptsWhatTheReferenceAccepts) {
    const std::string texts[] = {
        "",
        " ",
        "\r",
        "nul",
        "null",
        "true",
        "[1,2,3]",
        "{}",
        "[]",
        "[1.234,-0.5,1e3,1E-2,0.1]",
        "[0,-0,-0.0,1,-1,2147483647,2147483648,-2147483648,-2147483649]",
        "[4294967295,4294967296,9223372036854775807,9223372036854775808,18446744073709551615]",
        "[18446744073709551616,-9223372036854775808,-9223372036854775809,123456789012345678901234567890]",
        "[1e400]",
        "[-1e400]",
        "[1e-400]",
        "[01,007,-01]",
        "[-]",
        "[1.]",
        "[-.5]",
        "[.5]",
        "[+1]",
        "[1e]",
        "[1e+]",
        "[1.2.3]",
        "[1-2]",
        "1-2",
        "12 34",
        "[1,]",
        "[,1]",
        "[1 2]",
        "{\"a\":1,}",
        "{\"\":1,}",
        "{\"a\":1 \"b\":2}",
        "{1:2}",
        "{1.5:2}",
        "{\"a\":1.5} trailing 1.5",
        "{\"a\":1.5}]",
        "// comment 1.5\n[1.5]",
        "[1.5 /* 2.5 */, 3.5 // 4.5\n]",
        "/* \"unclosed 1.5 [1.5]",
        "/* a */ /* b */ 1.5 // c",
        "[1/2]",
        "{\"a\":{\"b\":1},\"a\":{\"c\":2.5}}",
        "{\"a\":[1],\"a\":2}",
        "\"text\"",
        "\"line\nbreak and 1.5\"",
        "\"tab\there\"",
        "\"\\u00e9\\ud83d\\udcfd\"",
        "\"\\ud800\"",
        "\"\\ud800\\u0041\"",
        "\"\\udc00\"",
        "\"\\u0000 inside\"",
        "\"\\x\"",
        "\"\xC3\xA9\xE6\x8A\x95\"",
        "\"bad \xFF utf8 \xC3\"",
        "[\"bad \xFF\", 1.5, -2, {\"k\xFF\": 2.25}]",
        "\xEF\xBB\xBF[1]",
        "[1]\r",
        "[x\r",
        "\"unclosed",
        "\"ends in backslash \\",
        "[[[[1.5]]]",
        "{\"a\"}",
        "{\"a\":}",
        "[true,false,null,tru]",
        "[NaN]",
        "[Infinity]",
        "{'a':1}",
    };
    for (const std::string& text : texts) {
        expectReadAsReference(text);
    }
}

TEST(JsonTextRead, AcceptsAndRefusesTheSameDepth) {
    for (const std::size_t depth : {1U, 400U, 499U, 500U, 501U, 999U, 1000U, 1001U, 1002U, 5000U}) {
        for (const std::string inner : {"", "1.5"}) {
            expectReadAsReference(std::string(depth, '[') + inner + std::string(depth, ']'));
        }
    }
    EXPECT_FALSE([] {
        Json::Value value;
        return JsonText::read(std::string(1000000, '['), value);
    }());
}

TEST(JsonTextRead, ManyCommentsTakeNoTimeToSpeakOf) {
    std::string text = "[1.5 ";
    for (int i = 0; i < 200000; ++i) {
        text += "/**/";
    }
    text += "]";
    const auto start = std::chrono::steady_clock::now();
    Json::Value value;
    ASSERT_TRUE(JsonText::read(text, value));
    EXPECT_EQ(value[0], 1.5);
    // Were they kept, it would be more than a minute.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(JsonTextRead, KeepsTheCommentsOfAShortText) {
    Json::Value value;
    ASSERT_TRUE(JsonText::read("// before\n[1.5]", value));
    EXPECT_EQ(value.getComment(Json::commentBefore), "// before");
}

TEST(JsonTextRead, ReadsInPlaceAndWithoutRoomToSpare) {
    std::string text = R"({"a":[1,2.5,"x"]})";
    Json::Value tight;
    Json::Value roomy;
    text.shrink_to_fit();
    ASSERT_TRUE(JsonText::read(text, tight));
    text.reserve(text.size() + JsonText::readPadding);
    ASSERT_TRUE(JsonText::read(text, roomy));
    EXPECT_TRUE(same(tight, roomy));
}

/// Texts made of pieces of JSON, most of them a little wrong.
rc::Gen<std::string> brokenJson() {
    return rc::gen::map(
        rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
            "[", "]", "{", "}", ",", ":", "\"a\"", "\"b\"", "\"\"", "1", "-", "0", ".", "5", "e", "E", "+",
            "1.5", "-2.25e3", "12345678901234567890", "true", "false", "null", " ", "\n", "\r", "//", "/*",
            "*/", "/", "\"", "\\", "\\u00", "\xFF", "[1.5,", "]", "]", "{\"k\":", "}", "}")),
        [](const std::vector<std::string>& pieces) {
            std::string text;
            for (const std::string& piece : pieces) {
                text += piece;
            }
            return text;
        });
}

RC_GTEST_PROP(JsonTextRead, AgreesWithTheReferenceOnAnyText, ()) {
    const std::string text = *rc::gen::resize(60, brokenJson());
    Json::Value expected;
    Json::Value actual;
    const bool accepted = referenceRead(text, expected);
    RC_ASSERT(JsonText::read(text, actual) == accepted);
    RC_ASSERT(!accepted || same(actual, expected));
}

TEST(JsonTextRead, IsTheSameUnderAHostileLocale) {
    const std::string texts[] = {
        "[1.234,1234567.5,-1234.5e-2,1e3,12345678901234567890123]",
        "// a comment sends it the other way\n[1.234,1234567.5,-1234.5e-2,1e3,12345678901234567890123]",
        "[\"bad \xFF\",1.234,1234.5]",
        "[01.5,1.,-.5]",
    };
    for (const std::string& text : texts) {
        Json::Value expected;
        ASSERT_TRUE(referenceRead(text, expected)) << text;
        const HostileLocale hostile;
        Json::Value actual;
        ASSERT_TRUE(JsonText::read(text, actual)) << text;
        EXPECT_TRUE(same(actual, expected)) << text;
    }
    const HostileLocale hostile;
    Json::Value misread;
    ASSERT_TRUE(referenceRead("[1.234]", misread));
    EXPECT_NE(misread[0].asDouble(), 1.234) << "the locale of this test is not hostile";
}

TEST(JsonTextWrite, FreezesTheBytes) {
    const auto written = [](const Json::Value& value) {
        const std::string text = JsonText::write(value);
        EXPECT_EQ(text, referenceWrite(value));
        return text;
    };
    EXPECT_EQ(written("Gr\xC3\xBC\xC3\x9F"
                      "e \xE6\x8A\x95 \xF0\x9F\x93\xBD"),
              "\"Gr\\u00fc\\u00dfe \\u6295 \\ud83d\\udcfd\"\n");
    EXPECT_EQ(written("bad \xFF|\xC3"), "\"bad \\ufffd|\\ufffd\"\n");
    EXPECT_EQ(written("a/b\"c\\d\b\f\n\r\t\x01\x1f\x7f"),
              "\"a/b\\\"c\\\\d\\b\\f\\n\\r\\t\\u0001\\u001f\x7f\"\n");
    EXPECT_EQ(written(std::string("nul\0in", 6)), "\"nul\\u0000in\"\n");
    EXPECT_EQ(written(0.1), "0.10000000000000001\n");
    EXPECT_EQ(written(1.0), "1.0\n");
    EXPECT_EQ(written(-0.0), "-0.0\n");
    EXPECT_EQ(written(1e300), "1.0000000000000001e+300\n");
    EXPECT_EQ(written(1e20), "1e+20\n");
    EXPECT_EQ(written(5e-324), "4.9406564584124654e-324\n");
    EXPECT_EQ(written(static_cast<double>(0.1F)), "0.10000000149011612\n");
    EXPECT_EQ(written(std::numeric_limits<double>::infinity()), "1e+9999\n");
    EXPECT_EQ(written(-std::numeric_limits<double>::infinity()), "-1e+9999\n");
    EXPECT_EQ(written(std::numeric_limits<double>::quiet_NaN()), "null\n");
    EXPECT_EQ(written(Json::Value::maxLargestUInt), "18446744073709551615\n");
    EXPECT_EQ(written(Json::Value::minLargestInt), "-9223372036854775808\n");
    EXPECT_EQ(written(Json::Value()), "null\n");
    EXPECT_EQ(written(Json::Value(Json::arrayValue)), "[]\n");
    EXPECT_EQ(written(Json::Value(Json::objectValue)), "{}\n");
    Json::Value object;
    object["b"][2] = 1.5;
    object["a\xC3\xA9"] = true;
    object["B"] = -1;
    object[""] = Json::nullValue;
    EXPECT_EQ(written(object), "{\"\":null,\"B\":-1,\"a\\u00e9\":true,\"b\":[null,null,1.5]}\n");
}

TEST(JsonTextWrite, EscapesAtEveryPositionOfALongText) {
    for (std::size_t length : {63U, 64U, 65U, 130U}) {
        for (std::size_t at = 0; at < length; ++at) {
            std::string text(length, 'x');
            text[at] = '"';
            ASSERT_EQ(JsonText::write(text), referenceWrite(text));
            text[at] = '\xE9';
            ASSERT_EQ(JsonText::write(text), referenceWrite(text));
        }
    }
}

Json::Value randomValue(std::mt19937_64& random, int depth) {
    switch (random() % (depth > 0 ? 9 : 7)) {
        case 0:
            return Json::Value();
        case 1:
            return random() % 2 == 0;
        case 2:
            return static_cast<Json::Int64>(random() >> (random() % 64));
        case 3:
            return -static_cast<Json::Int64>(random() >> (1 + random() % 63));
        case 4:
            return static_cast<Json::UInt64>(random() >> (random() % 64));
        case 5: {
            const std::uint64_t bits = random();
            double real = 0;
            static_assert(sizeof real == sizeof bits);
            std::memcpy(&real, &bits, sizeof real);
            return random() % 2 == 0 ? Json::Value(real)
                                     : Json::Value(static_cast<double>(random() % 100000) / 1000);
        }
        case 6: {
            std::string text;
            for (std::size_t left = random() % 80; left > 0; --left) {
                text += static_cast<char>(random() % 3 == 0 ? random() : 'a' + random() % 26);
            }
            return text;
        }
        case 7: {
            Json::Value array(Json::arrayValue);
            for (std::size_t left = random() % 5; left > 0; --left) {
                array.append(randomValue(random, depth - 1));
            }
            return array;
        }
        default: {
            Json::Value object(Json::objectValue);
            for (std::size_t left = random() % 5; left > 0; --left) {
                object[std::string(random() % 3, static_cast<char>(random()))] =
                    randomValue(random, depth - 1);
            }
            return object;
        }
    }
}

RC_GTEST_PROP(JsonTextWrite, WritesTheBytesOfTheReference, (std::uint64_t seed)) {
    std::mt19937_64 random(seed);
    for (int i = 0; i < 20; ++i) {
        const Json::Value value = randomValue(random, 4);
        RC_ASSERT(JsonText::write(value) == referenceWrite(value));
    }
}

TEST(JsonTextWrite, IsTheSameUnderAHostileLocale) {
    Json::Value value;
    value.append(1234567.25);
    value.append(1234567);
    value.append(true);
    const HostileLocale hostile;
    EXPECT_EQ(JsonText::write(value), "[1234567.25,1234567,true]\n");
}

}  // namespace
}  // namespace JsonDevice
