// The image encodings beside what bounds them: reading the floats once for an
// encoder, setting the same memory once for a decoder, both on one thread; and
// beside a plain implementation, which calls the image for each pixel and goes
// character by character.
//
// Every round measures all forms one after another, on images in turn so that none
// is still in the caches, and takes ratios; what is printed are medians of the
// ratios of all rounds. Where the plain implementation is measured, its time divided
// by a form's says how many times as fast that is. Arguments: the number of rounds
// (31 unless given), and a part of the titles of what is to be measured.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "Common/Base64.h"
#include "Common/Base64Portable.h"
#include "Common/ZLibCompress.h"
#include "DeviceManager/JsonDevice/ImageCodec/ByteRaster.h"
#include "DeviceManager/JsonDevice/ImageCodec/Kernels.h"
#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"
#include "DeviceManager/JsonDevice/ImageCodec/RunLength.h"
#include "Platform/Devices/RasterGrayscaleImage.h"

namespace {

using namespace JsonDevice::ImageCodec;
using Source = ImageValues<GrayscaleImage, 1>;

constexpr int columns = 3840;
constexpr int rows = 2160;
constexpr std::size_t pixels = std::size_t{columns} * rows;
constexpr std::size_t images = 5;

volatile std::uint64_t sink;

/// Adds up the bits of all floats: no faster way to have read them.
void readOnce(const float* values, std::size_t count) {
    const auto* const words = reinterpret_cast<const std::uint32_t*>(values);
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += words[i];
    }
    sink = sum;
}

void setOnce(float* values, std::size_t count) {
    std::memset(values, 0x3F, count * sizeof(float));
    sink = static_cast<std::uint64_t>(values[count - 1]);
}

/// The same in halves on two threads: what a second thread can bring at all.
template <class Value>
void onTwo(void (*work)(Value*, std::size_t), Value* values) {
    forEachPiece(2, 2, [&](std::size_t piece) { work(values + piece * pixels / 2, pixels / 2); });
}

// ---- The plain implementation

std::size_t plainRunLength(const GrayscaleImage& image, char* text) {
    const int h = image.getHSize();
    const int v = image.getVSize();
    const std::unique_ptr<int[]> values(new int[static_cast<std::size_t>(h) * static_cast<std::size_t>(v)]);
    int* out = values.get();
    for (int y = 0; y < v; ++y) {
        for (int x = 0; x < h; ++x) {
            float value = image.getCenterValue(x, y);
            value = value < 0 ? 0 : (value > 1 ? 1 : value);
            *out++ = static_cast<int>(value * 2048 + 0.5F);
        }
    }
    char* at = text;
    int last = -1;
    int run = 0;
    for (const int* value = values.get(); value != out; ++value) {
        if (*value == last && run < 63) {
            ++run;
            continue;
        }
        if (run > 0) {
            at = insertRLECount(at, run);
            run = 0;
        }
        at = insertRLEValue(at, *value);
        last = *value;
    }
    if (run > 0) {
        at = insertRLECount(at, run);
    }
    return static_cast<std::size_t>(at - text);
}

void plainRunLengthDecode(const std::string& text, RasterGrayscaleImage& image) {
    const char* at = text.data();
    int pending = 0;
    int current = 0;
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            if (pending == 0 && *at == '/') {
                pending = Base64Portable::valueOf(at[1]);
                at += 2;
            }
            if (pending > 0) {
                --pending;
            } else {
                current = Base64Portable::valueOf(at[0]) * 64 + Base64Portable::valueOf(at[1]);
                at += 2;
            }
            image.setValue(x, y, static_cast<float>(current) * 0.00048828125F);
        }
    }
}

void plainBytes(const GrayscaleImage& image, std::uint8_t* bytes) {
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            float value = image.getCenterValue(x, y);
            value = value < 0 ? 0 : (value > 1 ? 1 : value);
            *bytes++ = static_cast<std::uint8_t>(value * 255 + 0.5F);
        }
    }
}

void plainFromBytes(const std::uint8_t* bytes, RasterGrayscaleImage& image) {
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            image.setValue(x, y, static_cast<float>(*bytes++ / 255.0));
        }
    }
}

// ---- Contents

float ramp(int position, int size, double share) {
    const double width = share * size;
    const double distance = std::min(position + 0.5, size - position - 0.5);
    return distance >= width ? 1.0F : static_cast<float>(0.5 - 0.5 * std::cos(M_PI * distance / width));
}

void fill(const std::string& content, std::size_t number, RasterGrayscaleImage& image) {
    std::mt19937 random(static_cast<unsigned>(number));
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            float value = 1.0F;
            if (content == "blend") {
                value = ramp(x, columns, 0.15) * ramp(y, rows, 0.10);
            } else if (content == "noise") {
                value = static_cast<float>(random()) / 4294967296.0F;
            }
            image.setValue(x, y, value);
        }
    }
}

// ---- Measuring

struct Form {
    std::string name;
    std::function<void(std::size_t image)> run;
};

double seconds(const Form& form, std::size_t image) {
    const auto start = std::chrono::steady_clock::now();
    form.run(image);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// A form that does not do its work would be a fast one.
void require(bool done, const char* work) {
    if (!done) {
        std::fprintf(stderr, "failed: %s\n", work);
        std::exit(1);
    }
}

/// Only what has this in its title is measured.
std::string selected;

/// Prints each form's time as a multiple of the first one's, and that of the plain one
/// as a multiple of each form's.
void compare(const std::string& title, const std::vector<Form>& forms, int rounds) {
    if (title.find(selected) == std::string::npos) {
        return;
    }
    std::vector<std::vector<double>> times(forms.size());
    std::vector<std::vector<double>> ratios(forms.size());
    std::vector<std::vector<double>> gains(forms.size());
    const auto plain = static_cast<std::size_t>(
        std::find_if(forms.begin(), forms.end(), [](const Form& form) { return form.name == "plain"; }) -
        forms.begin());
    std::size_t image = 0;
    for (int round = -2; round < rounds; ++round) {
        std::vector<double> taken;
        for (const Form& form : forms) {
            taken.push_back(seconds(form, image++ % images));
        }
        for (std::size_t i = 0; round >= 0 && i < forms.size(); ++i) {
            times[i].push_back(taken[i]);
            ratios[i].push_back(taken[i] / taken[0]);
            if (plain < forms.size()) {
                gains[i].push_back(taken[plain] / taken[i]);
            }
        }
    }
    std::printf("%s\n", title.c_str());
    for (std::size_t i = 0; i < forms.size(); ++i) {
        const double best = *std::min_element(times[i].begin(), times[i].end());
        std::printf("    %-14s %9.3f ms   %7.2f x %s   (best %.3f ms)", forms[i].name.c_str(),
                    median(times[i]) * 1e3, median(ratios[i]), forms[0].name.c_str(), best * 1e3);
        if (plain < forms.size()) {
            std::printf("   plain / form %7.2f", median(gains[i]));
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 31;
    selected = argc > 2 ? argv[2] : "";
    if (rounds < 1) {
        std::fprintf(stderr, "usage: %s [rounds [part of a title]]\n", argv[0]);
        return 2;
    }
    std::printf("%d x %d, medians of %d rounds\n", columns, rows, rounds);
    std::vector<RasterGrayscaleImage> sources;
    std::vector<RasterGrayscaleImage> targets;
    for (std::size_t i = 0; i < images; ++i) {
        sources.emplace_back(columns, rows, nullptr);
        targets.emplace_back(columns, rows, nullptr);
        setOnce(targets.back().getData(), pixels);
    }
    std::vector<char> text(2 * pixels);
    std::vector<std::uint8_t> bytes(pixels);
    std::vector<std::uint8_t> deflated(pixels);
    const Form read{"read", [&](std::size_t i) { readOnce(sources[i].getData(), pixels); }};
    const Form readOnTwo{"read, two",
                         [&](std::size_t i) { onTwo<const float>(readOnce, sources[i].getData()); }};
    const Form set{"set", [&](std::size_t i) { setOnce(targets[i].getData(), pixels); }};
    const Form setOnTwo{"set, two", [&](std::size_t i) { onTwo<float>(setOnce, targets[i].getData()); }};

    for (const std::string content : {"blend", "uniform", "noise"}) {
        for (std::size_t i = 0; i < images; ++i) {
            fill(content, i, sources[i]);
        }
        const auto encode = [&](std::size_t workers) {
            return [&, workers](std::size_t i) {
                sink = encodeRunLength(Source(sources[i]), grayscaleLimit, text.data(), workers);
            };
        };
        compare("RLE encode, " + content,
                {read,
                 readOnTwo,
                 {"one thread", encode(1)},
                 {"two threads", encode(2)},
                 {"plain", [&](std::size_t i) { sink = plainRunLength(sources[i], text.data()); }}},
                rounds);
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < images; ++i) {
            texts.emplace_back(text.data(),
                               encodeRunLength(Source(sources[i]), grayscaleLimit, text.data(), 2));
        }
        const auto decode = [&](std::size_t workers) {
            return [&, workers](std::size_t i) {
                const auto plan = planRunLength(texts[i], pixels, workers > 1);
                require(plan.has_value(), "RLE decode");
                decodeRunLength(*plan, targets[i].getData(), workers);
            };
        };
        compare("RLE decode, " + content,
                {set,
                 setOnTwo,
                 {"one thread", decode(1)},
                 {"two threads", decode(2)},
                 {"plain", [&](std::size_t i) { plainRunLengthDecode(texts[i], targets[i]); }}},
                rounds);
    }

    for (std::size_t i = 0; i < images; ++i) {
        fill("blend", i, sources[i]);
    }
    const auto encode = [&](std::size_t workers) {
        return [&, workers](std::size_t i) { encodePlain(Source(sources[i]), text.data(), workers); };
    };
    compare("\"none\" encode, blend",
            {read,
             readOnTwo,
             {"one thread", encode(1)},
             {"two threads", encode(2)},
             {"plain",
              [&](std::size_t i) {
                  plainBytes(sources[i], bytes.data());
                  Base64Portable::encode(bytes.data(), pixels, text.data());
              }}},
            rounds);
    const std::vector<std::string> texts(images, std::string(text.data(), base64Length(pixels)));
    const auto decode = [&](std::size_t workers) {
        return [&, workers](std::size_t i) {
            require(decodePlain(texts[i], targets[i].getData(), pixels, workers), "\"none\" decode");
        };
    };
    compare("\"none\" decode, blend",
            {set,
             setOnTwo,
             {"one thread", decode(1)},
             {"two threads", decode(2)},
             {"plain",
              [&](std::size_t i) {
                  require(Base64Portable::decode(texts[i].data(), texts[i].size(), bytes.data(), pixels) ==
                              pixels,
                          "plain \"none\" decode");
                  plainFromBytes(bytes.data(), targets[i]);
              }}},
            rounds);

    // The marshaller's steps around zlib; half the rounds are enough for what takes so long.
    const int fewRounds = std::max(1, rounds / 2);
    for (const std::string content : {"blend", "uniform"}) {
        if (("ZLIB decode, " + content + "ZLIB encode, " + content).find(selected) == std::string::npos) {
            continue;
        }
        const auto deflateBytes = [&](std::uint8_t* from) {
            unsigned long length = 0;
            require(ZLibCompress::zLibDeflate(from, pixels, deflated.data(), pixels, length) ==
                        ZLibCompress::NoError,
                    "deflate");
            return length;
        };
        std::vector<std::vector<std::uint8_t>> streams;
        std::vector<std::string> zlibTexts;
        std::vector<std::vector<std::uint8_t>> plains;
        for (std::size_t i = 0; i < images; ++i) {
            fill(content, i, sources[i]);
            quantise(Source(sources[i]), bytes.data(), 2);
            plains.push_back(bytes);
            const unsigned long length = deflateBytes(bytes.data());
            streams.emplace_back(deflated.begin(), deflated.begin() + static_cast<long>(length));
            zlibTexts.push_back(encodeBase64(streams.back()));
        }
        const auto zlibEncode = [&](std::size_t workers) {
            return [&, workers](std::size_t i) {
                quantise(Source(sources[i]), bytes.data(), workers);
                const unsigned long length = deflateBytes(bytes.data());
                encodeBase64(std::span(deflated).first(length), text.data());
            };
        };
        compare("ZLIB encode, " + content,
                {{"deflate", [&](std::size_t i) { sink = deflateBytes(plains[i].data()); }},
                 {"one thread", zlibEncode(1)},
                 {"two threads", zlibEncode(2)}},
                fewRounds);
        const auto inflateBytes = [&](std::vector<std::uint8_t>& stream) {
            unsigned long length = 0;
            require(ZLibCompress::zLibInflate(stream.data(), stream.size(), bytes.data(), pixels, length) ==
                            ZLibCompress::NoError &&
                        length == pixels,
                    "inflate");
            sink = length;
        };
        const auto zlibDecode = [&](std::size_t workers) {
            return [&, workers](std::size_t i) {
                std::vector<std::uint8_t> stream = decodeBase64(zlibTexts[i]);
                require(decodeDeflated(stream, targets[i].getData(), pixels, workers), "ZLIB decode");
            };
        };
        compare("ZLIB decode, " + content,
                {{"inflate", [&](std::size_t i) { inflateBytes(streams[i]); }},
                 {"one thread", zlibDecode(1)},
                 {"two threads", zlibDecode(2)}},
                fewRounds);
    }
    return 0;
}
