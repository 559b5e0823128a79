#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>

#include "Common/NumberText.h"
#include "DeviceManager/JsonDevice/JsonBlendingV1.h"
#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/JsonWarpV1.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlackLevel.h"
#include "DeviceManager/JsonDevice/Vocabulary/Blending.h"
#include "DeviceManager/JsonDevice/Vocabulary/IG.h"
#include "DeviceManager/JsonDevice/Vocabulary/Masking.h"
#include "DeviceManager/JsonDevice/Vocabulary/Model.h"
#include "DeviceManager/JsonDevice/Vocabulary/Warp.h"
#include "Platform/Devices/MeshProxy.h"
#include "Tools/Arguments.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/Calls.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/Maps.h"
#include "Tools/Session.h"

/// The commands for what is kept in locations of the projector: warps, blends,
/// uniformity corrections, black levels and masks; and for the model's position
/// and the image generator's contents.
namespace Tool {

namespace {

namespace BlackLevel = JsonDevice::Vocabulary::BlackLevel;
namespace Blending = JsonDevice::Vocabulary::Blending;
namespace IG = JsonDevice::Vocabulary::IG;
namespace Masking = JsonDevice::Vocabulary::Masking;
namespace Model = JsonDevice::Vocabulary::Model;
namespace Warp = JsonDevice::Vocabulary::Warp;

using JsonDevice::Vocabulary::Operation;

/// Selecting a location, and asking for the active one. Projectors of the older
/// protocol do that in their own way.
struct Selection {
    std::function<void(Session&, int)> select;
    std::function<int(Session&)> active;
};

/// The operations that one interface has for what it keeps; null for those that it has not.
struct Family {
    const char* name;
    /// What is kept, in one word and several.
    const char* thing;
    const char* things;
    const Operation* list = nullptr;
    const Operation* location = nullptr;
    const Operation* save = nullptr;
    const Operation* preview = nullptr;
    const Operation* show = nullptr;
    const Operation* select = nullptr;
    const Operation* rename = nullptr;
    const Operation* remove = nullptr;
    const Operation* xml = nullptr;
    /// For projectors of the older protocol, where they differ.
    std::optional<Selection> older{};
};

const Parameter locationParameter{"LOCATION", "The location in the projector"};
const Option protocolOption{"--protocol", "N",
                            "1 for projectors that count locations two higher when they are selected"};
const Option nameOption{"--name", "NAME", "Give it a name"};

constexpr std::array<std::pair<const char*, const char*>, 4> mapOptions = {{
    {"mask", "The mask"},
    {"screen-mask", "The screen mask"},
    {"blend", "The blend"},
    {"bu", "The bu map"},
}};

std::string example(const Family& family, const std::string& rest) {
    return std::string("-d tcp://projector:5000 ") + family.name + " " + rest;
}

/// Refuses all but 1 and 2, which is the ordinary one.
bool isOlder(const Given& given) {
    return given.number("protocol", 1, 2, 2) == 1;
}

/// "LOCATION" of the command line as the operation's first parameter wants it.
Json::Value location(const Operation& operation, const Given& given) {
    Operation first = operation;
    first.parameters.resize(1);
    return parseArguments(first, {given.text("LOCATION")}, given.input())[0];
}

Answer answer(const Operation& operation, const Json::Value& result) {
    return {formatResult(operation.result, result), result};
}

/// A mesh and its maps from files, of one size.
class MeshAndMaps {
public:
    explicit MeshAndMaps(const Given& given) {
        std::optional<Size> size = parseSize(given.text("size"));
        std::string sizeFrom = "--size";
        for (std::size_t i = 0; i < mapOptions.size(); ++i) {
            maps[i] = map(given, mapOptions[i].first, size, sizeFrom);
        }
        blackLevel = map(given, "black-level", size, sizeFrom);
        const std::string& meshFile = given.text("MESH");
        mesh = std::make_unique<Mesh>(readMesh(meshFile, size));
        if (size && mesh->getSize() != *size) {
            refuseUsage(printableLine(meshFile) + " is a mesh for " + toText(mesh->getSize()) +
                        " pixels, but " + sizeFrom + " is of " + toText(*size));
        }
        name = given.text("name");
    }

    bool hasMaps() const {
        return std::any_of(maps.begin(), maps.end(), [](const auto& one) { return one.has_value(); });
    }
    bool hasBlackLevel() const { return blackLevel.has_value(); }

    /// Mesh, mask, screen mask, blend, bu.
    void appendTo(Json::Value& params) const {
        params.append(meshParameter(*mesh));
        for (const auto& one : maps) {
            params.append(blendParameter(one ? &*one : nullptr, name));
        }
    }
    void appendMeshTo(Json::Value& params) const { params.append(meshParameter(*mesh)); }
    void appendBlackLevelTo(Json::Value& params) const {
        params.append(blackLevel ? blackLevelParameter(*blackLevel, name, {1, 1, 1}) : Json::Value());
    }

private:
    static std::optional<ImageFiles::Picture> map(const Given& given, const std::string& option,
                                                  std::optional<Size>& size, std::string& sizeFrom) {
        if (!given.has(option)) {
            return std::nullopt;
        }
        const std::string& file = given.text(option);
        ImageFiles::Picture picture = readMap(file);
        const Size own(picture.width, picture.height);
        if (size && own != *size) {
            refuseUsage(printableLine(file) + " is of " + toText(own) + " pixels, but " + sizeFrom +
                        " is of " + toText(*size));
        }
        size = own;
        sizeFrom = printableLine(file);
        return picture;
    }

    std::unique_ptr<Mesh> mesh;
    std::array<std::optional<ImageFiles::Picture>, 4> maps;
    std::optional<ImageFiles::Picture> blackLevel;
    std::string name;
};

Task call(const Operation& operation, Json::Value params) {
    return [&operation, params = std::make_shared<const Json::Value>(std::move(params))](Session& session) {
        return answer(operation, session.call(operation, *params));
    };
}

/// The task, and the naming of what it stored.
Task named(Task task, const Operation* rename, const Given& given) {
    if (rename == nullptr || !given.has("name")) {
        return task;
    }
    const Json::Value params =
        parseArguments(*rename, {given.text("LOCATION"), given.text("name")}, given.input());
    return [task = std::move(task), rename, params](Session& session) {
        Answer first = task(session);
        session.call(*rename, params);
        return first;
    };
}

/// The six numbers in front of a warp that is sent with its maps and a black
/// level: the location, for each of the six, unless told otherwise.
Json::Value sixNumbers(const Operation& operation, const Given& given) {
    const std::string& text = given.text("numbers");
    Operation front = operation;
    front.parameters.resize(6);
    std::vector<std::string> numbers(6, given.text("LOCATION"));
    if (given.has("numbers")) {
        numbers.assign(1, "");
        for (const char c : text) {
            if (c == ',') {
                numbers.emplace_back();
            } else {
                numbers.back() += c;
            }
        }
    }
    return parseArguments(front, numbers, given.input());
}

std::vector<Option> meshOptions(bool warp) {
    std::vector<Option> options;
    for (const auto& [name, summary] : mapOptions) {
        options.push_back({std::string("--") + name, "FILE",
                           std::string(summary) + ", a grey PNG, PGM or PFM file", Hint::file});
    }
    if (warp) {
        options.push_back(
            {"--black-level", "FILE", "The black level map, a grey PNG, PGM or PFM file", Hint::file});
        options.push_back(
            {"--numbers", "A,B,C,D,E,F",
             "The six numbers that a warp with maps goes with; each is the location unless given"});
    }
    options.push_back({"--size", "WxH", "The size of the picture, for a mesh in a PFM file without maps"});
    return options;
}

const Parameter meshFile{"MESH", "A file with the text form of a mesh, or a PFM of coordinates", Hint::file};

/// Stores or shows a mesh and its maps. `plain` is for a mesh alone, `all` for
/// one with everything; where they are null, `operation` takes all there is.
Command sendMesh(const Family& family, const std::string& name, const std::string& summary,
                 const Operation& operation, const Operation* plain, const Operation* all) {
    Command command{name,
                    summary,
                    example(family, name + " 3 mesh.txt --blend blend.png"),
                    {locationParameter, meshFile},
                    meshOptions(all != nullptr)};
    const bool saves = &operation == family.save || plain != nullptr;
    if (saves && family.rename != nullptr) {
        command.options.push_back(nameOption);
    }
    command.prepare = [=, &operation, rename = saves ? family.rename : nullptr](const Given& given) {
        const MeshAndMaps files(given);
        Json::Value params(Json::arrayValue);
        const Operation* chosen = &operation;
        if (all != nullptr &&
            (files.hasBlackLevel() || given.has("numbers") || (plain != nullptr && files.hasMaps()))) {
            chosen = all;
            params = sixNumbers(*all, given);
            files.appendTo(params);
            files.appendBlackLevelTo(params);
        } else {
            chosen = plain != nullptr ? plain : &operation;
            params.append(location(*chosen, given));
            if (plain != nullptr) {
                files.appendMeshTo(params);
            } else {
                files.appendTo(params);
            }
        }
        return named(call(*chosen, std::move(params)), rename, given);
    };
    return command;
}

/// Stores or shows a black level.
Command sendBlackLevel(const Family& family, const std::string& name, const std::string& summary,
                       const Operation& operation) {
    Command command{
        name,
        summary,
        example(family, name + " 1 black.png"),
        {locationParameter, {"MAP", "A grey PNG, PGM or PFM file", Hint::file}},
        {{"--factors", "R,G,B", "How much of it red, green and blue get; 1 unless given"}, nameOption}};
    command.prepare = [&operation](const Given& given) {
        std::vector<double> factors(3, 1.0);
        if (given.has("factors")) {
            const Json::Value numbers = parseJson("[" + given.text("factors") + "]", "factors");
            if (numbers.size() != 3 ||
                !std::all_of(numbers.begin(), numbers.end(),
                             [](const Json::Value& number) { return number.isNumeric(); })) {
                refuseUsage("factors: " + inQuotes(given.text("factors")) +
                            " is not three numbers, such as 1,0.9,1.1");
            }
            std::transform(numbers.begin(), numbers.end(), factors.begin(),
                           [](const Json::Value& number) { return number.asDouble(); });
        }
        Json::Value params(Json::arrayValue);
        params.append(location(operation, given));
        params.append(blackLevelParameter(readMap(given.text("MAP")), given.text("name"), factors));
        return call(operation, std::move(params));
    };
    return command;
}

int activeLocation(Session& session, const Family& family, bool older) {
    if (older && family.older) {
        return session.guarded(session.timeout().value_or(10000),
                               [&] { return family.older->active(session); });
    }
    return session.call(*family.location, Json::Value(Json::arrayValue)).asInt();
}

/// The stored things, the active one marked.
Command listOf(const Family& family) {
    Command command{"list",
                    std::string("List the ") + family.things + " of the projector",
                    example(family, "list"),
                    {},
                    {protocolOption}};
    command.prepare = [family](const Given& given) -> Task {
        return [family, older = isOlder(given)](Session& session) {
            Answer answer;
            Json::Value items(Json::arrayValue);
            if (family.list != nullptr) {
                items = session.call(*family.list, Json::Value(Json::arrayValue));
                answer.data["items"] = items;
            }
            const int active = activeLocation(session, family, older);
            answer.data["active"] = active;
            std::vector<std::vector<std::string>> rows;
            for (const Json::Value& item : items) {
                const bool isActive = item["first"].asInt() == active;
                rows.push_back({isActive ? "*" : "", item["first"].asString(),
                                printableLine(item["second"].asString())});
            }
            answer.text = family.list == nullptr ? "active: " + std::to_string(active) + "\n"
                                                 : table(rows, {Align::left, Align::right, Align::left});
            return answer;
        };
    };
    return command;
}

Command selectOf(const Family& family) {
    Command command{"select",
                    std::string("Make a ") + family.thing + " the active one",
                    example(family, "select 3"),
                    {locationParameter},
                    {protocolOption}};
    command.prepare = [family](const Given& given) -> Task {
        const Json::Value place = location(*family.select, given);
        const bool older = isOlder(given) && family.older;
        return [family, place, older](Session& session) {
            if (older) {
                session.guarded(session.timeout().value_or(10000),
                                [&] { family.older->select(session, place.asInt()); });
            } else {
                Json::Value params(Json::arrayValue);
                params.append(place);
                session.call(*family.select, params);
            }
            return Answer();
        };
    };
    return command;
}

/// What all families have alike.
Command group(const Family& family, const std::string& summary) {
    const std::string thing = family.thing;
    Command command{family.name, summary, example(family, family.list != nullptr ? "list" : "select 3")};
    auto& commands = command.commands;
    if (family.location != nullptr) {
        commands.push_back(listOf(family));
        commands.push_back(selectOf(family));
    }
    if (family.show != nullptr) {
        commands.push_back(
            callingCommand("show", *family.show, "Switch the " + thing + " on", example(family, "show"), {}));
    }
    if (family.rename != nullptr) {
        commands.push_back(callingCommand("name", *family.rename, "Name a " + thing,
                                          example(family, "name 3 'Left wall'"),
                                          {locationParameter, {"NAME", "The name"}}));
    }
    if (family.remove != nullptr) {
        commands.push_back(callingCommand("delete", *family.remove, "Delete a " + thing,
                                          example(family, "delete 3"), {locationParameter}));
    }
    if (family.xml != nullptr) {
        commands.push_back(callingCommand("xml", *family.xml, "Print the XML of a " + thing,
                                          example(family, "xml 3"), {locationParameter}));
    }
    return command;
}

Json::Value toJson(const std::vector<WarpLineSegment>& segments) {
    Json::Value json(Json::arrayValue);
    for (const WarpLineSegment& segment : segments) {
        Json::Value& one = json.append(Json::Value(Json::objectValue));
        one["x1"] = segment.x1;
        one["y1"] = segment.y1;
        one["x2"] = segment.x2;
        one["y2"] = segment.y2;
    }
    return json;
}

/// To a tenth of a pixel.
std::string showSegments(const std::vector<WarpLineSegment>& segments) {
    const auto tenths = [](double pixels) {
        std::string text;
        appendNumber(text, std::round(pixels * 10) / 10);
        return text;
    };
    std::vector<std::vector<std::string>> rows{{"x1", "y1", "x2", "y2"}};
    for (const WarpLineSegment& segment : segments) {
        rows.push_back({tenths(segment.x1), tenths(segment.y1), tenths(segment.x2), tenths(segment.y2)});
    }
    return table(rows, {Align::right, Align::right, Align::right, Align::right});
}

Answer check(const Given& given) {
    const std::string& pictureFile = given.text("picture");
    if (given.has("picture")) {
        try {
            if (ImageFiles::formatFor(pictureFile) == ImageFiles::Format::Pgm) {
                refuseUsage(printableLine(pictureFile) +
                            ": the picture has colours; name a .png or .pfm file");
            }
        } catch (const ImageFiles::ImageFileError& e) {
            refuseUsage(printableLine(e.what()));
        }
    }
    SimpleMeshProxy mesh(L"", readMesh(given.text("MESH"), parseSize(given.text("size"))));
    JsonDevice::JsonWarp scanner(static_cast<Communicator*>(nullptr));
    std::vector<WarpLineSegment> segments;
    volatile int ticket = 0;
    scanner.evaluateWarp(
        &mesh, [&](std::vector<WarpLineSegment> found) { segments = std::move(found); }, {}, 0, &ticket);
    if (given.has("picture")) {
        try {
            ImageFiles::writePicture(drawMesh(mesh.getMesh(), segments), pictureFile, 8);
        } catch (const ImageFiles::ImageFileError& e) {
            throw FailureException({ExitStatus::cannotWrite, printableLine(e.what())});
        }
    }
    Answer answer;
    answer.data["size"].append(mesh.getSize().first);
    answer.data["size"].append(mesh.getSize().second);
    answer.data["folds"] = toJson(segments);
    answer.text = segments.empty() ? "no folds\n" : showSegments(segments);
    return answer;
}

Command checkCommand() {
    Command command{
        "check",
        "Find where a mesh folds over, without a projector, and print the lines there",
        "warp check mesh.txt --picture mesh.png",
        {meshFile},
        {{"--size", "WxH", "The size of the picture, for a mesh in a PFM file"},
         {"--picture", "FILE", "Also draw the mesh and its folds, into a .png or .pfm file", Hint::file}}};
    command.answer = check;
    return command;
}

}  // namespace

Command warpCommand() {
    Family family{"warp",
                  "warp",
                  "warps",
                  &operationOf(Warp::getWarpNamesAndLocations),
                  &operationOf(Warp::getWarpLocation),
                  &operationOf(Warp::saveWarp),
                  &operationOf(Warp::previewWarp),
                  &operationOf(Warp::showWarp),
                  &operationOf(Warp::selectWarp),
                  &operationOf(Warp::nameWarp),
                  &operationOf(Warp::deleteWarp),
                  &operationOf(Warp::getWarpXmlFromProjector)};
    family.older = Selection{
        [](Session& session, int place) {
            JsonDevice::JsonWarpV1(&session.communicator()).selectWarp(static_cast<unsigned int>(place));
        },
        [](Session& session) { return JsonDevice::JsonWarpV1(&session.communicator()).getWarpLocation(); }};
    Command command = group(family, "Store, show and select warps, and check meshes");
    command.commands.push_back(sendMesh(family, "save", "Store a warp, with its maps where they are given",
                                        *family.save, family.save, &operationOf(Warp::saveAll)));
    command.commands.push_back(sendMesh(family, "preview", "Show a warp with its maps without storing it",
                                        *family.preview, nullptr, &operationOf(Warp::previewAll)));
    command.commands.push_back(checkCommand());
    return command;
}

Command blendCommand() {
    Family family{"blend",
                  "blend",
                  "blends",
                  &operationOf(Warp::getBlendNamesAndLocations),
                  &operationOf(Blending::getBlendLocation),
                  &operationOf(Blending::saveBlend),
                  &operationOf(Blending::previewBlend),
                  &operationOf(Blending::showBlend),
                  &operationOf(Blending::selectBlend),
                  &operationOf(Blending::nameBlend),
                  &operationOf(Blending::deleteBlend),
                  &operationOf(Warp::getBlendXmlFromProjector)};
    family.older =
        Selection{[](Session& session, int place) {
                      JsonDevice::JsonBlendingV1(&session.communicator()).selectBlend(place);
                  },
                  [](Session& session) {
                      return JsonDevice::JsonBlendingV1(&session.communicator()).getBlendLocation();
                  }};
    Command command = group(family, "Store, show and select blends");
    command.commands.push_back(
        sendMesh(family, "save", "Store a blend: a mesh and its maps", *family.save, nullptr, nullptr));
    command.commands.push_back(
        sendMesh(family, "preview", "Show a blend without storing it", *family.preview, nullptr, nullptr));
    return command;
}

Command uniformityCommand() {
    Family family{"uniformity",
                  "uniformity correction",
                  "uniformity corrections",
                  nullptr,
                  &operationOf(Blending::getUniformityLocation),
                  &operationOf(Blending::saveUniformity),
                  &operationOf(Blending::previewUniformity),
                  &operationOf(Blending::showUniformity),
                  &operationOf(Blending::selectUniformity),
                  &operationOf(Blending::nameUniformity),
                  &operationOf(Blending::deleteUniformity)};
    family.older =
        Selection{[](Session& session, int place) {
                      JsonDevice::JsonBlendingV1(&session.communicator()).selectUniformity(place);
                  },
                  [](Session& session) {
                      return JsonDevice::JsonBlendingV1(&session.communicator()).getUniformityLocation();
                  }};
    Command command = group(family, "Store, show and select uniformity corrections");
    command.commands.push_back(sendMesh(family, "save", "Store a uniformity correction: a mesh and its maps",
                                        *family.save, nullptr, nullptr));
    command.commands.push_back(sendMesh(family, "preview", "Show a uniformity correction without storing it",
                                        *family.preview, nullptr, nullptr));
    return command;
}

Command maskCommand() {
    Family family{"mask",
                  "mask",
                  "masks",
                  nullptr,
                  &operationOf(Masking::getMaskLocation),
                  &operationOf(Masking::saveMask),
                  &operationOf(Masking::previewMask),
                  &operationOf(Masking::showMask),
                  &operationOf(Masking::selectMask),
                  &operationOf(Masking::nameMask),
                  &operationOf(Masking::deleteMask)};
    Command command = group(family, "Store, show and select masks");
    command.commands.push_back(
        sendMesh(family, "save", "Store a mask: a mesh and its maps", *family.save, nullptr, nullptr));
    command.commands.push_back(
        sendMesh(family, "preview", "Show a mask without storing it", *family.preview, nullptr, nullptr));
    return command;
}

Command blackLevelCommand() {
    Family family{"blacklevel", "black level", "black levels",
                  &operationOf(BlackLevel::getBlackLevelBlendNamesAndLocations),
                  &operationOf(BlackLevel::getBlackLevelLocation)};
    family.select = &operationOf(BlackLevel::selectBlackLevel);
    family.remove = &operationOf(BlackLevel::deleteBlackLevel);
    family.xml = &operationOf(BlackLevel::getBlackLevelXmlFromProjector);
    Command command = group(family, "Store, show and select black levels");
    command.commands.push_back(
        sendBlackLevel(family, "save", "Store a black level", operationOf(BlackLevel::saveBlacklevel)));
    command.commands.push_back(sendBlackLevel(family, "preview", "Show a black level without storing it",
                                              operationOf(BlackLevel::previewBlacklevel)));
    return command;
}

Command modelCommand() {
    Command position{"position",
                     "Tell where the viewer is and where he looks",
                     "-d tcp://projector:5000 model position 0 1.7 2.5 0 0 0",
                     {{"X", "Where he is"},
                      {"Y", "The same"},
                      {"Z", "The same"},
                      {"RX", "Where he looks"},
                      {"RY", "The same"},
                      {"RZ", "The same"}},
                     {{"--perspective", "NUMBERS", "The perspective, numbers separated by commas"}}};
    position.prepare = [](const Given& given) {
        const auto point = [&](const char* x, const char* y, const char* z) {
            Json::Value json(Json::objectValue);
            for (const auto& [key, name] : {std::pair("x", x), std::pair("y", y), std::pair("z", z)}) {
                const auto number = readNumber<double>(given.text(name));
                if (!number) {
                    refuseUsage(std::string(name) + ": " + inQuotes(given.text(name)) + " is not a number");
                }
                json[key] = *number;
            }
            return jsonText(json, false);
        };
        std::vector<std::string> arguments = {point("X", "Y", "Z"), point("RX", "RY", "RZ")};
        if (!given.has("perspective")) {
            return callTask(operationOf(Model::updatePositionOrientation), arguments, given.input());
        }
        arguments.insert(arguments.begin(), "[" + given.text("perspective") + "]");
        return callTask(operationOf(Model::updatePerspectivePositionOrientation), arguments, given.input());
    };
    Command command{"model", "Tell where the viewer is", position.example};
    command.commands = {position};
    return command;
}

Command contentCommand() {
    Command add{"add",
                "Add a picture as a content of the image generator",
                "-d tcp://projector:5000 content add logo logo.png",
                {{"NAME", "What it is called"}, {"PICTURE", "A PNG, PGM or PFM file", Hint::file}}};
    add.prepare = [](const Given& given) {
        if (!isUtf8(given.text("NAME"))) {
            refuseUsage("the name " + inQuotes(given.text("NAME")) + " is not text in UTF-8");
        }
        Json::Value params(Json::arrayValue);
        params.append(given.text("NAME"));
        params.append(contentParameter(readImage(given.text("PICTURE")), given.text("NAME")));
        return call(operationOf(IG::addContent), std::move(params));
    };
    Command command{"content", "Add and show contents of the image generator", add.example};
    command.commands = {
        add, callingCommand("select", operationOf(IG::selectContent), "Show a content",
                            "-d tcp://projector:5000 content select logo", {{"NAME", "What it is called"}})};
    return command;
}

}  // namespace Tool
