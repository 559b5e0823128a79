#include "Platform/Curves/CurveXml.h"

#include <optional>
#include <string>
#include <vector>

#include <xercesc/dom/DOMAttr.hpp>
#include <xercesc/dom/DOMElement.hpp>

#include "Common/Exceptions.h"
#include "Common/NumberText.h"
#include "Platform/Curves/CubicControlCurve.h"

namespace {

constexpr const char* source = "Platform/Curves/CurveXml";

using XERCES_CPP_NAMESPACE::DOMElement;
using XERCES_CPP_NAMESPACE::DOMNode;

/// Whether the node is an element of that name, which is without a prefix.
bool isElement(const DOMNode& node, const XMLCh* name) {
    return node.getNodeType() == DOMNode::ELEMENT_NODE &&
           std::char_traits<XMLCh>::length(node.getNodeName()) == std::char_traits<XMLCh>::length(name) &&
           std::char_traits<XMLCh>::compare(node.getNodeName(), name,
                                            std::char_traits<XMLCh>::length(name)) == 0;
}

std::optional<double> readAttribute(const DOMElement& element, const XMLCh* name) {
    // A number is ASCII: any other character makes it none.
    std::string text;
    for (const XMLCh* next = element.getAttribute(name); next != nullptr && *next != 0; ++next) {
        text += *next < 0x80 ? static_cast<char>(*next) : '?';
    }
    return readNumber<double>(text);
}

}  // namespace

std::unique_ptr<CubicControlCurve> Korvan::Transforms::makeCubicControlCurveFromXmlNode(const DOMNode* node) {
    if (node == nullptr || !isElement(*node, u"CubicControlCurve")) {
        throw KorvanParseException(source, __LINE__, L"The XML is not a CubicControlCurve");
    }
    std::vector<CubicControlCurve::ControlPoint> points;
    for (const DOMNode* child = node->getFirstChild(); child != nullptr; child = child->getNextSibling()) {
        if (!isElement(*child, u"Point")) {
            continue;
        }
        const auto& point = static_cast<const DOMElement&>(*child);
        const auto x = readAttribute(point, u"x");
        const auto y = readAttribute(point, u"y");
        if (!x || !y) {
            throw KorvanParseException(source, __LINE__,
                                       L"A Point of a CubicControlCurve has no number for x or y");
        }
        points.push_back({*x, *y});
    }
    try {
        return std::make_unique<CubicControlCurve>(std::move(points));
    } catch (const KorvanException& error) {
        throw KorvanParseException(source, __LINE__, error.getMessage());
    }
}
