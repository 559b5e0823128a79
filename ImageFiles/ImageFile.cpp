#include "ImageFiles/ImageFile.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <system_error>

#include <png.h>

#include "Common/NumberText.h"
#include "ImageFiles/FileReplacement.h"

namespace ImageFiles {

namespace {

[[noreturn]] void fail(const std::string& name, const std::string& what) {
    throw ImageFileError(name + ": " + what);
}

std::string systemError() {
    return std::error_code(errno, std::generic_category()).message();
}

/// What a file may have beside its pixels, of which none takes more than three floats.
constexpr std::size_t bytesBesidePixels = std::size_t{64} << 20;
constexpr std::size_t bytesPerPixel = 3 * sizeof(float);

/// So many pixels, or as many as have bytes that can be counted.
std::size_t countable(std::size_t maximumPixels) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    return std::min(maximumPixels, (most - bytesBesidePixels) / bytesPerPixel);
}

std::size_t pixelsOf(std::size_t width, std::size_t height, const std::string& name,
                     std::size_t maximumPixels) {
    constexpr std::size_t largest = std::numeric_limits<int>::max();
    if (width == 0 || height == 0) {
        fail(name, "the image has no pixels");
    }
    if (width > largest || height > largest || width > maximumPixels / height) {
        fail(name, "the image is too large: " + std::to_string(width) + " x " + std::to_string(height) +
                       ", and at most " + std::to_string(maximumPixels) + " pixels are read");
    }
    return width * height;
}

/// The float bytes in a file, of which the order is a matter of the format.
std::uint32_t reversed(std::uint32_t word) {
    return word >> 24 | (word >> 8 & 0xFF00U) | (word << 8 & 0xFF0000U) | word << 24;
}

// ---- Portable maps

/// The text at the head of a portable map.
class Header {
public:
    Header(std::string_view content, const std::string& name) : content(content), name(name) {}

    /// The next word, behind white space and comments; one white-space character
    /// behind it is taken too, or a comment with the end of its line.
    std::string_view word() {
        for (;;) {
            while (at < content.size() && isSpace(content[at])) {
                ++at;
            }
            if (at == content.size() || content[at] != '#') {
                break;
            }
            skipComment();
        }
        const std::size_t begin = at;
        while (at < content.size() && !isSpace(content[at]) && content[at] != '#') {
            ++at;
        }
        const std::string_view word = content.substr(begin, at - begin);
        if (at < content.size() && content[at] == '#') {
            skipComment();
        }
        if (word.empty() || at == content.size() || word.size() > 40) {
            refuse();
        }
        ++at;
        return word;
    }
    std::size_t number() {
        std::size_t value = 0;
        for (const char digit : word()) {
            if (digit < '0' || digit > '9' || value > 1U << 31) {
                refuse();
            }
            value = 10 * value + static_cast<std::size_t>(digit - '0');
        }
        return value;
    }
    std::string_view rest() const { return content.substr(at); }
    [[noreturn]] void refuse() const { fail(name, "the header is broken"); }

private:
    static bool isSpace(char character) {
        return character == ' ' || (character >= '\t' && character <= '\r');
    }
    void skipComment() { at = std::min(content.find('\n', at), content.size()); }

    std::string_view content;
    const std::string& name;
    std::size_t at = 0;
};

void requireBytes(std::string_view data, std::size_t wanted, const std::string& name) {
    if (data.size() < wanted) {
        fail(name, "the file ends early: " + std::to_string(data.size()) + " of " + std::to_string(wanted) +
                       " bytes of pixels are there");
    }
}

Picture parsePgm(std::string_view content, const std::string& name, std::size_t maximumPixels) {
    Header header(content, name);
    if (header.word() != "P5") {
        header.refuse();
    }
    const std::size_t width = header.number();
    const std::size_t height = header.number();
    const std::size_t maximum = header.number();
    if (maximum < 1 || maximum > 65535) {
        fail(name, "the largest value must be from 1 to 65535");
    }
    const std::size_t pixels = pixelsOf(width, height, name, maximumPixels);
    const std::size_t sampleBytes = maximum > 255 ? 2 : 1;
    const std::string_view data = header.rest();
    requireBytes(data, pixels * sampleBytes, name);
    Picture picture(static_cast<int>(width), static_cast<int>(height), 1);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(data.data());
    for (std::size_t i = 0; i < pixels; ++i) {
        const int sample = sampleBytes == 2 ? bytes[2 * i] << 8 | bytes[2 * i + 1] : bytes[i];
        picture.values[i] = static_cast<float>(sample) / static_cast<float>(maximum);
    }
    return picture;
}

/// A PFM holds its rows from the bottom; a negative scale says that the least
/// significant byte of a float comes first. How large the scale is has no meaning here.
Picture parsePfm(std::string_view content, const std::string& name, std::size_t maximumPixels) {
    Header header(content, name);
    const std::string_view magic = header.word();
    if (magic != "PF" && magic != "Pf") {
        header.refuse();
    }
    const std::size_t channels = magic == "PF" ? 3 : 1;
    const std::size_t width = header.number();
    const std::size_t height = header.number();
    std::string_view scaleText = header.word();
    if (scaleText.starts_with("+") && !scaleText.starts_with("+-")) {
        scaleText.remove_prefix(1);
    }
    const float scale = readNumber<float>(scaleText).value_or(0.0F);
    if (scale == 0.0F) {
        header.refuse();
    }
    const bool littleEndian = scale < 0.0F;
    const std::size_t pixels = pixelsOf(width, height, name, maximumPixels);
    const std::string_view data = header.rest();
    requireBytes(data, pixels * channels * sizeof(float), name);
    Picture picture(static_cast<int>(width), static_cast<int>(height), static_cast<int>(channels));
    const std::size_t row = width * channels;
    const bool swap = littleEndian != (std::endian::native == std::endian::little);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t i = 0; i < row; ++i) {
            std::uint32_t word = 0;
            std::memcpy(&word, data.data() + ((height - 1 - y) * row + i) * sizeof word, sizeof word);
            picture.values[y * row + i] = std::bit_cast<float>(swap ? reversed(word) : word);
        }
    }
    return picture;
}

std::string mapHeader(const char* kind, const Picture& picture, const std::string& last) {
    return std::string(kind) + "\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) +
           "\n" + last + "\n";
}

// ---- PNG

/// What the callbacks of libpng leave behind. libpng goes back by a long jump, so
/// the functions that call it hold nothing that needs destroying.
struct PngSession {
    std::string_view content;  // being read
    std::size_t at = 0;
    std::FILE* file = nullptr;  // being written
    char error[200] = {};
};

void onPngError(png_structp png, png_const_charp message) {
    auto& session = *static_cast<PngSession*>(png_get_error_ptr(png));
    std::snprintf(session.error, sizeof session.error, "%s", message);
    png_longjmp(png, 1);
}

void onPngWarning(png_structp, png_const_charp) {}

void readPngBytes(png_structp png, png_bytep bytes, png_size_t count) {
    auto& session = *static_cast<PngSession*>(png_get_io_ptr(png));
    if (count > session.content.size() - session.at) {
        png_error(png, "the file ends early");
    }
    std::memcpy(bytes, session.content.data() + session.at, count);
    session.at += count;
}

class PngReader {
public:
    PngReader(std::string_view content, const std::string& name) : name(name) {
        session.content = content;
        png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &session, onPngError, onPngWarning);
        info = png == nullptr ? nullptr : png_create_info_struct(png);
        if (info == nullptr) {
            png_destroy_read_struct(&png, nullptr, nullptr);
            throw std::bad_alloc();
        }
    }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }

    Picture read(std::size_t maximumPixels) {
        if (!readHeader()) {
            fail(name, std::string("broken PNG: ") + session.error);
        }
        const std::size_t width = png_get_image_width(png, info);
        const std::size_t height = png_get_image_height(png, info);
        const std::size_t pixels = pixelsOf(width, height, name, maximumPixels);
        // Deflate makes data at most about a thousandth as large: what claims more
        // pixels than the file can hold is refused before memory is spent on it.
        const std::size_t bits = std::size_t{png_get_bit_depth(png, info)} * png_get_channels(png, info);
        if (pixels / 8 * bits > session.content.size() * 1100) {
            fail(name, "broken PNG: the file is too short for an image of " + std::to_string(width) + " x " +
                           std::to_string(height));
        }
        if (!startReading()) {
            fail(name, std::string("broken PNG: ") + session.error);
        }
        const int channels = png_get_channels(png, info);
        const bool wide = png_get_bit_depth(png, info) == 16;
        const std::size_t rowBytes = png_get_rowbytes(png, info);
        rows.resize(rowBytes * height);
        for (std::size_t y = 0; y < height; ++y) {
            pointers.push_back(rows.data() + y * rowBytes);
        }
        if (!readRows()) {
            fail(name, std::string("broken PNG: ") + session.error);
        }
        Picture picture(static_cast<int>(width), static_cast<int>(height), channels);
        for (std::size_t i = 0; i < picture.values.size(); ++i) {
            picture.values[i] = wide ? static_cast<float>(rows[2 * i] << 8 | rows[2 * i + 1]) / 65535.0F
                                     : static_cast<float>(rows[i]) / 255.0F;
        }
        return picture;
    }

private:
    bool readHeader() {
        if (setjmp(png_jmpbuf(png)) != 0) {
            return false;
        }
        png_set_read_fn(png, &session, readPngBytes);
        png_set_user_limits(png, 0x7FFFFFFF, 0x7FFFFFFF);
        png_read_info(png, info);
        return true;
    }
    /// Has everything delivered as grey or colour of 8 or 16 bits.
    bool startReading() {
        if (setjmp(png_jmpbuf(png)) != 0) {
            return false;
        }
        png_set_expand(png);
        png_set_strip_alpha(png);
        png_set_interlace_handling(png);
        png_read_update_info(png, info);
        return true;
    }
    bool readRows() {
        if (setjmp(png_jmpbuf(png)) != 0) {
            return false;
        }
        png_read_image(png, pointers.data());
        png_read_end(png, nullptr);
        return true;
    }

    const std::string& name;
    PngSession session;
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<unsigned char> rows;
    std::vector<png_bytep> pointers;
};

bool writePngRows(png_structp png, png_infop info, std::FILE* file, const Picture& picture, int bits,
                  const png_bytep* rows) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_init_io(png, file);
    png_set_user_limits(png, 0x7FFFFFFF, 0x7FFFFFFF);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height),
                 bits, picture.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, const_cast<png_bytepp>(rows));
    png_write_end(png, info);
    return true;
}

/// Samples of 8 or 16 bits, most significant byte first.
std::vector<unsigned char> samplesOf(const Picture& picture, int bits) {
    const float scale = bits == 16 ? 65535.0F : 255.0F;
    std::vector<unsigned char> samples;
    samples.reserve(picture.values.size() * static_cast<std::size_t>(bits / 8));
    for (const float value : picture.values) {
        const float limited = value > 0.0F ? (value < 1.0F ? value : 1.0F) : 0.0F;
        const int sample = static_cast<int>(limited * scale + 0.5F);
        if (bits == 16) {
            samples.push_back(static_cast<unsigned char>(sample >> 8));
        }
        samples.push_back(static_cast<unsigned char>(sample & 0xFF));
    }
    return samples;
}

void writePng(const Picture& picture, std::FILE* file, const std::string& name, int bits) {
    std::vector<unsigned char> samples = samplesOf(picture, bits);
    const std::size_t rowBytes = samples.size() / static_cast<std::size_t>(picture.height);
    std::vector<png_bytep> rows;
    for (std::size_t y = 0; y < static_cast<std::size_t>(picture.height); ++y) {
        rows.push_back(samples.data() + y * rowBytes);
    }
    PngSession session;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &session, onPngError, onPngWarning);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    const bool written = info != nullptr && writePngRows(png, info, file, picture, bits, rows.data());
    png_destroy_write_struct(&png, &info);
    if (!written) {
        fail(name, std::string("cannot be written: ") + session.error);
    }
}

void writePgm(const Picture& picture, std::FILE* file, int bits) {
    writeBytes(mapHeader("P5", picture, bits == 16 ? "65535" : "255"), file);
    const std::vector<unsigned char> samples = samplesOf(picture, bits);
    writeBytes({reinterpret_cast<const char*>(samples.data()), samples.size()}, file);
}

void writePfm(const Picture& picture, std::FILE* file) {
    const bool little = std::endian::native == std::endian::little;
    writeBytes(mapHeader(picture.channels == 3 ? "PF" : "Pf", picture, little ? "-1.0" : "1.0"), file);
    const std::size_t row = picture.values.size() / static_cast<std::size_t>(picture.height);
    for (std::size_t y = static_cast<std::size_t>(picture.height); y-- > 0;) {
        const float* const values = picture.values.data() + y * row;
        writeBytes({reinterpret_cast<const char*>(values), row * sizeof(float)}, file);
    }
}

/// By the first bytes.
Format formatOf(std::string_view content, const std::string& name) {
    if (content.starts_with("\x89PNG\r\n\x1A\n")) {
        return Format::Png;
    }
    if (content.starts_with("P5")) {
        return Format::Pgm;
    }
    if (content.starts_with("Pf") || content.starts_with("PF")) {
        return Format::Pfm;
    }
    fail(name, content.empty() ? "the file is empty" : "neither a PNG nor a binary PGM nor a PFM");
}

std::string contentOf(const std::filesystem::path& path, const std::string& name, std::size_t maximumPixels) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        fail(name, "is a folder");
    }
    const auto close = [](std::FILE* file) { return std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(path.string().c_str(), "rb"), close);
    if (!file) {
        fail(name, "cannot be opened: " + systemError());
    }
    // No file of a picture of that size is longer.
    const std::size_t longest = countable(maximumPixels) * bytesPerPixel + bytesBesidePixels;
    const auto requireLength = [&](std::uintmax_t length) {
        if (length > longest) {
            fail(name, "the file is too large: more than " + std::to_string(longest) + " bytes");
        }
    };
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    const std::uintmax_t known = error ? 0 : size;  // of a device, nothing
    requireLength(known);
    std::string content;
    std::vector<char> buffer(std::size_t{1} << 20);
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
        requireLength(content.size() + count);
        if (content.empty()) {
            formatOf({buffer.data(), count}, name);  // refuses what is no picture
            content.reserve(static_cast<std::size_t>(known));
        }
        content.append(buffer.data(), count);
    }
    if (std::ferror(file.get()) != 0) {
        fail(name, "cannot be read: " + systemError());
    }
    return content;
}

}  // namespace

Picture::Picture(int width, int height, int channels)
    : width(width),
      height(height),
      channels(channels),
      values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
             static_cast<std::size_t>(channels)) {}

Format formatFor(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 'a' - 'A') : character;
    });
    if (extension == ".png") {
        return Format::Png;
    }
    if (extension == ".pgm") {
        return Format::Pgm;
    }
    if (extension == ".pfm") {
        return Format::Pfm;
    }
    fail(file.string(), "the name must end in .png, .pgm or .pfm");
}

Picture parsePicture(std::string_view content, const std::string& name, std::size_t maximumPixels) {
    const std::size_t most = countable(maximumPixels);
    switch (formatOf(content, name)) {
        case Format::Png:
            return PngReader(content, name).read(most);
        case Format::Pgm:
            return parsePgm(content, name, most);
        case Format::Pfm:
            return parsePfm(content, name, most);
    }
    return {};
}

Picture readPicture(const std::filesystem::path& file, std::size_t maximumPixels) {
    const std::string name = file.string();
    return parsePicture(contentOf(file, name, maximumPixels), name, maximumPixels);
}

void writePicture(const Picture& picture, const std::filesystem::path& path, int bits) {
    const std::string name = path.string();
    const Format format = formatFor(path);
    if (bits != 8 && bits != 16) {
        fail(name, "a sample has 8 or 16 bits");
    }
    if (picture.width < 1 || picture.height < 1) {
        fail(name, "an image without pixels cannot be written");
    }
    if (format == Format::Pgm && picture.channels != 1) {
        fail(name, "a PGM holds no colour; write a PNG or a PFM");
    }
    try {
        replaceFile(path, [&](std::FILE* file) {
            switch (format) {
                case Format::Png:
                    writePng(picture, file, name, bits);
                    break;
                case Format::Pgm:
                    writePgm(picture, file, bits);
                    break;
                case Format::Pfm:
                    writePfm(picture, file);
                    break;
            }
        });
    } catch (const std::system_error& error) {
        fail(name, "cannot be written: " + error.code().message());
    }
}

}  // namespace ImageFiles
