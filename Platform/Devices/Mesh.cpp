#include "Platform/Devices/Mesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "Common/Exceptions.h"
#include "Common/NumberText.h"

namespace {

constexpr const char* source = "Platform/Devices/Mesh";

/// The factors of the elimination in solveLines, for lines of that many knots.
std::vector<double> eliminationFactors(int knots) {
    std::vector<double> factors(static_cast<std::size_t>(knots));
    for (std::size_t i = 1; i + 1 < factors.size(); ++i) {
        factors[i] = 1.0 / (4.0 - factors[i - 1]);
    }
    return factors;
}

/// Turns the values at the knots into the coefficients of the cubic B-spline
/// through them, on `lines` lines side by side. A spline's value at a knot is
/// (a + 4 b + c) / 6 of the coefficients around it; the natural end condition
/// makes the coefficient at an end the value itself and the one beyond the end
/// its straight continuation.
///
/// The knots of a line are `stride` apart, with a coefficient more on either
/// side of them; a line begins next to the one before, `lineStride` apart.
template <class Coefficient>
void solveLines(Coefficient* first, std::size_t lines, std::size_t lineStride,
                const std::vector<double>& factors, std::size_t stride) {
    const std::size_t last = factors.size();  // the knots are 1 to last
    const auto forEachLine = [&](std::size_t knot, auto&& apply) {
        Coefficient* here = first + knot * stride;
        for (std::size_t line = 0; line < lines; ++line, here += lineStride) {
            apply(here[0], *(here - stride), here[stride]);
        }
    };
    // The system b[i-1] + 4 b[i] + b[i+1] = 6 f[i] of the inner knots, by
    // elimination down and substitution up.
    for (std::size_t knot = 2; knot < last; ++knot) {
        const double factor = factors[knot - 1];
        forEachLine(knot, [&](Coefficient& here, const Coefficient& before, const Coefficient&) {
            here = {(6.0 * here.x - before.x) * factor, (6.0 * here.y - before.y) * factor};
        });
    }
    for (std::size_t knot = last - 1; knot > 1; --knot) {
        const double factor = factors[knot - 1];
        forEachLine(knot, [&](Coefficient& here, const Coefficient&, const Coefficient& after) {
            here = {here.x - factor * after.x, here.y - factor * after.y};
        });
    }
    forEachLine(1, [](const Coefficient& here, Coefficient& before, const Coefficient& after) {
        before = {2.0 * here.x - after.x, 2.0 * here.y - after.y};
    });
    forEachLine(last, [](const Coefficient& here, const Coefficient& before, Coefficient& after) {
        after = {2.0 * here.x - before.x, 2.0 * here.y - before.y};
    });
}

/// The part of the grid that one coordinate is in, and the weights of the four
/// coefficients around it.
struct Span {
    std::size_t first;
    std::array<double, 4> weights;
};

Span spanAt(double position, int count) {
    const double last = count - 1;
    // Beyond the edges: the value at the edge and the slope there, as one set of weights.
    const double inside = position > 0.0 ? std::min(position, last) : 0.0;
    const double beyond = position - inside;
    const int cell = std::min(static_cast<int>(inside), count - 2);
    const double t = inside - cell;
    const double s = 1.0 - t;
    Span span{static_cast<std::size_t>(cell),
              {s * s * s / 6.0, (4.0 - 3.0 * t * t * (2.0 - t)) / 6.0, (4.0 - 3.0 * s * s * (2.0 - s)) / 6.0,
               t * t * t / 6.0}};
    if (beyond != 0.0) {
        span.weights[0] += beyond * (-s * s / 2.0);
        span.weights[1] += beyond * ((3.0 * t * t - 4.0 * t) / 2.0);
        span.weights[2] += beyond * ((4.0 * s - 3.0 * s * s) / 2.0);
        span.weights[3] += beyond * (t * t / 2.0);
    }
    return span;
}

/// The words of a text, one after the other.
template <class Character>
class Words {
public:
    explicit Words(std::basic_string_view<Character> text) : rest(text) {}

    /// The next word; valid until the one after it is read. Empty at the end of the text.
    std::string_view next() {
        std::size_t begin = 0;
        while (begin < rest.size() && isBlank(rest[begin])) {
            ++begin;
        }
        std::size_t end = begin;
        while (end < rest.size() && !isBlank(rest[end])) {
            ++end;
        }
        const auto word = rest.substr(begin, end - begin);
        rest.remove_prefix(end);
        if constexpr (std::is_same_v<Character, char>) {
            return word;
        } else {
            // Nothing that is valid here is long or outside ASCII.
            const std::size_t length = std::min(word.size(), narrow.size());
            for (std::size_t i = 0; i < length; ++i) {
                const auto code = static_cast<std::uint32_t>(word[i]);
                narrow[i] = code < 0x80 ? static_cast<char>(code) : '?';
            }
            return word.size() > narrow.size() ? "?" : std::string_view(narrow.data(), length);
        }
    }
    void expect(std::string_view word) {
        if (next() != word) {
            refuse();
        }
    }
    template <class Number>
    Number number() {
        const auto read = readNumber<Number>(next());
        if (!read) {
            refuse();
        }
        return *read;
    }
    /// How many more words there can be at most.
    std::size_t most() const { return (rest.size() + 1) / 2; }
    [[noreturn]] static void refuse() {
        throw KorvanParseException(source, __LINE__, L"The text is not a mesh");
    }

private:
    static bool isBlank(Character c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    std::basic_string_view<Character> rest;
    std::array<char, 64> narrow{};
};

/// The numbers ahead of the control points, and the points as they stand.
struct Header {
    int width;
    int height;
    int columns;
    int rows;
};

template <class Character>
Header readHeader(Words<Character>& words) {
    Header header{};
    words.expect("mesh");
    words.expect("1");
    words.expect("size");
    header.width = words.template number<int>();
    header.height = words.template number<int>();
    words.expect("grid");
    header.columns = words.template number<int>();
    header.rows = words.template number<int>();
    // Held against the text before anything is made of that size.
    const auto numbers = 2 * static_cast<std::int64_t>(header.columns) * header.rows;
    if (header.columns < 2 || header.rows < 2 || numbers > static_cast<std::int64_t>(words.most())) {
        words.refuse();
    }
    return header;
}

template <class Character>
Mesh readMesh(std::basic_string_view<Character> text) {
    Words<Character> words(text);
    const Header header = readHeader(words);
    try {
        Mesh mesh(header.width, header.height, header.columns, header.rows);
        for (int row = 0; row < header.rows; ++row) {
            for (int column = 0; column < header.columns; ++column) {
                const float x = words.template number<float>();
                const float y = words.template number<float>();
                mesh.setControlPoint(column, row, {x, y});
            }
        }
        if (!words.next().empty()) {
            words.refuse();
        }
        return mesh;
    } catch (const KorvanParseException&) {
        throw;
    } catch (const KorvanException& error) {
        throw KorvanParseException(source, __LINE__, error.getMessage());
    }
}

}  // namespace

Mesh::Mesh(int width, int height, int columns, int rows)
    : width(width), height(height), columns(columns), rows(rows) {
    if (width < 1 || height < 1 || width > maxSize || height > maxSize) {
        throw KorvanException(source, __LINE__, L"A mesh covers 1 to 65536 pixels in each direction");
    }
    if (columns < 2 || rows < 2 ||
        static_cast<std::uint64_t>(columns) * static_cast<std::uint64_t>(rows) > maxControlPoints) {
        throw KorvanException(source, __LINE__,
                              L"A mesh has at least 2 columns and rows and at most 9000000 control points");
    }
    points.reserve(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            points.push_back({static_cast<float>(static_cast<double>(width) * column / (columns - 1)),
                              static_cast<float>(static_cast<double>(height) * row / (rows - 1))});
        }
    }
}

Mesh Mesh::fromText(std::wstring_view text) {
    return readMesh(text);
}

Mesh Mesh::fromText(std::string_view text) {
    return readMesh(text);
}

Mesh::Mesh(const Mesh&) = default;
Mesh::Mesh(Mesh&&) noexcept = default;
Mesh& Mesh::operator=(const Mesh&) = default;
Mesh& Mesh::operator=(Mesh&&) noexcept = default;
Mesh::~Mesh() = default;

std::size_t Mesh::indexOf(int column, int row) const {
    if (column < 0 || row < 0 || column >= columns || row >= rows) {
        throw KorvanIndexOutOfBoundsException(source, __LINE__, L"The mesh has no such control point");
    }
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
           static_cast<std::size_t>(column);
}

Mesh::ControlPoint Mesh::getControlPoint(int column, int row) const {
    return points[indexOf(column, row)];
}

void Mesh::setControlPoint(int column, int row, ControlPoint point) {
    // Not a number fails the test too.
    if (!(std::abs(point[0]) <= maxCoordinate && std::abs(point[1]) <= maxCoordinate)) {
        throw KorvanException(source, __LINE__,
                              L"The control points of a mesh are within 1000000000 pixels of the origin");
    }
    points[indexOf(column, row)] = point;
    prepared = Prepared::No;
}

void Mesh::prepareRows() {
    if (prepared != Prepared::No) {
        return;
    }
    const std::size_t stride = static_cast<std::size_t>(columns) + 2;
    coefficients.resize(stride * (static_cast<std::size_t>(rows) + 2));
    const std::vector<double> factors = eliminationFactors(columns);
    auto point = points.begin();
    for (int row = 0; row < rows; ++row) {
        Coefficient* const line = &coefficients[static_cast<std::size_t>(row + 1) * stride];
        for (int column = 1; column <= columns; ++column, ++point) {
            line[column] = {(*point)[0], (*point)[1]};
        }
        solveLines(line, 1, stride, factors, 1);
    }
    prepared = Prepared::Rows;
}

void Mesh::prepareColumns() {
    if (prepared == Prepared::All) {
        return;
    }
    prepareRows();
    const std::size_t stride = static_cast<std::size_t>(columns) + 2;
    solveLines(coefficients.data(), stride, 1, eliminationFactors(rows), stride);
    prepared = Prepared::All;
}

std::pair<float, float> Mesh::evaluate(float u, float v) const {
    if (prepared != Prepared::All) {
        throw KorvanExceptionRuntime(source, __LINE__, L"The mesh is evaluated before it was prepared");
    }
    const Span across = spanAt(static_cast<double>(u) * (columns - 1) / width, columns);
    const Span down = spanAt(static_cast<double>(v) * (rows - 1) / height, rows);
    const std::size_t stride = static_cast<std::size_t>(columns) + 2;
    const Coefficient* line = &coefficients[down.first * stride + across.first];
    double x = 0.0;
    double y = 0.0;
    for (const double weight : down.weights) {
        double lineX = 0.0;
        double lineY = 0.0;
        for (std::size_t i = 0; i < across.weights.size(); ++i) {
            lineX += across.weights[i] * line[i].x;
            lineY += across.weights[i] * line[i].y;
        }
        x += weight * lineX;
        y += weight * lineY;
        line += stride;
    }
    return {static_cast<float>(x), static_cast<float>(y)};
}

void Mesh::appendRow(std::string& text, int row) const {
    const ControlPoint* const first = &points[indexOf(0, row)];
    for (int column = 0; column < columns; ++column) {
        if (column > 0) {
            text += ' ';
        }
        appendNumber(text, first[column][0]);
        text += ' ';
        appendNumber(text, first[column][1]);
    }
}

std::wstring Mesh::toText() const {
    std::string text = "mesh 1\nsize ";
    appendNumber(text, width);
    text += ' ';
    appendNumber(text, height);
    text += "\ngrid ";
    appendNumber(text, columns);
    text += ' ';
    appendNumber(text, rows);
    text += '\n';
    for (int row = 0; row < rows; ++row) {
        appendRow(text, row);
        text += '\n';
    }
    return std::wstring(text.begin(), text.end());
}

std::wstring Mesh::toXml() const {
    std::string xml = "<Mesh";
    const auto attribute = [&](const char* name, int number) {
        xml.append(" ").append(name).append("=\"");
        appendNumber(xml, number);
        xml += '"';
    };
    attribute("width", width);
    attribute("height", height);
    attribute("columns", columns);
    attribute("rows", rows);
    xml += '>';
    for (int row = 0; row < rows; ++row) {
        xml += "<Row>";
        appendRow(xml, row);
        xml += "</Row>";
    }
    xml += "</Mesh>";
    return std::wstring(xml.begin(), xml.end());
}

bool Mesh::operator==(const Mesh& other) const {
    return width == other.width && height == other.height && columns == other.columns && rows == other.rows &&
           points == other.points;
}
