#pragma once

#include <cstdint>
#include <string>

#include "Common/Export.h"
#include "Simulator/Projector.h"
#include "Simulator/RecordServer.h"

namespace JsonDevice {

/// A simulated projector that listens on TCP, in the process that makes it:
///
///     Simulator simulator;
///     simulator.start();
///     TcpCommunicator communicator(simulator.getAddress());
///
/// All operations may be called from any thread, except from within the
/// functions given in the options.
class JSONDEVICE_EXPORT Simulator {
public:
    struct Options {
        RecordServer::Options server = {};
        /// What the values that depend on time follow.
        Simulation::Projector::Clock clock = std::chrono::steady_clock::now;
        Simulation::Protocol protocol = Simulation::Protocol::Current;
    };

    Simulator();
    explicit Simulator(Options options);
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;
    /// Stops.
    ~Simulator();

    /// Port 0 takes a free one. See RecordServer.
    void start(std::uint16_t port = 0, const std::string& listenAddress = "127.0.0.1");
    /// The projector keeps its state, and can be started again.
    void stop() noexcept;
    /// As "tcp://127.0.0.1:5000"; empty when it is not started.
    std::string getAddress() const { return server.getAddress(); }
    std::uint16_t getPort() const { return server.getPort(); }

    Simulation::Projector& getProjector() { return projector; }
    RecordServer& getServer() { return server; }

    void misbehave(const Misbehaviour& misbehaviour) { server.misbehave(misbehaviour); }
    /// Throws KorvanParseException; see Misbehaviour::parse.
    void misbehave(std::string_view text) { server.misbehave(Misbehaviour::parse(text)); }
    void behave() { server.behave(); }

private:
    Simulation::Projector projector;
    RecordServer server;
};

}  // namespace JsonDevice
