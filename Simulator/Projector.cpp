#include "Simulator/Projector.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "Common/Base64.h"
#include "DeviceManager/JsonDevice/PngWriter.h"
#include "Simulator/BlockPatternModel.h"
#include "Simulator/CalibrationPatternModel.h"
#include "Simulator/CodeTable.h"
#include "Simulator/ColorModel.h"
#include "Simulator/ControlModel.h"
#include "Simulator/GammaModel.h"
#include "Simulator/GeometryModel.h"
#include "Simulator/MessageModel.h"
#include "Simulator/PatternLimits.h"
#include "Simulator/PowerModel.h"
#include "Simulator/RemoteModel.h"
#include "Simulator/StatusModel.h"
#include "Simulator/TestPatternModel.h"
#include "Simulator/ViewerModel.h"

namespace JsonDevice::Simulation {

namespace {

/// The most pixels of a picture that is asked for, in either direction.
constexpr int longestSide = 4096;

}  // namespace

struct Projector::Implementation {
    Implementation(Clock ownClock, Protocol protocol) : clock(std::move(ownClock)), last(clock()) {
        add<RemoteModel>();
        add<StatusModel>(power);
        add<ControlModel>(power, [this] { restoreDefaults(); });
        add<ColorModel>();
        add<GammaModel>();
        add<TestPatternModel>();
        add<BlockPatternModel<PreWarpBlockPatternInterface>>();
        add<BlockPatternModel<ProjectorBlockPatternInterface>>();
        add<CalibrationPatternModel>();
        add<GeometryModel>(protocol);
        add<ViewerModel>();
        // No device's method: it is there for whoever wants to see what a real projector would show.
        requests.bindRaw("Simulator::getPicture",
                         [this](const Json::Value& params, Caller&) { return picture(params); });
    }

    template <class Model, class... Arguments>
    Model& add(Arguments&&... others) {
        auto model = std::make_unique<Model>(requests, codes, std::forward<Arguments>(others)...);
        Model& added = *model;
        features.push_back(std::move(model));
        return added;
    }

    void advance() {
        const auto now = clock();
        if (now > last) {
            const auto elapsed = now - std::exchange(last, now);
            power.advance(elapsed);
            for (const auto& feature : features) {
                feature->advance(elapsed);
            }
        }
    }

    Scene scene() const {
        Scene scene;
        power.show(scene);
        for (const auto& feature : features) {
            feature->show(scene);
        }
        return scene;
    }

    /// A PNG file as base64 text, of the width and height in the params, or as large as the projector's.
    Json::Value picture(const Json::Value& params) const {
        const Scene shown = scene();
        int width = std::min(shown.width, longestSide);
        int height = std::min(shown.height, longestSide);
        if (!params.isNull() && !(params.isArray() && params.empty())) {
            if (!params.isArray() || params.size() != 2 || !params[0].isInt() || !params[1].isInt()) {
                throw RequestError(ErrorCode::invalidParams,
                                   "Invalid params: expected a width and a height, or nothing");
            }
            width = params[0].asInt();
            height = params[1].asInt();
            checkLimits("width", width, 1, longestSide);
            checkLimits("height", height, 1, longestSide);
        }
        const Bitmap bitmap = render(shown, width, height);
        return encodeBase64(makePng(
            {1, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), bitmap.values.data()},
            ""));
    }

    void restoreDefaults() {
        codes.restoreDefaults();
        for (const auto& feature : features) {
            feature->restoreDefaults();
        }
    }

    std::mutex lock;
    const Clock clock;
    std::chrono::steady_clock::time_point last;
    RequestDispatcher requests;
    CodeTable codes;
    MessageModel messages{requests, codes};
    PowerModel power{requests, codes};
    std::vector<std::unique_ptr<Feature>> features;
};

Projector::Projector(Clock clock, Protocol protocol)
    : implementation(std::make_unique<Implementation>(std::move(clock), protocol)) {}

Projector::~Projector() = default;

std::string Projector::handle(const std::string& record, Caller& caller) {
    const std::lock_guard guard(implementation->lock);
    implementation->advance();
    const auto nobodyAsks = [this](Caller*) { implementation->messages.setAsking(nullptr); };
    const std::unique_ptr<Caller, decltype(nobodyAsks)> asking(&caller, nobodyAsks);
    implementation->messages.setAsking(&caller);
    return implementation->requests.handle(record, caller);
}

std::string Projector::handle(const std::string& record) {
    return handle(record, Caller::nobody());
}

void Projector::forget(Caller& caller) {
    const std::lock_guard guard(implementation->lock);
    implementation->messages.forget(caller);
}

void Projector::update() {
    const std::lock_guard guard(implementation->lock);
    implementation->advance();
}

Json::Value Projector::get(const std::string& code) {
    const std::lock_guard guard(implementation->lock);
    implementation->advance();
    return implementation->codes.find(code).read();
}

void Projector::set(const std::string& code, const Json::Value& value) {
    const std::lock_guard guard(implementation->lock);
    implementation->advance();
    implementation->codes.find(code).write(value);
}

bool Projector::handles(std::string_view method) const {
    return implementation->requests.handles(method);
}

Scene Projector::getScene() {
    const std::lock_guard guard(implementation->lock);
    implementation->advance();
    return implementation->scene();
}

Json::Value Projector::describe() {
    const std::lock_guard guard(implementation->lock);
    implementation->advance();
    Json::Value state(Json::objectValue);
    for (const auto& [name, code] : implementation->codes.all()) {
        const std::string interfaceName =
            code->methods.empty() ? "Projector"
                                  : code->methods.front().substr(0, code->methods.front().find("::"));
        state[interfaceName][name] = code->read();
    }
    for (const auto& feature : implementation->features) {
        feature->describe(state);
    }
    return state;
}

}  // namespace JsonDevice::Simulation
