// The XML of a curve is refused, or is a curve whose own XML reads back equal.

#include "Platform/Curves/CurveXml.h"

#include <memory>
#include <string>

#include <xercesc/dom/DOMElement.hpp>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/XmlDocument.h"
#include "Fuzz/Fuzz.h"
#include "Platform/Curves/CubicControlCurve.h"

namespace {

std::unique_ptr<CubicControlCurve> readCurve(const std::string& xml) {
    const JsonDevice::XmlDocument document(xml);
    return Korvan::Transforms::makeCubicControlCurveFromXmlNode(&document.getRoot());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto curve = readCurve(std::string(reinterpret_cast<const char*>(data), size));
        require(*readCurve(toUtf8(curve->toXml())) == *curve);
    } catch (const KorvanParseException&) {
    }
    return 0;
}
