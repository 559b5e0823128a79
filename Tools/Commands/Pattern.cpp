#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Common/Base64.h"
#include "Common/NumberText.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/PngWriter.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlockPatterns.h"
#include "DeviceManager/JsonDevice/Vocabulary/CheckPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/GridTestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/TestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/UploadTestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/UserTestPattern.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tools/Arguments.h"
#include "Tools/Commands/AllCommands.h"
#include "Tools/Commands/Calls.h"
#include "Tools/Failure.h"
#include "Tools/Format.h"
#include "Tools/Maps.h"
#include "Tools/Session.h"

/// The commands for what a projector shows by itself. Most numbers of these
/// methods are the device's own; the options are named for what they are on the
/// simulated projector.
namespace Tool {

namespace {

namespace CheckPattern = JsonDevice::Vocabulary::CheckPattern;
namespace GridTestPattern = JsonDevice::Vocabulary::GridTestPattern;
namespace TestPattern = JsonDevice::Vocabulary::TestPattern;
namespace UploadTestPattern = JsonDevice::Vocabulary::UploadTestPattern;
namespace UserTestPattern = JsonDevice::Vocabulary::UserTestPattern;
using JsonDevice::Vocabulary::Operation;

const char* const deviceOwn = "; what the numbers mean is the device's";

Json::Value toJson(bool flag) {
    return Json::Value(flag);
}
Json::Value toJson(int number) {
    return Json::Value(number);
}
/// A pixel, or a width and a height.
Json::Value toJson(const Size& pixel) {
    Json::Value json(Json::objectValue);
    json["x"] = pixel.first;
    json["y"] = pixel.second;
    return json;
}
template <class Element>
Json::Value toJson(const std::vector<Element>& list) {
    Json::Value json(Json::arrayValue);
    for (const Element& element : list) {
        json.append(toJson(element));
    }
    return json;
}

/// Calls of methods, one after another, whose results do not matter.
class Steps {
public:
    template <class Result, class... Types, class... Arguments>
    Steps& add(const JsonDevice::Method<Result, Types...>& method, const Arguments&... arguments) {
        static_assert(sizeof...(Types) == sizeof...(Arguments));
        Json::Value params(Json::arrayValue);
        (params.append(toJson(arguments)), ...);
        steps.emplace_back(&operationOf(method), std::move(params));
        return *this;
    }

    void run(Session& session) const {
        for (const auto& [operation, params] : steps) {
            session.call(*operation, params);
        }
    }
    Task task() && {
        return [steps = std::make_shared<const Steps>(std::move(*this))](Session& session) {
            steps->run(session);
            return Answer();
        };
    }

private:
    std::vector<std::pair<const Operation*, Json::Value>> steps;
};

/// The device's answer, or nothing where it answers with an error.
std::optional<Json::Value> callIfThere(Session& session, const Operation& operation) {
    try {
        return session.call(operation, Json::Value(Json::arrayValue));
    } catch (const FailureException& e) {
        if (e.get().status != ExitStatus::deviceError) {
            throw;
        }
        return std::nullopt;
    }
}

int integer(const std::string& text, const std::string& what) {
    const auto number = readNumber<int>(text);
    if (!number) {
        refuseUsage(what + ": " + inQuotes(text) + " is not a whole number of 32 bits");
    }
    return *number;
}

/// Whole numbers with commas between them.
std::vector<int> integers(const std::string& text, const std::string& what) {
    std::vector<int> numbers;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        numbers.push_back(integer(text.substr(begin, end - begin), what));
        begin = end + 1;
    }
    return numbers;
}

template <std::size_t count>
std::array<int, count> integers(const std::string& text, const std::string& what, const char* form) {
    const std::vector<int> numbers = integers(text, what);
    if (numbers.size() != count) {
        refuseUsage(what + ": " + inQuotes(text) + " is not " + form);
    }
    std::array<int, count> exactly{};
    std::copy_n(numbers.begin(), count, exactly.begin());
    return exactly;
}

Size pixel(const std::string& text, const std::string& what) {
    const auto [x, y] = integers<2>(text, what, "X,Y");
    return {x, y};
}

/// "WxH".
Size extent(const std::string& text, const std::string& what) {
    const std::size_t x = text.find('x');
    const auto width = readNumber<int>(std::string_view(text).substr(0, x));
    const auto height = readNumber<int>(x == std::string::npos ? "" : std::string_view(text).substr(x + 1));
    if (!width || !height) {
        refuseUsage(what + ": " + inQuotes(text) + " is not a width and a height, such as 100x50");
    }
    return {*width, *height};
}

Size extentOption(const Given& given, const std::string& option, const Size& otherwise) {
    return given.has(option) ? extent(given.text(option), option) : otherwise;
}

/// What was typed, and the words of the files that are named by "@FILE" or "-".
std::vector<std::string> words(const Given& given, const std::string& parameter) {
    std::vector<std::string> all;
    for (const std::string& argument : given.all(parameter)) {
        if (argument != "-" && !argument.starts_with("@")) {
            all.push_back(argument);
            continue;
        }
        const std::string text =
            argument == "-" ? given.input().readStandardInput() : Input::readFile(argument.substr(1));
        constexpr std::string_view blanks = " \t\r\n";
        for (std::size_t begin = text.find_first_not_of(blanks); begin != std::string::npos;) {
            const std::size_t end = std::min(text.find_first_of(blanks, begin), text.size());
            all.push_back(text.substr(begin, end - begin));
            begin = text.find_first_not_of(blanks, end);
        }
    }
    if (all.empty()) {
        refuseUsage("there is no " + parameter);
    }
    return all;
}

/// The number of each is the sum of 1 for red, 2 for green and 4 for blue.
constexpr std::array colourNames = {"black", "red", "green", "yellow", "blue", "magenta", "cyan", "white"};

std::optional<int> namedColour(const std::string& text) {
    const auto found = std::ranges::find(colourNames, text);
    return found == colourNames.end() ? std::nullopt
                                      : std::optional(static_cast<int>(found - colourNames.begin()));
}

const char* const colourForms = "R,G,B, RRGGBB or a name such as red";

std::optional<int> hexadecimal(std::string_view text) {
    int number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    const bool whole = end.ec == std::errc() && end.ptr == text.data() + text.size() && number >= 0;
    return whole && !text.starts_with('-') ? std::optional(number) : std::nullopt;
}

/// Red, green and blue; in numbers of the device's own when they are typed as such.
std::array<int, 3> colour(const std::string& text, const std::string& what) {
    if (const auto named = namedColour(text)) {
        return {(*named & 1) != 0 ? 255 : 0, (*named & 2) != 0 ? 255 : 0, (*named & 4) != 0 ? 255 : 0};
    }
    if (text.find(',') != std::string::npos) {
        return integers<3>(text, what, colourForms);
    }
    const auto number = hexadecimal(text);
    if (text.size() != 6 || !number) {
        refuseUsage(what + ": " + inQuotes(text) + " is not " + colourForms);
    }
    return {*number >> 16, *number >> 8 & 255, *number & 255};
}

/// A colour in one number: 0xRRGGBB, or another that was typed behind "0x".
int colourNumber(const std::string& text, const std::string& what) {
    if (text.starts_with("0x")) {
        if (const auto number = hexadecimal(std::string_view(text).substr(2))) {
            return *number;
        }
        refuseUsage(what + ": " + inQuotes(text) + " is not a hexadecimal number");
    }
    const auto parts = colour(text, what);
    for (const int part : parts) {
        if (part < 0 || part > 255) {
            refuseUsage(what + ": " + inQuotes(text) +
                        " does not go into one number: a part is not 0 to 255");
        }
    }
    return parts[0] << 16 | parts[1] << 8 | parts[2];
}

std::array<int, 3> colourOption(const Given& given, const std::string& option) {
    return given.has(option) ? colour(given.text(option), option) : std::array{255, 255, 255};
}

int colourNumberOption(const Given& given, const std::string& option, int otherwise) {
    return given.has(option) ? colourNumber(given.text(option), option) : otherwise;
}

const Option colourOfDrawing{"--color", "COLOR",
                             "R,G,B, RRGGBB or a name (red, white, ...); white unless given"};
const Option userOption{"--user", "", "Through UserTestPatternInterface instead of TestPatternInterface"};
const Option holdOption{"--hold", "", "Only collect it; what is drawn next without this shows it"};

std::string example(const std::string& rest) {
    return "-d tcp://projector:5000 pattern " + rest;
}

/// Draws by the method of one of two interfaces, and flushes.
template <class Method, class UserMethod, class... Arguments>
void draw(Steps& steps, const Given& given, const Method& method, const UserMethod& userMethod,
          const Arguments&... arguments) {
    if (given.has("user")) {
        steps.add(userMethod, arguments...);
    } else {
        steps.add(method, arguments...);
    }
}

Task flushed(Steps steps, const Given& given) {
    if (!given.has("hold")) {
        if (given.has("user")) {
            steps.add(UserTestPattern::flushUserTestPattern, true);
        } else {
            steps.add(TestPattern::flushUserTestPattern);
        }
    }
    return std::move(steps).task();
}

/// The patterns and the slots that a device has.
struct Available {
    Json::Value patterns;
    Json::Value slots{Json::arrayValue};

    explicit Available(Session& session)
        : patterns(session.call(operationOf(TestPattern::getInternalTestPatternList),
                                Json::Value(Json::arrayValue))) {
        if (auto there = callIfThere(session, operationOf(UploadTestPattern::getAvailableUploadSlots))) {
            slots = *there;
        }
    }
};

Answer list(Session& session) {
    const Available available(session);
    const auto number = callIfThere(session, operationOf(TestPattern::getInternalTestPattern));
    const auto showing = callIfThere(session, operationOf(TestPattern::isInternalTestPatternShowing));
    Answer answer;
    answer.data = Json::Value(Json::objectValue);
    answer.data["pattern"] = number.value_or(Json::Value());
    answer.data["showing"] = showing.value_or(Json::Value());
    std::vector<std::vector<std::string>> rows;
    const auto add = [&](const char* key, const Json::Value& items) {
        Json::Value& described = answer.data[key] = Json::Value(Json::arrayValue);
        for (const Json::Value& item : items) {
            const bool active = number && item["first"].asInt64() == number->asInt64();
            rows.push_back(
                {active ? "*" : " ", item["first"].asString(), printableLine(item["second"].asString(), 60)});
            Json::Value one(Json::objectValue);
            one["number"] = item["first"];
            one["name"] = item["second"];
            described.append(std::move(one));
        }
    };
    add("patterns", available.patterns);
    add("slots", available.slots);
    answer.text = table(rows, {Align::left, Align::right, Align::left});
    return answer;
}

Command listPatternsCommand() {
    Command command{"list",
                    "List the built-in patterns and the slots for uploaded ones; * marks the chosen one",
                    example("list")};
    command.prepare = [](const Given&) -> Task { return list; };
    return command;
}

std::string lowerCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

Json::Value findPattern(Session& session, const std::string& typed) {
    const Available available(session);
    std::string names;
    for (const Json::Value& items : {available.patterns, available.slots}) {
        for (const Json::Value& item : items) {
            const std::string name = item["second"].asString();
            if (lowerCase(name) == lowerCase(typed)) {
                return item["first"];
            }
            names += (names.empty() ? "" : ", ") + printableLine(name, 40);
        }
    }
    throw FailureException({ExitStatus::usage, session.name() + ": there is no pattern " + inQuotes(typed) +
                                                   "; there are: " + names});
}

Command setPatternCommand() {
    Command command{"set",
                    "Show a built-in or uploaded pattern",
                    example("set 'Colour bars'"),
                    {{"PATTERN", "Its number, or its name in the list"}}};
    command.prepare = [](const Given& given) -> Task {
        const std::string& typed = given.text("PATTERN");
        const auto number = readNumber<unsigned int>(typed);
        return [typed, number](Session& session) {
            Json::Value params(Json::arrayValue);
            params.append(number ? Json::Value(*number) : findPattern(session, typed));
            session.call(operationOf(TestPattern::setInternalTestPattern), params);
            return Answer();
        };
    };
    return command;
}

/// The base64 text of the PNG file that is sent for a picture.
std::string pngText(const std::string& file, int bits) {
    const ImageFiles::Picture picture = readImage(file);
    const std::size_t bytes = bits == 16 ? 2 : 1;
    const float most = bits == 16 ? 65535.0F : 255.0F;
    std::vector<unsigned char> samples;
    samples.reserve(picture.values.size() * bytes);
    for (const float value : picture.values) {
        // A NaN is black.
        const float within = value > 0 ? std::min(value, 1.0F) : 0.0F;
        const auto sample = static_cast<unsigned int>(within * most + 0.5F);
        if (bits == 16) {
            samples.push_back(static_cast<unsigned char>(sample >> 8));
        }
        samples.push_back(static_cast<unsigned char>(sample));
    }
    const std::uint32_t format = (picture.channels == 3 ? 1U : 3U) | (bits == 16 ? 16U : 0U);
    try {
        return encodeBase64(JsonDevice::makePng({format, static_cast<std::uint32_t>(picture.width),
                                                 static_cast<std::uint32_t>(picture.height), samples.data()},
                                                ""));
    } catch (const DeviceException& e) {
        refuseUsage(printableLine(file) + ": " + printableLine(toUtf8(e.getMessage())));
    }
}

Command uploadCommand() {
    Command command{"upload",
                    "Keep a picture in a slot of the projector",
                    example("upload logo.png 100 --show"),
                    {{"PICTURE", "A PNG, PGM or PFM file; it is sent as PNG, without alpha", Hint::file},
                     {"SLOT", "The number of the slot"}},
                    {{"--show", "", "Show it, too"},
                     {"--bits", "N", "Bits of each sample that is sent, 8 (unless given) or 16"}}};
    command.prepare = [](const Given& given) -> Task {
        const int slot = integer(given.text("SLOT"), "SLOT");
        const int bits = given.number("bits", 8, 16, 8);
        if (bits != 8 && bits != 16) {
            refuseUsage("bits: a sample has 8 or 16 bits");
        }
        if (given.has("show") && slot < 0) {
            refuseUsage("SLOT: a pattern that can be shown has no negative number");
        }
        Json::Value upload(Json::arrayValue);
        upload.append(pngText(given.text("PICTURE"), bits));
        upload.append(slot);
        Json::Value show;
        if (given.has("show")) {
            show.append(slot);
        }
        return [upload = std::make_shared<const Json::Value>(std::move(upload)), show](Session& session) {
            const Operation& operation = operationOf(UploadTestPattern::uploadPngTestPatternImage);
            const Json::Value result = session.call(operation, *upload);
            if (!show.isNull()) {
                session.call(operationOf(TestPattern::setInternalTestPattern), show);
            }
            return Answer{formatResult(operation.result, result), result};
        };
    };
    return command;
}

Command pointsCommand() {
    Command command{
        "points",
        "Show points",
        example("points 100,100 960,600 --color green"),
        {{"POINT", "X,Y; @FILE or - for a file of them", Hint::file, Parameter::Count::any}},
        {{"--color", "COLOR", "A name (red, white, ...), or a sum of 1 (red), 2 (green) and 4 (blue)"},
         {"--add", "", "Keep the points that are there"}}};
    command.prepare = [](const Given& given) {
        std::vector<Size> points;
        for (const std::string& word : words(given, "POINT")) {
            points.push_back(pixel(word, "POINT"));
        }
        Steps steps;
        if (given.has("color")) {
            const auto named = namedColour(given.text("color"));
            steps.add(TestPattern::setPointTestPatternColor, named ? *named : given.number("color", 0, 7, 7));
        }
        if (given.has("add")) {
            steps.add(TestPattern::addPointTestPattern, points);
        } else {
            steps.add(TestPattern::setPointTestPattern, points);
        }
        return std::move(steps.add(TestPattern::enablePointTestPattern, true)).task();
    };
    return command;
}

Command linesCommand() {
    Command command{
        "lines",
        std::string("Draw lines") + deviceOwn,
        example("lines 0,0,1919,1199 0,1199,1919,0 --color red"),
        {{"LINE", "X1,Y1,X2,Y2; @FILE or - for a file of them", Hint::file, Parameter::Count::any}},
        {colourOfDrawing, userOption, holdOption}};
    command.prepare = [](const Given& given) {
        const auto [red, green, blue] = colourOption(given, "color");
        Steps steps;
        for (const std::string& word : words(given, "LINE")) {
            const auto [x1, y1, x2, y2] = integers<4>(word, "LINE", "X1,Y1,X2,Y2");
            draw(steps, given, TestPattern::drawLines, UserTestPattern::drawLines, x1, y1, x2, y2, red, green,
                 blue);
        }
        return flushed(std::move(steps), given);
    };
    return command;
}

Command boxesCommand() {
    Command command{"boxes",
                    std::string("Draw filled boxes of one size") + deviceOwn,
                    example("boxes 200x100 100,100 400,100 --color ff8000"),
                    {{"SIZE", "WxH of each"},
                     {"CORNER", "X,Y of the top left corner; @FILE or - for a file of them", Hint::file,
                      Parameter::Count::any}},
                    {colourOfDrawing, userOption, holdOption}};
    command.prepare = [](const Given& given) {
        std::vector<Size> corners;
        for (const std::string& word : words(given, "CORNER")) {
            corners.push_back(pixel(word, "CORNER"));
        }
        const auto [width, height] = extent(given.text("SIZE"), "SIZE");
        const auto [red, green, blue] = colourOption(given, "color");
        Steps steps;
        draw(steps, given, TestPattern::drawBoxes, UserTestPattern::drawBoxes, corners, width, height, red,
             green, blue);
        return flushed(std::move(steps), given);
    };
    return command;
}

/// The regular grid that is drawn like lines and boxes.
Task drawGrid(const Given& given) {
    for (const char* const other : {"horizontal", "vertical", "background", "range", "mode"}) {
        if (given.has(other)) {
            refuseUsage(std::string("--") + other + " does not go with DISTANCE");
        }
    }
    const Size distance = extent(given.text("DISTANCE"), "DISTANCE");
    const auto [red, green, blue] = colourOption(given, "color");
    Steps steps;
    draw(steps, given, TestPattern::showUserTestPatternGrid, UserTestPattern::showUserTestPatternGrid,
         distance.first, distance.second, red, green, blue);
    return flushed(std::move(steps), given);
}

/// Of the grid test pattern: lines at given places.
Task setGrid(const Given& given) {
    constexpr std::array modes = {"off", "lines", "crossings"};
    for (const char* const other : {"user", "hold"}) {
        if (given.has(other)) {
            refuseUsage(std::string("--") + other + " goes with DISTANCE");
        }
    }
    Steps steps;
    bool anything = false;
    // What the first number of setLines says is the device's; so the simulated projector takes it.
    int direction = 0;
    for (const char* const option : {"horizontal", "vertical"}) {
        if (given.has(option)) {
            steps.add(GridTestPattern::setLines, direction, integers(given.text(option), option));
            anything = true;
        }
        ++direction;
    }
    const bool lines = anything;
    if (given.has("color")) {
        const auto [red, green, blue] = colour(given.text("color"), "color");
        steps.add(GridTestPattern::setLineColor, red, green, blue);
        anything = true;
    }
    if (given.has("background")) {
        const auto [red, green, blue] = colour(given.text("background"), "background");
        steps.add(GridTestPattern::setBackgroundColor, red, green, blue);
        anything = true;
    }
    if (given.has("range")) {
        const auto [left, top, right, bottom] =
            integers<4>(given.text("range"), "range", "LEFT,TOP,RIGHT,BOTTOM");
        steps.add(GridTestPattern::setRange, left, top, right, bottom);
        anything = true;
    }
    if (given.has("mode")) {
        const auto named = std::ranges::find(modes, given.text("mode"));
        steps.add(GridTestPattern::setMode,
                  named != modes.end() ? static_cast<int>(named - modes.begin())
                                       : integer(given.text("mode"), "mode (off, lines, crossings)"));
    } else if (lines) {
        steps.add(GridTestPattern::setMode, 1);
    } else if (!anything) {
        refuseUsage("give a DISTANCE, or what the grid is to be");
    }
    return std::move(steps.add(GridTestPattern::flushCommandQueue)).task();
}

Command gridCommand() {
    Command command{
        "grid",
        "Draw a regular grid, or show one of lines at given places",
        example("grid --vertical 480,960,1440 --horizontal 300,600,900 --color cyan"),
        {{"DISTANCE",
          "WxH: draws a regular grid with such distances, as lines and boxes are drawn; what the "
          "numbers mean is the device's",
          Hint::none, Parameter::Count::optional}},
        {{"--horizontal", "Y,Y,...", "Where horizontal lines are"},
         {"--vertical", "X,X,...", "Where vertical lines are"},
         {"--color", "COLOR", "Of the lines: R,G,B, RRGGBB or a name"},
         {"--background", "COLOR", "What is behind the lines"},
         {"--range", "L,T,R,B", "The edges of the part with the grid; what the numbers mean is the device's"},
         {"--mode", "MODE",
          "off, lines, crossings or another number of the device's; lines where lines are given"},
         userOption,
         holdOption}};
    command.prepare = [](const Given& given) {
        return given.has("DISTANCE") ? drawGrid(given) : setGrid(given);
    };
    return command;
}

Command checkPatternCommand() {
    Command command{"check",
                    "Show checks for a camera that calibrates the picture",
                    example("check 64x64 --shift 32,0"),
                    {{"SIZE", "WxH of a check"}},
                    {{"--shift", "X,Y", "How far they are moved; 0,0 unless given"},
                     {"--no-sync", "", "Do not wait until it is there"},
                     {"--subliminal", "", "So that only a camera sees them"},
                     {"--sine", "", "Waves instead of checks"}}};
    command.prepare = [](const Given& given) {
        const Size check = extent(given.text("SIZE"), "SIZE");
        const Size shift = given.has("shift") ? pixel(given.text("shift"), "shift") : Size(0, 0);
        Steps steps;
        steps.add(CheckPattern::displayCheckPattern, check.first, check.second, shift.first, shift.second,
                  !given.has("no-sync"), given.has("subliminal"), given.has("sine"));
        return std::move(steps).task();
    };
    return command;
}

struct TypedBlock {
    Size first;
    Size second;
    int colour;
};

/// "X1,Y1,X2,Y2" or "X1,Y1,X2,Y2=COLOR".
TypedBlock block(const std::string& word, int otherwise) {
    const std::size_t sign = word.find('=');
    const auto [x1, y1, x2, y2] = integers<4>(word.substr(0, sign), "BLOCK", "X1,Y1,X2,Y2");
    return {{x1, y1},
            {x2, y2},
            sign == std::string::npos ? otherwise : colourNumber(word.substr(sign + 1), "BLOCK")};
}

/// Refuses options that are there but belong to the other kind of blocks.
void refuseOptions(const Given& given, std::initializer_list<const char*> options, const char* why) {
    for (const char* const option : options) {
        if (given.has(option)) {
            refuseUsage(std::string("--") + option + why);
        }
    }
}

template <class Interface>
Task setBlocks(const Given& given) {
    using Methods = JsonDevice::Vocabulary::BlockPattern<Interface>;
    const bool binary = given.has("binary");
    const int colourOfAll = colourNumberOption(given, "color", 0xFFFFFF);
    Steps steps;
    if (binary) {
        if (given.has("BLOCK")) {
            refuseUsage("--binary lays out its blocks itself; give no BLOCK");
        }
        refuseOptions(given, {"add", "index", "range"}, " does not go with --binary");
        const Size count = extent(given.text("binary"), "binary");
        const Size each = extentOption(given, "size", {100, 100});
        steps.add(Methods::setBinaryBlocksPerLine, count.first)
            .add(Methods::setBinaryNumBlockLines, count.second)
            .add(Methods::setBinaryBlockSize, each)
            .add(Methods::setBinaryBlockSpacing, extentOption(given, "spacing", each))
            .add(Methods::setBinaryStartPosition,
                 given.has("start") ? pixel(given.text("start"), "start") : Size(0, 0))
            .add(Methods::setBinaryStartBlockCount,
                 given.has("first") ? integer(given.text("first"), "first") : 0)
            .add(Methods::setBinaryBlockExponent, given.has("bit") ? integer(given.text("bit"), "bit") : 0,
                 given.has("inverted") ? 1 : 0)
            .add(Methods::setBinaryBlockColor, colourOfAll);
    } else {
        refuseOptions(given, {"size", "spacing", "start", "first", "bit", "inverted"}, " goes with --binary");
        std::vector<Size> first;
        std::vector<Size> second;
        std::vector<int> colours;
        for (const std::string& word : words(given, "BLOCK")) {
            const TypedBlock one = block(word, colourOfAll);
            first.push_back(one.first);
            second.push_back(one.second);
            colours.push_back(one.colour);
        }
        if (!given.has("add")) {
            steps.add(Methods::clearArbitraryBlocks);
        }
        const int index = given.has("index") ? integer(given.text("index"), "index") : 0;
        const auto more = static_cast<long long>(colours.size()) - 1;
        if (index > std::numeric_limits<int>::max() - more) {
            refuseUsage("index: " + std::to_string(index) + " leaves no room for the blocks");
        }
        const int last = index + static_cast<int>(more);
        steps.add(Methods::setArbitraryBlocks2, index, first, second, colours);
        if (given.has("range")) {
            const auto [from, to] = integers<2>(given.text("range"), "range", "FIRST,LAST");
            steps.add(Methods::setArbitraryBlockRange, from, to);
        } else if (!given.has("add")) {
            // Whatever was shown before, these are now.
            steps.add(Methods::setArbitraryBlockRange, index, last);
        }
    }
    if (given.has("gap")) {
        steps.add(Methods::setGapColor, colourNumber(given.text("gap"), "gap"));
    }
    if (given.has("display")) {
        steps.add(Methods::setDisplayMode, integer(given.text("display"), "display"));
    }
    const int mode = given.has("mode") ? integer(given.text("mode"), "mode") : binary ? 2 : 1;
    steps.add(Methods::setPatternMode, mode).add(Methods::flushCommandQueue);
    return std::move(steps).task();
}

Command blocksCommand() {
    Command command{
        "blocks",
        std::string("Show blocks, at given places or binary-coded") + deviceOwn,
        example("blocks 0,0,959,599=red 960,600,1919,1199=00ff80"),
        {{"BLOCK",
          "X1,Y1,X2,Y2, two opposite corners, and behind a = its color; @FILE or - for a file of them",
          Hint::file, Parameter::Count::any}},
        {{"--color", "COLOR",
          "Of blocks without one: R,G,B, #rrggbb, a name, or 0x and a number; white unless given"},
         {"--gap", "COLOR", "Between the blocks"},
         {"--display", "N", "How they are shown; simulated: 0 with the gap color, 1 with what is behind"},
         {"--mode", "N", "The kind of pattern; 1 unless given, 2 with --binary"},
         {"--projector", "", "On the projector's own pixels, instead of before the picture is warped"},
         {"--add", "", "Keep the blocks that are there"},
         {"--index", "N", "The index of the first one; 0 unless given"},
         {"--range", "FIRST,LAST", "Which are shown, by their index; these unless given"},
         {"--binary", "CxR", "Binary-coded blocks, so many in a line, and so many lines"},
         {"--size", "WxH", "Of a binary-coded block; 100x100 unless given"},
         {"--spacing", "WxH", "From one to the next; their size unless given"},
         {"--start", "X,Y", "Where the first one is; 0,0 unless given"},
         {"--first", "N", "The number of the first one; 0 unless given"},
         {"--bit", "N", "The bit of its number that lights a block; 0 unless given"},
         {"--inverted", "", "Light those without the bit"}}};
    command.prepare = [](const Given& given) {
        return given.has("projector") ? setBlocks<ProjectorBlockPatternInterface>(given)
                                      : setBlocks<PreWarpBlockPatternInterface>(given);
    };
    return command;
}

template <class Interface>
Steps clearBlocks() {
    using Methods = JsonDevice::Vocabulary::BlockPattern<Interface>;
    Steps steps;
    steps.add(Methods::setPatternMode, 0).add(Methods::clearArbitraryBlocks).add(Methods::flushCommandQueue);
    return steps;
}

/// What can be cleared, and for each the interfaces that may have it.
const std::vector<std::pair<std::string, std::vector<Steps>>>& clearings() {
    static const auto all = [] {
        const auto steps = [](auto&& add) {
            Steps made;
            add(made);
            return made;
        };
        std::vector<std::pair<std::string, std::vector<Steps>>> made;
        made.push_back({"pattern", {steps([](Steps& s) { s.add(TestPattern::setInternalTestPattern, 0); })}});
        made.push_back(
            {"points", {steps([](Steps& s) {
                 s.add(TestPattern::clearPointTestPattern).add(TestPattern::enablePointTestPattern, false);
             })}});
        made.push_back({"drawing",
                        {steps([](Steps& s) { s.add(TestPattern::clearUserTestPattern); }),
                         steps([](Steps& s) { s.add(UserTestPattern::clearUserTestPattern, true); })}});
        made.push_back({"grid", {steps([](Steps& s) {
                            s.add(GridTestPattern::setMode, 0).add(GridTestPattern::flushCommandQueue);
                        })}});
        made.push_back({"check", {steps([](Steps& s) { s.add(CheckPattern::clearCheckPattern, true); })}});
        made.push_back(
            {"blocks",
             {clearBlocks<PreWarpBlockPatternInterface>(), clearBlocks<ProjectorBlockPatternInterface>()}});
        return made;
    }();
    return all;
}

/// Runs all; a device need not have everything, but something of it.
void runWhatIsThere(Session& session, const std::vector<const Steps*>& choices) {
    std::optional<Failure> failure;
    bool any = false;
    for (const Steps* const steps : choices) {
        try {
            steps->run(session);
            any = true;
        } catch (const FailureException& e) {
            if (e.get().status != ExitStatus::deviceError) {
                throw;
            }
            failure = failure ? failure : e.get();
        }
    }
    if (!any && failure) {
        throw FailureException(*failure);
    }
}

Command clearCommand() {
    Command command{
        "clear",
        "End patterns and forget what was drawn: all, or only some",
        example("clear points drawing"),
        {{"WHAT", "pattern, points, drawing, grid, check or blocks", Hint::none, Parameter::Count::any}}};
    command.prepare = [](const Given& given) -> Task {
        // Each group on its own must have something that can be cleared.
        std::vector<std::vector<const Steps*>> groups;
        const auto pointers = [](const std::vector<Steps>& choices, std::vector<const Steps*>& to) {
            for (const Steps& steps : choices) {
                to.push_back(&steps);
            }
        };
        for (const std::string& what : given.all("WHAT")) {
            const auto found =
                std::ranges::find(clearings(), what, [](const auto& each) { return each.first; });
            if (found == clearings().end()) {
                refuseUsage(inQuotes(what) + " is none of pattern, points, drawing, grid, check, blocks");
            }
            pointers(found->second, groups.emplace_back());
        }
        if (groups.empty()) {
            groups.emplace_back();
            for (const auto& [name, choices] : clearings()) {
                pointers(choices, groups.back());
            }
        }
        return [groups](Session& session) {
            for (const auto& group : groups) {
                runWhatIsThere(session, group);
            }
            return Answer();
        };
    };
    return command;
}

}  // namespace

Command patternCommand() {
    Command command{"pattern", "Show, upload and draw test patterns", example("set 'Colour bars'")};
    command.commands = {listPatternsCommand(),
                        setPatternCommand(),
                        uploadCommand(),
                        callingCommand("remove", operationOf(UploadTestPattern::removeUploadedTestPattern),
                                       "Remove the picture of a slot", example("remove 100"),
                                       {{"SLOT", "The number of the slot"}}),
                        pointsCommand(),
                        linesCommand(),
                        boxesCommand(),
                        gridCommand(),
                        checkPatternCommand(),
                        blocksCommand(),
                        clearCommand()};
    return command;
}

}  // namespace Tool
