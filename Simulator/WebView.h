#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Common/Export.h"
#include "Simulator/Projector.h"
#include "Simulator/RecordServer.h"

namespace JsonDevice {

/// Shows a simulated projector to browsers, over HTTP:
/// - `/picture.png`: the picture on the wall, as large as the projector's, or as
///   the parameters `width` and `height` say
/// - `/state.json`: the state by interface
/// - `/`: a live page with both and the traffic, which `/events` pushes
///
/// Viewers only look. They are served by threads of their own, and what they do
/// or fail to do is never waited for by the projector: what is not read in time is
/// skipped or ends the viewer's connection. Their number, the size of their
/// requests and of the pictures are limited.
///
/// All operations may be called from any thread.
class JSONDEVICE_EXPORT WebView {
public:
    struct Options {
        /// How many live pages there may be at once; one more is answered with status 503.
        std::size_t mostViewers = 16;
        /// The most pixels of a picture in either direction; more is answered with status 400.
        int longestSide = 4096;
    };

    /// The projector has to outlive the view.
    explicit WebView(Simulation::Projector& projector);
    WebView(Simulation::Projector& projector, Options options);
    WebView(const WebView&) = delete;
    WebView& operator=(const WebView&) = delete;
    /// Stops.
    ~WebView();

    /// Port 0 takes a free one. Throws DeviceException when it cannot listen
    /// there, KorvanExceptionRuntime when it does already.
    void start(std::uint16_t port = 0, const std::string& listenAddress = "127.0.0.1");
    /// Ends all connections and threads; does nothing when not started.
    void stop() noexcept;

    /// 0 when it does not listen.
    std::uint16_t getPort() const;
    /// As "http://127.0.0.1:8080/"; empty when it does not listen.
    std::string getAddress() const;

    /// What happens on the projector's connections, for the live pages. Never waits.
    void onTraffic(const TrafficEvent& event) noexcept;

private:
    struct Implementation;
    const std::unique_ptr<Implementation> implementation;
};

}  // namespace JsonDevice
