#include <algorithm>
#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "Platform/Devices/Mesh.h"
#include "Platform/Devices/MeshProxy.h"

namespace {

Mesh prepared(Mesh mesh) {
    mesh.prepareRows();
    mesh.prepareColumns();
    return mesh;
}

/// A mesh with each control point where the function puts it.
template <class Function>
Mesh bent(int width, int height, int columns, int rows, Function where) {
    Mesh mesh(width, height, columns, rows);
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const auto at = mesh.getControlPoint(column, row);
            mesh.setControlPoint(column, row, where(at[0], at[1]));
        }
    }
    return mesh;
}

TEST(Mesh, LeavesEachPointWhereItIsUntilItIsBent) {
    const Mesh mesh = prepared(Mesh(3840, 2160, 33, 19));
    for (float u = -1; u <= 3841; u += 240.125F) {
        for (float v = -1; v <= 2161; v += 43.25F) {
            const auto [x, y] = mesh.evaluate(u, v);
            EXPECT_FLOAT_EQ(x, u);
            EXPECT_FLOAT_EQ(y, v);
        }
    }
}

TEST(Mesh, RunsThroughItsControlPoints) {
    const Mesh mesh = prepared(bent(1920, 1080, 7, 5, [](float x, float y) {
        return Mesh::ControlPoint{x + 30 * std::sin(y / 200), y - 20 * std::cos(x / 300)};
    }));
    for (int row = 0; row < 5; ++row) {
        for (int column = 0; column < 7; ++column) {
            const auto point = mesh.getControlPoint(column, row);
            const auto [x, y] = mesh.evaluate(1920.0F * column / 6, 1080.0F * row / 4);
            EXPECT_NEAR(x, point[0], 1e-3);
            EXPECT_NEAR(y, point[1], 1e-3);
        }
    }
}

TEST(Mesh, FollowsASplineWorkedOutByHand) {
    // Along one row the values 0, 1, 0 at the knots 0, 1, 2: 0.6875 half way.
    Mesh mesh(2, 1, 3, 2);
    for (int row = 0; row < 2; ++row) {
        mesh.setControlPoint(0, row, {0, 0});
        mesh.setControlPoint(1, row, {1, 0});
        mesh.setControlPoint(2, row, {0, 0});
    }
    mesh = prepared(mesh);
    EXPECT_FLOAT_EQ(mesh.evaluate(0.5F, 0.25F).first, 0.6875F);
    EXPECT_FLOAT_EQ(mesh.evaluate(1.5F, 1.0F).first, 0.6875F);
    // The slope at the left edge is 1.5 and goes on beyond it.
    EXPECT_FLOAT_EQ(mesh.evaluate(-1.0F, 0.0F).first, -1.5F);
    EXPECT_FLOAT_EQ(mesh.evaluate(3.0F, 0.0F).first, -1.5F);
}

TEST(Mesh, IsSmoothAcrossControlPointsAndEdges) {
    const Mesh mesh = prepared(bent(100, 100, 6, 6, [](float x, float y) {
        return Mesh::ControlPoint{x + 5 * std::sin(y / 9), y + 7 * std::cos(x / 11)};
    }));
    const float step = 0.0625F;
    for (float knot = 0; knot <= 100; knot += 20) {
        const auto before = mesh.evaluate(knot - step, 37);
        const auto at = mesh.evaluate(knot, 37);
        const auto after = mesh.evaluate(knot + step, 37);
        EXPECT_NEAR(at.first - before.first, after.first - at.first, 2e-3);
        EXPECT_NEAR(at.second - before.second, after.second - at.second, 2e-3);
    }
}

TEST(Mesh, IsPreparedAgainAfterAChange) {
    Mesh mesh(10, 10, 2, 2);
    EXPECT_THROW(mesh.evaluate(0, 0), KorvanExceptionRuntime);
    mesh.prepareRows();
    EXPECT_THROW(mesh.evaluate(0, 0), KorvanExceptionRuntime);
    mesh.prepareColumns();
    EXPECT_EQ(mesh.evaluate(0, 0), std::make_pair(0.0F, 0.0F));
    mesh.setControlPoint(0, 0, {1, 2});
    EXPECT_THROW(mesh.evaluate(0, 0), KorvanExceptionRuntime);
    mesh.prepareRows();
    mesh.prepareColumns();
    EXPECT_EQ(mesh.evaluate(0, 0), std::make_pair(1.0F, 2.0F));
    mesh.prepareRows();
    mesh.prepareColumns();
    EXPECT_EQ(mesh.evaluate(0, 0), std::make_pair(1.0F, 2.0F));
}

TEST(Mesh, TakesAnyPositionWithoutHarm) {
    const Mesh mesh = prepared(Mesh(10, 10, 2, 2));
    EXPECT_TRUE(std::isnan(mesh.evaluate(std::numeric_limits<float>::quiet_NaN(), 0).first));
    EXPECT_NEAR(mesh.evaluate(1e9F, -1e9F).first, 1e9F, 100.0F);
    mesh.evaluate(std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity());
}

TEST(Mesh, RefusesWhatNoMeshHas) {
    EXPECT_THROW(Mesh(0, 10, 2, 2), KorvanException);
    EXPECT_THROW(Mesh(10, 65537, 2, 2), KorvanException);
    EXPECT_THROW(Mesh(10, 10, 1, 2), KorvanException);
    EXPECT_THROW(Mesh(10, 10, 2, -2), KorvanException);
    EXPECT_THROW(Mesh(10, 10, 2147483647, 2147483647), KorvanException);
    Mesh mesh(10, 10, 3, 2);
    EXPECT_THROW(mesh.getControlPoint(3, 0), KorvanIndexOutOfBoundsException);
    EXPECT_THROW(mesh.getControlPoint(0, -1), KorvanIndexOutOfBoundsException);
    EXPECT_THROW(mesh.setControlPoint(0, 2, {0, 0}), KorvanIndexOutOfBoundsException);
    EXPECT_THROW(mesh.setControlPoint(0, 0, {std::numeric_limits<float>::quiet_NaN(), 0}), KorvanException);
    EXPECT_THROW(mesh.setControlPoint(0, 0, {0, std::numeric_limits<float>::infinity()}), KorvanException);
}

TEST(Mesh, TextFormIsReadable) {
    Mesh mesh(4, 2, 3, 2);
    mesh.setControlPoint(1, 1, {2.5F, -0.125F});
    EXPECT_EQ(mesh.toText(), L"mesh 1\nsize 4 2\ngrid 3 2\n0 0 2 0 4 0\n0 2 2.5 -0.125 4 2\n");
    EXPECT_EQ(mesh.toXml(),
              L"<Mesh width=\"4\" height=\"2\" columns=\"3\" rows=\"2\">"
              L"<Row>0 0 2 0 4 0</Row><Row>0 2 2.5 -0.125 4 2</Row></Mesh>");
}

RC_GTEST_PROP(Mesh, TextFormReadsBackEqual, ()) {
    const int columns = *rc::gen::inRange(2, 12);
    const int rows = *rc::gen::inRange(2, 12);
    Mesh mesh(*rc::gen::inRange(1, 5000), *rc::gen::inRange(1, 5000), columns, rows);
    // Any mantissa at many magnitudes, all below maxCoordinate.
    const auto coordinate = rc::gen::apply(
        [](int mantissa, int exponent) { return std::ldexp(static_cast<float>(mantissa), exponent); },
        rc::gen::arbitrary<int>(), rc::gen::inRange(-60, -1));
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            mesh.setControlPoint(column, row, {*coordinate, *coordinate});
        }
    }
    const std::wstring text = mesh.toText();
    RC_ASSERT(Mesh::fromText(text) == mesh);
    RC_ASSERT(Mesh::fromText(toUtf8(text)) == mesh);
}

TEST(Mesh, TextFormHasNoLocale) {
    struct CommaFraction : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new CommaFraction));
    Mesh mesh(3840, 2160, 2, 2);
    mesh.setControlPoint(0, 0, {1234.5F, 0});
    const std::wstring text = mesh.toText();
    const bool equal = Mesh::fromText(text) == mesh;
    std::locale::global(former);
    EXPECT_NE(text.find(L"\n1234.5 0 "), std::wstring::npos) << toUtf8(text);
    EXPECT_TRUE(equal);
}

TEST(Mesh, TextMayHaveBlanksOfAnyKind) {
    EXPECT_EQ(Mesh::fromText("  mesh\t1\r\nsize 4 2 grid 2 2\r\n0 0\n4 0 0 2 4 2"), Mesh(4, 2, 2, 2));
}

TEST(Mesh, RefusesTextThatIsNoMesh) {
    const std::string good = "mesh 1\nsize 4 2\ngrid 2 2\n0 0 4 0\n0 2 4 12\n";
    ASSERT_NO_THROW(Mesh::fromText(good));
    // Without its last line break it is whole, and without the last digit it says another number.
    for (std::size_t length = 0; length < good.size() - 2; ++length) {
        EXPECT_THROW(Mesh::fromText(good.substr(0, length)), KorvanParseException) << length;
    }
    for (const char* text :
         {"mesh 2\nsize 4 2\ngrid 2 2\n0 0 4 0 0 2 4 2", "mesh 1 size 4 2 grid 2 2 0 0 4 0 0 2 4 2 7",
          "mesh 1 size 0 2 grid 2 2 0 0 4 0 0 2 4 2", "mesh 1 size 4 2 grid 1 4 0 0 4 0 0 2 4 2",
          "mesh 1 size 4 2 grid 2 2 0 0 4 0 0 2 4 nan", "mesh 1 size 4 2 grid 2 2 0 0 4 0 0 2 4 inf",
          "mesh 1 size 4 2 grid 2 2 0 0 4 0 0 2 4 2e9", "mesh 1 size 4 2 grid 2 2 0 0 4 0 0 2 4 1,5",
          "mesh 1 size 4 2 grid 2 2 0 0 4 0 0 2 4 +2", "mesh 1 size 4.0 2 grid 2 2 0 0 4 0 0 2 4 2",
          "mesh 1 size 99999999999 2 grid 2 2 0 0 4 0 0 2 4 2",
          "mesh 1 size 4 2 grid 2 2 0 0 4 0 0 2 4 \xC2\xB2"}) {
        EXPECT_THROW(Mesh::fromText(text), KorvanParseException) << text;
        EXPECT_THROW(Mesh::fromText(toWide(text)), KorvanParseException) << text;
    }
}

TEST(Mesh, HoldsTheGridAgainstTheTextBeforeItTakesMemory) {
    EXPECT_THROW(Mesh::fromText("mesh 1 size 4 2 grid 2147483647 2147483647 0 0"), KorvanParseException);
    EXPECT_THROW(Mesh::fromText("mesh 1 size 4 2 grid 3000 3000 0 0"), KorvanParseException);
}

TEST(MeshProxy, SimpleProxyHasTheFormsOfItsMesh) {
    SimpleMeshProxy proxy(L"Dome", Mesh(4, 2, 2, 2));
    MeshProxy& asProxy = proxy;
    EXPECT_EQ(asProxy.getName(), L"Dome");
    EXPECT_EQ(asProxy.getSize(), std::make_pair(4, 2));
    EXPECT_EQ(asProxy.getText(), Mesh(4, 2, 2, 2).toText());
    EXPECT_EQ(asProxy.getXml(), Mesh(4, 2, 2, 2).toXml());
    asProxy.getMesh().setControlPoint(0, 0, {1, 1});
    EXPECT_NE(asProxy.getText(), Mesh(4, 2, 2, 2).toText());
}

}  // namespace
