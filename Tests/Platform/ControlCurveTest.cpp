#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "Platform/Curves/CubicControlCurve.h"
#include "Platform/Curves/CurveXml.h"

namespace {

using Points = std::vector<CubicControlCurve::ControlPoint>;

/// Reads a curve as a program that has an XML document would.
std::unique_ptr<CubicControlCurve> readXml(const std::string& xml) {
    static const bool once = (xercesc::XMLPlatformUtils::Initialize(), true);
    (void)once;
    xercesc::XercesDOMParser parser;
    const xercesc::MemBufInputSource input(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "test");
    parser.parse(input);
    return Korvan::Transforms::makeCubicControlCurveFromXmlNode(parser.getDocument()->getDocumentElement());
}

TEST(CubicControlCurve, RunsThroughItsControlPoints) {
    const CubicControlCurve curve({{0, 1}, {1, 3}, {2, 2}, {5, 2.5}});
    EXPECT_DOUBLE_EQ(curve.evaluate(0), 1);
    EXPECT_DOUBLE_EQ(curve.evaluate(1), 3);
    EXPECT_DOUBLE_EQ(curve.evaluate(2), 2);
    EXPECT_DOUBLE_EQ(curve.evaluate(5), 2.5);
}

TEST(CubicControlCurve, MatchesASplineWorkedOutByHand) {
    // Through (0,0), (1,1), (2,0): second derivatives 0, -3, 0, so that
    // y(0.5) = 0.5 + (0.125 - 0.5) * -3 / 6 = 0.6875.
    const CubicControlCurve curve({{0, 0}, {1, 1}, {2, 0}});
    EXPECT_DOUBLE_EQ(curve.evaluate(0.5), 0.6875);
    EXPECT_DOUBLE_EQ(curve.evaluate(1.5), 0.6875);
}

TEST(CubicControlCurve, GoesOnStraightBeyondItsEnds) {
    // The slope at 0 of the curve above is 1 - (-3) / 6 = 1.5.
    const CubicControlCurve curve({{0, 0}, {1, 1}, {2, 0}});
    EXPECT_DOUBLE_EQ(curve.evaluate(-2), -3.0);
    EXPECT_DOUBLE_EQ(curve.evaluate(4), -3.0);
}

TEST(CubicControlCurve, OnePointIsAConstantAndTwoAreALine) {
    EXPECT_EQ(CubicControlCurve({{3, 7}}).evaluate(-100), 7);
    const CubicControlCurve line({{0, 1}, {2, 5}});
    EXPECT_DOUBLE_EQ(line.evaluate(1), 3);
    EXPECT_DOUBLE_EQ(line.evaluate(10), 21);
    EXPECT_DOUBLE_EQ(line.evaluate(-1), -1);
}

RC_GTEST_PROP(CubicControlCurve, IsSmoothAtItsControlPoints, ()) {
    const auto heights = *rc::gen::container<std::vector<int>>(6, rc::gen::inRange(-100, 100));
    Points points;
    for (const int height : heights) {
        points.push_back({static_cast<double>(points.size()), static_cast<double>(height)});
    }
    const CubicControlCurve curve(points);
    const double step = 1e-4;
    for (double x = 0; x <= 5; ++x) {
        const double before = (curve.evaluate(x) - curve.evaluate(x - step)) / step;
        const double after = (curve.evaluate(x + step) - curve.evaluate(x)) / step;
        RC_ASSERT(std::abs(before - after) < 0.5);
    }
}

TEST(CubicControlCurve, RefusesPointsThatMakeNoFunction) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const Points& points :
         {Points{}, Points{{0, 0}, {0, 1}}, Points{{1, 0}, {0, 1}}, Points{{nan, 0}}, Points{{0, infinity}},
          Points{{-1e308, 0}, {1e308, 0}, {1.5e308, 2}}, Points{{0, -1e308}, {1, 1e308}},
          Points(CubicControlCurve::maxControlPoints + 1)}) {
        EXPECT_THROW(CubicControlCurve{points}, KorvanException);
    }
}

TEST(CubicControlCurve, XmlIsOneElement) {
    const CubicControlCurve curve({{0, 0.5}, {1, 0.25}});
    EXPECT_EQ(
        curve.toXml(),
        L"<CubicControlCurve><Point x=\"0\" y=\"0.5\"/><Point x=\"1\" y=\"0.25\"/></CubicControlCurve>");
}

RC_GTEST_PROP(CubicControlCurve, XmlReadsBackEqual, ()) {
    const auto heights = *rc::gen::nonEmpty<std::vector<double>>();
    Points points;
    double x = *rc::gen::inRange(-1000, 1000) / 7.0;
    for (const double height : heights) {
        RC_PRE(std::isfinite(height) && std::abs(height) < 1e100);
        points.push_back({x, height});
        x += *rc::gen::inRange(1, 1000) / 3.0;
    }
    const CubicControlCurve curve(points);
    RC_ASSERT(*readXml(toUtf8(curve.toXml())) == curve);
}

TEST(CurveXml, PassesOverWhatItDoesNotKnow) {
    const auto curve = readXml(
        "<CubicControlCurve version='2'>\n <!-- x --><Point x='0' y='1' z='9'/><Other/>\n"
        "<Point y='2' x='1e0'></Point></CubicControlCurve>");
    EXPECT_EQ(curve->getControlPoints(), (Points{{0, 1}, {1, 2}}));
}

TEST(CurveXml, RefusesWhatIsNoCurve) {
    EXPECT_THROW(Korvan::Transforms::makeCubicControlCurveFromXmlNode(nullptr), KorvanParseException);
    for (const char* xml :
         {"<Curve/>", "<CubicControlCurve/>", "<CubicControlCurve><Point x='0'/></CubicControlCurve>",
          "<CubicControlCurve><Point x='0' y=''/></CubicControlCurve>",
          "<CubicControlCurve><Point x='0' y='1,5'/></CubicControlCurve>",
          "<CubicControlCurve><Point x='0' y='nan'/></CubicControlCurve>",
          "<CubicControlCurve><Point x='0' y='1e999'/></CubicControlCurve>",
          "<CubicControlCurve><Point x='0' y='\xC4\xB1'/></CubicControlCurve>",
          "<CubicControlCurve><Point x='1' y='0'/><Point x='1' y='0'/></CubicControlCurve>",
          "<x:CubicControlCurve xmlns:x='u'><Point x='1' y='0'/></x:CubicControlCurve>"}) {
        EXPECT_THROW(readXml(xml), KorvanParseException) << xml;
    }
}

}  // namespace
