#include "Platform/Curves/CubicControlCurve.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Common/Exceptions.h"
#include "Common/NumberText.h"
#include "Common/WideText.h"

namespace {

constexpr const char* source = "Platform/Curves/CubicControlCurve";

/// The second derivatives of the natural spline: a tridiagonal system, solved
/// by elimination down and substitution up.
std::vector<double> naturalBends(const std::vector<CubicControlCurve::ControlPoint>& points) {
    const std::size_t count = points.size();
    std::vector<double> bends(count, 0.0);
    std::vector<double> upper(count, 0.0);
    for (std::size_t i = 1; i + 1 < count; ++i) {
        const double before = points[i].x - points[i - 1].x;
        const double after = points[i + 1].x - points[i].x;
        const double turn =
            (points[i + 1].y - points[i].y) / after - (points[i].y - points[i - 1].y) / before;
        const double pivot = 2.0 * (before + after) - before * upper[i - 1];
        upper[i] = after / pivot;
        bends[i] = (6.0 * turn - before * bends[i - 1]) / pivot;
    }
    for (std::size_t i = count; i-- > 1;) {
        bends[i - 1] -= upper[i - 1] * bends[i];
    }
    return bends;
}

}  // namespace

ControlCurve::~ControlCurve() = default;
CubicControlCurve::~CubicControlCurve() = default;

CubicControlCurve::CubicControlCurve(std::vector<ControlPoint> controlPoints)
    : points(std::move(controlPoints)) {
    if (points.empty() || points.size() > maxControlPoints) {
        throw KorvanException(source, __LINE__, L"A control curve has 1 to 65536 control points");
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!std::isfinite(points[i].x) || !std::isfinite(points[i].y)) {
            throw KorvanException(source, __LINE__, L"The control points of a control curve are finite");
        }
        if (i > 0 && !(points[i].x > points[i - 1].x)) {
            throw KorvanException(source, __LINE__,
                                  L"The control points of a control curve grow in x from one to the next");
        }
        if (i > 0 && !std::isfinite((points[i].y - points[i - 1].y) / (points[i].x - points[i - 1].x))) {
            throw KorvanException(source, __LINE__, L"A control curve is too steep to be computed");
        }
    }
    bends = naturalBends(points);
    if (!std::all_of(bends.begin(), bends.end(), [](double bend) { return std::isfinite(bend); })) {
        throw KorvanException(source, __LINE__, L"A control curve is too steep to be computed");
    }
}

double CubicControlCurve::evaluate(double x) const {
    if (points.size() == 1) {
        return points.front().y;
    }
    // The interval that x is in; the outermost ones serve what is beyond them.
    const auto above =
        std::upper_bound(points.begin() + 1, points.end() - 1, x,
                         [](double value, const ControlPoint& point) { return value < point.x; });
    const std::size_t right = static_cast<std::size_t>(above - points.begin());
    const std::size_t left = right - 1;
    const double width = points[right].x - points[left].x;
    const double slope = (points[right].y - points[left].y) / width;
    if (x < points.front().x) {
        return points.front().y + (x - points.front().x) * (slope - width * bends[right] / 6.0);
    }
    if (x > points.back().x) {
        return points.back().y + (x - points.back().x) * (slope + width * bends[left] / 6.0);
    }
    const double b = (x - points[left].x) / width;
    const double a = 1.0 - b;
    return a * points[left].y + b * points[right].y +
           ((a * a * a - a) * bends[left] + (b * b * b - b) * bends[right]) * width * width / 6.0;
}

std::wstring CubicControlCurve::toXml() const {
    std::string xml = "<CubicControlCurve>";
    for (const ControlPoint& point : points) {
        xml += "<Point x=\"";
        appendNumber(xml, point.x);
        xml += "\" y=\"";
        appendNumber(xml, point.y);
        xml += "\"/>";
    }
    xml += "</CubicControlCurve>";
    return toWide(xml);
}
