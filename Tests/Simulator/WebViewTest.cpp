#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <httplib.h>
#include <json/reader.h>

#include "DeviceManager/JsonDevice/PngWriter.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Simulator/WebView.h"

namespace JsonDevice {

namespace {

using Simulation::Bitmap;
using Simulation::Projector;

Json::Value parse(const std::string& text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

std::string request(const std::string& method, const std::string& params) {
    return R"({"id":1,"jsonrpc":"2.0","method":")" + method + R"(","params":)" + params + "}";
}

class WebViewTest : public testing::Test {
protected:
    WebViewTest() {
        Json::Value resolution(Json::arrayValue);
        resolution.append(480);
        resolution.append(300);
        projector.set("nativeResolution", resolution);
        view.start();
    }

    httplib::Client client() const {
        httplib::Client made("127.0.0.1", view.getPort());
        made.set_read_timeout(60);
        return made;
    }
    httplib::Result get(const std::string& path) const { return client().Get(path.c_str()); }
    /// As the projector's server does with each request.
    void send(const std::string& record) {
        const std::string peer = "127.0.0.1:1234";
        view.onTraffic({TrafficEvent::Kind::received, peer, record});
        const std::string reply = projector.handle(record);
        view.onTraffic({TrafficEvent::Kind::sent, peer, reply});
    }

    Projector projector;
    WebView view{projector, {.mostViewers = 2, .longestSide = 2000}};
};

/// A live page without a browser: collects what is pushed.
class Page {
public:
    explicit Page(std::uint16_t port) : client("127.0.0.1", port) {
        client.set_read_timeout(60);
        thread = std::thread([this] {
            const auto result = client.Get("/events", [this](const char* data, std::size_t size) {
                const std::lock_guard guard(lock);
                text.append(data, size);
                changed.notify_all();
                return !leaving;
            });
            const std::lock_guard guard(lock);
            status = result ? result->status : 0;
            ended = true;
            changed.notify_all();
        });
    }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;
    ~Page() { leave(); }

    /// The data of the events of that name; waits until there are so many.
    std::vector<Json::Value> wait(const std::string& name, std::size_t count) {
        std::unique_lock guard(lock);
        std::vector<Json::Value> found;
        changed.wait(guard, [&] {
            found = events(name);
            return found.size() >= count || ended;
        });
        EXPECT_GE(found.size(), count) << text;
        return found;
    }
    int waitForEnd() {
        std::unique_lock guard(lock);
        changed.wait(guard, [&] { return ended; });
        return status;
    }
    void leave() {
        {
            const std::lock_guard guard(lock);
            leaving = true;
        }
        client.stop();
        if (thread.joinable()) {
            thread.join();
        }
    }

private:
    std::vector<Json::Value> events(const std::string& name) const {
        std::vector<Json::Value> found;
        const std::string start = "event: " + name + "\ndata: ";
        for (std::size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
            const std::size_t end = text.find("\n\n", at);
            if (end != std::string::npos) {
                found.push_back(parse(text.substr(at + start.size(), end - at - start.size())));
            }
        }
        return found;
    }

    httplib::Client client;
    std::mutex lock;
    std::condition_variable changed;
    std::string text;
    bool leaving = false;
    bool ended = false;
    int status = 0;
    std::thread thread;
};

TEST_F(WebViewTest, ServesThePictureAtASizeOfChoice) {
    const auto expect = [&](const std::string& path, int width, int height) {
        const auto result = get(path);
        ASSERT_TRUE(result) << path;
        EXPECT_EQ(result->status, 200) << path;
        EXPECT_EQ(result->get_header_value("Content-Type"), "image/png");
        const Bitmap bitmap = render(projector.getScene(), width, height);
        const auto png = makePng(
            {1, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), bitmap.values.data()},
            "");
        EXPECT_TRUE(result->body == std::string(png.begin(), png.end())) << path;
    };
    expect("/picture.png", 480, 300);
    expect("/picture.png?width=64&height=32", 64, 32);
    expect("/picture.png?width=160", 160, 100);
    expect("/picture.png?height=50", 80, 50);
    projector.handle(request("TestPatternInterface::setInternalTestPattern", "[6]"));
    expect("/picture.png?width=160", 160, 100);
    for (const char* const bad : {"width=0", "width=2001", "height=-1", "width=", "width=9x", "height=1e3",
                                  "width=99999999999999999999"}) {
        const auto result = get(std::string("/picture.png?") + bad);
        ASSERT_TRUE(result) << bad;
        EXPECT_EQ(result->status, 400) << bad;
    }
}

TEST_F(WebViewTest, ServesTheStateByInterfaceWithLongValuesShortened) {
    projector.handle(request("TestPatternInterface::setPointTestPattern", R"([[{"x":1,"y":2}]])"));
    const auto result = get("/state.json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    const Json::Value state = parse(result->body);
    EXPECT_EQ(state["StatusInterface"]["model"], "Simulated projector");
    EXPECT_EQ(state["TestPatternInterface"]["points"], 1);
    EXPECT_EQ(state["TestPatternInterface"]["testPattern"], 0);
    EXPECT_EQ(state["GridTestPatternInterface"]["mode"], "off");
}

TEST_F(WebViewTest, ServesOnePageWithAllThatItNeeds) {
    const auto result = get("/");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(result->get_header_value("Content-Type"), "text/html; charset=utf-8");
    EXPECT_TRUE(result->body.starts_with("<!DOCTYPE html>"));
    EXPECT_TRUE(result->body.ends_with("</html>\n"));
    EXPECT_EQ(result->body.find("http://www"), result->body.find("http://www.w3.org/2000/svg"));
    EXPECT_EQ(result->body.find("https://"), std::string::npos);
}

TEST_F(WebViewTest, RefusesWhatItDoesNotServe) {
    EXPECT_EQ(get("/other")->status, 404);
    EXPECT_EQ(client().Post("/state.json", "{}", "application/json")->status, 404);
    EXPECT_EQ(client().Post("/state.json", std::string(5000, 'x'), "application/json")->status, 413);
    EXPECT_EQ(get("/" + std::string(9000, 'x'))->status, 414);
}

TEST_F(WebViewTest, PushesWhatChanges) {
    Page page(view.getPort());
    EXPECT_EQ(page.wait("picture", 1)[0], 1);
    EXPECT_EQ(page.wait("state", 1)[0]["TestPatternInterface"]["testPattern"], 0);

    const std::string record = request("TestPatternInterface::setInternalTestPattern", "[3]");
    send(record);
    EXPECT_EQ(page.wait("picture", 2)[1], 2);
    EXPECT_EQ(page.wait("state", 2)[1]["TestPatternInterface"]["testPattern"], 3);
    const auto traffic = page.wait("traffic", 2);
    EXPECT_EQ(traffic[0]["kind"], "received");
    EXPECT_EQ(traffic[0]["text"], record);
    EXPECT_EQ(traffic[0]["peer"], "127.0.0.1:1234");
    EXPECT_EQ(traffic[1]["kind"], "sent");

    // What time changes is pushed, too.
    projector.set("shutter", 1);
    EXPECT_EQ(page.wait("picture", 3)[2], 3);

    // A page that opens later finds the same, and the records before.
    Page other(view.getPort());
    EXPECT_EQ(other.wait("picture", 1)[0], 3);
    EXPECT_EQ(other.wait("traffic", 2)[0], traffic[0]);
}

TEST_F(WebViewTest, ShortensLongRecords) {
    Page page(view.getPort());
    page.wait("state", 1);
    send(request("TestPatternInterface::other", "[\"" + std::string(1000000, 'A') + "\"]"));
    const auto traffic = page.wait("traffic", 2);
    const std::string text = traffic[0]["text"].asString();
    EXPECT_LT(text.size(), 2000U);
    EXPECT_TRUE(text.starts_with(R"({"id":1,)"));
}

TEST_F(WebViewTest, LimitsTheNumberOfViewers) {
    auto one = std::make_unique<Page>(view.getPort());
    Page two(view.getPort());
    one->wait("state", 1);
    two.wait("state", 1);
    EXPECT_EQ(Page(view.getPort()).waitForEnd(), 503);
    EXPECT_EQ(get("/state.json")->status, 200);

    // Once one is gone there is room again; that he is gone shows when he is sent something.
    std::thread leaving([&] { one.reset(); });
    int status = 503;
    std::unique_ptr<Page> three;
    while (status == 503) {
        send(request("RemoteInterface::sendKeyCode", "[1]"));
        httplib::Client other = client();
        other.Get(
            "/events",
            [&](const httplib::Response& response) {
                status = response.status;
                return false;
            },
            [](const char*, std::size_t) { return false; });
    }
    EXPECT_EQ(status, 200);
    leaving.join();
}

TEST_F(WebViewTest, AViewerThatDoesNotReadHoldsUpNobody) {
    // It asks and never reads; the other one asks nothing.
    httplib::Client slow("127.0.0.1", view.getPort());
    std::mutex lock;
    std::condition_variable changed;
    bool reading = false;
    bool goOn = false;
    std::thread thread([&] {
        slow.Get("/events", [&](const char*, std::size_t) {
            std::unique_lock guard(lock);
            reading = true;
            changed.notify_all();
            changed.wait(guard, [&] { return goOn; });
            return false;
        });
    });
    {
        std::unique_lock guard(lock);
        changed.wait(guard, [&] { return reading; });
    }
    const std::string params = "[\"" + std::string(500, 'B') + "\"]";
    for (int i = 0; i < 20000; ++i) {
        send(request("RemoteInterface::sendKeyCode", params));
    }
    EXPECT_EQ(get("/state.json")->status, 200);
    Page page(view.getPort());
    // No more is kept for those who come than a page needs.
    EXPECT_EQ(page.wait("traffic", 200).size(), 200U);
    {
        const std::lock_guard guard(lock);
        goOn = true;
    }
    changed.notify_all();
    thread.join();
}

TEST_F(WebViewTest, StopsWhilePagesAreOpenAndStartsAgain) {
    Page page(view.getPort());
    page.wait("state", 1);
    view.stop();
    EXPECT_EQ(page.waitForEnd(), 200);
    EXPECT_EQ(view.getPort(), 0);
    EXPECT_EQ(view.getAddress(), "");
    view.stop();

    view.start();
    EXPECT_EQ(view.getAddress(), "http://127.0.0.1:" + std::to_string(view.getPort()) + "/");
    EXPECT_EQ(get("/state.json")->status, 200);
    EXPECT_THROW(view.start(), KorvanExceptionRuntime);
    WebView other(projector);
    EXPECT_THROW(other.start(0, "no.such.host.invalid"), DeviceException);
    EXPECT_THROW(other.start(view.getPort()), DeviceException);
}

}  // namespace

}  // namespace JsonDevice
