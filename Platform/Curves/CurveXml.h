#pragma once

#include <memory>

#include <xercesc/util/XercesDefs.hpp>

#include "Common/Export.h"

XERCES_CPP_NAMESPACE_BEGIN
class DOMNode;
XERCES_CPP_NAMESPACE_END

class CubicControlCurve;

namespace Korvan::Transforms {

/// Builds the curve that CubicControlCurve::toXml wrote from the element it
/// wrote. Elements and attributes that it does not know are passed over.
/// Throws KorvanParseException when node is null or holds no such curve.
JSONDEVICE_EXPORT std::unique_ptr<CubicControlCurve> makeCubicControlCurveFromXmlNode(
    const XERCES_CPP_NAMESPACE::DOMNode* node);

}  // namespace Korvan::Transforms
