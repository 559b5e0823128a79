// What the upload of a picture costs before it is sent (PNG file and base64 text)
// beside libpng alone with the same settings, on a 3840 x 2160 picture of 8 bits
// per channel.
//
// Every round measures both, in turns as to which comes first, and takes their ratio;
// what is printed is the median of the ratios of all rounds. Argument: the number of
// rounds (9 unless given).

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <png.h>

#include "Common/Base64.h"
#include "DeviceManager/JsonDevice/PngWriter.h"

namespace {

constexpr unsigned int width = 3840;
constexpr unsigned int height = 2160;

double secondsOf(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Into memory as well, since that is where a file to be sent has to be.
void libpngAlone(const unsigned char* samples, std::vector<unsigned char>& file) {
    file.clear();
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {
        std::abort();
    }
    png_set_write_fn(
        png, &file,
        [](png_structp writer, png_bytep bytes, std::size_t count) {
            auto& to = *static_cast<std::vector<unsigned char>*>(png_get_io_ptr(writer));
            to.insert(to.end(), bytes, bytes + count);
        },
        nullptr);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (unsigned int row = 0; row < height; ++row) {
        png_write_row(png, samples + std::size_t{row} * width * 3);
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
}

/// A test chart is large areas, lines and ramps; a photograph has noise in it.
std::vector<unsigned char> picture(bool photograph) {
    std::vector<unsigned char> samples(std::size_t{width} * height * 3);
    std::mt19937 random(1);
    for (unsigned int y = 0; y < height; ++y) {
        for (unsigned int x = 0; x < width; ++x) {
            unsigned char* const pixel = samples.data() + 3 * (std::size_t{y} * width + x);
            for (int channel = 0; channel < 3; ++channel) {
                const double wave = std::sin(x * 0.003 * (channel + 1)) * std::cos(y * 0.004);
                if (photograph) {
                    pixel[channel] = static_cast<unsigned char>(128 + 100 * wave + random() % 13);
                } else {
                    pixel[channel] = x % 240 < 2 || y % 216 < 2
                                         ? 255
                                         : static_cast<unsigned char>((x / 240 + y / 216) % 2 * 40 + x / 30);
                }
            }
        }
    }
    return samples;
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 9;
    std::vector<unsigned char> file;
    for (const bool photograph : {false, true}) {
        const auto samples = picture(photograph);
        std::vector<double> alone;
        std::vector<double> ours;
        std::vector<double> ratios;
        std::string text;
        for (int round = 0; round < rounds; ++round) {
            const auto measureAlone = [&] {
                alone.push_back(secondsOf([&] { libpngAlone(samples.data(), file); }));
            };
            const auto measureOurs = [&] {
                ours.push_back(secondsOf([&] {
                    text = encodeBase64(JsonDevice::makePng({1, width, height, samples.data()}, ""));
                }));
            };
            if (round % 2 == 0) {
                measureAlone();
                measureOurs();
            } else {
                measureOurs();
                measureAlone();
            }
            ratios.push_back(ours.back() / alone.back());
        }
        if (text != encodeBase64(file)) {
            std::puts("The files differ");
            return 1;
        }
        const auto median = [](std::vector<double> values) {
            std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
            return values[values.size() / 2];
        };
        std::printf("%-12s libpng alone %7.1f ms  PNG and base64 %7.1f ms  ratio %.3f  (%.1f MB)\n",
                    photograph ? "photograph" : "test chart", median(alone) * 1e3, median(ours) * 1e3,
                    median(ratios), static_cast<double>(file.size()) / 1e6);
    }
    return 0;
}
