#include <algorithm>
#include <array>
#include <cmath>

#include "Common/Base64.h"
#include "Common/NumberText.h"
#include "DeviceManager/JsonDevice/PngWriter.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlockPatterns.h"
#include "DeviceManager/JsonDevice/Vocabulary/CheckPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/GridTestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/TestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/UploadTestPattern.h"
#include "Tools/Arguments.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/Calls.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/Maps.h"
#include "Tools/Session.h"

/// The commands for what the projector shows by itself.
namespace Tool {

namespace {

namespace Check = JsonDevice::Vocabulary::CheckPattern;
namespace Grid = JsonDevice::Vocabulary::GridTestPattern;
namespace PreWarp = JsonDevice::Vocabulary::PreWarpBlockPattern;
namespace Projector = JsonDevice::Vocabulary::ProjectorBlockPattern;
namespace Test = JsonDevice::Vocabulary::TestPattern;
namespace Upload = JsonDevice::Vocabulary::UploadTestPattern;

using JsonDevice::Vocabulary::Operation;

const Json::Value noArguments(Json::arrayValue);

/// One call of several that make up a command.
struct Step {
    const Operation* operation;
    Json::Value params;
    /// A device that does not know the method is passed over.
    bool mayBeMissing = false;
};

Task inTurn(std::vector<Step> steps) {
    return [steps = std::move(steps)](Session& session) {
        for (const Step& step : steps) {
            try {
                session.call(*step.operation, step.params);
            } catch (const FailureException& e) {
                if (!step.mayBeMissing || e.get().status != ExitStatus::deviceError) {
                    throw;
                }
            }
        }
        return Answer();
    };
}

template <class Method>
Step step(const Method& method, const std::vector<std::string>& arguments, Input& input) {
    const Operation& operation = operationOf(method);
    return {&operation, parseArguments(operation, arguments, input)};
}

std::vector<std::string> parts(const std::string& text) {
    std::vector<std::string> all(1);
    for (const char c : text) {
        if (c == ',') {
            all.emplace_back();
        } else {
            all.back() += c;
        }
    }
    return all;
}

std::vector<int> wholeNumbers(const std::string& text, std::size_t count, const std::string& example) {
    std::vector<int> numbers;
    for (const std::string& part : parts(text)) {
        const auto number = readNumber<int>(part);
        if (!number) {
            break;
        }
        numbers.push_back(*number);
    }
    if (numbers.size() != count || parts(text).size() != count) {
        refuseUsage(inQuotes(text) + " is not " + std::to_string(count) + " whole numbers, such as " +
                    example);
    }
    return numbers;
}

Json::Value pointOf(int x, int y) {
    Json::Value point(Json::objectValue);
    point["x"] = x;
    point["y"] = y;
    return point;
}

/// "X,Y" each, as the JSON of a list of points.
std::string pointList(const std::vector<std::string>& texts) {
    Json::Value points(Json::arrayValue);
    for (const std::string& text : texts) {
        const std::vector<int> numbers = wholeNumbers(text, 2, "100,200");
        points.append(pointOf(numbers[0], numbers[1]));
    }
    return jsonText(points, false);
}

struct Colour {
    int red;
    int green;
    int blue;

    int inOne() const { return red << 16 | green << 8 | blue; }
};

constexpr std::array colourNames = {"black", "red", "green", "yellow", "blue", "magenta", "cyan", "white"};

/// A name, or "RRGGBB".
Colour parseColour(const std::string& text) {
    const auto named =
        std::ranges::find(colourNames, text, [](const char* name) { return std::string(name); });
    if (named != colourNames.end()) {
        const auto bits = static_cast<int>(named - colourNames.begin());
        return {(bits & 1) * 255, (bits >> 1 & 1) * 255, (bits >> 2 & 1) * 255};
    }
    const bool hexadecimal =
        text.size() == 6 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (!hexadecimal) {
        refuseUsage("colour: " + inQuotes(text) + " is no colour, such as red or ff8000");
    }
    const int all = std::stoi(text, nullptr, 16);
    return {all >> 16, all >> 8 & 255, all & 255};
}

Colour colourOf(const Given& given) {
    return given.has("color") ? parseColour(given.text("color")) : Colour{255, 255, 255};
}

const Option colourOption{
    "-c,--color", "COLOR",
    "black, red, green, yellow, blue, magenta, cyan, white or RRGGBB; white unless given"};

std::string example(const std::string& rest) {
    return "-d tcp://projector:5000 pattern " + rest;
}

Command listCommandOf() {
    Command command{"list", "List the patterns of the projector, the chosen one marked", example("list")};
    command.prepare = [](const Given&) -> Task {
        return [](Session& session) {
            const Json::Value items =
                session.call(operationOf(Test::getInternalTestPatternList), noArguments);
            const Json::Value chosen = session.call(operationOf(Test::getInternalTestPattern), noArguments);
            std::vector<std::vector<std::string>> rows;
            for (const Json::Value& item : items) {
                const bool isChosen = item["first"].asInt64() == chosen.asInt64();
                rows.push_back({isChosen ? "*" : "", item["first"].asString(),
                                printableLine(item["second"].asString())});
            }
            Answer answer;
            answer.text = table(rows, {Align::left, Align::right, Align::left});
            answer.data["patterns"] = items;
            answer.data["chosen"] = chosen;
            return answer;
        };
    };
    return command;
}

/// By number, or by the name that the list has.
Command setCommandOf() {
    Command command{"set",
                    "Show a pattern of the list",
                    example("set 3"),
                    {{"PATTERN", "Its number, or its name in the list; 0 for none"}}};
    command.prepare = [](const Given& given) -> Task {
        const Operation& set = operationOf(Test::setInternalTestPattern);
        const std::string text = given.text("PATTERN");
        if (readNumber<long long>(text)) {
            return callTask(set, {text}, given.input());
        }
        return [&set, text](Session& session) {
            const Json::Value items =
                session.call(operationOf(Test::getInternalTestPatternList), noArguments);
            std::string names;
            for (const Json::Value& item : items) {
                if (item["second"].asString() == text) {
                    Json::Value params(Json::arrayValue);
                    params.append(item["first"]);
                    session.call(set, params);
                    return Answer();
                }
                names += (names.empty() ? "" : ", ") + printableLine(item["second"].asString());
            }
            refuseUsage(session.name() + ": there is no pattern " + inQuotes(text) + "; there are: " + names);
        };
    };
    return command;
}

/// The file as the library uploads it: colours of 8 bits, or grey.
std::string pngText(const std::string& file) {
    const ImageFiles::Picture picture = readImage(file);
    std::vector<unsigned char> bytes;
    bytes.reserve(picture.values.size());
    for (const float value : picture.values) {
        bytes.push_back(static_cast<unsigned char>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255)));
    }
    image_t image;
    image.format = picture.channels == 3 ? 1 : 3;
    image.width = static_cast<std::uint32_t>(picture.width);
    image.height = static_cast<std::uint32_t>(picture.height);
    image.data = bytes.data();
    return encodeBase64(JsonDevice::makePng(image, ""));
}

Command uploadCommand() {
    Command command{
        "upload",
        "Keep a picture in a slot of the projector",
        example("upload logo.png 100"),
        {{"PICTURE", "A PNG, PGM or PFM file", Hint::file}, {"SLOT", "The slot (see: pattern slots)"}}};
    command.prepare = [](const Given& given) {
        return callTask(operationOf(Upload::uploadPngTestPatternImage),
                        {pngText(given.text("PICTURE")), given.text("SLOT")}, given.input());
    };
    return command;
}

Command pointsCommand() {
    Command command{"points",
                    "Show points at these pixels",
                    example("points 100,200 300,400 --color red"),
                    {{"POINT", "A pixel, as X,Y", Hint::none, Parameter::Count::any}},
                    {{"-c,--color", "COLOR", "black, red, green, yellow, blue, magenta, cyan or white"},
                     {"--add", "", "Keep those that are there"}}};
    command.prepare = [](const Given& given) {
        std::vector<Step> steps;
        Input& input = given.input();
        if (given.has("color")) {
            const auto named = std::ranges::find(colourNames, given.text("color"),
                                                 [](const char* name) { return std::string(name); });
            if (named == colourNames.end()) {
                refuseUsage("colour: " + inQuotes(given.text("color")) +
                            " is none of the colours that points have");
            }
            steps.push_back(
                step(Test::setPointTestPatternColor, {std::to_string(named - colourNames.begin())}, input));
        }
        const std::string points = pointList(given.all("POINT"));
        steps.push_back(given.has("add") ? step(Test::addPointTestPattern, {points}, input)
                                         : step(Test::setPointTestPattern, {points}, input));
        steps.push_back(step(Test::enablePointTestPattern, {"true"}, input));
        return inTurn(std::move(steps));
    };
    return command;
}

/// Numbers of the command line in front of those of a colour, as a drawing operation takes them.
std::vector<std::string> withColour(std::vector<std::string> arguments, const Given& given) {
    const Colour colour = colourOf(given);
    for (const int part : {colour.red, colour.green, colour.blue}) {
        arguments.push_back(std::to_string(part));
    }
    return arguments;
}

/// Draws, and shows what was drawn.
Task draw(Step drawing, Input& input) {
    return inTurn({std::move(drawing), step(Test::flushUserTestPattern, {}, input)});
}

Command linesCommand() {
    Command command{
        "lines",
        "Draw lines",
        example("lines 0,0,1919,1199 --color cyan"),
        {{"LINE", "From one pixel to another, as X1,Y1,X2,Y2", Hint::none, Parameter::Count::any}},
        {colourOption}};
    command.prepare = [](const Given& given) {
        std::vector<Step> steps;
        for (const std::string& line : given.all("LINE")) {
            wholeNumbers(line, 4, "0,0,1919,1199");
            steps.push_back(step(Test::drawLines, withColour(parts(line), given), given.input()));
        }
        if (steps.empty()) {
            refuseUsage("no lines are given");
        }
        steps.push_back(step(Test::flushUserTestPattern, {}, given.input()));
        return inTurn(std::move(steps));
    };
    return command;
}

Command boxesCommand() {
    Command command{"boxes",
                    "Draw filled boxes of one size",
                    example("boxes 64x48 100,100 300,100"),
                    {{"SIZE", "Their size in pixels, as WxH"},
                     {"CORNER", "The top left of each, as X,Y", Hint::none, Parameter::Count::any}},
                    {colourOption}};
    command.prepare = [](const Given& given) {
        const auto size = parseSize(given.text("SIZE"));
        if (!size || !given.has("CORNER")) {
            refuseUsage("a size and at least one place are needed");
        }
        return draw(step(Test::drawBoxes,
                         withColour({pointList(given.all("CORNER")), std::to_string(size->first),
                                     std::to_string(size->second)},
                                    given),
                         given.input()),
                    given.input());
    };
    return command;
}

Command gridCommand() {
    Command command{
        "grid",
        "Draw a grid of lines",
        example("grid 64 64 --color green"),
        {{"DX", "The distance of the upright lines in pixels"}, {"DY", "That of the level lines"}},
        {colourOption}};
    command.prepare = [](const Given& given) {
        return draw(step(Test::showUserTestPatternGrid,
                         withColour({given.text("DX"), given.text("DY")}, given), given.input()),
                    given.input());
    };
    return command;
}

Command checkCommand() {
    Command command{"check",
                    "Show the check pattern for a camera that calibrates the picture",
                    example("check 64 64"),
                    {{"WIDTH", "Of a check, in pixels"}, {"HEIGHT", "Of a check"}},
                    {{"--shift", "X,Y", "By how much it is shifted"},
                     {"--subliminal", "", "So faintly that only a camera notices"},
                     {"--sine", "", "With soft edges"},
                     {"--no-sync", "", "Without waiting for the picture's beginning"}}};
    command.prepare = [](const Given& given) {
        const std::vector<int> shift =
            given.has("shift") ? wholeNumbers(given.text("shift"), 2, "8,8") : std::vector<int>{0, 0};
        const auto flag = [&](bool on) { return std::string(on ? "true" : "false"); };
        return inTurn({step(
            Check::displayCheckPattern,
            {given.text("WIDTH"), given.text("HEIGHT"), std::to_string(shift[0]), std::to_string(shift[1]),
             flag(!given.has("no-sync")), flag(given.has("subliminal")), flag(given.has("sine"))},
            given.input())});
    };
    return command;
}

/// The steps for blocks, which both interfaces have alike.
template <class SetMode, class Clear, class SetBlocks, class SetRange, class Flush>
std::vector<Step> blockSteps(const SetMode& setMode, const Clear& clear, const SetBlocks& setBlocks,
                             const SetRange& setRange, const Flush& flush,
                             const std::vector<std::string>& lists, std::size_t count, Input& input) {
    // 1 is the mode with a block for each of the list.
    return {step(clear, {}, input), step(setBlocks, lists, input),
            step(setRange, {"0", std::to_string(count - 1)}, input), step(setMode, {"1"}, input),
            step(flush, {}, input)};
}

Command blocksCommand() {
    Command command{
        "blocks",
        "Show blocks",
        example("blocks 0,0,99,99 200,0,299,99 --color red"),
        {{"BLOCK", "Two opposite corners, as X1,Y1,X2,Y2", Hint::none, Parameter::Count::any}},
        {colourOption,
         {"--projector", "", "Behind the warp, in the projector's own pixels; else in front of it"}}};
    command.prepare = [](const Given& given) {
        const auto& blocks = given.all("BLOCK");
        if (blocks.empty()) {
            refuseUsage("no blocks are given");
        }
        Json::Value first(Json::arrayValue);
        Json::Value second(Json::arrayValue);
        Json::Value colours(Json::arrayValue);
        for (const std::string& block : blocks) {
            const std::vector<int> numbers = wholeNumbers(block, 4, "0,0,99,99");
            first.append(pointOf(numbers[0], numbers[1]));
            second.append(pointOf(numbers[2], numbers[3]));
            colours.append(colourOf(given).inOne());
        }
        const std::vector<std::string> lists = {"0", jsonText(first, false), jsonText(second, false),
                                                jsonText(colours, false)};
        return inTurn(given.has("projector")
                          ? blockSteps(Projector::setPatternMode, Projector::clearArbitraryBlocks,
                                       Projector::setArbitraryBlocks2, Projector::setArbitraryBlockRange,
                                       Projector::flushCommandQueue, lists, blocks.size(), given.input())
                          : blockSteps(PreWarp::setPatternMode, PreWarp::clearArbitraryBlocks,
                                       PreWarp::setArbitraryBlocks2, PreWarp::setArbitraryBlockRange,
                                       PreWarp::flushCommandQueue, lists, blocks.size(), given.input()));
    };
    return command;
}

Command clearCommand() {
    Command command{"clear", "Take all patterns away", example("clear")};
    command.prepare = [](const Given& given) {
        Input& input = given.input();
        std::vector<Step> steps = {
            step(Test::setInternalTestPattern, {"0"}, input),
            step(Test::clearPointTestPattern, {}, input),
            step(Test::enablePointTestPattern, {"false"}, input),
            step(Test::clearUserTestPattern, {}, input),
            step(Test::flushUserTestPattern, {}, input),
            step(Grid::setMode, {"0"}, input),
            step(Grid::flushCommandQueue, {}, input),
            step(Check::clearCheckPattern, {"true"}, input),
            step(PreWarp::setPatternMode, {"0"}, input),
            step(PreWarp::flushCommandQueue, {}, input),
            step(Projector::setPatternMode, {"0"}, input),
            step(Projector::flushCommandQueue, {}, input),
        };
        for (Step& each : steps) {
            each.mayBeMissing = true;
        }
        return inTurn(std::move(steps));
    };
    return command;
}

}  // namespace

Command patternCommand() {
    Command command{"pattern", "Show test patterns, pictures, and what is drawn", example("set 3")};
    command.commands = {
        listCommandOf(),
        setCommandOf(),
        callingCommand("slots", operationOf(Upload::getAvailableUploadSlots), "List the slots for pictures",
                       example("slots"), {}),
        uploadCommand(),
        callingCommand("remove", operationOf(Upload::removeUploadedTestPattern),
                       "Remove the picture of a slot", example("remove 100"), {{"SLOT", "The slot"}}),
        pointsCommand(),
        linesCommand(),
        boxesCommand(),
        gridCommand(),
        checkCommand(),
        blocksCommand(),
        clearCommand(),
    };
    return command;
}

}  // namespace Tool
