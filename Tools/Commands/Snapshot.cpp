#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Base64.h"
#include "ImageFiles/ImageFile.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/Maps.h"
#include "Tools/OutputFiles.h"
#include "Tools/Session.h"

namespace Tool {

namespace {

/// A method of the simulated projector, and of no device.
const JsonDevice::Vocabulary::Operation getPicture{
    "Simulator::getPicture", "The picture on the wall as the base64 text of a PNG file.",
    JsonDevice::Vocabulary::WireType{JsonDevice::Wire::Bytes::name, JsonDevice::Wire::Bytes::form},
    std::vector<JsonDevice::Vocabulary::Parameter>(), std::chrono::milliseconds(10000)};

constexpr int unknownMethod = -32601;

Json::Value askForPicture(Session& session, const Json::Value& params) {
    try {
        return session.call(getPicture, params);
    } catch (const FailureException& e) {
        Failure failure = e.get();
        if (failure.status == ExitStatus::deviceError && failure.code == unknownMethod) {
            failure.message = session.name() +
                              " cannot tell what is on the wall; a simulated projector can (" +
                              failure.message + ")";
        }
        throw FailureException(std::move(failure));
    }
}

}  // namespace

Command snapshotCommand() {
    Command command{
        "snapshot",
        "Write the picture that is on the wall to a PNG file; simulated projectors alone can tell it",
        "-d tcp://127.0.0.1:5000 snapshot wall.png",
        {{"FILE", "The file; a % stands for the device's name", Hint::file}},
        {{"--size", "WxH", "How large; as large as the projector's unless given"}}};
    command.prepare = [](const Given& given) -> Task {
        Json::Value params(Json::arrayValue);
        if (const auto size = parseSize(given.text("size"))) {
            params.append(size->first);
            params.append(size->second);
        }
        return [pattern = given.text("FILE"), params,
                paths = std::make_shared<OutputPaths>()](Session& session) {
            const std::string path = paths->take(pattern, session.name());
            const std::vector<unsigned char> file = decodeBase64(askForPicture(session, params).asString());
            const std::string_view content(reinterpret_cast<const char*>(file.data()), file.size());
            ImageFiles::Picture picture;
            try {
                picture = ImageFiles::parsePicture(content, "the picture");
            } catch (const ImageFiles::ImageFileError& e) {
                throw FailureException(
                    {ExitStatus::brokenProtocol, session.name() + ": " + printableLine(e.what())});
            }
            writeFile(path, content);
            Answer answer;
            answer.data["file"] = path;
            answer.data["width"] = picture.width;
            answer.data["height"] = picture.height;
            answer.text =
                toText({picture.width, picture.height}) + " pixels in " + printableLine(path) + "\n";
            return answer;
        };
    };
    return command;
}

}  // namespace Tool
