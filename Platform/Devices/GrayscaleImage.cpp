#include "Platform/Devices/GrayscaleImage.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

GrayscaleImage::GrayscaleImage() = default;
GrayscaleImage::GrayscaleImage(const GrayscaleImage&) = default;
GrayscaleImage& GrayscaleImage::operator=(const GrayscaleImage&) = default;
GrayscaleImage::~GrayscaleImage() = default;

const float* GrayscaleImage::getCenterValues(int x, int y, int count, float* buffer) const {
    for (int i = 0; i < count; ++i) {
        buffer[i] = getCenterValue(x + i, y);
    }
    return buffer;
}

bool GrayscaleImage::exportAsPGM(const std::filesystem::path& fileName, int maximumValue) const {
    if (maximumValue < 1 || maximumValue > 65535) {
        return false;
    }
    const auto close = [](std::FILE* file) { return std::fclose(file); };
    std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(fileName.string().c_str(), "wb"), close);
    if (!file) {
        return false;
    }
    const int h = getHSize();
    const int v = getVSize();
    const std::string header =
        "P5\n" + std::to_string(h) + " " + std::to_string(v) + "\n" + std::to_string(maximumValue) + "\n";
    bool written = std::fwrite(header.data(), 1, header.size(), file.get()) == header.size();
    const auto scale = static_cast<float>(maximumValue);
    std::vector<float> buffer(static_cast<std::size_t>(h));
    std::vector<unsigned char> bytes;
    for (int y = 0; written && y < v; ++y) {
        const float* const row = getCenterValues(0, y, h, buffer.data());
        bytes.clear();
        for (int x = 0; x < h; ++x) {
            const float value = row[x] > 0.0F ? (row[x] < 1.0F ? row[x] : 1.0F) : 0.0F;
            const int sample = static_cast<int>(value * scale + 0.5F);
            if (maximumValue > 255) {
                bytes.push_back(static_cast<unsigned char>(sample >> 8));
            }
            bytes.push_back(static_cast<unsigned char>(sample & 0xFF));
        }
        written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    }
    return std::fclose(file.release()) == 0 && written;
}
