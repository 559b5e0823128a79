#include "Simulator/Simulator.h"

#include <utility>

namespace JsonDevice {

namespace {

RecordServer::Options ticking(RecordServer::Options options, Simulation::Projector& projector) {
    options.onSecond = [&projector, also = std::move(options.onSecond)] {
        projector.update();
        if (also) {
            also();
        }
    };
    return options;
}

}  // namespace

Simulator::Simulator() : Simulator(Options()) {}

Simulator::Simulator(Options options)
    : projector(std::move(options.clock), options.protocol),
      server([this](const std::string& record, Caller& caller) { return projector.handle(record, caller); },
             [this](Caller& caller) { projector.forget(caller); },
             ticking(std::move(options.server), projector)) {}

Simulator::~Simulator() = default;

void Simulator::start(std::uint16_t port, const std::string& listenAddress) {
    server.start(port, listenAddress);
}

void Simulator::stop() noexcept {
    server.stop();
}

}  // namespace JsonDevice
