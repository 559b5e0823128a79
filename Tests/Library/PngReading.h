#pragma once

#include <csetjmp>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <png.h>

/// What libpng reads from a PNG file in memory.
struct PngContent {
    bool readable = false;
    unsigned int width = 0;
    unsigned int height = 0;
    int colourType = -1;
    int depth = 0;
    int interlace = -1;
    /// Keyword and text of each chunk, and whether it is compressed.
    std::vector<std::string> keywords;
    std::vector<std::string> texts;
    std::vector<bool> compressed;
    /// The samples as they stand in the file.
    std::vector<unsigned char> samples;
};

inline PngContent readPng(const std::vector<unsigned char>& file) {
    PngContent content;
    struct Source {
        const std::vector<unsigned char>& bytes;
        std::size_t position = 0;
    } source{file};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        return content;
    }
    png_set_read_fn(png, &source, [](png_structp reader, png_bytep out, std::size_t count) {
        auto& from = *static_cast<Source*>(png_get_io_ptr(reader));
        if (from.bytes.size() - from.position < count) {
            png_error(reader, "cut short");
        }
        std::memcpy(out, from.bytes.data() + from.position, count);
        from.position += count;
    });
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    content.width = png_get_image_width(png, info);
    content.height = png_get_image_height(png, info);
    content.colourType = png_get_color_type(png, info);
    content.depth = png_get_bit_depth(png, info);
    content.interlace = png_get_interlace_type(png, info);
    png_bytepp rows = png_get_rows(png, info);
    for (unsigned int row = 0; row < content.height; ++row) {
        content.samples.insert(content.samples.end(), rows[row], rows[row] + png_get_rowbytes(png, info));
    }
    png_textp texts = nullptr;
    int count = 0;
    png_get_text(png, info, &texts, &count);
    for (int i = 0; i < count; ++i) {
        content.keywords.emplace_back(texts[i].key);
        content.texts.emplace_back(texts[i].text, texts[i].text_length);
        content.compressed.push_back(texts[i].compression != PNG_TEXT_COMPRESSION_NONE);
    }
    content.readable = source.position == file.size();
    png_destroy_read_struct(&png, &info, nullptr);
    return content;
}

/// libpng alone: its defaults, and the rows one by one.
inline std::vector<unsigned char> libpngAlone(unsigned int width, unsigned int height, int colourType,
                                              int depth, const std::vector<unsigned char>& samples) {
    std::vector<unsigned char> file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {
        ADD_FAILURE() << "libpng failed";
        png_destroy_write_struct(&png, &info);
        return {};
    }
    png_set_write_fn(
        png, &file,
        [](png_structp writer, png_bytep bytes, std::size_t count) {
            auto& to = *static_cast<std::vector<unsigned char>*>(png_get_io_ptr(writer));
            to.insert(to.end(), bytes, bytes + count);
        },
        nullptr);
    png_set_IHDR(png, info, width, height, depth, colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (unsigned int row = 0; row < height; ++row) {
        png_write_row(png, samples.data() + row * png_get_rowbytes(png, info));
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}
