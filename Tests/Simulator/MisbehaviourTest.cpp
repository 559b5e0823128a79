#include <string>

#include <gtest/gtest.h>

#include "Common/Exceptions.h"
#include "Simulator/Misbehaviour.h"
#include "Simulator/TrafficText.h"

namespace JsonDevice {

namespace {

std::wstring refusal(const std::string& text) {
    try {
        Misbehaviour::parse(text);
    } catch (const KorvanParseException& error) {
        return error.getMessage();
    }
    return L"";
}

TEST(MisbehaviourTest, ReadsKindAmountAndConditions) {
    const Misbehaviour all = Misbehaviour::parse(
        "delay=2000,method=A::*,after=1,every=2,count=3,probability=0.25,seed=18446744073709551615");
    EXPECT_EQ(all.kind, Misbehaviour::Kind::delay);
    EXPECT_EQ(all.amount, 2000);
    EXPECT_EQ(all.method, "A::*");
    EXPECT_EQ(all.after, 1U);
    EXPECT_EQ(all.every, 2U);
    EXPECT_EQ(all.count, 3U);
    EXPECT_EQ(all.probability, 0.25);
    EXPECT_EQ(all.seed, UINT64_MAX);

    const Misbehaviour plain = Misbehaviour::parse("reset");
    EXPECT_EQ(plain.kind, Misbehaviour::Kind::reset);
    EXPECT_EQ(plain.amount, std::nullopt);
    EXPECT_EQ(plain.method, "*");
    EXPECT_EQ(plain.count, std::nullopt);
    EXPECT_EQ(plain.probability, 1);
}

TEST(MisbehaviourTest, SaysWhatIsWrong) {
    EXPECT_EQ(
        refusal("explode"),
        L"Misbehaviour 'explode': 'explode' is none of delay, no-answer, wrong-id, duplicate, late, error, "
        L"split, truncate, garbage, reset");
    EXPECT_EQ(refusal("delay"), L"Misbehaviour 'delay': 'delay' needs a value");
    EXPECT_EQ(refusal("late=3"), L"Misbehaviour 'late=3': 'late' takes no value");
    EXPECT_EQ(refusal("delay=soon"), L"Misbehaviour 'delay=soon': 'soon' is no value for 'delay'");
    EXPECT_EQ(refusal("reset,often=1"),
              L"Misbehaviour 'reset,often=1': 'often=1' is none of method=, after=, "
              L"every=, count=, probability=, seed=");
    for (const char* text : {"", "delay=", "delay=-1", "delay=1.5", "split=-1", "reset,", "reset,count",
                             "reset,count=", "reset,count=-1", "reset,every=0", "reset,probability=1.1",
                             "reset,probability=-0.1", "reset,probability=nan", "reset,seed=x",
                             "reset,method=", "delay=99999999999"}) {
        EXPECT_NE(refusal(text), L"") << text;
    }
}

TEST(MisbehaviourTest, ARequestWithoutReplyGetsNone) {
    for (const char* text :
         {"no-answer", "wrong-id", "duplicate", "late", "error", "split", "truncate", "garbage"}) {
        Misbehaver misbehaver;
        misbehaver.add(Misbehaviour::parse(text));
        const Misbehaver::Plan plan = misbehaver.plan(R"({"jsonrpc":"2.0","method":"m"})", "");
        EXPECT_TRUE(plan.pieces.empty()) << text;
        EXPECT_TRUE(plan.late.empty()) << text;
        EXPECT_FALSE(plan.reset) << text;
    }
}

TEST(MisbehaviourTest, AppliesToEachReplyOfABatch) {
    Misbehaver misbehaver;
    misbehaver.add(Misbehaviour::parse("wrong-id=10"));
    const Misbehaver::Plan plan =
        misbehaver.plan(R"([{"method":"m"}])", R"([{"id":1,"result":0},{"id":"x","result":0}])");
    ASSERT_EQ(plan.pieces.size(), 1U);
    EXPECT_EQ(plan.pieces[0], std::string(R"([{"id":11,"result":0},{"id":10,"result":0}])") + '\0');
}

TEST(MisbehaviourTest, ALongReplyIsSplitIntoAFewPieces) {
    Misbehaver misbehaver;
    misbehaver.add(Misbehaviour::parse("split"));
    const Misbehaver::Plan plan = misbehaver.plan("{}", std::string(1'000'000, 'x'));
    EXPECT_EQ(plan.pieces.size(), 64U);
    std::string joined;
    for (const std::string& piece : plan.pieces) {
        joined += piece;
    }
    EXPECT_EQ(joined, std::string(1'000'000, 'x') + '\0');
}

TEST(TrafficTextTest, IsOneLineThatATerminalCanShow) {
    EXPECT_EQ(trafficText("{\"a\":1}\n"), "{\"a\":1}\\n");
    EXPECT_EQ(trafficText("a\r\n\tb\x1b[2J\x7f"), "a\\r\\n\\tb\\x1b[2J\\x7f");
    EXPECT_EQ(trafficText("gr\xc3\xbc\xc3\x9f"), "gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(trafficText("\xc2\x9b"
                          "2J"),
              "\\x9b2J");
    EXPECT_EQ(trafficText("\xff"), "\xef\xbf\xbd");
    EXPECT_EQ(trafficText(""), "");
}

TEST(TrafficTextTest, IsShort) {
    EXPECT_EQ(trafficText(std::string(400, 'x')), std::string(400, 'x'));
    EXPECT_EQ(trafficText(std::string(401, 'x')), std::string(400, 'x') + "... (401 bytes)");
    // Never in the middle of a character.
    std::string wide = "x";
    for (int i = 0; i < 300; ++i) {
        wide += "\xc3\xbc";
    }
    const std::string shown = trafficText(wide);
    EXPECT_EQ(shown, wide.substr(0, 399) + "... (601 bytes)");
}

}  // namespace

}  // namespace JsonDevice
