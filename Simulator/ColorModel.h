#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

/// The colours: the matrix, what it can be worked out from (saturation values
/// and chromaticity targets), the colour temperature, and gamuts by name.
///
/// Shares are in thousandths, chromaticity targets in ten-thousandths. The nine
/// saturation values are hue (degrees towards the next of red, green and blue),
/// saturation and gain (percent) of red, of green and of blue.
///
/// The gamut "Native" is what the projector takes its own colours to be; it is
/// always there and changed only by overwriteMaxDrives.
class ColorModel : public Feature {
public:
    ColorModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    void restoreDefaults() override;

private:
    /// Any JSON value.
    struct Json : Wire::Value<::Json::Value> {
        static constexpr const char* name = "Json::Value";
        static constexpr Wire::Form form = Wire::Form::json;
    };
    /// Shares of red, green and blue in each output colour; first index red,
    /// green or blue, second the output colour.
    using Matrix = std::array<std::array<double, 3>, 3>;

    const Gamut& findGamut(const std::wstring& name) const;
    void storeGamut(const std::wstring& name, const Gamut& gamut);
    void showGamuts();
    void setTargets(const std::vector<int>& values, int selection);
    /// Whether the matrix is within the range of all shares; only then it is set.
    bool setMatrix(const Matrix& matrix);
    bool recalculateFromTargets();
    bool recalculateFromSaturation();

    Property<Wire::Int> adjustment;
    Property<Wire::Ints> saturationValues;
    Property<Wire::UInt> temperature;
    Property<Wire::UInt> enabled;
    Property<Wire::ColorGamut> nativeGamut;
    Property<Json> gamutTable;
    /// By output colour, then red, green and blue.
    std::array<std::unique_ptr<Property<Wire::Int>>, 9> shares;
    /// x and y of red, green, blue and white.
    std::array<std::unique_ptr<Property<Wire::Int>>, 8> targets;
    std::map<std::wstring, Gamut> gamuts;
};

}  // namespace JsonDevice::Simulation
