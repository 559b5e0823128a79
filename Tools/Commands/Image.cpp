#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/ImageTypes.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "ImageFiles/ImageFile.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"
#include "Tools/Arguments.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

constexpr std::array encodings = {"RLE", "none", "ZLIB"};

const char* typeOf(const ImageFiles::Picture& picture) {
    return picture.channels == 3 ? "RGBImage" : "GrayscaleImage";
}

ImageFiles::Picture pictureIn(const std::string& file) {
    try {
        return ImageFiles::readPicture(file, JsonDevice::maximumImagePixels());
    } catch (const ImageFiles::ImageFileError& error) {
        refuseUsage(printableLine(error.what()));
    }
}

/// The picture as it goes over the wire.
Json::Value encoded(const ImageFiles::Picture& picture, const std::string& compression) {
    auto& registry = *JsonDevice::MarshalJson::instance();
    if (picture.channels == 3) {
        const RasterRGBImage image(picture.width, picture.height, picture.values.data(), true);
        return registry.toJson("RGBImage", static_cast<const RGBImage*>(&image), {});
    }
    const RasterGrayscaleImage image(picture.width, picture.height, picture.values.data());
    return registry.toJson("GrayscaleImage", static_cast<const GrayscaleImage*>(&image),
                           {{"compression", compression}});
}

template <class Image>
ImageFiles::Picture copied(const Image& image, int channels) {
    ImageFiles::Picture picture(image.getHSize(), image.getVSize(), channels);
    if (picture.values.empty()) {
        return picture;  // where there are no columns, there may be 2^31 - 1 rows
    }
    const std::size_t row = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(channels);
    for (int y = 0; y < picture.height; ++y) {
        float* const to = picture.values.data() + static_cast<std::size_t>(y) * row;
        const float* const from = image.getCenterValues(0, y, picture.width, to);
        if (from != to) {
            std::copy_n(from, row, to);
        }
    }
    return picture;
}

/// An image as it came over the wire; null where its raster gives none.
template <class Image>
std::unique_ptr<Image> decoded(const Json::Value& value, const std::string& type) {
    return std::unique_ptr<Image>(
        static_cast<Image*>(JsonDevice::MarshalJson::instance()->fromJson(value, type)));
}

ImageFiles::Picture pictureOf(const Json::Value& value, const std::string& type, const std::string& source) {
    try {
        if (type == "RGBImage") {
            if (const auto image = decoded<RGBImage>(value, type)) {
                return copied(*image, 3);
            }
        } else if (const auto image = decoded<GrayscaleImage>(value, type)) {
            return copied(*image, 1);
        }
    } catch (const KorvanParseException& error) {
        refuseUsage(source + ": " + printableLine(toUtf8(error.getMessage())) +
                    " (wrong shape, or a raster that is damaged, too short or too large)");
    }
    refuseUsage(source + ": " +
                (value.isNull() ? "null is no image" : "the raster does not inflate to the image"));
}

std::string chosenEncoding(const Given& given) {
    const std::string& name = given.text("compression");
    for (const char* const encoding : encodings) {
        if (!given.has("compression") || name == encoding) {
            return given.has("compression") ? name : "RLE";
        }
    }
    refuseUsage("compression: " + inQuotes(name) + " is none of RLE, none, ZLIB");
}

Answer encode(const Given& given) {
    const std::string compression = chosenEncoding(given);
    const ImageFiles::Picture picture = pictureIn(given.text("PICTURE"));
    if (picture.channels == 3 && given.has("compression") && compression != "RLE") {
        refuseUsage("colour pictures have one encoding, RLE");
    }
    Answer answer;
    answer.data = encoded(picture, compression);
    if (!answer.data.isMember("raster")) {
        refuseUsage(printableLine(given.text("PICTURE")) +
                    ": deflate cannot make this picture smaller, so it cannot be sent as ZLIB");
    }
    answer.text = jsonText(answer.data, false) + "\n";
    return answer;
}

Answer decode(const Given& given) {
    const std::string& source = given.text("JSON");
    const std::string name = source == "-" ? "standard input" : printableLine(source);
    const int bits = given.number("bits", 8, 16, 16);
    if (bits != 8 && bits != 16) {
        refuseUsage("bits: a sample has 8 or 16 bits");
    }
    const Json::Value value =
        parseJson(source == "-" ? given.input().readStandardInput() : Input::readFile(source), name);
    const bool colour = given.has("rgb") || (value.isObject() && !value.isMember("compression"));
    const std::string type = colour && !given.has("grayscale") ? "RGBImage" : "GrayscaleImage";
    const std::string& file = given.text("PICTURE");
    try {
        ImageFiles::formatFor(file);
    } catch (const ImageFiles::ImageFileError& error) {
        refuseUsage(printableLine(error.what()));
    }
    const ImageFiles::Picture picture = pictureOf(value, type, name);
    try {
        ImageFiles::writePicture(picture, file, bits);
    } catch (const ImageFiles::ImageFileError& error) {
        throw FailureException({ExitStatus::cannotWrite, printableLine(error.what())});
    }
    Answer answer;
    answer.data["type"] = type;
    answer.data["width"] = picture.width;
    answer.data["height"] = picture.height;
    answer.data["file"] = file;
    answer.text = type + ", " + std::to_string(picture.width) + " x " + std::to_string(picture.height) +
                  ": " + printableLine(file) + "\n";
    return answer;
}

Answer info(const Given& given) {
    const ImageFiles::Picture picture = pictureIn(given.text("PICTURE"));
    const std::size_t samples = picture.values.size();
    Answer answer;
    answer.data["type"] = typeOf(picture);
    answer.data["width"] = picture.width;
    answer.data["height"] = picture.height;
    Json::Value& sizes = answer.data["characters"] = Json::Value(Json::objectValue);
    std::vector<std::vector<std::string>> rows = {{"Encoding", "Characters", "Per value"}};
    for (const char* const encoding : encodings) {
        if (picture.channels == 3 && encoding != encodings.front()) {
            break;
        }
        const Json::Value value = encoded(picture, encoding);
        if (!value.isMember("raster")) {
            sizes[encoding] = Json::Value();
            rows.push_back({encoding, "-", "cannot be made smaller, so it is not sent"});
            continue;
        }
        const std::size_t length = value["raster"].asString().size();
        sizes[encoding] = static_cast<Json::UInt64>(length);
        // Thousandths, rounded, without the help of a locale.
        const std::size_t thousandths = (length * 1000 + samples / 2) / samples;
        const std::string fraction = std::to_string(1000 + thousandths % 1000).substr(1);
        rows.push_back(
            {encoding, std::to_string(length), std::to_string(thousandths / 1000) + "." + fraction});
    }
    answer.text = std::string(typeOf(picture)) + ", " + std::to_string(picture.width) + " x " +
                  std::to_string(picture.height) + "\n" +
                  table(rows, {Align::left, Align::right, Align::left});
    return answer;
}

}  // namespace

Command imageCommand() {
    const Parameter picture{"PICTURE", "A PNG, PGM or PFM file", Hint::file};
    Command encodeCommand{"encode", "Print a picture as the JSON that goes over the wire",
                          "image encode --compression ZLIB blend.png > blend.json"};
    encodeCommand.parameters = {picture};
    encodeCommand.options = {{"-c,--compression", "ENCODING",
                              "RLE (unless given), none or ZLIB; grey pictures only, colour is always RLE"}};
    encodeCommand.answer = encode;

    Command decodeCommand{"decode", "Write the picture that is in JSON from the wire to a file",
                          "image decode blend.json blend.png"};
    decodeCommand.parameters = {{"JSON", "A file with the object, - for standard input", Hint::file},
                                {"PICTURE", "The file to write: .png, .pgm or .pfm", Hint::file}};
    decodeCommand.options = {{"--bits", "BITS", "8 or 16 (unless given) for each sample of a PNG or PGM"},
                             {"--grayscale", "", "It is a GrayscaleImage although it has no \"compression\""},
                             {"--rgb", "", "It is an RGBImage although it has a \"compression\""}};
    decodeCommand.answer = decode;

    Command infoCommand{"info", "Tell how large a picture is in every encoding", "image info blend.png"};
    infoCommand.parameters = {picture};
    infoCommand.answer = info;

    Command command{"image", "Look at images as they go over the wire", "image info blend.png"};
    command.commands = {encodeCommand, decodeCommand, infoCommand};
    return command;
}

}  // namespace Tool
