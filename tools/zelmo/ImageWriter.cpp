// SPDX-License-Identifier: Apache-2.0
#include "ImageWriter.h"

#include "Errors.h"
#include "PartialFiles.h"

#include <png.h>
#include <zlib.h>

#include <csetjmp>

namespace tool {
namespace {

constexpr int kFastCompression = 1; // of 9

/// libpng is C: an exception must not pass through it. What goes wrong is turned into its own error.
void AppendEncoded(png_structp png, png_bytep data, png_size_t size) {
    auto& encoded = *static_cast<std::vector<std::uint8_t>*>(png_get_io_ptr(png));
    bool stored = true;
    try {
        encoded.insert(encoded.end(), data, data + size);
    } catch (...) {
        stored = false;
    }
    if (!stored) {
        png_error(png, "out of memory");
    }
}

void IgnoreWarning(png_structp, png_const_charp) {}

/// False when libpng gave up. No object with a destructor may live here: libpng leaves by longjmp.
bool EncodeRows(png_structp png, png_infop info, const Image& image) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_set_IHDR(png, info, image.width, image.height, static_cast<int>(image.bits),
                 image.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, kFastCompression);
    // Runs of equal differences are all that is looked for: twice as fast as matching strings, and on camera noise
    // smaller.
    png_set_filter(png, 0, PNG_FILTER_SUB);
    png_set_compression_strategy(png, Z_RLE);
    png_write_info(png, info);
    for (unsigned y = 0; y < image.height; ++y) {
        png_write_row(png, image.bytes.data() + y * image.GetRowBytes());
    }
    png_write_end(png, nullptr);
    return true;
}

} // namespace

const std::vector<std::uint8_t>& ImageWriter::Encode(const Image& image, const std::string& path) {
    m_encoded.clear();
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, IgnoreWarning, IgnoreWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    bool done = false;
    if (info != nullptr) {
        png_set_write_fn(png, &m_encoded, AppendEncoded, nullptr);
        done = EncodeRows(png, info, image);
    }
    png_destroy_write_struct(&png, &info);
    if (!done) {
        throw HostError("Cannot write '" + path + "': the image could not be encoded as PNG");
    }
    return m_encoded;
}

void ImageWriter::WritePng(const std::string& path, const Image& image) {
    const auto& encoded = Encode(image, path);
    WriteFileWhole(path, encoded.data(), encoded.size());
}

} // namespace tool
