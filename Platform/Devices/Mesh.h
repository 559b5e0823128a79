#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Common/Export.h"
#include "Platform/Devices/Point.h"

/// The geometry of a warp: where each point (u, v) of the picture goes, both in
/// pixels of the picture, with the origin at the top left.
///
/// A regular grid of control points covers the picture: the point of column c
/// and row r belongs to u = c * width / (columns - 1), v = r * height / (rows - 1).
/// Between them runs the natural bicubic spline, which is smooth to its second
/// derivatives; beyond the edges it goes on straight.
///
/// Before points are evaluated, and again after a control point was changed,
/// the mesh is prepared: prepareRows(), then prepareColumns(). Once prepared, a
/// mesh may be evaluated, prepared and read from several threads; changing it
/// needs it alone.
class JSONDEVICE_EXPORT Mesh {
public:
    using ControlPoint = Point<float, 2>;

    /// The most pixels in one direction.
    static constexpr int maxSize = 65'536;
    /// The most control points of a mesh: one for each pixel of a 4K picture.
    static constexpr std::size_t maxControlPoints = 9'000'000;
    /// How far from the origin a control point may be, in pixels.
    static constexpr float maxCoordinate = 1e9F;

    /// A mesh that leaves each point where it is. Throws KorvanException for a
    /// size outside of 1 to maxSize, fewer than 2 columns or rows, or more
    /// control points than there may be.
    Mesh(int width, int height, int columns, int rows);
    /// Reads what toText wrote; anything else is refused with KorvanParseException.
    /// Blanks and line breaks may be of any kind and number.
    static Mesh fromText(std::wstring_view text);
    static Mesh fromText(std::string_view text);

    Mesh(const Mesh&);
    Mesh(Mesh&&) noexcept;
    Mesh& operator=(const Mesh&);
    Mesh& operator=(Mesh&&) noexcept;
    ~Mesh();

    /// Width and height of the picture in pixels.
    std::pair<int, int> getSize() const { return {width, height}; }
    /// Columns and rows of the grid of control points.
    std::pair<int, int> getGrid() const { return {columns, rows}; }
    /// Throws KorvanIndexOutOfBoundsException outside of the grid.
    ControlPoint getControlPoint(int column, int row) const;
    /// Throws KorvanIndexOutOfBoundsException outside of the grid,
    /// KorvanException for a point that is not finite or beyond maxCoordinate.
    /// The mesh has to be prepared again.
    void setControlPoint(int column, int row, ControlPoint point);

    /// The two steps of preparation; each does nothing when nothing changed
    /// since it was done.
    void prepareRows();
    void prepareColumns();
    /// Where (u, v) goes, as (x, y). Throws KorvanExceptionRuntime when the mesh is not prepared.
    std::pair<float, float> evaluate(float u, float v) const;

    /// The text form, which is ASCII:
    /// `mesh 1`, `size <width> <height>`, `grid <columns> <rows>`, then a line for
    /// each row of control points, `x y` for each point of it.
    std::wstring toText() const;
    /// The same content as one XML element:
    /// `<Mesh width="" height="" columns="" rows=""><Row>x y x y</Row>...</Mesh>`.
    std::wstring toXml() const;

    /// Size, grid and control points are equal.
    bool operator==(const Mesh& other) const;

private:
    struct Coefficient {
        double x;
        double y;
    };
    enum class Prepared { No, Rows, All };

    std::size_t indexOf(int column, int row) const;
    void appendRow(std::string& text, int row) const;

    int width;
    int height;
    int columns;
    int rows;
    std::vector<ControlPoint> points;
    /// The weights of the B-spline that runs through the points, with a margin of
    /// one all around, row after row.
    std::vector<Coefficient> coefficients;
    Prepared prepared = Prepared::No;
};
