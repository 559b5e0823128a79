#include "DeviceManager/JsonDevice/PngWriter.h"

#include <csetjmp>
#include <cstdint>
#include <exception>

#include <png.h>

#include "Common/WideText.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace JsonDevice {

namespace {

/// libpng refuses longer sides.
constexpr std::uint32_t longestSide = 1000000;
/// The text made from more would be beyond what a request can hold.
constexpr std::uint64_t mostPixelBytes = std::uint64_t{1} << 30;

[[noreturn]] void reject(const std::string& why) {
    throw DeviceException("DeviceManager/JsonDevice/PngWriter", 24,
                          toWide("The image cannot be written as a PNG file: " + why));
}

/// What a format word stands for in a PNG file.
struct Layout {
    int colourType;
    int channels;
    int depth;
};

Layout layoutOf(std::uint32_t format) {
    const std::uint32_t depth = format & ~std::uint32_t{15};
    if (depth != 0 && depth != 16) {
        reject("format " + std::to_string(format) + " has a sample depth other than 8 and 16 bits");
    }
    const int bits = depth == 0 ? 8 : 16;
    switch (format & 15) {
        case 1:
            return {PNG_COLOR_TYPE_RGB, 3, bits};
        case 2:
            return {PNG_COLOR_TYPE_RGB_ALPHA, 4, bits};
        case 3:
            return {PNG_COLOR_TYPE_GRAY, 1, bits};
        case 4:
            return {PNG_COLOR_TYPE_GRAY_ALPHA, 2, bits};
        default:
            reject("format " + std::to_string(format) + " has an unknown channel layout");
    }
}

/// All that one writing needs. libpng leaves its functions by longjmp, past
/// which no object with a destructor may live: whatever has one lives in here,
/// and the functions between setjmp and libpng have none.
class Writer {
public:
    explicit Writer(const PngSink& receiver) : sink(receiver) {}
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&structure, &info); }

    void write(const image_t& image, const std::string& text) {
        const Layout layout = layoutOf(image.format);
        if (image.width == 0 || image.height == 0) {
            reject("it has no pixels");
        }
        if (image.data == nullptr) {
            reject("it has no data");
        }
        if (image.width > longestSide || image.height > longestSide) {
            reject("a side is longer than " + std::to_string(longestSide) + " pixels");
        }
        const std::uint64_t rowBytes = std::uint64_t{image.width} * static_cast<unsigned>(layout.channels) *
                                       static_cast<unsigned>(layout.depth / 8);
        if (rowBytes * image.height > mostPixelBytes) {
            reject("its pixels take more than " + std::to_string(mostPixelBytes) + " bytes");
        }
        rows.resize(image.height);
        // libpng only reads from rows that it writes.
        auto* row = const_cast<unsigned char*>(image.data);
        for (png_bytep& pointer : rows) {
            pointer = row;
            row += rowBytes;
        }
        keyword = "xml";
        content = text;
        if (!encode(image, layout)) {
            if (failure) {
                std::rethrow_exception(failure);
            }
            reject(error);
        }
    }

private:
    bool encode(const image_t& image, const Layout& layout) {
        // Any library of the same minor version will do.
        structure = png_create_write_struct("1.6.6", this, onError, onWarning);
        info = structure == nullptr ? nullptr : png_create_info_struct(structure);
        if (info == nullptr) {
            note("libpng cannot be used");
            return false;
        }
        if (setjmp(png_jmpbuf(structure)) != 0) {
            return false;
        }
        png_set_IHDR(structure, info, image.width, image.height, layout.depth, layout.colourType,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_rows(structure, info, rows.data());
        png_set_write_fn(structure, this, onBytes, nullptr);
        if (!content.empty()) {
            png_text chunk = {};
            chunk.compression = PNG_TEXT_COMPRESSION_NONE;
            chunk.key = keyword.data();
            chunk.text = content.data();
            chunk.text_length = content.size();
            png_set_text(structure, info, &chunk, 1);
        }
        png_write_png(structure, info, PNG_TRANSFORM_IDENTITY, nullptr);
        return true;
    }

    static void onBytes(png_structp structure, png_bytep bytes, std::size_t count) {
        if (!static_cast<Writer*>(png_get_io_ptr(structure))->deliver(bytes, count)) {
            png_error(structure, "the receiver failed");
        }
    }

    bool deliver(const unsigned char* bytes, std::size_t count) noexcept {
        try {
            sink({bytes, count});
            return true;
        } catch (...) {
            failure = std::current_exception();
            return false;
        }
    }

    [[noreturn]] static void onError(png_structp structure, png_const_charp message) {
        static_cast<Writer*>(png_get_error_ptr(structure))->note(message);
        png_longjmp(structure, 1);
    }

    static void onWarning(png_structp, png_const_charp) {}

    void note(const char* message) noexcept {
        try {
            error = message;
        } catch (...) {
            failure = std::current_exception();
        }
    }

    const PngSink& sink;
    png_structp structure = nullptr;
    png_infop info = nullptr;
    std::vector<png_bytep> rows;
    std::string keyword;
    std::string content;
    std::string error;
    std::exception_ptr failure;
};

}  // namespace

void writePng(const image_t& image, const std::string& text, const PngSink& sink) {
    Writer(sink).write(image, text);
}

std::vector<unsigned char> makePng(const image_t& image, const std::string& text) {
    std::vector<unsigned char> png;
    writePng(image, text, [&](std::span<const unsigned char> bytes) {
        png.insert(png.end(), bytes.begin(), bytes.end());
    });
    return png;
}

}  // namespace JsonDevice
