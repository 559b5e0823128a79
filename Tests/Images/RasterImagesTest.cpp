#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Exceptions.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"
#include "Tests/Support/Memory.h"

namespace {

/// An image that offers one pixel at a time only.
class Computed : public GrayscaleImage {
public:
    int getHSize() const override { return 5; }
    int getVSize() const override { return 2; }
    float getCenterValue(int x, int y) const override { return static_cast<float>(10 * y + x); }
};

template <class Image>
void expectToSurvive(Image& small, const Image& large) {
    const int h = small.getHSize();
    const int v = small.getVSize();
    const Memory::AddressSpaceLimit limit(Memory::megabyte);
    if (!limit.isSet()) {
        GTEST_SKIP() << "a sanitizer needs the address space";
    }
    EXPECT_THROW(small = large, std::bad_alloc);
    EXPECT_EQ(small.getHSize(), h);
    EXPECT_EQ(small.getVSize(), v);
}

TEST(RasterImages, AnAssignmentForWhichMemoryRunsOutChangesNothing) {
    RasterGrayscaleImage gray(3, 2, nullptr);
    gray.setValue(2, 1, 0.25F);
    expectToSurvive(gray, RasterGrayscaleImage(4096, 4096, nullptr));
    EXPECT_EQ(gray.getCenterValue(2, 1), 0.25F);
    RasterRGBImage colour(3, 2, nullptr, true);
    expectToSurvive(colour, RasterRGBImage(4096, 1024, nullptr, true));
}

TEST(RasterGrayscaleImage, StartsBlackAndKeepsWhatIsSet) {
    RasterGrayscaleImage image(3, 2, nullptr);
    EXPECT_EQ(image.getHSize(), 3);
    EXPECT_EQ(image.getVSize(), 2);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(image.getData()[i], 0.0F);
    }
    image.setValue(2, 1, 0.5F);
    EXPECT_EQ(image.getCenterValue(2, 1), 0.5F);
    EXPECT_EQ(image.getData()[5], 0.5F);
    const RasterGrayscaleImage copy = image;
    image.setValue(2, 1, 1.0F);
    EXPECT_EQ(copy.getCenterValue(2, 1), 0.5F);
}

TEST(RasterGrayscaleImage, LargeImagesStartBlackToo) {
    // Large enough for memory straight from the system, and no multiple of a page.
    RasterGrayscaleImage image(1237, 1025, nullptr);
    const std::size_t count = std::size_t{1237} * 1025;
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(image.getData()[i], 0.0F);
        image.getData()[i] = 1.0F;
    }
    const RasterGrayscaleImage copy = image;
    image = RasterGrayscaleImage();
    EXPECT_EQ(image.getData(), nullptr);
    EXPECT_EQ(copy.getCenterValue(1236, 1024), 1.0F);
}

TEST(RasterGrayscaleImage, RefusesNegativeSizes) {
    EXPECT_THROW(RasterGrayscaleImage(-1, 1, nullptr), KorvanExceptionRuntime);
    EXPECT_THROW(RasterRGBImage(1, -1, nullptr, true), KorvanExceptionRuntime);
}

TEST(RasterGrayscaleImage, OffersViewsOfItsRows) {
    const float data[] = {0, 1, 2, 3, 4, 5};
    const RasterGrayscaleImage image(3, 2, data);
    EXPECT_EQ(image.getCenterValues(1, 1, 2, nullptr), image.getData() + 4);
}

TEST(GrayscaleImage, RowsFallBackOnSinglePixels) {
    const Computed image;
    float buffer[3];
    EXPECT_EQ(image.getCenterValues(2, 1, 3, buffer), buffer);
    EXPECT_EQ(std::vector<float>(buffer, buffer + 3), (std::vector<float>{12, 13, 14}));
}

TEST(RasterRGBImage, TakesInterleavedAndPlanarData) {
    const float data[] = {1, 2, 3, 4, 5, 6};
    float red, green, blue;
    RasterRGBImage(2, 1, data, true).getCenterValue(1, 0, red, green, blue);
    EXPECT_EQ((std::vector<float>{red, green, blue}), (std::vector<float>{4, 5, 6}));
    RasterRGBImage planar(2, 1, data, false);
    planar.getCenterValue(1, 0, red, green, blue);
    EXPECT_EQ((std::vector<float>{red, green, blue}), (std::vector<float>{2, 4, 6}));
    planar.setRedValue(0, 0, 7);
    planar.setGreenValue(0, 0, 8);
    planar.setBlueValue(0, 0, 9);
    const float* const row = planar.getCenterValues(0, 0, 2, nullptr);
    EXPECT_EQ(std::vector<float>(row, row + 6), (std::vector<float>{7, 8, 9, 2, 4, 6}));
}

class PgmFile : public testing::Test {
protected:
    PgmFile() {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        path = std::filesystem::path(testing::TempDir()) / (std::string("image-") + test->name() + ".pgm");
    }
    ~PgmFile() override { std::filesystem::remove(path); }
    std::string content() const {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    std::filesystem::path path;
};

TEST_F(PgmFile, HasOneByteASampleUpTo255) {
    const float data[] = {-1.0F, 0.0F, 0.5F, 1.0F, 2.0F, std::numeric_limits<float>::quiet_NaN()};
    const RasterGrayscaleImage image(3, 2, data);
    ASSERT_TRUE(image.exportAsPGM(path, 255));
    EXPECT_EQ(content(), std::string("P5\n3 2\n255\n\x00\x00\x80\xFF\xFF\x00", 17));
    ASSERT_TRUE(image.exportAsPGM(path, 10));
    EXPECT_EQ(content(), std::string("P5\n3 2\n10\n\x00\x00\x05\x0A\x0A\x00", 16));
}

TEST_F(PgmFile, HasTwoBytesASampleAbove) {
    const float data[] = {0.0F, 0.5F, 1.0F};
    ASSERT_TRUE(RasterGrayscaleImage(3, 1, data).exportAsPGM(path, 65535));
    EXPECT_EQ(content(), std::string("P5\n3 1\n65535\n\x00\x00\x80\x00\xFF\xFF", 19));
    ASSERT_TRUE(RasterGrayscaleImage(3, 1, data).exportAsPGM(path, 256));
    EXPECT_EQ(content(), std::string("P5\n3 1\n256\n\x00\x00\x00\x80\x01\x00", 17));
}

TEST_F(PgmFile, SaysWhenItCannotBeWritten) {
    const RasterGrayscaleImage image(1, 1, nullptr);
    EXPECT_FALSE(image.exportAsPGM(path / "no such folder" / "a.pgm", 255));
    EXPECT_FALSE(image.exportAsPGM(path, 0));
    EXPECT_FALSE(image.exportAsPGM(path, 65536));
}

}  // namespace
