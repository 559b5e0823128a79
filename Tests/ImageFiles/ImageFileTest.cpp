#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ImageFiles/ImageFile.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Tests/Support/TemporaryFolder.h"

namespace ImageFiles {
namespace {

class ImageFile : public testing::Test {
protected:
    static std::string content(const std::filesystem::path& path) { return TemporaryFolder::content(path); }
    std::size_t filesInFolder() const { return temporary.entries(); }

    const TemporaryFolder temporary;
    const std::filesystem::path folder = temporary.path();
};

/// As on a full disk, no file grows beyond so many bytes.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : previousHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &previous);
        const rlimit limited{bytes, previous.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &previous);
        std::signal(SIGXFSZ, previousHandler);
    }

private:
    rlimit previous{};
    void (*previousHandler)(int);
};

Picture noise(int width, int height, int channels) {
    Picture picture(width, height, channels);
    std::mt19937 random(1);
    for (float& value : picture.values) {
        value = static_cast<float>(random() % 65536) / 65535;
    }
    return picture;
}

Picture colours(int channels) {
    Picture picture(17, 9, channels);
    for (std::size_t i = 0; i < picture.values.size(); ++i) {
        picture.values[i] = static_cast<float>(i % 256) / 255;
    }
    return picture;
}

/// What an action says of a file that it cannot read or write.
template <class Action>
std::string errorOfAction(const Action& action) {
    try {
        action();
    } catch (const ImageFileError& error) {
        return error.what();
    }
    return "";
}

std::string errorOf(const std::string& content, std::size_t maximumPixels = 1000000) {
    return errorOfAction([&] { parsePicture(content, "file", maximumPixels); });
}

TEST_F(ImageFile, EveryFormatComesBack) {
    for (const int channels : {1, 3}) {
        const Picture picture = colours(channels);
        for (const char* const name : {"a.png", "a.PNG", "a.pgm", "a.pfm"}) {
            for (const int bits : {8, 16}) {
                if (channels == 3 && std::string(name) == "a.pgm") {
                    continue;
                }
                writePicture(picture, folder / name, bits);
                const Picture read = readPicture(folder / name);
                EXPECT_EQ(read.width, 17);
                EXPECT_EQ(read.height, 9);
                EXPECT_EQ(read.channels, channels) << name;
                ASSERT_EQ(read.values.size(), picture.values.size());
                for (std::size_t i = 0; i < read.values.size(); ++i) {
                    // Multiples of 1/255 are multiples of 1/65535 too.
                    ASSERT_FLOAT_EQ(read.values[i], picture.values[i]) << name << " " << bits << " " << i;
                }
            }
        }
    }
}

TEST_F(ImageFile, SamplesAreLimitedAndFloatsAreNot) {
    Picture picture(4, 1, 1);
    picture.values = {-1.0F, 2.0F, std::numeric_limits<float>::quiet_NaN(), 0.5F};
    writePicture(picture, folder / "a.pgm", 8);
    EXPECT_EQ(content(folder / "a.pgm"), std::string("P5\n4 1\n255\n\x00\xFF\x00\x80", 15));
    writePicture(picture, folder / "a.pgm", 16);
    EXPECT_EQ(content(folder / "a.pgm"), std::string("P5\n4 1\n65535\n\x00\x00\xFF\xFF\x00\x00\x80\x00", 21));
    writePicture(picture, folder / "a.pfm");
    const Picture read = readPicture(folder / "a.pfm");
    EXPECT_EQ(read.values[0], -1.0F);
    EXPECT_EQ(read.values[1], 2.0F);
    EXPECT_TRUE(std::isnan(read.values[2]));
}

TEST_F(ImageFile, ReadsWhatAnImageExports) {
    RasterGrayscaleImage image(3, 2, nullptr);
    image.setValue(2, 1, 1.0F);
    for (const int maximum : {100, 255, 1000, 65535}) {
        ASSERT_TRUE(image.exportAsPGM(folder / "a.pgm", maximum));
        const Picture read = readPicture(folder / "a.pgm");
        EXPECT_EQ(read.values, (std::vector<float>{0, 0, 0, 0, 0, 1}));
    }
}

TEST(ImageFileParsing, PortableMapsMayHoldComments) {
    const Picture picture = parsePicture("P5 # made by hand\n# 3 by 1\n3\t1 # and\n200\nA\x64\xC8", "file");
    EXPECT_EQ(picture.values, (std::vector<float>{65 / 200.0F, 0.5F, 1.0F}));
    EXPECT_EQ(parsePicture("P5#made by hand\n3#by\n1\n200#\nA\x64\xC8", "file").values, picture.values);
}

TEST(ImageFileParsing, FloatMapsAreReadInBothByteOrdersFromTheBottom) {
    const std::vector<float> expected = {1.0F, 0.0F};  // the upper pixel is the last one
    EXPECT_EQ(parsePicture(std::string("Pf\n1 2\n-1.0\n\0\0\0\0\0\0\x80\x3F", 20), "file").values, expected);
    EXPECT_EQ(parsePicture(std::string("Pf\n1 2\n1.0\n\0\0\0\0\x3F\x80\0\0", 19), "file").values, expected);
}

TEST(ImageFileParsing, SaysWhatIsWrong) {
    EXPECT_EQ(errorOf(""), "file: the file is empty");
    EXPECT_EQ(errorOf("GIF89a"), "file: neither a PNG nor a binary PGM nor a PFM");
    EXPECT_EQ(errorOf("P5"), "file: the header is broken");
    EXPECT_EQ(errorOf("P5xyz\n1 1\n255\nx"), "file: the header is broken");
    EXPECT_EQ(errorOf("Pfx\n1 1\n-1.0\nabcd"), "file: the header is broken");
    EXPECT_EQ(errorOf("PF3\n1 1\n-1.0\nabcdabcdabcd"), "file: the header is broken");
    for (const char* const scale : {"abc", "-", "-x", "1.0x", "0", "-0.0", "nan", "-inf", "1,5", "+-1"}) {
        EXPECT_EQ(errorOf("Pf\n1 1\n" + std::string(scale) + "\nabcd"), "file: the header is broken")
            << scale;
    }
    for (const char* const scale : {"1", "-1", "-1.0", "+1.0", "2.5e-1", "-.5"}) {
        EXPECT_EQ(errorOf("Pf\n1 1\n" + std::string(scale) + "\nabcd"), "") << scale;
    }
    EXPECT_EQ(errorOf("P5\n3 x\n255\n"), "file: the header is broken");
    EXPECT_EQ(errorOf("P5\n3 -1\n255\n"), "file: the header is broken");
    EXPECT_EQ(errorOf("P5\n99999999999999999999 1\n255\n"), "file: the header is broken");
    EXPECT_EQ(errorOf("P5\n0 1\n255\n"), "file: the image has no pixels");
    EXPECT_EQ(errorOf("P5\n2 2\n0\nabcd"), "file: the largest value must be from 1 to 65535");
    EXPECT_EQ(errorOf("P5\n2 2\n65536\nabcd"), "file: the largest value must be from 1 to 65535");
    EXPECT_EQ(errorOf("P5\n2 2\n255\nabc"), "file: the file ends early: 3 of 4 bytes of pixels are there");
    EXPECT_EQ(errorOf("PF\n2 2\n-1.0\nabc"), "file: the file ends early: 3 of 48 bytes of pixels are there");
    EXPECT_EQ(errorOf("P5\n2000000000 2000000000\n255\n"),
              "file: the image is too large: 2000000000 x 2000000000, and at most 1000000 pixels are read");
    EXPECT_EQ(errorOf("P5\n1001 1000\n255\n"),
              "file: the image is too large: 1001 x 1000, and at most 1000000 pixels are read");
    EXPECT_EQ(errorOf("\x89PNG\r\n\x1A\n"), "file: broken PNG: the file ends early");
}

TEST_F(ImageFile, EveryTruncationAndManyDamagesOfAPngAreErrorsOrPictures) {
    writePicture(colours(3), folder / "a.png", 16);
    const std::string good = content(folder / "a.png");
    ASSERT_EQ(errorOf(good), "");
    for (std::size_t length = 0; length < good.size(); ++length) {
        ASSERT_NE(errorOf(good.substr(0, length)), "") << length;
    }
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = good;
        damaged[random() % damaged.size()] = static_cast<char>(random());
        errorOf(damaged);  // must neither crash nor read outside
    }
}

/// The PNG with other sizes and samples in its header, and the check sum that goes with them.
std::string withHeader(std::string png, std::uint32_t width, std::uint32_t height, char bits, char type) {
    const auto put = [&](std::size_t at, std::uint32_t word) {
        for (int i = 0; i < 4; ++i) {
            png[at + static_cast<std::size_t>(i)] = static_cast<char>(word >> (24 - 8 * i));
        }
    };
    put(16, width);
    put(20, height);
    png[24] = bits;
    png[25] = type;
    std::uint32_t sum = 0xFFFFFFFF;
    for (std::size_t i = 12; i < 29; ++i) {
        sum ^= static_cast<unsigned char>(png[i]);
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
        }
    }
    put(29, ~sum);
    return png;
}

TEST_F(ImageFile, APngThatClaimsMoreThanItCanHoldIsRefused) {
    writePicture(Picture(1, 1, 1), folder / "a.png", 8);
    const std::string png = content(folder / "a.png");
    const std::string large = withHeader(png, 16000, 16000, 8, 0);
    EXPECT_EQ(errorOf(large, std::size_t{1} << 28),
              "file: broken PNG: the file is too short for an image of 16000 x 16000");
    EXPECT_EQ(errorOf(large, 1000000),
              "file: the image is too large: 16000 x 16000, and at most 1000000 pixels are read");
    // Enough bytes for so many pixels of one bit, and not of 48.
    EXPECT_EQ(errorOf(withHeader(png, 16384, 16384, 16, 2) + std::string(31000, 'x'), std::size_t{1} << 28),
              "file: broken PNG: the file is too short for an image of 16384 x 16384");
}

TEST_F(ImageFile, APngThatDeflateMadeAsSmallAsItCanIsRead) {
    for (const int channels : {1, 3}) {
        for (const int bits : {8, 16}) {
            const Picture black(3000, 2000, channels);
            writePicture(black, folder / "a.png", bits);
            EXPECT_EQ(readPicture(folder / "a.png").values, black.values);
        }
    }
}

TEST_F(ImageFile, SaysWhyAFileCannotBeReadOrWritten) {
    const std::string missing = (folder / "missing.png").string();
    EXPECT_EQ(errorOfAction([&] { readPicture(missing); }),
              missing + ": cannot be opened: No such file or directory");
    EXPECT_EQ(errorOfAction([&] { readPicture(folder); }), folder.string() + ": is a folder");
    const std::string nowhere = (folder / "none" / "a.png").string();
    EXPECT_EQ(errorOfAction([&] { writePicture(colours(1), nowhere); }),
              nowhere + ": cannot be written: No such file or directory");
    const std::string colour = (folder / "a.pgm").string();
    EXPECT_EQ(errorOfAction([&] { writePicture(colours(3), colour); }),
              colour + ": a PGM holds no colour; write a PNG or a PFM");
    EXPECT_FALSE(std::filesystem::exists(colour));
    EXPECT_EQ(errorOfAction([&] { writePicture(colours(1), "picture.jpg"); }),
              "picture.jpg: the name must end in .png, .pgm or .pfm");
    EXPECT_NE(errorOfAction([&] { writePicture(colours(1), folder / "a.png", 12); }), "");
    EXPECT_NE(errorOfAction([&] { writePicture(Picture(), folder / "a.png"); }), "");
}

TEST_F(ImageFile, WhatWasThereStaysWhenANewOneCannotBeWritten) {
    const auto precious = [&](const char* name) {
        std::ofstream(folder / name, std::ios::binary) << "precious";
        return folder / name;
    };
    const std::filesystem::path colour = precious("colour.pgm");
    EXPECT_EQ(errorOfAction([&] { writePicture(colours(3), colour); }),
              colour.string() + ": a PGM holds no colour; write a PNG or a PFM");
    EXPECT_EQ(content(colour), "precious");
    for (const char* const name : {"a.png", "a.pgm", "a.pfm"}) {
        // Larger than what is kept back until the file is closed, and smaller.
        for (const int size : {100, 20}) {
            const std::filesystem::path file = precious(name);
            const Picture picture = noise(size, size, 1);
            std::string error;
            {
                const FullDisk full(100);
                error = errorOfAction([&] { writePicture(picture, file); });
            }
            EXPECT_EQ(error.rfind(file.string() + ": cannot be written: ", 0), 0U) << error;
            EXPECT_EQ(content(file), "precious");
        }
    }
    EXPECT_EQ(filesInFolder(), 4U);
}

TEST_F(ImageFile, AFileIsReplacedWithItsModeAndNothingIsLeftBesideIt) {
    writePicture(noise(100, 100, 3), folder / "a.png");
    ASSERT_EQ(::chmod((folder / "a.png").c_str(), 0640), 0);
    writePicture(colours(1), folder / "a.png");
    EXPECT_EQ(readPicture(folder / "a.png").width, 17);
    EXPECT_EQ(std::filesystem::status(folder / "a.png").permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(ImageFile, AWriteProtectedFileStays) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "nothing is write-protected for root";
    }
    writePicture(noise(10, 10, 1), folder / "a.png");
    ASSERT_EQ(::chmod((folder / "a.png").c_str(), 0444), 0);
    EXPECT_EQ(errorOfAction([&] { writePicture(colours(1), folder / "a.png"); }),
              (folder / "a.png").string() + ": cannot be written: Permission denied");
    EXPECT_EQ(readPicture(folder / "a.png").width, 10);
}

TEST_F(ImageFile, IsWrittenWhereALinkLeads) {
    std::filesystem::create_directories(folder / "elsewhere");
    std::filesystem::create_symlink("elsewhere/real.png", folder / "second.png");
    std::filesystem::create_symlink(folder / "second.png", folder / "a.png");
    for (const int channels : {1, 3}) {  // to nowhere yet, and to a file
        writePicture(colours(channels), folder / "a.png");
        EXPECT_TRUE(std::filesystem::is_symlink(folder / "a.png"));
        EXPECT_TRUE(std::filesystem::is_symlink(folder / "second.png"));
        EXPECT_EQ(readPicture(folder / "elsewhere" / "real.png").channels, channels);
    }
    std::filesystem::create_symlink("round.png", folder / "round.png");
    EXPECT_NE(errorOfAction([&] { writePicture(colours(1), folder / "round.png"); }), "");
}

TEST_F(ImageFile, DevicesAndOpenFilesAreWrittenAndNotReplaced) {
    std::filesystem::create_symlink("/dev/null", folder / "null.pgm");
    writePicture(colours(1), folder / "null.pgm");
    EXPECT_TRUE(std::filesystem::is_character_file(folder / "null.pgm"));

    std::filesystem::create_symlink("/dev/full", folder / "full.pgm");
    EXPECT_EQ(errorOfAction([&] { writePicture(colours(1), folder / "full.pgm"); }),
              (folder / "full.pgm").string() + ": cannot be written: No space left on device");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "full.pgm"));

    // As /dev/stdout is where the standard output goes to a file.
    const int file = ::open((folder / "output").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    ASSERT_GE(file, 0);
    std::filesystem::create_symlink("/dev/fd/" + std::to_string(file), folder / "open.pgm");
    writePicture(colours(1), folder / "open.pgm", 8);
    struct stat status {};
    EXPECT_EQ(::fstat(file, &status), 0);
    ::close(file);
    EXPECT_EQ(status.st_nlink, 1U);
    EXPECT_EQ(content(folder / "output").substr(0, 12), "P5\n17 9\n255\n");
}

TEST_F(ImageFile, WhatIsNoPictureIsNotReadToItsEnd) {
    EXPECT_EQ(errorOfAction([] { readPicture("/dev/zero", 1000); }),
              "/dev/zero: neither a PNG nor a binary PGM nor a PFM");
}

TEST_F(ImageFile, APictureWithoutAnEndIsNotReadForEver) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    auto* const previous = std::signal(SIGPIPE, SIG_IGN);
    std::thread writer([file = ends[1]] {
        std::string block = "P5\n1 1\n255\n";
        while (::write(file, block.data(), block.size()) > 0) {
            block.assign(65536, 'x');
        }
        ::close(file);
    });
    const std::string file = "/dev/fd/" + std::to_string(ends[0]);
    EXPECT_EQ(errorOfAction([&] { readPicture(file, 100); }),
              file + ": the file is too large: more than 67110064 bytes");
    ::close(ends[0]);
    writer.join();
    std::signal(SIGPIPE, previous);
}

TEST_F(ImageFile, ALimitOfPixelsMayBeAnyNumber) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    writePicture(colours(3), folder / "a.pfm");
    // Counted in 64 bits, the longest file for the second has no bytes.
    for (const std::size_t limit : {most, (most - (std::size_t{1} << 26)) / 12 + 1}) {
        EXPECT_EQ(errorOfAction([&] { readPicture(folder / "a.pfm", limit); }), "");
        // Likewise these pixels take 1832 bytes.
        EXPECT_NE(errorOf("PF\n1083759982 1418421697\n-1\n" + std::string(2000, 'x'), limit), "");
    }
}

TEST_F(ImageFile, AFileLongerThanItsPictureMayBeIsNotReadToItsEnd) {
    std::ofstream(folder / "a.pgm", std::ios::binary) << "P5\n1 1\n255\nx";
    std::filesystem::resize_file(folder / "a.pgm", std::uintmax_t{1} << 30);  // sparse
    EXPECT_EQ(errorOfAction([&] { readPicture(folder / "a.pgm", 100); }),
              (folder / "a.pgm").string() + ": the file is too large: more than 67110064 bytes");
    // The size is looked at before the content.
    std::ofstream(folder / "a.pgm", std::ios::binary) << "no picture";
    std::filesystem::resize_file(folder / "a.pgm", std::uintmax_t{1} << 30);
    EXPECT_EQ(errorOfAction([&] { readPicture(folder / "a.pgm", 100); }),
              (folder / "a.pgm").string() + ": the file is too large: more than 67110064 bytes");
}

}  // namespace
}  // namespace ImageFiles
