#include "Simulator/ControlModel.h"

#include <algorithm>
#include <utility>

#include "DeviceManager/JsonDevice/Vocabulary/Control.h"
#include "Simulator/Scene.h"

namespace JsonDevice::Simulation {

namespace Methods = Vocabulary::Control;

namespace {

using std::chrono::seconds;

constexpr auto setUpTime = seconds(5);
constexpr auto cyclingTime = seconds(3);

struct Socket {
    const wchar_t* name;
    const wchar_t* description;
    const wchar_t* signal;
};

/// All sources send what StatusModel says of the signal.
constexpr Socket sockets[] = {
    {L"DisplayPort 1", L"Image generator, left channel", L"1920 x 1200, 60.0 Hz"},
    {L"DisplayPort 2", L"Image generator, right channel", L"1920 x 1200, 60.0 Hz"},
    {L"DVI", L"Operator's computer", L"1920 x 1200, 60.0 Hz"},
    {L"HDMI", L"", L""},
    {L"SDI", L"", L""},
};

CodeDescription flag(const char* code, const char* summary, bool readOnly = false) {
    return {.code = code, .summary = summary, .range = Range{0, 1}, .readOnly = readOnly};
}

}  // namespace

ControlModel::ControlModel(RequestDispatcher& dispatcher, CodeTable& codeTable, const PowerModel& powerModel,
                           std::function<void()> restoreAll)
    : Feature(dispatcher, codeTable),
      inputSignal(codes,
                  {.code = "inputSignal",
                   .summary = "The number of the selected input.",
                   .range = Range{1, std::size(sockets)}},
                  1),
      shutter(codes, flag("shutter", "Whether the shutter is closed."), 0),
      sourceLock(codes, flag("sourceLock", "Whether the picture is to be locked to the source."), 0),
      sourceLocked(codes, flag("sourceLocked", "Whether the picture is locked to the source.", true), 0),
      inputCycling(codes, flag("inputCycling", "Whether to look for an input that has a signal."), 0),
      autoSetup(codes, flag("autoSetup", "Whether an automatic set-up is under way.", true), 0),
      power(powerModel) {
    for (int number = 1; const Socket& socket : sockets) {
        const std::string index = std::to_string(number);
        inputs.push_back({number++, socket.name, socket.description,
                          std::make_unique<Property<Wire::Text>>(
                              codes,
                              CodeDescription{.code = "input" + index + "Signal",
                                              .summary = "The signal at input " + index + ", or nothing.",
                                              .keptByFactoryDefault = true},
                              socket.signal)});
    }
    requests.bind(Methods::setFactoryDefault, [restore = std::move(restoreAll)](unsigned int) { restore(); });
    serveGet(Methods::getInputSignal, inputSignal);
    serveSet(Methods::setInputSignal, inputSignal);
    requests.bind(Methods::getInputSignalList, [this] {
        Wire::Items::Native list;
        for (const Input& each : inputs) {
            list.emplace_back(each.number, each.name);
        }
        return list;
    });
    requests.bind(Methods::getSignalStatus, [this] {
        return power.getState() == PowerModel::State::off ? std::wstring(L"Standby")
               : selectedSignal().empty()                 ? std::wstring(L"No signal")
                                                          : selectedSignal();
    });
    requests.bind(Methods::getOptionalInputSignalDescription,
                  [this](unsigned int number) { return input(number).description; });
    serveGet(Methods::getShutter, shutter);
    serveSet(Methods::setShutter, shutter);
    requests.bind(Methods::requestAutoSetup, [this] {
        if (!canSetUp()) {
            return false;
        }
        setUpLeft = setUpTime;
        autoSetup.set(1);
        return true;
    });
    requests.bind(Methods::isAutoSetupEnabled, [this] { return canSetUp() ? 1 : 0; });
    serveGet(Methods::isSourceLocked, sourceLocked);
    serveSet(Methods::setSourceLocked, sourceLock);
    serveGet(Methods::getAutomaticInputCycling, inputCycling);
    serveSet(Methods::setAutomaticInputCycling, inputCycling);
    codes.addListener([this](const Code& changed) { follow(changed); });
}

void ControlModel::advance(std::chrono::steady_clock::duration elapsed) {
    if (autoSetup.get() != 0) {
        setUpLeft -= elapsed;
        if (setUpLeft <= setUpLeft.zero()) {
            autoSetup.set(0);
            sourceLock.set(1);
        }
    }
    const bool seeking = inputCycling.get() != 0 && power.isOn() && selectedSignal().empty();
    sinceCycled = seeking ? sinceCycled + elapsed : sinceCycled.zero();
    // Once round is enough, however long it was.
    for (std::size_t i = 0; i < inputs.size() && sinceCycled >= cyclingTime && selectedSignal().empty();
         ++i) {
        sinceCycled -= cyclingTime;
        inputSignal.set(inputSignal.get() % static_cast<int>(inputs.size()) + 1);
    }
}

void ControlModel::show(Scene& scene) const {
    scene.shutterOpen = shutter.get() == 0;
    scene.signal = !selectedSignal().empty();
}

const ControlModel::Input& ControlModel::input(unsigned int number) const {
    if (number < 1 || number > inputs.size()) {
        throw RequestError(ErrorCode::notFound, "There is no input " + std::to_string(number));
    }
    return inputs[number - 1];
}

const std::wstring& ControlModel::selectedSignal() const {
    return inputs[static_cast<std::size_t>(inputSignal.get()) - 1].signal->get();
}

bool ControlModel::canSetUp() const {
    return power.getState() == PowerModel::State::on && !selectedSignal().empty() && autoSetup.get() == 0;
}

void ControlModel::follow(const Code& changed) {
    const bool concerned =
        &changed == &power.state || &changed == &inputSignal || &changed == &sourceLock ||
        std::ranges::any_of(inputs, [&](const Input& each) { return each.signal.get() == &changed; });
    if (!concerned) {
        return;
    }
    const bool running = power.getState() == PowerModel::State::on && !selectedSignal().empty();
    // What was being set up is gone.
    if (!running || &changed == &inputSignal) {
        autoSetup.set(0);
    }
    sourceLocked.set(running && sourceLock.get() != 0 ? 1 : 0);
    for (const char* const fact : {"sampleRate", "syncType", "sync"}) {
        Code& code = codes.find(fact);
        code.write(running ? code.readDefault() : Json::Value(""));
    }
}

}  // namespace JsonDevice::Simulation
