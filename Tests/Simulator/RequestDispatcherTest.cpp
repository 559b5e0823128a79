#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/Vocabulary/AllMethods.h"
#include "Platform/Devices/BlendProxy.h"
#include "Platform/Devices/BlendingInterface.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Devices/RemoteInterface.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Simulator/RequestDispatcher.h"
#include "Tests/Simulator/Records.h"

namespace JsonDevice {

namespace {

using namespace Wire;

constexpr auto add = method<Int>("test::add", "", arg<Int>("a"), arg<Int>("b"));
constexpr auto greet = method<Text>("test::greet", "", arg<Text>("name"));
constexpr auto ping = method<Void>("test::ping", "");
constexpr auto isSet = method<Bool>("test::isSet", "", arg<UInt>("bit"));
constexpr auto half = method<Float>("test::half", "", arg<Float>("value"));
constexpr auto preview = method<Int>("test::preview", "", arg<Mesh>("mesh"), arg<Blend>("blend"));

// The compiler refuses what does not fit.
template <class Function>
constexpr bool fitsAdd = RequestDispatcher::fits<decltype(add), Function>;
static_assert(fitsAdd<int (*)(int, int)>);
static_assert(fitsAdd<int (*)(const int&, int)>);
static_assert(fitsAdd<int (*)(Caller&, int, int)>);
static_assert(!fitsAdd<int (*)(int)>);
static_assert(!fitsAdd<int (*)(int, int, int)>);
static_assert(!fitsAdd<int (*)(int, bool)>);
static_assert(!fitsAdd<int (*)(int, std::wstring)>);
static_assert(!fitsAdd<bool (*)(int, int)>);
static_assert(!fitsAdd<void (*)(int, int)>);
static_assert(!fitsAdd<decltype([](int, unsigned int) { return 0; })>);
static_assert(!fitsAdd<decltype([](auto, auto) { return 0.5; })>);

class RequestDispatcherTest : public ::testing::Test {
protected:
    RequestDispatcherTest() {
        dispatcher.bind(add, [](int a, int b) { return a + b; });
        dispatcher.bind(greet, [](const std::wstring& name) { return L"Hello " + name; });
        dispatcher.bind(ping, [this] { ++pings; });
    }

    std::string failing(auto&& thrown) {
        dispatcher.bind(ping, [&] { throw thrown; });
        return dispatcher.handle(request("test::ping"));
    }

    RequestDispatcher dispatcher;
    int pings = 0;
};

TEST_F(RequestDispatcherTest, CallsTheBoundFunction) {
    EXPECT_EQ(dispatcher.handle(request("test::add", "[2,3]")), result("5"));
    EXPECT_EQ(dispatcher.handle(request("test::greet", "[\"J\\u00fcrgen\"]")),
              result("\"Hello J\\u00fcrgen\""));
    EXPECT_EQ(dispatcher.handle(request("test::ping")), result("null"));
    EXPECT_EQ(pings, 1);
    EXPECT_TRUE(dispatcher.handles("test::ping"));
    EXPECT_FALSE(dispatcher.handles("test::pong"));
}

TEST_F(RequestDispatcherTest, ParamsMayBeLeftOutWhereThereAreNone) {
    EXPECT_EQ(dispatcher.handle(R"({"id":1,"jsonrpc":"2.0","method":"test::ping"})"), result("null"));
    EXPECT_EQ(dispatcher.handle(request("test::ping", "{}")), result("null"));
}

TEST_F(RequestDispatcherTest, ALoneEmptyTextIsNoParametersUnlessTheMethodHasOne) {
    EXPECT_EQ(dispatcher.handle(request("test::ping", R"([""])")), result("null"));
    EXPECT_EQ(dispatcher.handle(request("test::greet", R"([""])")), result("\"Hello \""));
    EXPECT_EQ(dispatcher.handle(request("test::add", R"([""])")),
              error(-32602, "Invalid params: expected 2 (a, b), got 1"));
    EXPECT_EQ(dispatcher.handle(request("test::ping", R"(["",""])")),
              error(-32602, "Invalid params: expected 0, got 2"));
}

TEST_F(RequestDispatcherTest, TakesParamsByName) {
    EXPECT_EQ(dispatcher.handle(request("test::add", R"({"b":3,"a":2})")), result("5"));
    EXPECT_EQ(dispatcher.handle(request("test::add", R"({"a":2})")),
              error(-32602, "Invalid params: 'b' is missing"));
    EXPECT_EQ(dispatcher.handle(request("test::add", R"({"a":2,"b":3,"c":4})")),
              error(-32602, "Invalid params: expected no names but (a, b)"));
}

TEST_F(RequestDispatcherTest, EchoesTheIdAsItCame) {
    for (const char* id :
         {"0", "-5", "9223372036854775807", "18446744073709551615", "\"text\"", "\"\"", "null", "1.5"}) {
        EXPECT_EQ(dispatcher.handle(request("test::add", "[1,1]", id)), result("2", id));
    }
}

TEST_F(RequestDispatcherTest, AnswersATextThatIsNotJson) {
    for (const char* record : {"{", "nonsense", "{\"id\":1,", "[1,", "\xff\xfe", "\r", " ", "]"}) {
        EXPECT_EQ(dispatcher.handle(record), error(-32700, "Parse error", "null")) << record;
    }
    // Deeper than any reader goes.
    EXPECT_EQ(dispatcher.handle(std::string(100'000, '[')), error(-32700, "Parse error", "null"));
}

TEST_F(RequestDispatcherTest, AnswersWhatIsNoRequest) {
    const auto invalid = [](const std::string& why, const std::string& id) {
        return error(-32600, "Invalid Request: " + why, id);
    };
    for (const char* record : {"1", "\"text\"", "null", "true"}) {
        EXPECT_EQ(dispatcher.handle(record), invalid("not an object", "null"));
    }
    const std::string version = R"(\"jsonrpc\" is not \"2.0\")";
    EXPECT_EQ(dispatcher.handle("{}"), invalid(version, "null"));
    EXPECT_EQ(dispatcher.handle(R"({"id":7,"method":"test::ping"})"), invalid(version, "7"));
    EXPECT_EQ(dispatcher.handle(R"({"id":7,"jsonrpc":"1.0","method":"test::ping"})"), invalid(version, "7"));
    EXPECT_EQ(dispatcher.handle(R"({"id":7,"jsonrpc":2.0,"method":"test::ping"})"), invalid(version, "7"));
    const std::string method = R"(\"method\" is not a text)";
    EXPECT_EQ(dispatcher.handle(R"({"id":7,"jsonrpc":"2.0"})"), invalid(method, "7"));
    EXPECT_EQ(dispatcher.handle(R"({"jsonrpc":"2.0","method":1,"params":"bar"})"), invalid(method, "null"));
    const std::string params = R"(\"params\" is neither an array nor an object)";
    for (const char* wrong : {"1", "null", "\"x\"", "true"}) {
        EXPECT_EQ(dispatcher.handle(request("test::ping", wrong, "7")), invalid(params, "7")) << wrong;
    }
    const std::string id = R"(\"id\" is neither a text nor a number nor null)";
    for (const char* wrong : {"[]", "{}", "true"}) {
        EXPECT_EQ(dispatcher.handle(request("test::ping", "[]", wrong)), invalid(id, "null")) << wrong;
    }
    EXPECT_EQ(pings, 0);
}

TEST_F(RequestDispatcherTest, AnswersAnUnknownMethod) {
    EXPECT_EQ(dispatcher.handle(request("test::pong")), error(-32601, "Method not found: 'test::pong'"));
    EXPECT_EQ(dispatcher.handle(request("")), error(-32601, "Method not found: ''"));
    EXPECT_EQ(dispatcher.handle(request(std::string(1000, 'x'))),
              error(-32601, "Method not found: '" + std::string(100, 'x') + "...'"));
}

TEST_F(RequestDispatcherTest, RefusesParamsOfTheWrongNumberOrType) {
    for (const char* params : {"[]", "[1]", "[1,2,3]"}) {
        EXPECT_TRUE(
            dispatcher.handle(request("test::add", params)).starts_with(R"({"error":{"code":-32602,)"))
            << params;
    }
    EXPECT_EQ(dispatcher.handle(request("test::add", R"([1,"x"])")),
              error(-32602, "Invalid params: 'b': JSON Value could not be converted to an integer"));
    EXPECT_EQ(dispatcher.handle(request("test::add", "[[],1]")),
              error(-32602, "Invalid params: 'a': JSON Value could not be converted to an integer"));
    EXPECT_EQ(dispatcher.handle(request("test::add", "[1,3000000000]")),
              error(-32602, "Invalid params: 'b': JSON Value could not be converted to an integer"));
    EXPECT_EQ(dispatcher.handle(request("test::add", "[1,null]")),
              error(-32602, "Invalid params: 'b' is null"));
    EXPECT_EQ(dispatcher.handle(request("test::greet", "[{}]")),
              error(-32602, "Invalid params: 'name': JSON Value could not be converted to a string"));
    // And goes on.
    EXPECT_EQ(dispatcher.handle(request("test::add", "[1,2]")), result("3"));
}

TEST_F(RequestDispatcherTest, TurnsWhatAFunctionThrowsIntoAnError) {
    Json::Value data(Json::objectValue);
    data["lamp"] = 2;
    EXPECT_EQ(
        failing(RequestError(-32050, "Lamp is \"off\"", data)),
        R"({"error":{"code":-32050,"data":{"lamp":2},"message":"Lamp is \"off\""},"id":1,"jsonrpc":"2.0"})");
    Json::Value reply;
    reply["code"] = -7;
    reply["message"] = "from below";
    EXPECT_EQ(failing(ErrorReplyException("file", 1, L"text", reply)), error(-7, "from below"));
    EXPECT_EQ(failing(DeviceTimedOutException("file", 1, L"no l\u00e4mp")), error(-32000, "no l\\u00e4mp"));
    EXPECT_EQ(failing(KorvanExceptionRuntime("file", 1, L"misused")), error(-32000, "misused"));
    EXPECT_EQ(failing(std::runtime_error("broken")), error(-32603, "Internal error: broken"));
    EXPECT_EQ(failing(std::bad_alloc()), error(-32603, "Internal error: out of memory"));
    EXPECT_EQ(failing(42), error(-32603, "Internal error: unknown exception"));
}

TEST_F(RequestDispatcherTest, NotificationsAreServedAndNotAnswered) {
    const auto notification = [](const std::string& method, const std::string& params) {
        return R"({"jsonrpc":"2.0","method":")" + method + R"(","params":)" + params + "}";
    };
    EXPECT_EQ(dispatcher.handle(notification("test::ping", "[]")), "");
    EXPECT_EQ(pings, 1);
    EXPECT_EQ(dispatcher.handle(notification("test::pong", "[]")), "");
    EXPECT_EQ(dispatcher.handle(notification("test::add", "[]")), "");
}

TEST_F(RequestDispatcherTest, AnswersBatches) {
    EXPECT_EQ(dispatcher.handle("[]"), error(-32600, "Invalid Request: empty batch", "null"));
    EXPECT_EQ(dispatcher.handle("[1]"), "[" + error(-32600, "Invalid Request: not an object", "null") + "]");
    EXPECT_EQ(dispatcher.handle("[[]]"), "[" + error(-32600, "Invalid Request: not an object", "null") + "]");
    EXPECT_EQ(dispatcher.handle(
                  "[" + request("test::add", "[1,2]", "1") + R"(,{"jsonrpc":"2.0","method":"test::ping"},)" +
                  request("test::pong", "[]", "2") + "," + request("test::add", "[3,4]", "\"x\"") + "]"),
              "[" + result("3") + "," + error(-32601, "Method not found: 'test::pong'", "2") + "," +
                  result("7", "\"x\"") + "]");
    EXPECT_EQ(pings, 1);
    EXPECT_EQ(dispatcher.handle(R"([{"jsonrpc":"2.0","method":"test::ping"}])"), "");
    EXPECT_EQ(pings, 2);
}

TEST_F(RequestDispatcherTest, ABoundFunctionIsReplaced) {
    dispatcher.bind(add, [](int a, int b) { return a * b; });
    EXPECT_EQ(dispatcher.handle(request("test::add", "[2,3]")), result("6"));
}

TEST_F(RequestDispatcherTest, TellsAFunctionWhoAsks) {
    class Known final : public Caller {
    public:
        void notify(const std::string& record) noexcept override { records.push_back(record); }
        std::vector<std::string> records;
    };
    dispatcher.bind(greet, [](Caller& caller, const std::wstring& name) {
        caller.notify("told");
        return name;
    });
    Known known;
    EXPECT_EQ(dispatcher.handle(request("test::greet", R"(["x"])"), known), result("\"x\""));
    EXPECT_EQ(known.records, std::vector<std::string>{"told"});
    EXPECT_EQ(dispatcher.handle(request("test::greet", R"(["x"])")), result("\"x\""));
}

bool testBit(unsigned int bit) {
    return bit == 3;
}

TEST_F(RequestDispatcherTest, BindsFunctionPointersAndGenericFunctions) {
    dispatcher.bind(isSet, testBit);
    EXPECT_EQ(dispatcher.handle(request("test::isSet", "[3]")), result("true"));
    EXPECT_EQ(
        dispatcher.handle(request("test::isSet", "[-3]")),
        error(-32602, "Invalid params: 'bit': JSON Value could not be converted to an unsigned integer"));
    dispatcher.bind(half, [](auto value) { return value / 2; });
    EXPECT_EQ(dispatcher.handle(request("test::half", "[3]")), result("1.5"));
}

TEST_F(RequestDispatcherTest, BindsOperationsOfTheHostsInterfaces) {
    class Remote : public RemoteInterface {
    public:
        Remote() : RemoteInterface(nullptr) {}
        void sendKeyCode(int keyCode) override { keys.push_back(keyCode); }
        void sendOSD(int) override { throw DeviceNotConnectedException("file", 1, L"gone"); }
        std::vector<int> keys;
    };
    Remote remote;
    RemoteInterface& interface = remote;
    dispatcher.bind(Vocabulary::Remote::sendKeyCode, interface, &RemoteInterface::sendKeyCode);
    dispatcher.bind(Vocabulary::Remote::sendOSD, remote, &RemoteInterface::sendOSD);
    EXPECT_EQ(dispatcher.handle(request("RemoteInterface::sendKeyCode", "[5]")), result("null"));
    EXPECT_EQ(remote.keys, std::vector{5});
    EXPECT_EQ(dispatcher.handle(request("RemoteInterface::sendOSD", "[1]")), error(-32000, "gone"));
}

TEST_F(RequestDispatcherTest, ProxiesMayBeNullAndAreReceivedThroughTheRegistry) {
    std::shared_ptr<BlendProxy> kept;
    std::wstring text = L"unset";
    dispatcher.bind(preview, [&](std::shared_ptr<std::wstring> mesh, std::shared_ptr<BlendProxy> blend) {
        text = mesh ? *mesh : L"none";
        kept = std::move(blend);
        return kept == nullptr ? 0 : 1;
    });
    EXPECT_EQ(dispatcher.handle(request("test::preview", "[null,null]")), result("0"));
    EXPECT_EQ(text, L"none");
    EXPECT_EQ(
        dispatcher.handle(request("test::preview", R"(["any text",{"name":"n","xml":"<x/>","image":null}])")),
        result("1"));
    EXPECT_EQ(text, L"any text");
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->getName(), L"n");
    EXPECT_EQ(dispatcher.handle(request("test::preview", R"([null,{"name":"n"}])")),
              error(-32602, "Invalid params: 'blend': JSON value is not a BlendProxy"));
}

TEST_F(RequestDispatcherTest, AnOperationGetsAMeshFromItsText) {
    class Previewer {
    public:
        int preview(MeshProxy* mesh, BlendProxy* blend) {
            width = mesh == nullptr ? -1 : mesh->getSize().first;
            return blend == nullptr ? 0 : 1;
        }
        int width = 0;
    };
    Previewer previewer;
    dispatcher.bind(preview, previewer, &Previewer::preview);
    EXPECT_EQ(dispatcher.handle(
                  request("test::preview", R"(["mesh 1\nsize 8 6\ngrid 2 2\n0 0 8 0\n0 6 8 6\n",null])")),
              result("0"));
    EXPECT_EQ(previewer.width, 8);
    EXPECT_EQ(dispatcher.handle(request("test::preview", "[null,null]")), result("0"));
    EXPECT_EQ(previewer.width, -1);
    const std::string reply = dispatcher.handle(request("test::preview", R"(["mess",null])"));
    EXPECT_TRUE(reply.starts_with(R"({"error":{"code":-32602,"message":"Invalid params: )")) << reply;
}

}  // namespace

}  // namespace JsonDevice
