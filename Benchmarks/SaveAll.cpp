// What saveAll costs: a mesh, four 3840 x 2160 blend maps and a black level map
// of the same size, over loopback TCP, beside the least that it can cost:
// reading the same floats once and sending text of the same length over the same
// kind of socket to the same kind of device. Both alternate in one run; the ratio
// is the median of the ratios of the rounds. And the memory that one call needs
// at its peak beyond what the process held before, as parts of the text.
//
//     SaveAll [rounds]

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <log4cxx/logger.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/SimpleProxies.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Transport/Connector.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Tests/Support/Memory.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int width = 3840;
constexpr int height = 2160;

[[noreturn]] void stop(const char* what) {
    std::perror(what);
    std::exit(1);
}

/// A device in a process of its own that reads records, keeps nothing, and
/// answers 0 to each; for one connection.
class Sink {
public:
    Sink() {
        sockaddr_in address{};
        const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (listener < 0 || ::bind(listener, generic, length) != 0 || ::listen(listener, 1) != 0 ||
            ::getsockname(listener, generic, &length) != 0) {
            stop("listen");
        }
        port = ntohs(address.sin_port);
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
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    ~Sink() {
        ::kill(child, SIGTERM);
        ::waitpid(child, nullptr, 0);
    }
    std::string getAddress() const { return "tcp://127.0.0.1:" + std::to_string(port); }

private:
    static void serve(int listener) {
        const int handle = ::accept(listener, nullptr, nullptr);
        std::vector<char> buffer(1 << 20);
        for (int id = 1;;) {
            const ssize_t count = ::recv(handle, buffer.data(), buffer.size(), 0);
            if (count <= 0) {
                return;
            }
            if (buffer[static_cast<std::size_t>(count) - 1] == '\0') {
                const std::string reply =
                    "{\"id\":" + std::to_string(id++) + ",\"jsonrpc\":\"2.0\",\"result\":0}";
                if (::send(handle, reply.c_str(), reply.size() + 1, MSG_NOSIGNAL) < 0) {
                    return;
                }
            }
        }
    }

    int port = 0;
    pid_t child = -1;
};

/// A soft edge of the given width in pixels, as blends have it.
float ramp(double position, double edge) {
    const double t = std::clamp(position / edge, 0.0, 1.0);
    return static_cast<float>(0.5 - 0.5 * std::cos(3.14159265358979 * t));
}

template <class Value>
std::unique_ptr<RasterGrayscaleImage> makeMap(Value value) {
    auto map = std::make_unique<RasterGrayscaleImage>(width, height, nullptr);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            map->setValue(x, y, static_cast<float>(value(x, y)));
        }
    }
    return map;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

template <class Work>
double milliseconds(Work&& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 15;
    if (rounds < 1) {
        std::fprintf(stderr, "usage: SaveAll [rounds]\n");
        return 2;
    }
    const Sink plainDevice;
    const Sink warpDevice;
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getWarn());

    // Soft edges left and right, a soft frame, soft corners, a slow vignette.
    using Blend = JsonDevice::SimpleBlendProxy;
    std::vector<const RasterGrayscaleImage*> images;
    const auto keep = [&](std::unique_ptr<RasterGrayscaleImage> image) {
        images.push_back(image.get());
        return image;
    };
    const auto frame = [](int x, int y) { return std::min({x + 1, width - x, y + 1, height - y}); };
    Blend mask(L"mask", L"", keep(makeMap([&](int x, int y) { return frame(x, y) > 8 ? 1.0F : 0.0F; })));
    Blend screenMask(L"screenMask", L"", keep(makeMap([&](int x, int y) { return ramp(frame(x, y), 120); })));
    Blend blend(L"blend", L"",
                keep(makeMap([](int x, int) { return ramp(x, 600) * ramp(width - 1 - x, 600); })));
    Blend bu(L"bu", L"", keep(makeMap([](int x, int y) {
                 const double dx = (x - width / 2.0) / width;
                 const double dy = (y - height / 2.0) / height;
                 return 1.0 - 0.4 * (dx * dx + dy * dy);
             })));
    JsonDevice::SimpleBlackLevelProxy black(
        L"black", L"",
        keep(makeMap([](int x, int) { return 0.05F * (1 - ramp(x, 600) * ramp(width - 1 - x, 600)); })));
    SimpleMeshProxy mesh(L"mesh", Mesh(width, height, 33, 19));

    TcpCommunicator communicator(warpDevice.getAddress());
    JsonDevice::JsonWarp warp(&communicator);
    const auto saveAll = [&] {
        if (warp.saveAll(1, 1, 1, 1, 1, 1, &mesh, &mask, &screenMask, &blend, &bu, &black) != 0) {
            std::fprintf(stderr, "the device's answer was not read as it should be\n");
            std::exit(1);
        }
    };
    const Memory::Growth growth;
    saveAll();
    const std::size_t peak = growth.peak();
    const auto length = static_cast<std::size_t>(communicator.getState().bytesSent);

    TcpCommunicator plain(plainDevice.getAddress());
    const std::string text = std::string(length - 1, 'x') + '\0';
    char reply[256];
    float sum = 0;
    const auto readAndSend = [&] {
        for (const RasterGrayscaleImage* image : images) {
            const float* const values = image->getData();
            float partial[16] = {};
            for (std::size_t i = 0; i < std::size_t{width} * height; i += 16) {
                for (std::size_t j = 0; j < 16; ++j) {
                    partial[j] += values[i + j];
                }
            }
            for (const float part : partial) {
                sum += part;
            }
        }
        Connector connector(&plain);
        plain.write(text.data(), text.size(), 1, 1);
        plain.read(reply, sizeof reply, 1, 10000);
        connector.succeeded();
    };

    readAndSend();
    std::vector<double> least;
    std::vector<double> full;
    std::vector<double> ratios;
    for (int i = 0; i < rounds; ++i) {
        least.push_back(milliseconds(readAndSend));
        full.push_back(milliseconds(saveAll));
        ratios.push_back(full.back() / least.back());
    }
    std::printf(
        "WarpInterface::saveAll, five %d x %d maps and a mesh, %d rounds, text of %.1f MB (sum %g)\n\n",
        width, height, rounds, static_cast<double>(length) / 1e6, static_cast<double>(sum));
    const auto row = [](const char* name, const std::vector<double>& times) {
        std::printf("%-44s %10.1f ms, best %.1f ms\n", name, median(times),
                    *std::min_element(times.begin(), times.end()));
    };
    row("reading the floats and sending the text", least);
    row("saveAll", full);
    std::printf("%-44s %10.2f\n", "ratio", median(ratios));
    if (growth.isWhole()) {
        std::printf("%-44s %10.2f of the text\n", "peak memory of the first saveAll",
                    static_cast<double>(peak) / static_cast<double>(length));
    }
    return 0;
}
