#include "Simulator/ColorModel.h"

#include <cmath>
#include <cstdlib>
#include <optional>
#include <utility>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/Vocabulary/Color.h"

namespace JsonDevice::Simulation {

namespace Methods = Vocabulary::Color;

namespace {

constexpr int shareUnit = 1000;
constexpr int targetUnit = 10000;
constexpr unsigned int defaultTemperature = 6500;
constexpr std::size_t mostGamuts = 64;
const std::wstring nativeName = L"Native";

/// The white of a black body; the cubic approximation by Kim, Moon, Lee and
/// others of 2002, good from 1667 K to 25000 K.
Chromaticity whiteOf(double kelvin) {
    const double t = 1000 / kelvin;
    const double x = kelvin <= 4000 ? ((-0.2661239 * t - 0.2343589) * t + 0.8776956) * t + 0.179910
                                    : ((-3.0258469 * t + 2.1070379) * t + 0.2226347) * t + 0.240390;
    const double y = kelvin <= 2222   ? ((-1.1063814 * x - 1.34811020) * x + 2.18555832) * x - 0.20219683
                     : kelvin <= 4000 ? ((-0.9549476 * x - 1.37418593) * x + 2.09137015) * x - 0.16748867
                                      : ((3.0817580 * x - 5.87338670) * x + 3.75112997) * x - 0.37001483;
    return {x, y, 1 - x - y};
}

Chromaticity chromaticity(double x, double y) {
    return {x, y, 1 - x - y};
}

const Gamut defaultGamut{chromaticity(0.64, 0.33), chromaticity(0.30, 0.60), chromaticity(0.15, 0.06),
                         whiteOf(defaultTemperature)};

int toTarget(double coordinate) {
    return static_cast<int>(std::lround(coordinate * targetUnit));
}

std::vector<int> toTargets(const Gamut& gamut) {
    std::vector<int> values;
    for (const Chromaticity& point : {gamut.red, gamut.green, gamut.blue, gamut.white}) {
        values.push_back(toTarget(point.x));
        values.push_back(toTarget(point.y));
    }
    return values;
}

void checkGamut(const Gamut& gamut) {
    for (const Chromaticity& point : {gamut.red, gamut.green, gamut.blue, gamut.white}) {
        for (const double coordinate : {point.x, point.y, point.z}) {
            // Written so that a NaN is refused.
            if (!(coordinate >= 0 && coordinate <= 1)) {
                throw RequestError(ErrorCode::outOfRange, "A coordinate of a gamut is not within 0 to 1");
            }
        }
    }
}

/// Least and greatest hue, saturation and gain, for each of red, green and blue.
constexpr std::array<std::pair<int, int>, 9> saturationRanges{
    {{-60, 60}, {0, 100}, {0, 100}, {-60, 60}, {0, 100}, {0, 100}, {-60, 60}, {0, 100}, {0, 100}}};

void checkSaturation(const std::vector<int>& values) {
    if (values.size() != saturationRanges.size()) {
        throw RequestError(ErrorCode::invalidParams, "Invalid params: expected 9 saturation values, got " +
                                                         std::to_string(values.size()));
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto& [least, most] = saturationRanges[i];
        if (values[i] < least || values[i] > most) {
            throw RequestError(ErrorCode::outOfRange, "Saturation value " + std::to_string(i + 1) + ": " +
                                                          std::to_string(values[i]) + " is not within " +
                                                          std::to_string(least) + " to " +
                                                          std::to_string(most));
        }
    }
}

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;

double determinant(const Matrix& m) {
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

/// The solution of m * s = v by Cramer's rule; nothing for a matrix that has none.
std::optional<Vector> solve(const Matrix& m, const Vector& v) {
    const double all = determinant(m);
    if (std::abs(all) < 1e-9) {
        return std::nullopt;
    }
    Vector solution{};
    for (std::size_t column = 0; column < 3; ++column) {
        Matrix replaced = m;
        for (std::size_t row = 0; row < 3; ++row) {
            replaced[row][column] = v[row];
        }
        solution[column] = determinant(replaced) / all;
    }
    return solution;
}

/// Primaries as columns of tristimulus values, of such luminances that together
/// they are white; nothing where no luminances do that.
std::optional<Matrix> tristimulus(const Gamut& gamut) {
    if (gamut.white.y <= 0) {
        return std::nullopt;
    }
    const Chromaticity points[] = {gamut.red, gamut.green, gamut.blue};
    Matrix m{};
    for (std::size_t column = 0; column < 3; ++column) {
        const Chromaticity& point = points[column];
        m[0][column] = point.x;
        m[1][column] = point.y;
        m[2][column] = 1 - point.x - point.y;
    }
    const double luminance = gamut.white.y;
    const auto scale = solve(m, {gamut.white.x / luminance, 1, (1 - gamut.white.x - luminance) / luminance});
    if (!scale) {
        return std::nullopt;
    }
    for (Vector& row : m) {
        for (std::size_t column = 0; column < 3; ++column) {
            row[column] *= (*scale)[column];
        }
    }
    return m;
}

/// The methods of one share of the matrix and one chromaticity target.
struct ShareMethods {
    const char* code;
    const char* summary;
    const Method<Wire::Int>& get;
    const Method<Wire::Int>& least;
    const Method<Wire::Int>& most;
    const Method<Wire::Void, Wire::Int>& set;
};
#define SHARE(Share, Output, code, summary)                                                   \
    {                                                                                         \
        code, summary, Methods::get##Share##Of##Output, Methods::get##Share##Of##Output##Min, \
            Methods::get##Share##Of##Output##Max, Methods::set##Share##Of##Output             \
    }
const ShareMethods shareMethods[] = {
    SHARE(Red, Red, "redOfRed", "The share of red in the output colour red."),
    SHARE(Green, Red, "greenOfRed", "The share of green in the output colour red."),
    SHARE(Blue, Red, "blueOfRed", "The share of blue in the output colour red."),
    SHARE(Red, Green, "redOfGreen", "The share of red in the output colour green."),
    SHARE(Green, Green, "greenOfGreen", "The share of green in the output colour green."),
    SHARE(Blue, Green, "blueOfGreen", "The share of blue in the output colour green."),
    SHARE(Red, Blue, "redOfBlue", "The share of red in the output colour blue."),
    SHARE(Green, Blue, "greenOfBlue", "The share of green in the output colour blue."),
    SHARE(Blue, Blue, "blueOfBlue", "The share of blue in the output colour blue."),
};
#undef SHARE

struct TargetMethods {
    const char* code;
    const char* summary;
    const Method<Wire::UInt>& get;
    const Method<Wire::Void, Wire::Int>& set;
};
const TargetMethods targetMethods[] = {
    {"redX", "The chromaticity target x of red.", Methods::getRedX, Methods::setRedX},
    {"redY", "The chromaticity target y of red.", Methods::getRedY, Methods::setRedY},
    {"greenX", "The chromaticity target x of green.", Methods::getGreenX, Methods::setGreenX},
    {"greenY", "The chromaticity target y of green.", Methods::getGreenY, Methods::setGreenY},
    {"blueX", "The chromaticity target x of blue.", Methods::getBlueX, Methods::setBlueX},
    {"blueY", "The chromaticity target y of blue.", Methods::getBlueY, Methods::setBlueY},
    {"whiteX", "The chromaticity target x of white.", Methods::getWhiteX, Methods::setWhiteX},
    {"whiteY", "The chromaticity target y of white.", Methods::getWhiteY, Methods::setWhiteY},
};

constexpr std::pair<ColorInterface::ColorAdjustmentType, const wchar_t*> adjustments[] = {
    {ColorInterface::ColorAdjustmentType::none, L"None"},
    {ColorInterface::ColorAdjustmentType::matrix, L"Matrix"},
    {ColorInterface::ColorAdjustmentType::saturation, L"Saturation"},
    {ColorInterface::ColorAdjustmentType::chromaticity, L"Chromaticity"},
};

}  // namespace

ColorModel::ColorModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable),
      adjustment(codes,
                 {.code = "colorAdjustment",
                  .summary = "The selected mode of colour adjustment.",
                  .range = Range{0, std::size(adjustments) - 1}},
                 0),
      saturationValues(
          codes, {.code = "saturationValues", .summary = "Hue, saturation and gain of red, green and blue."},
          {0, 100, 100, 0, 100, 100, 0, 100, 100}, checkSaturation),
      temperature(codes,
                  {.code = "colorTemperature",
                   .summary = "The colour temperature; it moves the chromaticity target of white.",
                   .unit = "K",
                   .range = Range{3200, 9300}},
                  defaultTemperature),
      enabled(codes,
              {.code = "colorEnable",
               .summary = "Which output colours are shown: red (1), green (2) and blue (4), added.",
               .range = Range{0, 7}},
              7),
      nativeGamut(codes,
                  {.code = "nativeGamut",
                   .summary = "What the projector takes its own colours to be.",
                   .readOnly = true},
                  defaultGamut, checkGamut),
      gamutTable(codes, {.code = "gamuts", .summary = "The gamuts by name.", .readOnly = true}, {}) {
    for (std::size_t i = 0; i < shares.size(); ++i) {
        const ShareMethods& methods = shareMethods[i];
        const bool diagonal = i % 4 == 0;
        shares[i] = std::make_unique<Property<Wire::Int>>(
            codes,
            CodeDescription{.code = methods.code,
                            .summary = methods.summary,
                            .unit = "0.001",
                            .range = diagonal ? Range{0, 2000} : Range{-500, 500}},
            diagonal ? shareUnit : 0);
        serveGet(methods.get, *shares[i]);
        serveRange(methods.least, methods.most, *shares[i]);
        serveSet(methods.set, *shares[i]);
    }
    const std::vector<int> initialTargets = toTargets(defaultGamut);
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const TargetMethods& methods = targetMethods[i];
        targets[i] = std::make_unique<Property<Wire::Int>>(codes,
                                                           CodeDescription{.code = methods.code,
                                                                           .summary = methods.summary,
                                                                           .unit = "0.0001",
                                                                           .range = Range{0, targetUnit}},
                                                           initialTargets[i]);
        serveGet(methods.get, *targets[i]);
        serveSet(methods.set, *targets[i]);
    }
    serveRange(Methods::getColorXYMin, Methods::getColorXYMax, *targets[0]);
    serveGet(Methods::getSelectedColorAdjustment, adjustment);
    serveSet(Methods::setSelectedColorAdjustment, adjustment);
    requests.bind(Methods::getColorAdjustmentList, [] {
        Wire::Items::Native list;
        for (const auto& [type, name] : adjustments) {
            list.emplace_back(static_cast<int>(type), name);
        }
        return list;
    });
    requests.bind(Methods::getColorAdjustmentTypes, [] {
        Wire::ColorAdjustmentTypes::Native types;
        for (const auto& [type, name] : adjustments) {
            types.push_back(type);
        }
        return types;
    });
    requests.bind(Methods::getSaturationValueRanges, [] {
        std::vector<int> ranges;
        for (const auto& [least, most] : saturationRanges) {
            ranges.push_back(least);
            ranges.push_back(most);
        }
        return ranges;
    });
    serveGet(Methods::getSaturationValues, saturationValues);
    requests.bind(Methods::setColorXY,
                  [this](const std::vector<int>& values, int selection) { setTargets(values, selection); });
    requests.bind(Methods::getXYValues,
                  [this](const std::wstring& name) { return toTargets(findGamut(name)); });
    serveGet(Methods::getColorTemperature, temperature);
    serveSet(Methods::setColorTemperature, temperature);
    serveRange(Methods::getColorTemperatureMin, Methods::getColorTemperatureMax, temperature);
    serveGet(Methods::getColorEnable, enabled);
    serveSet(Methods::setColorEnable, enabled);
    requests.bind(Methods::recalcColorXY, [this] { return recalculateFromTargets(); });
    requests.bind(Methods::recalcColorSat, [this] { return recalculateFromSaturation(); });
    requests.bind(Methods::getGamut, [this](const std::wstring& name) { return findGamut(name); });
    requests.bind(Methods::setGamut,
                  [this](const std::wstring& name, const Gamut& gamut) { storeGamut(name, gamut); });
    requests.bind(Methods::overwriteMaxDrives, [this](const Gamut& gamut) {
        nativeGamut.set(gamut);
        showGamuts();
    });
    codes.addListener([this](const Code& changed) {
        if (&changed == &temperature) {
            const Chromaticity white = whiteOf(temperature.get());
            targets[6]->set(toTarget(white.x));
            targets[7]->set(toTarget(white.y));
        }
    });
    showGamuts();
}

void ColorModel::restoreDefaults() {
    nativeGamut.restore();
    gamuts.clear();
    showGamuts();
}

const Gamut& ColorModel::findGamut(const std::wstring& name) const {
    if (name == nativeName) {
        return nativeGamut.get();
    }
    const auto found = gamuts.find(name);
    if (found == gamuts.end()) {
        throw RequestError(ErrorCode::notFound, "There is no gamut '" + toUtf8(name) + "'");
    }
    return found->second;
}

void ColorModel::storeGamut(const std::wstring& name, const Gamut& gamut) {
    checkGamut(gamut);
    if (name == nativeName) {
        throw RequestError(ErrorCode::readOnly, "The native gamut is changed by overwriteMaxDrives");
    }
    if (!gamuts.contains(name) && gamuts.size() == mostGamuts) {
        throw RequestError(ErrorCode::deviceError, "There is no room for another gamut");
    }
    gamuts[name] = gamut;
    showGamuts();
}

void ColorModel::showGamuts() {
    ::Json::Value table(::Json::objectValue);
    const auto add = [&](const std::wstring& name, const Gamut& gamut) {
        table[toUtf8(name)] = MarshalJson::instance()->toJson(Wire::ColorGamut::name, &gamut, {});
    };
    add(nativeName, nativeGamut.get());
    for (const auto& [name, gamut] : gamuts) {
        add(name, gamut);
    }
    gamutTable.set(std::move(table));
}

void ColorModel::setTargets(const std::vector<int>& values, int selection) {
    const bool all = selection == 0;
    if (selection < 0 || selection > 4) {
        throw RequestError(ErrorCode::outOfRange, "The selection " + std::to_string(selection) +
                                                      " is not within 0 (all) to 4 (white)");
    }
    const std::size_t expected = all ? targets.size() : 2;
    if (values.size() != expected) {
        throw RequestError(ErrorCode::invalidParams, "Invalid params: expected " + std::to_string(expected) +
                                                         " targets, got " + std::to_string(values.size()));
    }
    const std::size_t first = all ? 0 : static_cast<std::size_t>(selection - 1) * 2;
    // All or none.
    for (const int value : values) {
        if (value < 0 || value > targetUnit) {
            targets[first]->set(value);
        }
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        targets[first + i]->set(values[i]);
    }
}

bool ColorModel::setMatrix(const Matrix& matrix) {
    std::array<int, 9> rounded{};
    for (std::size_t i = 0; i < shares.size(); ++i) {
        const double share = matrix[i % 3][i / 3] * shareUnit;
        const Range range = shares[i]->getDescription().range.value();
        // Written so that a NaN is out of range.
        if (!(share >= range.minimum && share <= range.maximum)) {
            return false;
        }
        rounded[i] = static_cast<int>(std::lround(share));
    }
    for (std::size_t i = 0; i < shares.size(); ++i) {
        shares[i]->set(rounded[i]);
    }
    return true;
}

bool ColorModel::recalculateFromTargets() {
    const auto at = [this](std::size_t i) {
        return chromaticity(static_cast<double>(targets[i]->get()) / targetUnit,
                            static_cast<double>(targets[i + 1]->get()) / targetUnit);
    };
    const auto wanted = tristimulus({at(0), at(2), at(4), at(6)});
    const auto own = tristimulus(nativeGamut.get());
    if (!wanted || !own) {
        return false;
    }
    Matrix matrix{};
    for (std::size_t output = 0; output < 3; ++output) {
        const auto drives = solve(*own, {(*wanted)[0][output], (*wanted)[1][output], (*wanted)[2][output]});
        for (std::size_t share = 0; drives && share < 3; ++share) {
            matrix[share][output] = (*drives)[share];
        }
    }
    return setMatrix(matrix);
}

bool ColorModel::recalculateFromSaturation() {
    Matrix matrix{};
    for (std::size_t output = 0; output < 3; ++output) {
        const int* const values = &saturationValues.get()[output * 3];
        // 120 degrees lead from one primary to the next.
        const double aside = std::abs(values[0]) / 120.0;
        const double saturation = values[1] / 100.0;
        const double gain = values[2] / 100.0;
        const std::size_t neighbour = (output + (values[0] > 0 ? 1 : 2)) % 3;
        matrix[output][output] = 1 - aside;
        matrix[neighbour][output] += aside;
        for (Vector& row : matrix) {
            row[output] = gain * (saturation * row[output] + (1 - saturation) / 3);
        }
    }
    return setMatrix(matrix);
}

}  // namespace JsonDevice::Simulation
