#include <chrono>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonColor.h"
#include "DeviceManager/JsonDevice/JsonControl.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonGamma.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "Simulator/Projector.h"
#include "Simulator/Scene.h"
#include "Tests/Simulator/DirectCommunicator.h"
#include "Tests/Simulator/Records.h"

namespace JsonDevice {

namespace {

using namespace std::chrono_literals;
using Simulation::Projector;

class Listener final : public Caller {
public:
    void notify(const std::string& record) noexcept override {
        const auto code = record.find('[') + 2;
        codes.insert(record.substr(code, record.find('"', code) - code));
    }
    std::set<std::string> take() { return std::exchange(codes, {}); }

private:
    std::set<std::string> codes;
};

class SettingsTest : public ::testing::Test {
protected:
    ~SettingsTest() override { projector.forget(listener); }

    void listen() {
        projector.handle(request("get", R"(["power"])"), listener);
        listener.take();
    }
    /// The code of the error that the function's request is answered with; 0 for none.
    template <class Function>
    static int errorOf(Function function) {
        try {
            function();
            return 0;
        } catch (const ErrorReplyException& error) {
            return error.getCode();
        }
    }

    std::chrono::steady_clock::time_point now{};
    Projector projector{[this] { return now; }};
    DirectCommunicator communicator{projector};
    JsonControl control{&communicator};
    JsonColor color{&communicator};
    JsonGamma gamma{&communicator};
    JsonStatus status{&communicator};
    Listener listener;
};

enum Power { off, on, warmingUp, coolingDown };

TEST_F(SettingsTest, PowerCoolsDownAndWarmsUp) {
    listen();
    EXPECT_EQ(control.getPower(), on);
    EXPECT_TRUE(control.setPower(0));
    EXPECT_EQ(listener.take(),
              (std::set<std::string>{"power", "powerState", "sampleRate", "sync", "syncType"}));
    EXPECT_EQ(control.getPower(), coolingDown);
    now += 9s;
    EXPECT_EQ(control.getPower(), coolingDown);
    now += 1s;
    EXPECT_EQ(control.getPower(), off);
    EXPECT_EQ(control.getSignalStatus(), L"Standby");
    EXPECT_EQ(status.getSync(), L"");
    EXPECT_TRUE(control.setPower(1));
    EXPECT_EQ(control.getPower(), warmingUp);
    now += 14s;
    EXPECT_EQ(control.getPower(), warmingUp);
    listener.take();
    now += 1s;
    projector.update();
    EXPECT_TRUE(listener.take().contains("powerState"));
    EXPECT_EQ(control.getPower(), on);
    EXPECT_EQ(status.getSync(), L"74.0 kHz / 60.0 Hz");
}

TEST_F(SettingsTest, PowerCoolsDownBeforeItWarmsUpAgain) {
    control.setPower(0);
    now += 4s;
    control.setPower(1);
    EXPECT_EQ(control.getPower(), coolingDown);
    now += 6s;
    EXPECT_EQ(control.getPower(), warmingUp);
    now += 7s;
    control.setPower(0);
    EXPECT_EQ(control.getPower(), coolingDown);
    control.setPower(1);
    now += 24s;
    EXPECT_EQ(control.getPower(), warmingUp);
    now += 1s;
    EXPECT_EQ(control.getPower(), on);
}

TEST_F(SettingsTest, PowerMayTakeNoTime) {
    projector.set("warmUpTime", 0);
    projector.set("coolDownTime", 0);
    control.setPower(0);
    now += 1ms;
    EXPECT_EQ(control.getPower(), off);
    control.setPower(1);
    now += 1ms;
    EXPECT_EQ(control.getPower(), on);
    EXPECT_EQ(errorOf([&] { control.setPower(2); }), -32003);
    EXPECT_EQ(errorOf([&] { control.setPower(4294967295U); }), -32003);
}

TEST_F(SettingsTest, InputsHaveSignals) {
    const auto inputs = control.getInputSignalList();
    ASSERT_EQ(inputs.size(), 5U);
    EXPECT_EQ(inputs.front(), (std::pair{1, std::wstring(L"DisplayPort 1")}));
    EXPECT_EQ(control.getInputSignal(), 1);
    EXPECT_EQ(control.getSignalStatus(), L"1920 x 1200, 60.0 Hz");
    EXPECT_EQ(control.getOptionalInputSignalDescription(3), L"Operator's computer");
    EXPECT_EQ(control.getOptionalInputSignalDescription(5), L"");
    EXPECT_EQ(errorOf([&] { control.getOptionalInputSignalDescription(6); }), -32004);
    EXPECT_EQ(errorOf([&] { control.getOptionalInputSignalDescription(0); }), -32004);

    control.setInputSignal(4);
    EXPECT_EQ(control.getInputSignal(), 4);
    EXPECT_EQ(control.getSignalStatus(), L"No signal");
    EXPECT_EQ(status.getSampleRate(), L"");
    listen();
    projector.set("input4Signal", "1280 x 720, 50.0 Hz");
    EXPECT_TRUE(listener.take().contains("input4Signal"));
    EXPECT_EQ(control.getSignalStatus(), L"1280 x 720, 50.0 Hz");
    EXPECT_NE(status.getSampleRate(), L"");
    for (const unsigned int none : {0U, 6U, 4294967295U}) {
        EXPECT_EQ(errorOf([&] { control.setInputSignal(none); }), -32003);
    }
    EXPECT_EQ(control.getInputSignal(), 4);
}

TEST_F(SettingsTest, CyclingLooksForASignal) {
    control.setInputSignal(4);
    control.setAutomaticInputCycling(1);
    EXPECT_EQ(control.getAutomaticInputCycling(), 1U);
    now += 3s;
    EXPECT_EQ(control.getInputSignal(), 5);
    listen();
    now += 3s;
    projector.update();
    EXPECT_TRUE(listener.take().contains("inputSignal"));
    EXPECT_EQ(control.getInputSignal(), 1);
    now += 1h;
    EXPECT_EQ(control.getInputSignal(), 1);
    projector.set("input1Signal", "");
    now += 1h;
    EXPECT_EQ(control.getInputSignal(), 2);
    control.setAutomaticInputCycling(0);
    control.setInputSignal(4);
    now += 1h;
    EXPECT_EQ(control.getInputSignal(), 4);
}

TEST_F(SettingsTest, CyclingEndsWhereNoInputHasASignal) {
    for (const char* const code :
         {"input1Signal", "input2Signal", "input3Signal", "input4Signal", "input5Signal"}) {
        projector.set(code, "");
    }
    control.setAutomaticInputCycling(1);
    now += 1000h;
    EXPECT_EQ(control.getInputSignal(), 1);
    EXPECT_EQ(control.getSignalStatus(), L"No signal");
}

TEST_F(SettingsTest, ShutterOpensAndCloses) {
    EXPECT_EQ(control.getShutter(), 0);
    listen();
    control.setShutter(1);
    EXPECT_EQ(control.getShutter(), 1);
    EXPECT_EQ(listener.take(), std::set<std::string>{"shutter"});
    EXPECT_EQ(errorOf([&] { control.setShutter(2); }), -32003);
}

TEST_F(SettingsTest, ThePictureFollowsPowerShutterAndInput) {
    const auto shown = [this] {
        const Simulation::Scene scene = projector.getScene();
        return std::string(scene.on ? "on" : "off") + (scene.shutterOpen ? ", open" : ", closed") +
               (scene.signal ? ", signal" : ", no signal");
    };
    EXPECT_EQ(shown(), "on, open, signal");
    control.setShutter(1);
    EXPECT_EQ(shown(), "on, closed, signal");
    control.setShutter(0);
    control.setInputSignal(4);
    EXPECT_EQ(shown(), "on, open, no signal");
    projector.set("input4Signal", "1920 x 1200, 60.0 Hz");
    EXPECT_EQ(shown(), "on, open, signal");
    control.setPower(0);
    EXPECT_EQ(shown(), "off, open, signal");
    now += 1h;
    control.setPower(1);
    EXPECT_EQ(shown(), "off, open, signal");
    now += 1h;
    EXPECT_EQ(shown(), "on, open, signal");
}

TEST_F(SettingsTest, AutomaticSetUpTakesAWhile) {
    EXPECT_EQ(control.isAutoSetupEnabled(), 1);
    EXPECT_EQ(control.isSourceLocked(), 0);
    EXPECT_TRUE(control.requestAutoSetup());
    EXPECT_EQ(control.isAutoSetupEnabled(), 0);
    EXPECT_FALSE(control.requestAutoSetup());
    now += 4s;
    EXPECT_EQ(control.isSourceLocked(), 0);
    now += 1s;
    EXPECT_EQ(control.isSourceLocked(), 1);
    EXPECT_EQ(control.isAutoSetupEnabled(), 1);
}

TEST_F(SettingsTest, AutomaticSetUpNeedsASignalThatStays) {
    control.requestAutoSetup();
    control.setInputSignal(2);
    now += 1h;
    EXPECT_EQ(control.isSourceLocked(), 0);
    control.setInputSignal(4);
    EXPECT_EQ(control.isAutoSetupEnabled(), 0);
    EXPECT_FALSE(control.requestAutoSetup());
    control.setInputSignal(1);
    control.setPower(0);
    EXPECT_FALSE(control.requestAutoSetup());
}

TEST_F(SettingsTest, TheSourceIsLockedWhileThereIsOne) {
    control.setSourceLocked(1);
    EXPECT_EQ(control.isSourceLocked(), 1);
    control.setInputSignal(4);
    EXPECT_EQ(control.isSourceLocked(), 0);
    control.setInputSignal(1);
    EXPECT_EQ(control.isSourceLocked(), 1);
    control.setSourceLocked(0);
    EXPECT_EQ(control.isSourceLocked(), 0);
    EXPECT_EQ(errorOf([&] { control.setSourceLocked(-1); }), -32003);
}

TEST_F(SettingsTest, GammaKeepsToItsRanges) {
    listen();
    gamma.setType(2);
    gamma.setGamma(180);
    gamma.setSlope(300);
    EXPECT_EQ(gamma.getType(), 2);
    EXPECT_EQ(gamma.getGamma(), 180);
    EXPECT_EQ(gamma.getSlope(), 300);
    EXPECT_EQ(listener.take(), (std::set<std::string>{"gammaType", "gamma", "gammaSlope"}));
    int least = 0;
    int most = 0;
    gamma.getGammaCorrectionRange(least, most);
    EXPECT_EQ(std::pair(least, most), std::pair(-50, 50));
    gamma.setGammaCorrection(least);
    EXPECT_EQ(errorOf([&] { gamma.setGammaCorrection(least - 1); }), -32003);
    EXPECT_EQ(errorOf([&] { gamma.setGammaCorrection(most + 1); }), -32003);
    EXPECT_EQ(errorOf([&] { gamma.setGamma(-5); }), -32003);
    EXPECT_EQ(errorOf([&] { gamma.setType(4); }), -32003);
    EXPECT_EQ(gamma.getGammaCorrection(), least);
}

TEST_F(SettingsTest, EachShareOfTheMatrixHasItsOwnValueAndRange) {
    struct Share {
        int (JsonColor::*get)();
        int (JsonColor::*least)();
        int (JsonColor::*most)();
        void (JsonColor::*set)(int);
        bool diagonal;
    };
    const Share shares[] = {
        {&JsonColor::getRedOfRed, &JsonColor::getRedOfRedMin, &JsonColor::getRedOfRedMax,
         &JsonColor::setRedOfRed, true},
        {&JsonColor::getGreenOfRed, &JsonColor::getGreenOfRedMin, &JsonColor::getGreenOfRedMax,
         &JsonColor::setGreenOfRed, false},
        {&JsonColor::getBlueOfRed, &JsonColor::getBlueOfRedMin, &JsonColor::getBlueOfRedMax,
         &JsonColor::setBlueOfRed, false},
        {&JsonColor::getRedOfGreen, &JsonColor::getRedOfGreenMin, &JsonColor::getRedOfGreenMax,
         &JsonColor::setRedOfGreen, false},
        {&JsonColor::getGreenOfGreen, &JsonColor::getGreenOfGreenMin, &JsonColor::getGreenOfGreenMax,
         &JsonColor::setGreenOfGreen, true},
        {&JsonColor::getBlueOfGreen, &JsonColor::getBlueOfGreenMin, &JsonColor::getBlueOfGreenMax,
         &JsonColor::setBlueOfGreen, false},
        {&JsonColor::getRedOfBlue, &JsonColor::getRedOfBlueMin, &JsonColor::getRedOfBlueMax,
         &JsonColor::setRedOfBlue, false},
        {&JsonColor::getGreenOfBlue, &JsonColor::getGreenOfBlueMin, &JsonColor::getGreenOfBlueMax,
         &JsonColor::setGreenOfBlue, false},
        {&JsonColor::getBlueOfBlue, &JsonColor::getBlueOfBlueMin, &JsonColor::getBlueOfBlueMax,
         &JsonColor::setBlueOfBlue, true},
    };
    listen();
    for (int i = 0; const Share& share : shares) {
        EXPECT_EQ((color.*share.get)(), share.diagonal ? 1000 : 0);
        EXPECT_EQ((color.*share.least)(), share.diagonal ? 0 : -500);
        EXPECT_EQ((color.*share.most)(), share.diagonal ? 2000 : 500);
        EXPECT_NE(errorOf([&] { (color.*share.set)((color.*share.least)() - 1); }), 0);
        EXPECT_NE(errorOf([&] { (color.*share.set)((color.*share.most)() + 1); }), 0);
        (color.*share.set)(++i);
        EXPECT_EQ(listener.take().size(), 1U);
    }
    for (int i = 0; const Share& share : shares) {
        EXPECT_EQ((color.*share.get)(), ++i);
    }
}

TEST_F(SettingsTest, ColorTemperatureMovesTheWhitePoint) {
    unsigned int least = 0;
    unsigned int most = 0;
    color.getColorTemperatureRange(least, most);
    EXPECT_EQ(std::pair(least, most), std::pair(3200U, 9300U));
    EXPECT_EQ(color.getColorTemperature(), 6500U);
    listen();
    // On the locus of black bodies: (0.4234, 0.3990) at 3200 K, (0.3135, 0.3236) at 6500 K.
    color.setColorTemperature(3200);
    EXPECT_EQ(listener.take(), (std::set<std::string>{"colorTemperature", "whiteX", "whiteY"}));
    EXPECT_NEAR(color.getWhiteX(), 4234, 15);
    EXPECT_NEAR(color.getWhiteY(), 3990, 15);
    color.setColorTemperature(6500);
    EXPECT_NEAR(color.getWhiteX(), 3135, 15);
    EXPECT_NEAR(color.getWhiteY(), 3236, 15);
    EXPECT_EQ(errorOf([&] { color.setColorTemperature(3199); }), -32003);
    EXPECT_EQ(errorOf([&] { color.setColorTemperature(9301); }), -32003);
    EXPECT_EQ(color.getColorTemperature(), 6500U);
}

TEST_F(SettingsTest, ChromaticityTargetsAreSetOneByOneAndTogether) {
    color.setRedX(6100);
    color.setWhiteY(3000);
    EXPECT_EQ(color.getRedX(), 6100U);
    EXPECT_EQ(color.getWhiteY(), 3000U);
    EXPECT_EQ(color.getColorXYMin(), 0U);
    EXPECT_EQ(color.getColorXYMax(), 10000U);
    EXPECT_EQ(errorOf([&] { color.setRedX(-1); }), -32003);
    EXPECT_EQ(errorOf([&] { color.setRedX(10001); }), -32003);

    std::vector<int> all{1, 2, 3, 4, 5, 6, 7, 8};
    color.setColorXY(all, 0);
    EXPECT_EQ(color.getRedX(), 1U);
    EXPECT_EQ(color.getRedY(), 2U);
    EXPECT_EQ(color.getGreenX(), 3U);
    EXPECT_EQ(color.getGreenY(), 4U);
    EXPECT_EQ(color.getBlueX(), 5U);
    EXPECT_EQ(color.getBlueY(), 6U);
    EXPECT_EQ(color.getWhiteX(), 7U);
    EXPECT_EQ(color.getWhiteY(), 8U);
    std::vector<int> blue{50, 60};
    color.setColorXY(blue, 3);
    EXPECT_EQ(color.getBlueX(), 50U);
    EXPECT_EQ(color.getBlueY(), 60U);
    std::vector<int> bad{1000, 20000};
    EXPECT_EQ(errorOf([&] { color.setColorXY(bad, 1); }), -32003);
    EXPECT_EQ(color.getRedX(), 1U);
    EXPECT_EQ(errorOf([&] { color.setColorXY(blue, 5); }), -32003);
    EXPECT_EQ(errorOf([&] { color.setColorXY(blue, 0); }), -32602);
    EXPECT_EQ(errorOf([&] { color.setColorXY(all, 4); }), -32602);
}

TEST_F(SettingsTest, TheMatrixIsWorkedOutFromTheTargets) {
    // The targets are the projector's own colours.
    color.setGreenOfRed(100);
    EXPECT_TRUE(color.recalcColorXY());
    EXPECT_NEAR(color.getRedOfRed(), 1000, 1);
    EXPECT_NEAR(color.getGreenOfRed(), 0, 1);
    EXPECT_NEAR(color.getBlueOfBlue(), 1000, 1);
    // White itself as the target of red needs equal shares, and cannot be had of any luminance but its own.
    color.setGreenX(3100);
    color.setGreenY(5900);
    EXPECT_TRUE(color.recalcColorXY());
    EXPECT_GT(color.getRedOfGreen() + color.getBlueOfGreen(), 0);
    // All white must stay white: the shares of each colour add up to one.
    EXPECT_NEAR(color.getRedOfRed() + color.getRedOfGreen() + color.getRedOfBlue(), 1000, 2);
    EXPECT_NEAR(color.getGreenOfRed() + color.getGreenOfGreen() + color.getGreenOfBlue(), 1000, 2);
    EXPECT_NEAR(color.getBlueOfRed() + color.getBlueOfGreen() + color.getBlueOfBlue(), 1000, 2);
    const int before = color.getRedOfGreen();
    // Three targets on one line make no white.
    std::vector<int> line{3000, 3000, 4000, 4000, 2000, 2000, 3135, 3236};
    color.setColorXY(line, 0);
    EXPECT_FALSE(color.recalcColorXY());
    EXPECT_EQ(color.getRedOfGreen(), before);
}

TEST_F(SettingsTest, TheMatrixIsWorkedOutFromSaturation) {
    std::vector<int> values;
    ASSERT_TRUE(color.getSaturationValues(values));
    std::vector<int> ranges;
    ASSERT_TRUE(color.getSaturationValueRanges(ranges));
    EXPECT_EQ(ranges[0], -60);
    EXPECT_EQ(ranges[1], 60);
    EXPECT_TRUE(color.recalcColorSat());
    EXPECT_EQ(color.getRedOfRed(), 1000);

    Json::Value changed(Json::arrayValue);
    for (const int value : {30, 100, 100, 0, 40, 100, 0, 100, 50}) {
        changed.append(value);
    }
    projector.set("saturationValues", changed);
    EXPECT_TRUE(color.recalcColorSat());
    EXPECT_EQ(color.getRedOfRed(), 750);
    EXPECT_EQ(color.getGreenOfRed(), 250);
    EXPECT_EQ(color.getGreenOfGreen(), 600);
    EXPECT_EQ(color.getRedOfGreen(), 200);
    EXPECT_EQ(color.getBlueOfBlue(), 500);
    EXPECT_EQ(color.getRedOfBlue(), 0);
    changed[0] = 61;
    EXPECT_THROW(projector.set("saturationValues", changed), RequestError);
    changed[0] = 60;
    changed.append(1);
    EXPECT_THROW(projector.set("saturationValues", changed), RequestError);
}

TEST_F(SettingsTest, EachSetUpHasItsGamut) {
    const Gamut native = color.getGamut(L"Native");
    EXPECT_DOUBLE_EQ(native.red.x, 0.64);
    const Gamut own{{0.625, 0.25, 0.125}, {0.25, 0.5, 0.25}, {0.125, 0.0625, 0.8125}, {0.375, 0.5, 0.125}};
    listen();
    EXPECT_EQ(errorOf([&] { color.getGamut(L"W\u00e4nde"); }), -32004);
    color.setGamut(L"W\u00e4nde", own);
    EXPECT_EQ(listener.take(), std::set<std::string>{"gamuts"});
    EXPECT_EQ(color.getGamut(L"W\u00e4nde"), own);
    EXPECT_EQ(color.getGamut(L"Native"), native);
    std::vector<int> values;
    EXPECT_TRUE(color.getXYValues(values, L"W\u00e4nde"));
    EXPECT_EQ(values, (std::vector<int>{6250, 2500, 2500, 5000, 1250, 625, 3750, 5000}));
    EXPECT_EQ(errorOf([&] { color.getXYValues(values, L"other"); }), -32004);

    Gamut bad = own;
    bad.blue.y = 1.5;
    EXPECT_EQ(errorOf([&] { color.setGamut(L"W\u00e4nde", bad); }), -32003);
    EXPECT_EQ(errorOf([&] { color.setGamut(L"Native", own); }), -32002);
    EXPECT_EQ(errorOf([&] { color.overwriteMaxDrives(bad); }), -32003);
    color.overwriteMaxDrives(own);
    EXPECT_EQ(color.getGamut(L"Native"), own);
}

TEST_F(SettingsTest, GamutsAreLimited) {
    const Gamut gamut = color.getGamut(L"Native");
    for (int i = 0; i < 64; ++i) {
        color.setGamut(std::to_wstring(i), gamut);
    }
    EXPECT_EQ(errorOf([&] { color.setGamut(L"one more", gamut); }), -32000);
    EXPECT_EQ(errorOf([&] { color.setGamut(L"7", gamut); }), 0);
}

TEST_F(SettingsTest, ModesOfAdjustment) {
    const auto list = color.getColorAdjustmentList();
    const auto types = color.getColorAdjustmentTypes();
    ASSERT_EQ(list.size(), types.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i].first, static_cast<int>(types[i]));
        color.setSelectedColorAdjustment(list[i].first);
        EXPECT_EQ(color.getSelectedColorAdjustment(), list[i].first);
    }
    EXPECT_EQ(errorOf([&] { color.setSelectedColorAdjustment(4); }), -32003);
    color.setColorEnable(5);
    EXPECT_EQ(color.getColorEnable(), 5U);
    EXPECT_EQ(errorOf([&] { color.setColorEnable(8); }), -32003);
}

TEST_F(SettingsTest, TheFactoryDefaultResetsEverythingButThePower) {
    const Json::Value unchanged = projector.get("gamuts");
    const Json::Value white = projector.get("whiteX");
    control.setInputSignal(2);
    control.setShutter(1);
    control.setSourceLocked(1);
    control.setAutomaticInputCycling(1);
    gamma.setGamma(180);
    color.setColorTemperature(4000);
    color.setRedOfGreen(-20);
    color.setGamut(L"mine", color.getGamut(L"Native"));
    Gamut other = color.getGamut(L"Native");
    other.red.x = 0.7;
    color.overwriteMaxDrives(other);
    projector.set("osd", 1);
    control.setPower(0);
    listen();
    control.setFactoryDefault(0);
    const auto told = listener.take();
    for (const char* const code : {"inputSignal", "shutter", "sourceLock", "inputCycling", "gamma",
                                   "colorTemperature", "whiteX", "whiteY", "redOfGreen", "gamuts", "osd"}) {
        EXPECT_TRUE(told.contains(code)) << code;
    }
    EXPECT_EQ(control.getInputSignal(), 1);
    EXPECT_EQ(control.getShutter(), 0);
    EXPECT_EQ(control.isSourceLocked(), 0);
    EXPECT_EQ(control.getAutomaticInputCycling(), 0U);
    EXPECT_EQ(gamma.getGamma(), 220);
    EXPECT_EQ(color.getColorTemperature(), 6500U);
    EXPECT_EQ(color.getRedOfGreen(), 0);
    EXPECT_EQ(projector.get("gamuts"), unchanged);
    EXPECT_EQ(projector.get("osd"), Json::Value(0));
    EXPECT_EQ(projector.get("power"), Json::Value(0));
    EXPECT_EQ(projector.get("whiteX"), white);
}

}  // namespace

}  // namespace JsonDevice
