#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonBlackLevel.h"
#include "DeviceManager/JsonDevice/JsonBlendingV1.h"
#include "DeviceManager/JsonDevice/JsonIG.h"
#include "DeviceManager/JsonDevice/JsonMasking.h"
#include "DeviceManager/JsonDevice/JsonModel.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "DeviceManager/JsonDevice/JsonWarpV1.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "Platform/Devices/BlendProxy.h"
#include "Platform/Devices/Device.h"

/// Which proxy types a program knows depends on the adapters it made, in
/// whatever order. The registry lives as long as the process, so each case has a
/// process of its own.
namespace JsonDevice {
namespace {

using Names = std::set<std::string>;

const Names allOfTheWarp{"MeshProxy", "BlendProxy", "BlackLevelProxy", "ControlCurveProxy"};

Names registered() {
    Names names;
    for (const char* name :
         {"MeshProxy", "BlendProxy", "BlackLevelProxy", "ControlCurveProxy", "IGContentProxy"}) {
        if (MarshalJson::instance()->isRegistered(name)) {
            names.insert(name);
        }
    }
    return names;
}

class UnconnectedDevice : public Device {
public:
    Communicator* getCommunicator() override { return nullptr; }
    std::string getMACAddress() const override { return ""; }
};

template <class Adapter>
void constructFromCommunicator() {
    Adapter adapter(static_cast<Communicator*>(nullptr));
}

template <class Adapter>
void constructFromDevice() {
    UnconnectedDevice device;
    Adapter adapter(&device);
}

struct Step {
    const char* what;
    void (*run)();
    Names after;
};

/// Runs the steps in order; exits with 0 when the known names are right before,
/// between and after them.
[[noreturn]] void runSteps(const std::vector<Step>& steps) {
    bool right = registered().empty();
    for (const Step& step : steps) {
        step.run();
        if (registered() != step.after) {
            std::cerr << "wrong after " << step.what << '\n';
            right = false;
        }
    }
    std::exit(right ? 0 : 1);
}

class ProxyRegistration : public testing::Test {
protected:
    // A process that starts from the beginning, not a copy of this one.
    ProxyRegistration() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

#define EXPECT_STEPS(...) EXPECT_EXIT(runSteps({__VA_ARGS__}), testing::ExitedWithCode(0), "")

const Step warp{"warp", constructFromCommunicator<JsonWarp>, allOfTheWarp};
const Step blending{"blending", constructFromCommunicator<JsonBlending>, allOfTheWarp};
const Step masking{"masking", constructFromCommunicator<JsonMasking>, allOfTheWarp};

TEST_F(ProxyRegistration, EveryOrderOfConstructionKnowsAllFourFromTheFirstOn) {
    EXPECT_STEPS(warp, blending, masking);
    EXPECT_STEPS(warp, masking, blending);
    EXPECT_STEPS(blending, warp, masking);
    EXPECT_STEPS(blending, masking, warp);
    EXPECT_STEPS(masking, warp, blending);
    EXPECT_STEPS(masking, blending, warp);
}

TEST_F(ProxyRegistration, TheOtherConstructorsRegisterToo) {
    EXPECT_STEPS(Step{"warp", constructFromDevice<JsonWarp>, allOfTheWarp});
    EXPECT_STEPS(Step{"blending", constructFromDevice<JsonBlending>, allOfTheWarp});
    EXPECT_STEPS(Step{"masking", constructFromDevice<JsonMasking>, allOfTheWarp});
    EXPECT_STEPS(Step{"warp V1", constructFromDevice<JsonWarpV1>, allOfTheWarp});
    EXPECT_STEPS(Step{"warp V1", constructFromCommunicator<JsonWarpV1>, allOfTheWarp});
    EXPECT_STEPS(Step{"blending V1", constructFromDevice<JsonBlendingV1>, allOfTheWarp});
    EXPECT_STEPS(Step{"blending V1", constructFromCommunicator<JsonBlendingV1>, allOfTheWarp});
}

TEST_F(ProxyRegistration, TheRegistrationFunctionsChainAsTheConstructorsDo) {
    EXPECT_STEPS(Step{"warp", JsonWarp::registerWarpTypes, allOfTheWarp});
    EXPECT_STEPS(Step{"blending", JsonBlending::registerBlendingTypes, allOfTheWarp});
    EXPECT_STEPS(Step{"masking", JsonMasking::registerMaskingTypes, allOfTheWarp});
}

TEST_F(ProxyRegistration, BlackLevelAndModelAdaptersRegisterNothing) {
    EXPECT_STEPS(Step{"black level", constructFromCommunicator<JsonBlackLevel>, {}},
                 Step{"black level", constructFromDevice<JsonBlackLevel>, {}},
                 Step{"model", constructFromDevice<JsonModel>, {}},
                 Step{"model's function", JsonModel::registerStatusInterfaceTypes, {}},
                 Step{"black level's function", JsonBlackLevel::registerBlackLevelTypes, {"BlackLevelProxy"}},
                 warp);
}

TEST_F(ProxyRegistration, TheImageGeneratorKnowsItsContents) {
    EXPECT_STEPS(Step{"ig", constructFromCommunicator<JsonIG>, {"IGContentProxy"}});
    EXPECT_STEPS(Step{"ig", constructFromDevice<JsonIG>, {"IGContentProxy"}});
}

[[noreturn]] void keepWhatIsThere() {
    class Own : public JType {
    public:
        Json::Value toJson(const void*, const MarshalOptions&) const override { return "own"; }
        void* fromJson(const Json::Value&) const override { return nullptr; }
    };
    MarshalJson& registry = *MarshalJson::instance();
    const auto nothing = []() -> void* { return nullptr; };
    registry.registerType<BlendProxy>("BlendProxy", std::make_shared<Own>(), nothing);
    const auto ofStatus = {"std::vector<std::wstring>", "std::vector<int>", "PairVectorStringVectorInt",
                           "PairBoolPairVectorStringVectorInt"};
    for (const char* const name : ofStatus) {
        registry.registerType<int>(name, std::make_shared<Own>(), nothing);
    }
    constructFromCommunicator<JsonWarp>();
    constructFromCommunicator<JsonBlending>();
    constructFromCommunicator<JsonMasking>();
    constructFromCommunicator<JsonStatus>();
    const bool kept = std::all_of(ofStatus.begin(), ofStatus.end(), [&](const char* name) {
        return registry.toJson(name, nullptr, {}) == "own";
    });
    std::exit(
        kept && registry.toJson("BlendProxy", nullptr, {}) == "own" && registered() == allOfTheWarp ? 0 : 1);
}

TEST_F(ProxyRegistration, WhatIsRegisteredAlreadyStays) {
    EXPECT_EXIT(keepWhatIsThere(), testing::ExitedWithCode(0), "");
}

[[noreturn]] void useBlackLevelUnregistered() {
    JsonBlackLevel adapter(static_cast<Communicator*>(nullptr));
    try {
        adapter.saveBlacklevel(1, nullptr);
    } catch (const KorvanException& error) {
        std::exit(error.getMessage().find(L"BlackLevelProxy") != std::wstring::npos ? 0 : 1);
    }
    std::exit(1);
}

TEST_F(ProxyRegistration, ABlackLevelAdapterAloneDoesNotKnowItsProxy) {
    EXPECT_EXIT(useBlackLevelUnregistered(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace JsonDevice
