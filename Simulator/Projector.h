#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <json/value.h>

#include "Common/Export.h"
#include "Simulator/Protocol.h"
#include "Simulator/RequestDispatcher.h"
#include "Simulator/Scene.h"

namespace JsonDevice::Simulation {

/// A simulated projector without any transport: it takes records and gives
/// replies. What is set can be read back, by the typed methods and by code
/// alike; values that depend on time follow the clock.
///
/// Callers that have sent "get", "set", "getAttributes" or "getProperties" are
/// told of each change that they did not make themselves: method "notify",
/// params [code, value].
///
/// All operations may be called from any thread, and run one after another.
class JSONDEVICE_EXPORT Projector {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// The clock is asked under the lock and must not call the projector. A
    /// clock that goes back counts as one that stands.
    explicit Projector(Clock clock = std::chrono::steady_clock::now, Protocol protocol = Protocol::Current);
    Projector(const Projector&) = delete;
    Projector& operator=(const Projector&) = delete;
    ~Projector();

    /// The reply to one record; empty where none is due. See RequestDispatcher.
    std::string handle(const std::string& record, Caller& caller);
    /// For a caller that cannot be notified.
    std::string handle(const std::string& record);
    /// The caller is not told of changes any more. Call it before he is gone.
    void forget(Caller& caller);

    /// Lets the values follow the clock. Each request does, too; in between it
    /// is what makes notifications come while nobody asks.
    void update();

    /// The value of a code. Throws RequestError when there is none.
    Json::Value get(const std::string& code);
    /// Changes a value as the device itself would, a read-only one included.
    /// Throws RequestError for an unknown code and a value that does not fit.
    void set(const std::string& code, const Json::Value& value);

    bool handles(std::string_view method) const;

    /// This moment's picture on the wall, to be rendered without the projector.
    Scene getScene();
    /// The state for people: an object for each interface, with the values of
    /// its codes and what else there is to tell. "Projector" has the codes that no method serves.
    Json::Value describe();

private:
    struct Implementation;
    const std::unique_ptr<Implementation> implementation;
};

}  // namespace JsonDevice::Simulation
