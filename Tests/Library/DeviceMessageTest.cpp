#include <gtest/gtest.h>
#include <json/value.h>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/DeviceMessage.h"
#include "DeviceManager/JsonDevice/JsonParser.h"
#include "DeviceManager/JsonDevice/JsonText.h"

namespace JsonDevice {
namespace {

Json::Value json(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(JsonText::read(text, value)) << text;
    return value;
}

DeviceMessage message(const std::string& text) {
    Json::Value value = json(text);
    return JsonParser::convertToMessage(value);
}

TEST(DeviceMessage, ConstantsKeepTheirValues) {
    EXPECT_EQ(DeviceMessage::CMD_ID, 0U);
    EXPECT_EQ(DeviceMessage::VALUE_ID, 1U);
    EXPECT_EQ(DeviceMessage::NO_ID, 0U);
}

TEST(DeviceMessage, ReadRequests) {
    const DeviceMessage power("power");
    EXPECT_EQ(power.getMethod(), "get");
    EXPECT_EQ(power.getCode(), "power");
    EXPECT_EQ(power.getParams(), json(R"(["power"])"));
    EXPECT_EQ(power.getId(), 0);
    EXPECT_EQ(power.getErrorString(), "");
    EXPECT_FALSE(power.isResultError());

    const DeviceMessage error("error");
    EXPECT_EQ(error.getParams(), json(R"({"error":true})"));
    EXPECT_EQ(error.getCode(), "error");
    EXPECT_TRUE(error.isResultError());
}

TEST(DeviceMessage, WriteRequests) {
    const DeviceMessage number("gamma", 5);
    EXPECT_EQ(number.getMethod(), "set");
    EXPECT_EQ(number.getCode(), "gamma");
    EXPECT_EQ(number.getParams(), json(R"(["gamma",5])"));

    const DeviceMessage object("gamma", json(R"({"a":1})"));
    EXPECT_EQ(object.getParams(), json(R"({"a":1})"));
    EXPECT_EQ(object.getCode(), "gamma");

    EXPECT_EQ(DeviceMessage("c", json("[1,2]")).getParams(), json("[1,2]"));
    EXPECT_EQ(DeviceMessage("c", Json::Value()).getParams(), json(R"(["c",null])"));
}

TEST(DeviceMessage, Factories) {
    const DeviceMessage object = DeviceMessage::CreateObjMsg("c", "move", 7);
    EXPECT_EQ(object.getMethod(), "move");
    EXPECT_EQ(object.getParams(), json(R"(["c",7])"));

    const DeviceMessage response = DeviceMessage::CreateDebugGetResponse("c", 7);
    EXPECT_EQ(response.getMethod(), "get");
    EXPECT_EQ(response.getCode(), "c");
    EXPECT_EQ(response.getValue(), json("7"));
    EXPECT_EQ(response.getId(), 0);
}

TEST(DeviceMessage, Accessors) {
    DeviceMessage m;
    m.setMethod("set");
    m.setCode("x");
    m.setErrorString("no");
    m.addParameter(1);
    m.addParameter("two");
    EXPECT_EQ(m.getMethod(), "set");
    EXPECT_EQ(m.getCode(), "x");
    EXPECT_EQ(m.getErrorString(), "no");
    EXPECT_EQ(m.getParams(), json(R"([1,"two"])"));
    m.setParams(json(R"({"a":1})"));
    EXPECT_TRUE(m.paramExists("a"));
    EXPECT_FALSE(m.paramExists("b"));
    m.setParams(json("[1]"));
    EXPECT_FALSE(m.paramExists("a"));
}

TEST(DeviceMessage, ElementsByIndex) {
    DeviceMessage m;
    m.setParams(json("[1,2]"));
    EXPECT_EQ(m.getParamAt(1), 2);
    EXPECT_EQ(m[0U], 1);
    EXPECT_THROW(m.getParamAt(3), KorvanIndexOutOfBoundsException);
    // The size itself is accepted, and the array grows by that element.
    EXPECT_TRUE(m.getParamAt(2).isNull());
    EXPECT_EQ(m.getParams().size(), 3U);
    try {
        m.getParamAt(5);
        FAIL();
    } catch (const KorvanIndexOutOfBoundsException& e) {
        EXPECT_EQ(e.getMessage(), L"Index[index] is greater than size of params");
        EXPECT_EQ(e.getFile(), "DeviceManager/JsonDevice/DeviceMessage");
        EXPECT_EQ(e.getLine(), 127);
    }
    DeviceMessage null;
    EXPECT_THROW(null.getParamAt(1), KorvanIndexOutOfBoundsException);
    EXPECT_TRUE(null.getParamAt(0).isNull());
}

TEST(DeviceMessage, ParamsWithoutElementsHaveNone) {
    DeviceMessage m;
    for (const char* const text : {R"({"a":1})", "{}", "5", "\"text\"", "true"}) {
        m.setParams(json(text));
        EXPECT_THROW(m.getParamAt(0), KorvanIndexOutOfBoundsException) << text;
        EXPECT_THROW(m.addParameter(1), KorvanExceptionRuntime) << text;
        EXPECT_EQ(m.getParams(), json(text));
    }
}

TEST(DeviceMessage, ElementsByKey) {
    DeviceMessage m;
    m.setParams(json("[1]"));
    try {
        m["x"];
        FAIL();
    } catch (const KorvanExceptionRuntime& e) {
        EXPECT_EQ(e.getMessage(), L"Parameter is not an object.");
        EXPECT_EQ(e.getFile(), "DeviceManager/JsonDevice/DeviceMessage");
    }
    m.setParams(Json::Value(Json::objectValue));
    EXPECT_TRUE(m["x"].isNull());
    EXPECT_TRUE(m.paramExists("x"));
    m["x"] = 3;
    EXPECT_EQ(m["x"], 3);
}

TEST(DeviceMessage, ResultTests) {
    DeviceMessage m;
    EXPECT_TRUE(m.isResultNull());
    EXPECT_TRUE(m.isResultNullOrError());
    EXPECT_FALSE(m.isResultError());
    m.setParams(json(R"([1,"error",2])"));
    EXPECT_TRUE(m.isResultError());
    m.setParams(json(R"([1,["error"]])"));
    EXPECT_FALSE(m.isResultError());
    EXPECT_FALSE(m.isResultNullOrError());
    m.setParams(json(R"({"error":null})"));
    EXPECT_TRUE(m.isResultError());
    m.setParams(json(R"("error")"));
    EXPECT_FALSE(m.isResultError());
    m.setCode("error");
    EXPECT_TRUE(m.isResultError());
}

TEST(DeviceMessage, EqualIdsMakeEqualMessages) {
    DeviceMessage a("a");
    DeviceMessage b("b", 1);
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(std::as_const(a) == std::as_const(b));
    EXPECT_FALSE(a == message(R"({"id":7,"method":"get"})"));
}

TEST(DeviceMessage, ToString) {
    EXPECT_EQ(DeviceMessage().toString(), "{\"id\":0,\"jsonrpc\":\"2.0\",\"method\":\"\",\"params\":null}\n");
    EXPECT_EQ(DeviceMessage("c", 5).toString(),
              "{\"id\":0,\"jsonrpc\":\"2.0\",\"method\":\"set\",\"params\":[\"c\",5]}\n");
}

TEST(JsonParser, BuildsABasicMessage) {
    EXPECT_EQ(JsonText::write(JsonParser::buildBasicJsonValueMsg()),
              "{\"id\":1,\"jsonrpc\":\"2.0\",\"method\":\"get\"}\n");
}

TEST(JsonParser, ReadsMessages) {
    const DeviceMessage error = message(R"({"id":7,"method":"get","result":["error"]})");
    EXPECT_EQ(error.getId(), 7);
    EXPECT_EQ(error.getCode(), "error");
    EXPECT_TRUE(error.isResultError());

    EXPECT_EQ(message(R"({"id":"7","method":"get"})").getId(), 0);
    EXPECT_EQ(message(R"({"id":7.5})").getId(), 0);
    EXPECT_EQ(message(R"({"id":3000000000})").getId(), 0);
    EXPECT_EQ(message(R"({"id":-3000000000})").getId(), 0);
    EXPECT_EQ(message(R"({})").getId(), 0);

    EXPECT_EQ(message(R"({"method":"m","params":["p"],"result":["r"]})").getParams(), json(R"(["r"])"));
    EXPECT_EQ(message(R"({"method":"m","params":["p"],"result":null})").getParams(), json(R"(["p"])"));
    EXPECT_EQ(message(R"({"params":{"code":"c","x":1}})").getCode(), "c");
    EXPECT_EQ(message(R"({"params":{"x":1}})").getCode(), "");
    EXPECT_EQ(message(R"({"params":[1,"c"]})").getCode(), "");
    EXPECT_EQ(message(R"({"params":[]})").getCode(), "");
    EXPECT_TRUE(message(R"({"id":1,"error":{"code":1}})").isResultNull());
}

TEST(JsonParser, ReadsWhateverADeviceSends) {
    for (const char* const text : {"5", "[1]", "null", "\"x\"", R"({"method":[1],"params":{"code":{}}})"}) {
        const DeviceMessage m = message(text);
        EXPECT_EQ(m.getId(), 0) << text;
        EXPECT_EQ(m.getMethod(), "") << text;
        EXPECT_EQ(m.getCode(), "") << text;
    }
}

TEST(JsonParser, BasicKeys) {
    const auto basic = [](const std::string& text, bool requireId, bool isRequest) {
        return JsonParser::containsBasicMessageKeys(json(text), requireId, isRequest);
    };
    EXPECT_TRUE(basic(R"({"jsonrpc":"2.0","method":"m","id":1,"params":[1]})", true, true));
    EXPECT_FALSE(basic(R"({"jsonrpc":"2.0","method":"m","id":1,"params":1})", true, true));
    EXPECT_FALSE(basic(R"({"jsonrpc":"2.0","method":"m","id":1.5,"params":[1]})", true, true));
    EXPECT_TRUE(basic(R"({"jsonrpc":"2.0","method":"m","id":1.5,"params":[1]})", false, true));
    EXPECT_FALSE(basic(R"({"jsonrpc":"2.0","method":"m","params":[1]})", true, true));
    EXPECT_TRUE(basic(R"({"jsonrpc":"9","method":"m","params":{}})", false, true));
    EXPECT_FALSE(basic(R"({"jsonrpc":2,"method":"m","params":{}})", false, true));
    EXPECT_TRUE(basic(R"({"jsonrpc":"2.0","method":"m","id":1,"result":[]})", true, false));
    EXPECT_FALSE(basic(R"({"jsonrpc":"2.0","id":1,"result":[]})", true, false));
    EXPECT_FALSE(basic(R"({"jsonrpc":"2.0","method":"m","id":1,"result":5})", true, false));
    EXPECT_FALSE(basic("[1]", false, true));
}

TEST(JsonParser, MemberAndType) {
    const Json::Value v = json(R"({"a":1})");
    const auto isInt = [](const Json::Value& value) { return value.isInt(); };
    EXPECT_TRUE(JsonParser::isMemberAndType(v, "a", isInt));
    EXPECT_FALSE(JsonParser::isMemberAndType(v, "b", isInt));
    EXPECT_FALSE(JsonParser::isMemberAndType(v, "a", [](const Json::Value&) { return false; }));
}

}  // namespace
}  // namespace JsonDevice
