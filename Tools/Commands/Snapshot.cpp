#include <cerrno>
#include <cstring>
#include <fstream>

#include "DeviceManager/JsonDevice/JsonConnection.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/HttpGet.h"
#include "Tools/Maps.h"
#include "Tools/Session.h"

namespace Tool {

namespace {

constexpr std::size_t largestPicture = std::size_t{256} << 20;
constexpr int defaultWaitMs = 10000;
/// The code under which a simulated projector tells where its picture is.
constexpr const char* addressCode = "viewAddress";

/// Where the device shows its picture to browsers.
std::string pictureAddress(Session& session) {
    Json::Value request(Json::objectValue);
    request["jsonrpc"] = "2.0";
    request["method"] = "get";
    request["params"].append(addressCode);
    std::string address;
    try {
        JsonDevice::JsonConnection connection(&session.communicator());
        const Json::Value reply =
            session.guarded(defaultWaitMs, [&] { return connection.callCommunicator(request); });
        address = reply["result"].isString() ? reply["result"].asString() : "";
    } catch (const FailureException& e) {
        if (e.get().status != ExitStatus::deviceError) {
            throw;
        }
    }
    if (address.empty()) {
        throw FailureException(
            {ExitStatus::deviceError, session.name() +
                                          ": the device offers no picture of what it shows; a simulated "
                                          "projector does (jsondevice-sim --http PORT)"});
    }
    // One that listens on all networks is reached where the device is.
    for (const char* const everywhere : {"http://0.0.0.0:", "http://[::]:"}) {
        const std::string& device = session.name();
        if (address.starts_with(everywhere) && device.starts_with("tcp://")) {
            const std::string host = device.substr(6, device.rfind(':') - 6);
            address = "http://" + host + ":" + address.substr(std::strlen(everywhere));
        }
    }
    return address;
}

void write(const std::string& path, const std::string& content) {
    errno = 0;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    file.close();
    if (!file) {
        throw FailureException(
            {ExitStatus::cannotWrite, "cannot write " + inQuotes(path) + ": " + std::strerror(errno)});
    }
}

}  // namespace

Command snapshotCommand() {
    Command command{"snapshot",
                    "Save a picture of what a simulated projector shows",
                    "-d tcp://127.0.0.1:5000 snapshot wall.png",
                    {{"FILE", "The PNG file to write", Hint::file}},
                    {{"--size", "WxH", "Not as large as the projector's picture, but this"}}};
    command.prepare = [](const Given& given) -> Task {
        const auto size = parseSize(given.text("size"));
        return [path = given.text("FILE"), size](Session& session) {
            std::string url = pictureAddress(session) + "picture.png";
            if (size) {
                url += "?width=" + std::to_string(size->first) + "&height=" + std::to_string(size->second);
            }
            const std::string picture =
                httpGet(url, session.timeout().value_or(defaultWaitMs), largestPicture);
            if (!picture.starts_with("\x89PNG\r\n\x1a\n")) {
                throw FailureException({ExitStatus::brokenProtocol, printableLine(url) + " is no PNG file"});
            }
            write(path, picture);
            Answer answer;
            answer.data["file"] = path;
            answer.data["bytes"] = static_cast<Json::UInt64>(picture.size());
            return answer;
        };
    };
    return command;
}

}  // namespace Tool
