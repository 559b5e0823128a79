#include "Tools/Run.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>

#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/spi/loggerrepository.h>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/Vocabulary/Method.h"
#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Tools/Arguments.h"
#include "Tools/CommandLine.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Completion.h"
#include "Tools/Console.h"
#include "Tools/Format.h"
#include "Tools/Session.h"
#include "Tools/TrafficCommunicator.h"

namespace Tool {

namespace {

constexpr std::size_t mostThreads = 64;
constexpr int defaultReplyMs = static_cast<int>(JsonDevice::defaultReplyTimeout.count());

/// The library's log is for hosts; the tool has its own ways to tell. Left
/// alone, log4cxx would complain and log everything to standard output.
void silenceLog() {
    log4cxx::LogManager::resetConfiguration();
    log4cxx::LogManager::getLoggerRepository()->setThreshold(log4cxx::Level::getOff());
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
}

/// Addresses, separated by blanks or lines; what stands behind a "#" in a line is a comment.
std::vector<std::string> splitAddresses(std::string text) {
    bool comment = false;
    for (char& c : text) {
        comment = c != '\n' && (comment || c == '#');
        if (comment || c == '\n' || c == '\t' || c == '\r') {
            c = ' ';
        }
    }
    std::vector<std::string> addresses;
    for (std::size_t start = text.find_first_not_of(' '); start < text.size();
         start = text.find_first_not_of(' ', start)) {
        const std::size_t end = std::min(text.find(' ', start), text.size());
        addresses.push_back(text.substr(start, end - start));
        start = end;
    }
    return addresses;
}

std::vector<DeviceAddress> readAddresses(std::vector<std::string> given) {
    if (const char* const environment = std::getenv("JSONDEVICE"); given.empty() && environment != nullptr) {
        given = splitAddresses(environment);
    }
    std::vector<DeviceAddress> addresses;
    for (const std::string& text : given) {
        const auto parse = [&](const std::string& address) {
            try {
                addresses.push_back(DeviceAddress::parse(address));
            } catch (const DeviceException& e) {
                refuseUsage(printableLine(toUtf8(e.getMessage())));
            }
        };
        if (text.starts_with('@')) {
            std::ranges::for_each(splitAddresses(Input::readFile(text.substr(1))), parse);
        } else {
            parse(text);
        }
    }
    if (addresses.empty()) {
        refuseUsage("no device is given: use -d tcp://host:port, or set JSONDEVICE");
    }
    return addresses;
}

/// What became of a task on one device.
struct Outcome {
    std::string device;
    Answer answer;
    std::optional<Failure> failure;

    ExitStatus status() const { return failure ? failure->status : answer.status; }
};

/// Shows how far a long record has come.
class ProgressOfSending {
public:
    explicit ProgressOfSending(Console& console) : console(&console) {}

    void operator()(std::size_t sent, std::size_t total) {
        constexpr std::size_t longRecord = std::size_t{1} << 20;
        if (total < longRecord) {
            return;
        }
        const auto now = Clock::now();
        if (sent < previous || previous == 0) {
            start = now;
            shown = {};
        }
        previous = sent;
        if (sent == total) {
            previous = 0;
            console->progress("");
        } else if (now - shown >= std::chrono::milliseconds(100)) {
            shown = now;
            const double seconds = std::chrono::duration<double>(now - start).count();
            const double rate = seconds > 0 ? static_cast<double>(sent) / seconds : 0;
            console->progress("sending " + inMegabytes(static_cast<double>(sent)) + " of " +
                              inMegabytes(static_cast<double>(total)) + " MB" +
                              (rate > 0 ? ", " + inMegabytes(rate) + " MB/s" : ""));
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    static std::string inMegabytes(double bytes) {
        const auto tenths = static_cast<long long>(bytes / 1e5 + 0.5);
        return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
    }

    Console* console;
    Clock::time_point start;
    Clock::time_point shown;
    std::size_t previous = 0;
};

Outcome perform(const Task& task, const DeviceAddress& address, const Session::Frame& frame) {
    TcpCommunicator device(address);
    if (frame.timeout) {
        device.setConnectTimeout(std::chrono::milliseconds(*frame.timeout));
        device.setWriteTimeout(std::chrono::milliseconds(*frame.timeout));
    }
    if (!frame.oneOfSeveral) {
        device.setSendObserver(ProgressOfSending(frame.console));
    }
    const std::string name = address.toText();
    const std::string prefix = frame.oneOfSeveral ? name + "  " : "";
    TrafficCommunicator traffic(device, [&](const std::string& line) { frame.console.note(prefix + line); });
    Communicator& communicator = frame.console.verbose ? static_cast<Communicator&>(traffic) : device;
    Outcome outcome{name, {}, {}};
    try {
        Session session(communicator, frame);
        outcome.answer =
            session.guarded(frame.timeout.value_or(defaultReplyMs), [&] { return task(session); });
    } catch (const FailureException& e) {
        outcome.failure = e.get();
    }
    frame.diagnostics.show();
    return outcome;
}

/// All at the same time, so that one that does not answer does not hold up the
/// others. `report` is told of each as it ends, on the thread that asked it.
template <class Report>
std::vector<Outcome> performAll(const Task& task, const std::vector<DeviceAddress>& addresses,
                                const Session::Frame& frame, const Report& report) {
    std::vector<Outcome> outcomes(addresses.size());
    std::atomic<std::size_t> next = 0;
    std::mutex lock;
    std::exception_ptr failed;
    const auto work = [&] {
        for (std::size_t i = next++; i < addresses.size(); i = next++) {
            outcomes[i] = perform(task, addresses[i], frame);
            try {
                report(outcomes[i]);
            } catch (const FailureException&) {
                // What is left has nowhere to go.
                next = addresses.size();
                const std::lock_guard guard(lock);
                failed = std::current_exception();
            }
        }
    };
    std::vector<std::jthread> threads;
    for (std::size_t i = 1; i < std::min(addresses.size(), mostThreads); ++i) {
        threads.emplace_back(work);
    }
    work();
    threads.clear();
    if (failed) {
        std::rethrow_exception(failed);
    }
    return outcomes;
}

ExitStatus overall(const std::vector<Outcome>& outcomes) {
    ExitStatus worst = ExitStatus::done;
    bool oneSucceeded = false;
    for (const Outcome& outcome : outcomes) {
        worst = std::max(worst, outcome.status());
        oneSucceeded = oneSucceeded || outcome.status() == ExitStatus::done;
    }
    return worst != ExitStatus::done && oneSucceeded ? ExitStatus::someFailed : worst;
}

/// One device's end as people read it, or a script when the command printed its
/// documents as they came.
void print(const Outcome& outcome, const Session::Frame& frame, bool streams) {
    Console& console = frame.console;
    if (outcome.failure && console.json) {
        console.data(jsonText(document(outcome.device, *outcome.failure), false) + "\n");
    } else if (outcome.failure) {
        console.error(outcome.failure->message);
    } else if (!streams) {
        console.data(frame.oneOfSeveral ? prefixLines(outcome.device, outcome.answer.text)
                                        : outcome.answer.text);
    }
}

/// One document for all devices.
void printDocument(const std::vector<Outcome>& outcomes, Console& console) {
    Json::Value documents(Json::arrayValue);
    for (const Outcome& outcome : outcomes) {
        documents.append(outcome.failure ? document(outcome.device, *outcome.failure)
                                         : document(outcome.device, outcome.answer));
    }
    console.data(jsonText(outcomes.size() > 1 ? documents : documents[0], true) + "\n");
}

ExitStatus carryOut(const CommandLine& line, Console& console, Diagnostics& diagnostics) {
    Input input;
    const Given common(line.common, input);
    console.json = common.has("json");
    console.quiet = common.has("quiet");
    console.verbose = common.has("verbose");
    std::optional<int> timeout;
    if (common.has("timeout")) {
        timeout = parseTimeout(common.text("timeout"));
    }
    const Given given(line.values, input);
    if (line.command->answer) {
        const Answer answer = line.command->answer(given);
        console.data(console.json ? jsonText(document("", answer), true) + "\n" : answer.text);
        return answer.status;
    }
    // An argument of the command that is wrong is told before a device that is missing.
    const Task task = line.command->prepare(given);
    const auto addresses = readAddresses(common.all("device"));
    const Session::Frame frame{console, diagnostics, timeout, addresses.size() > 1};
    if (console.json && !line.command->streams) {
        setInterruptionDocument(
            "{\"error\":{\"kind\":\"interrupted\",\"message\":\"interrupted\",\"exitStatus\":130}}\n");
    }
    const bool streams = line.command->streams;
    const bool oneDocument = console.json && !streams;
    const std::vector<Outcome> outcomes = performAll(task, addresses, frame, [&](const Outcome& outcome) {
        if (!oneDocument) {
            print(outcome, frame, streams);
        }
    });
    setInterruptionDocument(nullptr);
    if (oneDocument) {
        printDocument(outcomes, console);
    }
    return overall(outcomes);
}

}  // namespace

int run(int argc, const char* const* argv) {
    reserveStandardDescriptors();
    handleSignals();
    silenceLog();
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    Console console;
    Diagnostics diagnostics(console);
    const auto tell = [&](const Failure& failure) {
        if (failure.status != ExitStatus::cannotWrite && hasOption(arguments, "--json")) {
            console.data(jsonText(document("", failure), true) + "\n");
        } else if (failure.status != ExitStatus::cannotWrite || !failure.message.empty()) {
            console.error(failure.message);
        }
        return static_cast<int>(failure.status);
    };
    try {
        try {
            JsonDevice::Vocabulary::registerAllTypes();
            const auto commands = allCommands();
            if (!arguments.empty() && arguments.front() == completionRequest) {
                console.data(complete(commands, {arguments.begin() + 1, arguments.end()}));
                return 0;
            }
            const CommandLine line = parseCommandLine(commands, arguments);
            if (line.command == nullptr) {
                console.data(line.text);
                return 0;
            }
            return static_cast<int>(carryOut(line, console, diagnostics));
        } catch (const FailureException& e) {
            return tell(e.get());
        } catch (const std::bad_alloc&) {
            // Of what the tool does alone, only a file that it reads takes so much.
            return tell({ExitStatus::usage, "there is not enough memory for this"});
        }
    } catch (const FailureException& e) {
        if (!e.get().message.empty()) {
            console.error(e.get().message);
        }
        return static_cast<int>(e.get().status);
    }
}

}  // namespace Tool
