#include <string>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonTestPattern.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"
#include "Simulator/WebView.h"
#include "Tests/Simulator/Browser.h"

namespace JsonDevice {

namespace {

/// Waits, in the page, until the expression is true.
std::string until(const std::string& condition) {
    return "new Promise(done => { const look = () => { if (" + condition +
           ") done(true); else setTimeout(look, 20); }; look(); })";
}

/// The colour in the middle of the picture that the page shows.
const std::string middle = R"((() => {
    const picture = document.getElementById("picture");
    if (!picture.naturalWidth) return "none";
    const canvas = document.createElement("canvas").getContext("2d");
    canvas.canvas.width = picture.naturalWidth;
    canvas.canvas.height = picture.naturalHeight;
    canvas.drawImage(picture, 0, 0);
    return canvas.getImageData(picture.naturalWidth / 2, picture.naturalHeight / 2, 1, 1).data.join(" ");
})())";

const std::string shownTraffic = "document.getElementById('lines').textContent";
const std::string shownState = "document.getElementById('state').textContent";

TEST(LivePage, ShowsWhatIsSetThroughTheLibraryWithoutAReload) {
    const std::string program = Browser::find();
    if (program.empty()) {
        GTEST_SKIP() << "there is no Chromium";
    }
    WebView* viewers = nullptr;
    Simulator simulator(
        {.server = {.onTraffic = [&](const TrafficEvent& event) { viewers->onTraffic(event); }}});
    WebView view(simulator.getProjector());
    viewers = &view;
    view.start();
    simulator.start();
    TcpCommunicator communicator(simulator.getAddress());
    JsonTestPattern pattern(&communicator, nullptr);
    pattern.setInternalTestPattern(4);

    Browser browser(program);
    browser.open(view.getAddress());
    EXPECT_TRUE(browser.evaluate(until(middle + " === '0 255 0 255'")).asBool());
    // What a reload would forget.
    browser.evaluate("window.sameAsEver = true");

    pattern.setInternalTestPattern(3);
    EXPECT_TRUE(browser.evaluate(until(middle + " === '255 0 0 255'")).asBool());
    EXPECT_TRUE(browser.evaluate(until(shownState + ".includes('Red')")).asBool());
    EXPECT_TRUE(
        browser
            .evaluate(until(shownTraffic + ".includes('TestPatternInterface::setInternalTestPattern [3]')"))
            .asBool());

    simulator.getProjector().set("shutter", 1);
    EXPECT_TRUE(browser.evaluate(until(middle + " === '0 0 0 255'")).asBool());
    EXPECT_TRUE(
        browser.evaluate(until("document.getElementById('chips').textContent.includes('closed')")).asBool());

    // Nothing that a device or a host sends becomes part of the page.
    EXPECT_THROW(pattern.setInternalTestPattern(77), KorvanParseException);
    simulator.getProjector().set("model", "<b id='bold'>P</b>");
    EXPECT_TRUE(browser.evaluate(until("document.title.includes('bold')")).asBool());
    EXPECT_TRUE(browser.evaluate(until(shownTraffic + ".includes('There is no pattern 77')")).asBool());
    EXPECT_TRUE(browser.evaluate("document.getElementById('bold') === null").asBool());
    EXPECT_TRUE(browser.evaluate("window.sameAsEver === true").asBool());

    // The page says so when the simulator is gone, and comes back with it.
    const std::uint16_t port = view.getPort();
    view.stop();
    EXPECT_TRUE(
        browser.evaluate(until("document.getElementById('link').textContent === 'not connected'")).asBool());
    view.start(port);
    EXPECT_TRUE(browser.evaluate(until("document.getElementById('link').textContent === 'live'")).asBool());
    simulator.getProjector().set("shutter", 0);
    EXPECT_TRUE(browser.evaluate(until(middle + " === '255 0 0 255'")).asBool());
    simulator.stop();
}

}  // namespace

}  // namespace JsonDevice
