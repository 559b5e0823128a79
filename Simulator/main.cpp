#include <csignal>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <log4cxx/consoleappender.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>

#include "Common/WideText.h"
#include "Simulator/Simulator.h"
#include "Simulator/TrafficText.h"
#include "Simulator/WebView.h"

namespace {

constexpr int wrongUsage = 2;

/// The library's own warnings go to standard error; what it traces is shown by --verbose better.
void configureLogging() {
    using namespace log4cxx;
    const auto layout = std::make_shared<PatternLayout>(LOG4CXX_STR("%p %c: %m%n"));
    const auto root = Logger::getRootLogger();
    root->addAppender(std::make_shared<ConsoleAppender>(layout, ConsoleAppender::getSystemErr()));
    root->setLevel(Level::getWarn());
}

void show(const JsonDevice::TrafficEvent& event) {
    using Kind = JsonDevice::TrafficEvent::Kind;
    std::string line = event.peer;
    switch (event.kind) {
        case Kind::connected:
            line += " connected";
            break;
        case Kind::received:
            line += " --> ";
            break;
        case Kind::sent:
            line += " <-- ";
            break;
        case Kind::disconnected:
            line += event.text.empty() ? " disconnected" : " disconnected: ";
            break;
    }
    std::cerr << line + JsonDevice::trafficText(event.text) + '\n' << std::flush;
}

}  // namespace

int main(int argc, char** argv) {
    std::uint16_t port = 5000;
    std::string listenAddress = "127.0.0.1";
    bool verbose = false;
    std::vector<std::string> misbehaviours;
    int protocol = 2;
    std::vector<int> resolution;
    std::optional<std::uint16_t> httpPort;
    std::string httpListenAddress = "127.0.0.1";
    std::size_t largestRecord = JsonDevice::RecordServer::Options().largestRecord;

    CLI::App app(
        "A simulated projector that speaks JSON-RPC 2.0 over TCP.\n"
        "Prints the address it listens on, and ends on SIGINT and SIGTERM.");
    app.footer(
        "Example:\n  jsondevice-sim --port 0 --verbose --misbehave delay=2000,method=StatusInterface::*");
    app.add_option("-p,--port", port, "The port to listen on; 0 for a free one")->capture_default_str();
    app.add_option("-l,--listen", listenAddress, "The address to listen on")->capture_default_str();
    app.add_option("--http", httpPort, "Show the projector to browsers on this port; 0 for a free one");
    app.add_option("--http-listen", httpListenAddress, "The address on which to show it")
        ->capture_default_str();
    app.add_flag("-v,--verbose", verbose, "Show the traffic on standard error");
    app.add_option("-m,--misbehave", misbehaviours,
                   "Go wrong in a given way, for example \"no-answer,count=1\" or "
                   "\"garbage,probability=0.1,seed=7\"; may be given several times")
        ->allow_extra_args(false);
    app.add_option("--protocol", protocol, "The protocol spoken: 1 for the older one, 2")
        ->check(CLI::IsMember({1, 2}))
        ->capture_default_str();
    app.add_option("--resolution", resolution, "Width and height of the picture in pixels")
        ->delimiter('x')
        ->expected(2)
        ->type_name("WIDTHxHEIGHT")
        ->check(CLI::Range(1, 65536));
    app.add_option("--largest-record", largestRecord, "The largest record taken, in bytes")
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUsage;
    }

    configureLogging();

    // Before there are threads, so that all of them leave the signals to sigwait.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    try {
        JsonDevice::Simulator::Options options;
        options.server.largestRecord = largestRecord;
        options.protocol = protocol == 1 ? JsonDevice::Simulation::Protocol::Older
                                         : JsonDevice::Simulation::Protocol::Current;
        // Set before there is traffic, and valid until there is none any more.
        JsonDevice::WebView* viewers = nullptr;
        if (verbose || httpPort) {
            options.server.onTraffic = [verbose, &viewers](const JsonDevice::TrafficEvent& event) {
                if (verbose) {
                    show(event);
                }
                if (viewers != nullptr) {
                    viewers->onTraffic(event);
                }
            };
        }
        JsonDevice::Simulator simulator(std::move(options));
        if (!resolution.empty()) {
            Json::Value size;
            size.append(resolution[0]);
            size.append(resolution[1]);
            simulator.getProjector().set("nativeResolution", size);
        }
        JsonDevice::WebView view(simulator.getProjector());
        if (httpPort) {
            view.start(*httpPort, httpListenAddress);
            viewers = &view;
        }
        for (const std::string& misbehaviour : misbehaviours) {
            simulator.misbehave(misbehaviour);
        }
        simulator.start(port, listenAddress);
        std::cout << "Listening on " << simulator.getAddress() << std::endl;
        if (httpPort) {
            std::cout << "Watch it at " << view.getAddress() << std::endl;
        }
        int received = 0;
        sigwait(&signals, &received);
        simulator.stop();
        return 0;
    } catch (const KorvanParseException& error) {
        std::cerr << "jsondevice-sim: " << toUtf8(error.getMessage()) << '\n';
        return wrongUsage;
    } catch (const KorvanExceptionBase& error) {
        std::cerr << "jsondevice-sim: " << toUtf8(error.getMessage()) << '\n';
        return 1;
    }
}
