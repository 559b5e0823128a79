#include "Simulator/TestPatternModel.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "Common/Base64.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/Vocabulary/TestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/UploadTestPattern.h"
#include "DeviceManager/JsonDevice/Vocabulary/UserTestPattern.h"
#include "ImageFiles/ImageFile.h"
#include "Simulator/PatternLimits.h"

namespace JsonDevice::Simulation {

namespace Methods = Vocabulary::TestPattern;
namespace UserMethods = Vocabulary::UserTestPattern;
namespace UploadMethods = Vocabulary::UploadTestPattern;

namespace {

constexpr std::array<const wchar_t*, builtInPatterns> names{
    L"Off",       L"White",      L"Black",        L"Red",  L"Green",     L"Blue", L"Colour bars",
    L"Grey ramp", L"Grey steps", L"Checkerboard", L"Grid", L"Alignment", L"Focus"};

/// The slots are patterns with these numbers.
constexpr int firstSlot = 100;
constexpr int lastSlot = 115;
/// More than four times a 4K picture.
constexpr std::size_t mostUploadedPixels = std::size_t{1} << 25;

constexpr std::size_t mostPoints = 65536;
constexpr std::size_t mostBoxes = 1024;
constexpr std::size_t mostLines = 4096;
constexpr std::size_t mostGrids = 16;

void checkRoom(const char* what, std::size_t there, std::size_t more, std::size_t most) {
    if (more > most - there) {
        throw RequestError(ErrorCode::outOfRange,
                           "At most " + std::to_string(most) + " " + what + " can be kept");
    }
}

bool isSlot(int number) {
    return number >= firstSlot && number <= lastSlot;
}

Bitmap decode(const std::string& base64) {
    const std::vector<unsigned char> file = decodeBase64(base64);
    ImageFiles::Picture picture;
    try {
        picture = ImageFiles::parsePicture({reinterpret_cast<const char*>(file.data()), file.size()},
                                           "the uploaded picture", mostUploadedPixels);
    } catch (const ImageFiles::ImageFileError& e) {
        throw RequestError(ErrorCode::deviceError, e.what());
    }
    Bitmap bitmap(picture.width, picture.height);
    for (std::size_t i = 0; i < bitmap.values.size(); ++i) {
        const float value = picture.values[picture.channels == 3 ? i : i / 3];
        bitmap.values[i] = static_cast<unsigned char>(std::clamp(value, 0.0F, 1.0F) * 255 + 0.5F);
    }
    return bitmap;
}

}  // namespace

TestPatternModel::TestPatternModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable),
      pattern(
          codes,
          {.code = "testPattern", .summary = "The built-in or uploaded pattern that is shown; 0 for none."},
          0, [this](int number) { checkPattern(number); }),
      pointColour(codes,
                  {.code = "pointColour",
                   .summary = "The colour of the points, a sum of 1 (red), 2 (green) and 4 (blue).",
                   .range = Range{0, 7}},
                  7),
      pointsEnabled(codes, {.code = "pointsEnabled", .summary = "Whether the points are shown."}, false) {
    serveSet(Methods::setInternalTestPattern, pattern);
    serveGet(Methods::getInternalTestPattern, pattern);
    requests.bind(Methods::getInternalTestPatternList, [] {
        Items list;
        for (std::size_t i = 0; i < names.size(); ++i) {
            list.emplace_back(static_cast<int>(i), names[i]);
        }
        return list;
    });
    requests.bind(Methods::isInternalTestPatternShowing, [this] { return pattern.get() != 0; });

    requests.bind(Methods::clearPointTestPattern, [this] { points.clear(); });
    serveSet(Methods::setPointTestPatternColor, pointColour);
    serveSet(Methods::enablePointTestPattern, pointsEnabled);
    requests.bind(Methods::addPointTestPattern,
                  [this](const std::vector<Point2I>& more) { addPoints(more); });
    requests.bind(Methods::setPointTestPattern, [this](const std::vector<Point2I>& all) {
        checkRoom("points", 0, all.size(), mostPoints);
        points = all;
    });

    requests.bind(Methods::flushUserTestPattern, [this] { flush(true); });
    requests.bind(Methods::clearUserTestPattern, [this] { clear(true); });
    requests.bind(UserMethods::flushUserTestPattern, [this](bool visible) { flush(visible); });
    requests.bind(UserMethods::clearUserTestPattern, [this](bool everything) { clear(everything); });
    requests.bind(UserMethods::isUserTestPatternDisplayed,
                  [this] { return drawingShown && !flushed.empty(); });
    requests.bind(UserMethods::getBoxLimit, [] { return static_cast<unsigned int>(mostBoxes); });
    const auto serveDrawing = [this](const auto& grid, const auto& boxes, const auto& lines) {
        requests.bind(grid, [this](int spacingX, int spacingY, int red, int green, int blue) {
            drawGrid(spacingX, spacingY, red, green, blue);
        });
        requests.bind(boxes,
                      [this](const std::vector<Point2I>& corners, int width, int height, int red, int green,
                             int blue) { drawBoxes(corners, width, height, red, green, blue); });
        requests.bind(lines, [this](int x0, int y0, int x1, int y1, int red, int green, int blue) {
            drawLine(x0, y0, x1, y1, red, green, blue);
        });
    };
    serveDrawing(Methods::showUserTestPatternGrid, Methods::drawBoxes, Methods::drawLines);
    serveDrawing(UserMethods::showUserTestPatternGrid, UserMethods::drawBoxes, UserMethods::drawLines);

    requests.bind(UploadMethods::uploadPngTestPatternImage,
                  [this](const std::string& base64, int slot) { return upload(base64, slot); });
    requests.bind(UploadMethods::getAvailableUploadSlots, [this] { return slots(); });
    requests.bind(UploadMethods::removeUploadedTestPattern, [this](int slot) {
        checkLimits("slot", slot, firstSlot, lastSlot);
        if (uploads.erase(slot) == 0) {
            throw RequestError(ErrorCode::notFound, "There is no picture in slot " + std::to_string(slot));
        }
        if (pattern.get() == slot) {
            pattern.set(0);
        }
    });
}

void TestPatternModel::checkPattern(int number) const {
    if (isSlot(number)) {
        if (!uploads.contains(number)) {
            throw RequestError(ErrorCode::notFound, "There is no picture in slot " + std::to_string(number));
        }
    } else if (number < 0 || number >= builtInPatterns) {
        throw RequestError(ErrorCode::notFound, "There is no pattern " + std::to_string(number));
    }
}

int TestPatternModel::upload(const std::string& base64, int slot) {
    checkLimits("slot", slot, firstSlot, lastSlot);
    uploads[slot] = std::make_shared<const Bitmap>(decode(base64));
    return 0;
}

TestPatternModel::Items TestPatternModel::slots() const {
    Items list;
    for (int slot = firstSlot; slot <= lastSlot; ++slot) {
        std::wstring description = L"Slot " + std::to_wstring(slot - firstSlot + 1);
        const auto found = uploads.find(slot);
        if (found == uploads.end()) {
            description += L" (empty)";
        } else {
            description += L" (" + std::to_wstring(found->second->width) + L" x " +
                           std::to_wstring(found->second->height) + L")";
        }
        list.emplace_back(slot, std::move(description));
    }
    return list;
}

void TestPatternModel::addPoints(const std::vector<Point2I>& more) {
    checkRoom("points", points.size(), more.size(), mostPoints);
    points.insert(points.end(), more.begin(), more.end());
}

void TestPatternModel::drawGrid(int spacingX, int spacingY, int red, int green, int blue) {
    checkLimits("spacing", spacingX, 2, 65536);
    checkLimits("spacing", spacingY, 2, 65536);
    checkRoom("grids", collected.grids.size(), 1, mostGrids);
    collected.grids.push_back({spacingX, spacingY, colourOf(red, green, blue)});
}

void TestPatternModel::drawBoxes(const std::vector<Point2I>& corners, int width, int height, int red,
                                 int green, int blue) {
    checkLimits("width", width, 1, 65536);
    checkLimits("height", height, 1, 65536);
    const Rgb colour = colourOf(red, green, blue);
    checkRoom("boxes", collected.boxes.size(), corners.size(), mostBoxes);
    for (const Point2I& corner : corners) {
        collected.boxes.push_back({corner, width, height, colour});
    }
}

void TestPatternModel::drawLine(int x0, int y0, int x1, int y1, int red, int green, int blue) {
    const Rgb colour = colourOf(red, green, blue);
    checkRoom("lines", collected.lines.size(), 1, mostLines);
    collected.lines.push_back({{x0, y0}, {x1, y1}, colour});
}

void TestPatternModel::flush(bool visible) {
    flushed = collected;
    drawingShown = visible;
}

void TestPatternModel::clear(bool everything) {
    if (everything) {
        collected = {};
        flushed = {};
        drawingShown = false;
    } else {
        collected = flushed;
    }
}

void TestPatternModel::restoreDefaults() {
    uploads.clear();
    points.clear();
    clear(true);
}

void TestPatternModel::show(Scene& scene) const {
    if (isSlot(pattern.get())) {
        scene.uploaded = uploads.at(pattern.get());
    } else {
        scene.builtIn = static_cast<BuiltInPattern>(pattern.get());
    }
    if (drawingShown) {
        scene.drawing = flushed;
    }
    scene.pointsShown = pointsEnabled.get();
    const auto level = [this](int bit) {
        return static_cast<unsigned char>((pointColour.get() & bit) != 0 ? 255 : 0);
    };
    scene.pointColour = {level(1), level(2), level(4)};
    scene.points = points;
}

void TestPatternModel::describe(Json::Value& state) const {
    Json::Value& test = state["TestPatternInterface"];
    const auto index = static_cast<std::size_t>(pattern.get());
    test["patternName"] = isSlot(pattern.get())
                              ? "Upload slot " + std::to_string(pattern.get() - firstSlot + 1)
                              : toUtf8(names[index]);
    test["points"] = static_cast<Json::UInt64>(points.size());
    Json::Value& user = state["UserTestPatternInterface"];
    user["displayed"] = drawingShown && !flushed.empty();
    const auto count = [](const Drawing& drawing) {
        return static_cast<Json::UInt64>(drawing.grids.size() + drawing.boxes.size() + drawing.lines.size());
    };
    user["shown"] = count(flushed);
    user["collected"] = count(collected);
    Json::Value& uploaded = state["UploadTestPatternInterface"]["pictures"];
    uploaded = Json::Value(Json::objectValue);
    for (const auto& [slot, bitmap] : uploads) {
        uploaded[std::to_string(slot)] =
            std::to_string(bitmap->width) + " x " + std::to_string(bitmap->height);
    }
}

}  // namespace JsonDevice::Simulation
