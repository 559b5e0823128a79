#include "Simulator/WebView.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <httplib.h>
#include <json/writer.h>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/PngWriter.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Simulator/Page.h"
#include "Simulator/TrafficText.h"

namespace JsonDevice {

namespace {

using Simulation::Bitmap;
using Simulation::Projector;
using Simulation::Scene;
using namespace std::chrono_literals;

/// How many lines of traffic a page finds when it opens, and may fall behind.
constexpr std::size_t keptTraffic = 200;
/// Between two looks at the projector while much happens.
constexpr auto shortestInterval = 40ms;
/// A comment goes to a page to which nothing else has, so that one that is gone is noticed.
constexpr auto longestSilence = 5s;
constexpr auto networkTimeout = 3s;
/// Threads beside those of the live pages.
constexpr std::size_t otherThreads = 4;

/// What a value shows on the page is limited, however long it is.
constexpr std::size_t longestText = 200;

std::string compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

std::string event(const char* name, const Json::Value& data) {
    return std::string("event: ") + name + "\ndata: " + compact(data) + "\n\n";
}

void shorten(Json::Value& value) {
    if (value.isString()) {
        std::string text = value.asString();
        if (text.size() > longestText) {
            value = trafficText(text);
        }
    } else if (value.isArray() || value.isObject()) {
        for (Json::Value& member : value) {
            shorten(member);
        }
    }
}

/// The threads of the server. Where the library's own pool queues without end,
/// this one lets the thread that accepts connections wait: what nobody has time
/// for stays with the operating system and costs nothing.
class Workers {
public:
    explicit Workers(std::size_t count) : most(count) {
        for (std::size_t i = 0; i < count; ++i) {
            threads.emplace_back([this] { run(); });
        }
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    ~Workers() {
        release();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    /// Waits until a thread is free, or the end.
    void enqueue(std::function<void()> task) {
        std::unique_lock guard(lock);
        room.wait(guard, [this] { return busy + tasks.size() < most || ended; });
        tasks.push_back(std::move(task));
        work.notify_one();
    }

    /// Lets everything come to its end.
    void release() {
        {
            const std::lock_guard guard(lock);
            ended = true;
        }
        work.notify_all();
        room.notify_all();
    }

private:
    void run() {
        std::unique_lock guard(lock);
        while (true) {
            work.wait(guard, [this] { return !tasks.empty() || ended; });
            if (tasks.empty()) {
                return;
            }
            const auto task = std::move(tasks.front());
            tasks.pop_front();
            ++busy;
            guard.unlock();
            task();
            guard.lock();
            --busy;
            room.notify_one();
        }
    }

    const std::size_t most;
    std::mutex lock;
    std::condition_variable work;
    std::condition_variable room;
    std::deque<std::function<void()>> tasks;
    std::size_t busy = 0;
    bool ended = false;
    std::vector<std::thread> threads;
};

/// The same as the server wants it, which owns and deletes this.
class WorkerQueue final : public httplib::TaskQueue {
public:
    explicit WorkerQueue(Workers& ownWorkers) : workers(ownWorkers) {}
    void enqueue(std::function<void()> task) override { workers.enqueue(std::move(task)); }
    void shutdown() override { workers.release(); }

private:
    Workers& workers;
};

/// What one live page has been sent.
struct Viewer {
    bool greeted = false;
    std::uint64_t picture = 0;
    std::uint64_t state = 0;
    std::uint64_t traffic = 0;
};

std::optional<int> sizeParameter(const httplib::Request& request, const char* name, int most) {
    const std::string text = request.get_param_value(name);
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1 || value > most) {
        return {};
    }
    return value;
}

}  // namespace

struct WebView::Implementation {
    Implementation(Projector& shownProjector, Options ownOptions)
        : projector(shownProjector), options(ownOptions) {}

    // Requests, on the server's threads.

    void serve(httplib::Server& http) {
        http.set_default_headers({{"Cache-Control", "no-store"},
                                  {"X-Content-Type-Options", "nosniff"},
                                  {"Content-Security-Policy",
                                   "default-src 'none'; img-src 'self' data:; connect-src 'self'; "
                                   "style-src 'unsafe-inline'; script-src 'unsafe-inline'"}});
        http.Get("/", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(page, "text/html; charset=utf-8");
        });
        http.Get("/picture.png", [this](const httplib::Request& request, httplib::Response& response) {
            servePicture(request, response);
        });
        http.Get("/state.json", [this](const httplib::Request&, httplib::Response& response) {
            Json::Value state = projector.describe();
            shorten(state);
            response.set_content(compact(state) + "\n", "application/json");
        });
        http.Get("/events",
                 [this](const httplib::Request&, httplib::Response& response) { serveEvents(response); });
    }

    void servePicture(const httplib::Request& request, httplib::Response& response) {
        const Scene scene = projector.getScene();
        const auto refuse = [&response](const std::string& why) {
            response.status = 400;
            response.set_content(why + "\n", "text/plain; charset=utf-8");
        };
        std::optional<int> width;
        std::optional<int> height;
        for (auto& [name, value] : {std::pair("width", &width), std::pair("height", &height)}) {
            if (request.has_param(name)) {
                *value = sizeParameter(request, name, options.longestSide);
                if (!*value) {
                    return refuse(std::string(name) + " has to be a number from 1 to " +
                                  std::to_string(options.longestSide));
                }
            }
        }
        const auto other = [this](int known, int from, int to) {
            return std::clamp(static_cast<int>(std::int64_t{known} * to / from), 1, options.longestSide);
        };
        if (!width) {
            width = height ? other(*height, scene.height, scene.width)
                           : std::min(scene.width, options.longestSide);
        }
        if (!height) {
            height = other(*width, scene.width, scene.height);
        }
        response.set_content(picture(scene, *width, *height), "image/png");
    }

    std::string picture(const Scene& scene, int width, int height) {
        // One at a time: however many ask, they get one core's time.
        const std::lock_guard guard(rendering);
        if (!(scene == cachedScene) || !cachedScene) {
            cachedScene = scene;
            cache.clear();
        }
        const auto found = std::ranges::find_if(
            cache, [&](const Rendered& each) { return each.width == width && each.height == height; });
        if (found != cache.end()) {
            return found->png;
        }
        const Bitmap bitmap = render(scene, width, height);
        const std::vector<unsigned char> png = makePng(
            {1, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), bitmap.values.data()},
            "");
        if (cache.size() == 4) {
            cache.pop_front();
        }
        cache.push_back({width, height, std::string(png.begin(), png.end())});
        return cache.back().png;
    }

    void serveEvents(httplib::Response& response) {
        {
            const std::lock_guard guard(lock);
            if (stopping || viewers >= options.mostViewers) {
                response.status = 503;
                response.set_content("There are too many viewers\n", "text/plain; charset=utf-8");
                return;
            }
            ++viewers;
            lookAgain = true;
        }
        changed.notify_all();
        response.set_chunked_content_provider(
            "text/event-stream",
            [this, viewer = Viewer()](std::size_t, httplib::DataSink& sink) mutable {
                const std::string text = nextFor(viewer);
                if (text.empty()) {
                    sink.done();
                    return true;
                }
                return sink.write(text.data(), text.size());
            },
            [this](bool) {
                const std::lock_guard guard(lock);
                --viewers;
            });
    }

    /// Waits for something that the viewer was not told yet; empty at the end.
    std::string nextFor(Viewer& viewer) {
        std::unique_lock guard(lock);
        const auto isNew = [&] {
            return stopping || viewer.picture != pictureNumber || viewer.state != stateNumber ||
                   viewer.traffic != trafficNumber;
        };
        changed.wait_for(guard, longestSilence, isNew);
        if (stopping) {
            return {};
        }
        std::string text;
        if (!std::exchange(viewer.greeted, true)) {
            // How long a page waits before it comes back, in milliseconds.
            text = "retry: 1000\n\n";
        }
        if (std::exchange(viewer.picture, pictureNumber) != pictureNumber) {
            text += event("picture", Json::Value(static_cast<Json::UInt64>(pictureNumber)));
        }
        if (std::exchange(viewer.state, stateNumber) != stateNumber) {
            text += event("state", state);
        }
        const std::uint64_t first = trafficNumber - traffic.size();
        for (std::uint64_t i = std::max(viewer.traffic, first); i < trafficNumber; ++i) {
            text += traffic[static_cast<std::size_t>(i - first)];
        }
        viewer.traffic = trafficNumber;
        return text.empty() ? ": still here\n\n" : text;
    }

    // The projector, looked at on a thread of its own.

    void watch() {
        std::optional<Scene> lastScene;
        std::unique_lock guard(lock);
        while (!stopping) {
            // Time changes the projector, too.
            changed.wait_for(guard, 1s, [this] { return stopping || (lookAgain && viewers > 0); });
            if (stopping) {
                return;
            }
            if (viewers == 0) {
                continue;
            }
            lookAgain = false;
            guard.unlock();
            Scene scene = projector.getScene();
            Json::Value description = projector.describe();
            shorten(description);
            guard.lock();
            bool told = false;
            if (!lastScene || !(scene == *lastScene)) {
                lastScene = std::move(scene);
                ++pictureNumber;
                told = true;
            }
            if (description != state) {
                state = std::move(description);
                ++stateNumber;
                told = true;
            }
            if (told) {
                changed.notify_all();
            }
            changed.wait_for(guard, shortestInterval, [this] { return stopping; });
        }
    }

    void addTraffic(const TrafficEvent& seen) {
        static constexpr const char* kinds[] = {"connected", "received", "sent", "disconnected"};
        Json::Value data(Json::objectValue);
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        data["time"] =
            static_cast<Json::Int64>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
        data["kind"] = kinds[static_cast<int>(seen.kind)];
        data["peer"] = seen.peer;
        // Records may end in a line break, which is no part of what they say.
        std::string_view text = seen.text;
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
            text.remove_suffix(1);
        }
        data["text"] = trafficText(text);
        std::string line = event("traffic", data);
        const std::lock_guard guard(lock);
        if (traffic.size() == keptTraffic) {
            traffic.pop_front();
        }
        traffic.push_back(std::move(line));
        ++trafficNumber;
        // A reply has been made: whatever it changed has changed.
        lookAgain = true;
        changed.notify_all();
    }

    void start(std::uint16_t port, const std::string& listenAddress) {
        if (server) {
            throw KorvanExceptionRuntime("Simulator/WebView", 40, L"It listens already");
        }
        auto fresh = std::make_unique<httplib::Server>();
        fresh->new_task_queue = [this] { return new WorkerQueue(*workers); };
        // Without the library's own choice, which lets two programs have one port.
        fresh->set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        fresh->set_keep_alive_max_count(1);
        fresh->set_read_timeout(networkTimeout);
        fresh->set_write_timeout(networkTimeout);
        fresh->set_payload_max_length(1024);
        fresh->set_tcp_nodelay(true);
        serve(*fresh);
        const int bound = port == 0 ? fresh->bind_to_any_port(listenAddress)
                                    : (fresh->bind_to_port(listenAddress, port) ? port : -1);
        if (bound <= 0) {
            throw DeviceException(
                "Simulator/WebView", 52,
                toWide("Cannot listen on http://" + listenAddress + ":" + std::to_string(port) + "/"));
        }
        stopping = false;
        ended = false;
        workers = std::make_unique<Workers>(options.mostViewers + otherThreads);
        server = std::move(fresh);
        ownPort = static_cast<std::uint16_t>(bound);
        address = listenAddress;
        watching = std::thread([this] { watch(); });
        listening = std::thread([this] {
            server->listen_after_bind();
            ended = true;
        });
    }

    void stop() noexcept {
        if (!server) {
            return;
        }
        {
            const std::lock_guard guard(lock);
            stopping = true;
        }
        changed.notify_all();
        watching.join();
        // The server can be stopped only when it runs, which is a matter of its thread's first steps.
        while (!server->is_running() && !ended) {
            std::this_thread::yield();
        }
        workers->release();
        server->stop();
        listening.join();
        workers.reset();
        server.reset();
        ownPort = 0;
    }

    Projector& projector;
    const Options options;

    std::mutex control;
    std::unique_ptr<httplib::Server> server;
    std::unique_ptr<Workers> workers;
    /// Whether the server has ended, by itself or stopped.
    std::atomic<bool> ended{false};
    std::thread listening;
    std::thread watching;
    std::string address;
    std::atomic<std::uint16_t> ownPort{0};

    std::mutex lock;
    std::condition_variable changed;
    bool stopping = false;
    bool lookAgain = false;
    std::size_t viewers = 0;
    std::uint64_t pictureNumber = 0;
    std::uint64_t stateNumber = 0;
    Json::Value state;
    /// The events of the last records, as they are sent; the last one has this number.
    std::deque<std::string> traffic;
    std::uint64_t trafficNumber = 0;

    struct Rendered {
        int width;
        int height;
        std::string png;
    };
    std::mutex rendering;
    std::optional<Scene> cachedScene;
    std::deque<Rendered> cache;
};

WebView::WebView(Projector& projector) : WebView(projector, Options()) {}

WebView::WebView(Projector& projector, Options options)
    : implementation(std::make_unique<Implementation>(projector, options)) {}

WebView::~WebView() {
    stop();
}

void WebView::start(std::uint16_t port, const std::string& listenAddress) {
    const std::lock_guard guard(implementation->control);
    implementation->start(port, listenAddress);
}

void WebView::stop() noexcept {
    const std::lock_guard guard(implementation->control);
    implementation->stop();
}

std::uint16_t WebView::getPort() const {
    return implementation->ownPort;
}

std::string WebView::getAddress() const {
    const std::lock_guard guard(implementation->control);
    if (!implementation->server) {
        return {};
    }
    const std::string& host = implementation->address;
    const bool bracketed = host.find(':') != std::string::npos;
    return "http://" + (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(implementation->ownPort) +
           "/";
}

void WebView::onTraffic(const TrafficEvent& event) noexcept {
    try {
        implementation->addTraffic(event);
    } catch (const std::exception&) {
        // Without memory for a line of traffic there is none.
    }
}

}  // namespace JsonDevice
