// What a call costs beside the least that a request and a reply can cost: a
// ping-pong of the same bytes over blocking sockets. Host and device are two
// processes on one core and take turns, so that nothing but the work of both
// sides is in the figures. The kinds alternate in short rounds in one run; the
// ratio is the median of the ratios of the rounds, which what else the machine
// does shifts least.
//
//     CallLatency [rounds]

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <log4cxx/logger.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "Platform/Transport/Connector.h"
#include "Platform/Transport/TcpCommunicator.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int callsPerRound = 100;
constexpr std::string_view requestHead = R"({"id":)";
constexpr std::string_view requestTail =
    ",\"jsonrpc\":\"2.0\",\"method\":\"StatusInterface::getLampCounter\",\"params\":[]}\n";
constexpr std::string_view replyHead = R"({"id":)";
constexpr std::string_view replyTail = R"(,"jsonrpc":"2.0","result":2})";

[[noreturn]] void stop(const char* what) {
    std::perror(what);
    std::exit(1);
}

/// The device's whole wit: the reply carries the id of the request.
std::size_t composeReply(const char* request, char* reply) {
    const char* const id = request + requestHead.size();
    const std::size_t digits = static_cast<std::size_t>(std::strchr(id, ',') - id);
    char* end = std::copy(replyHead.begin(), replyHead.end(), reply);
    end = std::copy_n(id, digits, end);
    end = std::copy(replyTail.begin(), replyTail.end(), end);
    *end++ = '\0';
    return static_cast<std::size_t>(end - reply);
}

void sendAll(int handle, const char* data, std::size_t length) {
    if (::send(handle, data, length, MSG_NOSIGNAL) != static_cast<ssize_t>(length)) {
        stop("send");
    }
}

/// Receives up to and including a NUL; 0 at the end of the stream.
std::size_t receiveRecord(int handle, char* buffer, std::size_t capacity) {
    std::size_t got = 0;
    do {
        const ssize_t count = ::recv(handle, buffer + got, capacity - got, 0);
        if (count <= 0) {
            return 0;
        }
        got += static_cast<std::size_t>(count);
    } while (buffer[got - 1] != '\0');
    return got;
}

void sendAtOnce(int handle) {
    const int on = 1;
    ::setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

/// A device in a process of its own, for one connection.
class Responder {
public:
    Responder() {
        const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (listener < 0 || ::bind(listener, generic, length) != 0 || ::listen(listener, 1) != 0 ||
            ::getsockname(listener, generic, &length) != 0) {
            stop("listen");
        }
        child = ::fork();
        if (child < 0) {
            stop("fork");
        }
        if (child == 0) {
            serve(listener);
            ::_exit(0);
        }
        ::close(listener);
    }
    Responder(const Responder&) = delete;
    Responder& operator=(const Responder&) = delete;
    ~Responder() {
        ::kill(child, SIGTERM);
        ::waitpid(child, nullptr, 0);
    }

    std::string getAddress() const { return "tcp://127.0.0.1:" + std::to_string(ntohs(address.sin_port)); }

    int connect() const {
        const int handle = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            stop("connect");
        }
        sendAtOnce(handle);
        return handle;
    }

private:
    static void serve(int listener) {
        const int handle = ::accept(listener, nullptr, nullptr);
        sendAtOnce(handle);
        char request[4096];
        char reply[4096];
        while (receiveRecord(handle, request, sizeof request) > 0) {
            sendAll(handle, reply, composeReply(request, reply));
        }
    }

    sockaddr_in address{};
    pid_t child = -1;
};

/// The requests of one connection, as the library writes them.
class Requests {
public:
    const std::string& next() {
        text.assign(requestHead);
        text += std::to_string(++id);
        text += requestTail;
        text += '\0';
        return text;
    }

private:
    std::string text;
    long long id = 0;
};

/// A device that answers within the call that writes to it.
class InMemory : public Communicator {
public:
    std::wstring getDisplayName() const override { return L"in memory"; }
    int read(char* buffer, int, int, int) override {
        std::memcpy(buffer, reply, replyLength);
        return static_cast<int>(replyLength);
    }
    int write(const char* data, std::size_t length, int, int) override {
        replyLength = composeReply(data, reply);
        return static_cast<int>(length);
    }

private:
    char reply[4096];
    std::size_t replyLength = 0;
};

void exchange(Communicator& communicator, Requests& requests, char* buffer) {
    Connector connector(&communicator);
    const std::string& request = requests.next();
    communicator.write(request.data(), request.size(), 1, 1);
    for (int got = 0; got == 0 || buffer[got - 1] != '\0';) {
        got += communicator.read(buffer + got, 65535 - got, 1, 10000);
    }
    connector.succeeded();
}

/// Nanoseconds per call.
template <class Call>
double timeRound(Call&& call) {
    const auto start = Clock::now();
    for (int i = 0; i < callsPerRound; ++i) {
        call();
    }
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / callsPerRound;
}

double quantile(std::vector<double> values, double part) {
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

void require(int result) {
    if (result != 2) {
        std::fprintf(stderr, "the device's answer was not read as it should be\n");
        std::exit(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 400;
    if (rounds < 1) {
        std::fprintf(stderr, "usage: CallLatency [rounds]\n");
        return 2;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(::sched_getcpu(), &one);
    if (::sched_setaffinity(0, sizeof one, &one) != 0) {
        stop("sched_setaffinity");
    }
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getWarn());

    const Responder rawDevice;
    const Responder transportDevice;
    const Responder callDevice;

    const int raw = rawDevice.connect();
    TcpCommunicator transport(transportDevice.getAddress());
    TcpCommunicator communicator(callDevice.getAddress());
    JsonDevice::JsonStatus status(&communicator);
    InMemory memory;
    JsonDevice::JsonStatus memoryStatus(&memory);
    InMemory bareMemory;
    Requests rawRequests;
    Requests transportRequests;
    Requests memoryRequests;
    std::vector<char> buffer(65536);

    enum Kind { Raw, Transport, Call, BareMemory, MemoryCall, kinds };
    std::array<std::vector<double>, kinds> times;
    const auto measure = [&] {
        times[Raw].push_back(timeRound([&] {
            const std::string& request = rawRequests.next();
            sendAll(raw, request.data(), request.size());
            receiveRecord(raw, buffer.data(), buffer.size());
        }));
        times[Transport].push_back(timeRound([&] { exchange(transport, transportRequests, buffer.data()); }));
        times[Call].push_back(timeRound([&] { require(status.getLampCounter()); }));
        times[BareMemory].push_back(timeRound([&] { exchange(bareMemory, memoryRequests, buffer.data()); }));
        times[MemoryCall].push_back(timeRound([&] { require(memoryStatus.getLampCounter()); }));
    };
    for (int i = 0; i < rounds / 10 + 1; ++i) {
        measure();  // until caches and connections are warm
    }
    for (auto& kind : times) {
        kind.clear();
    }
    for (int i = 0; i < rounds; ++i) {
        measure();
    }
    ::close(raw);

    const auto ratio = [&](Kind kind) {
        std::vector<double> ratios;
        for (std::size_t i = 0; i < times[kind].size(); ++i) {
            ratios.push_back(times[kind][i] / times[Raw][i]);
        }
        return quantile(ratios, 0.5);
    };
    std::printf("StatusInterface::getLampCounter, %d rounds of %d calls, both ends on one core\n\n", rounds,
                callsPerRound);
    std::printf("%-36s %12s %12s %8s\n", "per call", "median us", "p90 us", "ratio");
    const auto row = [&](const char* name, Kind kind, bool compare) {
        std::printf("%-36s %12.2f %12.2f", name, quantile(times[kind], 0.5) / 1000,
                    quantile(times[kind], 0.9) / 1000);
        compare ? std::printf(" %8.3f\n", ratio(kind)) : std::printf("\n");
    };
    row("blocking sockets, same bytes", Raw, true);
    row("TcpCommunicator, same bytes", Transport, true);
    row("typed call over TcpCommunicator", Call, true);
    row("in-memory device alone", BareMemory, false);
    row("typed call to the in-memory device", MemoryCall, false);
    return 0;
}
