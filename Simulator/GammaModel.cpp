#include "Simulator/GammaModel.h"

#include "DeviceManager/JsonDevice/Vocabulary/Gamma.h"

namespace JsonDevice::Simulation {

namespace Methods = Vocabulary::Gamma;

GammaModel::GammaModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable),
      type(codes,
           {.code = "gammaType",
            .summary = "Power law (0), video (1), linear (2) or S-shaped (3).",
            .range = Range{0, 3}},
           0),
      gamma(codes,
            {.code = "gamma",
             .summary = "The exponent in hundredths.",
             .unit = "0.01",
             .range = Range{100, 300}},
            220),
      correction(codes,
                 {.code = "gammaCorrection",
                  .summary = "What is added to the exponent, in hundredths.",
                  .unit = "0.01",
                  .range = Range{-50, 50}},
                 0),
      slope(codes,
            {.code = "gammaSlope",
             .summary = "The slope at black, in hundredths.",
             .unit = "0.01",
             .range = Range{0, 1000}},
            450) {
    serveGet(Methods::getType, type);
    serveSet(Methods::setType, type);
    serveGet(Methods::getGamma, gamma);
    serveSet(Methods::setGamma, gamma);
    serveGet(Methods::getGammaCorrection, correction);
    serveSet(Methods::setGammaCorrection, correction);
    serveRange(Methods::getGammaCorrectionRangeMin, Methods::getGammaCorrectionRangeMax, correction);
    serveGet(Methods::getSlope, slope);
    serveSet(Methods::setSlope, slope);
}

}  // namespace JsonDevice::Simulation
