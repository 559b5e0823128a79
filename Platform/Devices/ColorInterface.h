#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"
#include "Platform/Devices/Gamut.h"

/// The colours of a projector, adjusted in one of several ways: by a matrix of
/// each output colour's share of red, green and blue, by saturation values, or by
/// chromaticity targets for the primaries and white. Where nothing else is said,
/// the numbers and their scale are the device's own.
class JSONDEVICE_EXPORT ColorInterface : public DeviceInterface {
public:
    /// How the colours are adjusted.
    enum class ColorAdjustmentType : int { none, matrix, saturation, chromaticity };
    /// Modes of colour adjustment: number and display name.
    using ColorAdjustments = std::vector<std::pair<int, std::wstring>>;

    explicit ColorInterface(Device* device) : DeviceInterface(device, "ColorInterface") {}
    ~ColorInterface() override;

    virtual bool isColorMatcherEnabled() = 0;

    virtual int getSelectedColorAdjustment() = 0;
    // The matrix: getRedOfGreen is the share of red in the output colour green.
    virtual int getRedOfRed() = 0;
    virtual int getRedOfRedMin() = 0;
    virtual int getRedOfRedMax() = 0;
    virtual int getGreenOfRed() = 0;
    virtual int getGreenOfRedMin() = 0;
    virtual int getGreenOfRedMax() = 0;
    virtual int getBlueOfRed() = 0;
    virtual int getBlueOfRedMin() = 0;
    virtual int getBlueOfRedMax() = 0;
    virtual int getRedOfGreen() = 0;
    virtual int getRedOfGreenMin() = 0;
    virtual int getRedOfGreenMax() = 0;
    virtual int getGreenOfGreen() = 0;
    virtual int getGreenOfGreenMin() = 0;
    virtual int getGreenOfGreenMax() = 0;
    virtual int getBlueOfGreen() = 0;
    virtual int getBlueOfGreenMin() = 0;
    virtual int getBlueOfGreenMax() = 0;
    virtual int getRedOfBlue() = 0;
    virtual int getRedOfBlueMin() = 0;
    virtual int getRedOfBlueMax() = 0;
    virtual int getGreenOfBlue() = 0;
    virtual int getGreenOfBlueMin() = 0;
    virtual int getGreenOfBlueMax() = 0;
    virtual int getBlueOfBlue() = 0;
    virtual int getBlueOfBlueMin() = 0;
    virtual int getBlueOfBlueMax() = 0;

    virtual void setSelectedColorAdjustment(int adjustment) = 0;
    virtual void setRedOfRed(int value) = 0;
    virtual void setGreenOfRed(int value) = 0;
    virtual void setBlueOfRed(int value) = 0;
    virtual void setRedOfGreen(int value) = 0;
    virtual void setGreenOfGreen(int value) = 0;
    virtual void setBlueOfGreen(int value) = 0;
    virtual void setRedOfBlue(int value) = 0;
    virtual void setGreenOfBlue(int value) = 0;
    virtual void setBlueOfBlue(int value) = 0;

    /// Replaces the list by the least and greatest of each saturation value; false when they are not 18
    /// numbers.
    virtual bool getSaturationValueRanges(std::vector<int>& ranges) = 0;
    /// Replaces the list by the saturation values; false when they are not 9.
    virtual bool getSaturationValues(std::vector<int>& values) = 0;

    virtual void setColorXY(std::vector<int>& values, int selection) = 0;
    virtual unsigned int getRedX() = 0;
    virtual unsigned int getRedY() = 0;
    virtual unsigned int getGreenX() = 0;
    virtual unsigned int getGreenY() = 0;
    virtual unsigned int getBlueX() = 0;
    virtual unsigned int getBlueY() = 0;
    virtual unsigned int getWhiteX() = 0;
    virtual unsigned int getWhiteY() = 0;
    virtual void setRedX(int value) = 0;
    virtual void setRedY(int value) = 0;
    virtual void setGreenX(int value) = 0;
    virtual void setGreenY(int value) = 0;
    virtual void setBlueX(int value) = 0;
    virtual void setBlueY(int value) = 0;
    virtual void setWhiteX(int value) = 0;
    virtual void setWhiteY(int value) = 0;
    virtual unsigned int getColorXYMin() = 0;
    virtual unsigned int getColorXYMax() = 0;
    /// Replaces the list by x and y of red, green, blue and white of the named set-up; false when they
    /// are not 8 numbers.
    virtual bool getXYValues(std::vector<int>& values, std::wstring name) = 0;

    /// Colour temperatures are in kelvin.
    virtual unsigned int getColorTemperature() = 0;
    virtual void setColorTemperature(unsigned int temperature) = 0;
    virtual unsigned int getColorTemperatureMin() = 0;
    virtual unsigned int getColorTemperatureMax() = 0;
    virtual void getColorTemperatureRange(unsigned int& minimum, unsigned int& maximum) = 0;

    virtual unsigned int getColorEnable() = 0;
    virtual void setColorEnable(unsigned int value) = 0;
    /// Makes the device work out its colours anew from the chromaticity targets.
    virtual bool recalcColorXY() = 0;
    /// Makes the device work out its colours anew from the saturation values.
    virtual bool recalcColorSat() = 0;

    virtual Gamut getGamut(std::wstring name) = 0;
    virtual void setGamut(std::wstring name, Gamut gamut) = 0;
    /// Replaces what the device takes its colours to be when each is driven to its maximum.
    virtual void overwriteMaxDrives(Gamut gamut) = 0;

    /// All modes of colour adjustment. Valid until the next call of this operation.
    virtual const ColorAdjustments& getColorAdjustmentList() = 0;
    virtual std::vector<ColorAdjustmentType> getColorAdjustmentTypes() = 0;
};
