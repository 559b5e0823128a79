#include <algorithm>
#include <chrono>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Simulator/Projector.h"
#include "Tests/Simulator/Records.h"

namespace JsonDevice {

namespace {

using namespace std::chrono_literals;
using Simulation::Projector;

class Listener final : public Caller {
public:
    void notify(const std::string& record) noexcept override { records.push_back(record); }
    std::vector<std::string> take() { return std::exchange(records, {}); }

private:
    std::vector<std::string> records;
};

std::string notification(const std::string& code, const std::string& value) {
    return R"({"jsonrpc":"2.0","method":"notify","params":[")" + code + "\"," + value + "]}";
}

class ProjectorTest : public ::testing::Test {
protected:
    std::chrono::steady_clock::time_point now{};
    Projector projector{[this] { return now; }};
    Listener one;
    Listener other;
};

TEST_F(ProjectorTest, HasAFunctionForEveryMethodOfTheVocabulary) {
    for (const Vocabulary::Operation& operation : Vocabulary::operations()) {
        EXPECT_TRUE(projector.handles(operation.method)) << operation.method;
    }
}

TEST_F(ProjectorTest, AnswersTypedMethods) {
    EXPECT_EQ(projector.handle(request("StatusInterface::getModel")), result("\"Simulated projector\""));
    EXPECT_EQ(projector.handle(request("StatusInterface::getNativeResolution")), result("[1920,1200]"));
    EXPECT_EQ(projector.handle(request("StatusInterface::getBackplaceTemperature")), result("38"));
    EXPECT_EQ(projector.handle(request("StatusInterface::getAllTemperatures")),
              result(R"({"first":true,"second":{"first":["Image processor","Panel driver","Backplane",)"
                     R"("Post-processing","Quell FPGA","Lamp intake","Lamp exhaust","DMD heat sink"],)"
                     R"("second":[52,47,38,49,57,29,68,43]}})"));
    EXPECT_EQ(projector.handle(request("RemoteInterface::sendKeyCode", "[12]")), result("null"));
    EXPECT_EQ(projector.get("lastKey"), Json::Value(12));
}

TEST_F(ProjectorTest, TakesALoneEmptyTextForNoParameters) {
    EXPECT_EQ(projector.handle(request("StatusInterface::getLampCounter", R"([""])")), result("2"));
    EXPECT_EQ(projector.handle(request("StatusInterface::getLampCounter", R"(["x"])")),
              error(-32602, "Invalid params: expected 0, got 1"));
}

TEST_F(ProjectorTest, HoursGrowWhileItIsOn) {
    EXPECT_EQ(projector.handle(request("StatusInterface::getLampHours")), result("[412,398]"));
    now += 59min;
    EXPECT_EQ(projector.handle(request("StatusInterface::getLampHours")), result("[412,398]"));
    now += 1min;
    EXPECT_EQ(projector.handle(request("StatusInterface::getLampHours")), result("[413,399]"));
    EXPECT_EQ(projector.handle(request("StatusInterface::getProjectorHours")), result("1521"));
    projector.set("power", 0);
    now += 5h;
    EXPECT_EQ(projector.handle(request("StatusInterface::getLampHours")), result("[413,399]"));
}

TEST_F(ProjectorTest, TemperaturesFollowThePower) {
    projector.set("power", 0);
    now += 2min;
    const int cooling = projector.get("lampExhaustTemperature").asInt();
    EXPECT_LT(cooling, 68);
    EXPECT_GT(cooling, 22);
    now += 24h;
    EXPECT_EQ(projector.get("lampExhaustTemperature"), Json::Value(22));
    projector.set("power", 1);
    now += 24h;
    EXPECT_EQ(projector.get("lampExhaustTemperature"), Json::Value(68));
}

TEST_F(ProjectorTest, ALampCanBeTooHot) {
    EXPECT_EQ(projector.get("lampOvertempIndicator"), Json::Value(0));
    projector.set("lampExhaustTemperature", 120);
    now += 1s;
    EXPECT_EQ(projector.get("lampOvertempIndicator"), Json::Value(1));
    now += 1h;
    EXPECT_EQ(projector.get("lampOvertempIndicator"), Json::Value(0));
}

TEST_F(ProjectorTest, AClockThatGoesBackStands) {
    now += 30min;
    projector.update();
    now -= 20min;
    EXPECT_EQ(projector.get("projectorHours"), Json::Value(1520));
    now += 50min;
    EXPECT_EQ(projector.get("projectorHours"), Json::Value(1521));
}

TEST_F(ProjectorTest, GetsAndSetsByCode) {
    EXPECT_EQ(projector.handle(request("get", R"(["power"])")), result("1"));
    EXPECT_EQ(projector.handle(request("set", R"(["power",0])")), result("0"));
    EXPECT_EQ(projector.handle(request("get", R"(["power"])")), result("0"));
    EXPECT_EQ(projector.handle(request("set", R"({"code":"power","value":1})")), result("1"));
    EXPECT_EQ(projector.handle(request("get", R"({"code":"power"})")), result("1"));
    EXPECT_EQ(projector.handle(request("get", R"(["lampHours"])")), result("[412,398]"));
}

TEST_F(ProjectorTest, RefusesWhatDoesNotFit) {
    EXPECT_EQ(projector.handle(request("get", R"(["nonsense"])")), error(-32001, "Unknown code: 'nonsense'"));
    EXPECT_EQ(projector.handle(request("set", R"(["lampCounter",3])")),
              error(-32002, "'lampCounter' is read-only"));
    EXPECT_EQ(projector.handle(request("set", R"(["power",2])")),
              error(-32003, "power: 2 is not within 0 to 1"));
    EXPECT_EQ(
        projector.handle(request("set", R"(["power","on"])")),
        error(-32602, "Invalid params: 'power' takes int: JSON Value could not be converted to an integer"));
    EXPECT_EQ(projector.handle(request("set", R"(["power",null])")),
              error(-32602, "Invalid params: 'power' takes int: null"));
    for (const char* params : {"[]", "[1]", R"(["power",1])", "{}", R"({"code":1})", R"([""])"}) {
        const std::string reply = projector.handle(request("get", params));
        EXPECT_TRUE(reply.starts_with(R"({"error":)")) << params << reply;
    }
    for (const char* params :
         {"[]", R"(["power"])", R"(["power",1,1])", R"({"power":1})", R"({"code":"power"})"}) {
        EXPECT_EQ(projector.handle(request("set", params)),
                  error(-32602, "Invalid params: expected a code and a value"))
            << params;
    }
    EXPECT_EQ(projector.get("power"), Json::Value(1));
}

TEST_F(ProjectorTest, TellsAttributesAndProperties) {
    EXPECT_EQ(projector.handle(request("getAttributes", R"(["power"])")),
              result(R"({"code":"power","maximum":1,"minimum":0,"readOnly":false,"type":"int"})"));
    EXPECT_EQ(projector.handle(request("getAttributes", R"(["lampHours"])")),
              result(R"({"code":"lampHours","readOnly":true,"type":"std::vector<int>","unit":"h"})"));
    EXPECT_EQ(projector.handle(request("getProperties", R"(["lampHours"])")),
              result(R"({"code":"lampHours","default":[412,398],"methods":["StatusInterface::getLampHours"],)"
                     R"("summary":"The hours of each lamp.","value":[412,398]})"));
}

TEST_F(ProjectorTest, NotifiesOnlyThoseWhoSpeakInMessagesAndDidNotMakeTheChange) {
    projector.handle(request("StatusInterface::getModel"), one);
    projector.handle(request("set", R"(["osd",1])"), other);
    EXPECT_TRUE(one.take().empty());
    EXPECT_TRUE(other.take().empty());

    for (const char* method : {"get", "getAttributes", "getProperties"}) {
        Listener listener;
        projector.handle(request(method, R"(["osd"])"), listener);
        projector.set("osd", 0);
        EXPECT_EQ(listener.take(), std::vector{notification("osd", "0")}) << method;
        projector.set("osd", 1);
        EXPECT_EQ(listener.take(), std::vector{notification("osd", "1")}) << method;
        projector.forget(listener);
    }
}

TEST_F(ProjectorTest, NotifiesHoweverAValueChanges) {
    projector.handle(request("get", R"(["osd"])"), one);
    projector.handle(request("set", R"(["osd",1])"), other);
    EXPECT_EQ(one.take(), std::vector{notification("osd", "1")});
    projector.handle(request("RemoteInterface::sendKeyCode", "[7]"), other);
    EXPECT_EQ(one.take(), std::vector{notification("lastKey", "7")});
    // By the one who listens: the other is told.
    other.take();
    projector.handle(request("RemoteInterface::sendKeyCode", "[8]"), one);
    EXPECT_TRUE(one.take().empty());
    EXPECT_EQ(other.take(), std::vector{notification("lastKey", "8")});
    // By the device itself.
    projector.set("osd", 0);
    EXPECT_EQ(one.take(), std::vector{notification("osd", "0")});
    now += 1h;
    projector.update();
    EXPECT_EQ(one.take(),
              (std::vector{notification("lampHours", "[413,399]"), notification("projectorHours", "1521")}));
    // No change, no notification; nor one for a value that was refused.
    projector.handle(request("set", R"(["osd",0])"), other);
    projector.handle(request("set", R"(["osd",9])"), other);
    EXPECT_TRUE(one.take().empty());
}

TEST_F(ProjectorTest, ForgetsACallerThatIsGone) {
    projector.handle(request("get", R"(["power"])"), one);
    projector.forget(one);
    projector.set("power", 0);
    EXPECT_TRUE(one.take().empty());
}

}  // namespace

}  // namespace JsonDevice
