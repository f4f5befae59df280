// SPDX-License-Identifier: Apache-2.0
#include "PngFile.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace CamEmu {

namespace {

/// What one file is read with. libpng is C and leaves by longjmp: the functions that call it have no objects of their
/// own to destroy, and all that must be given back is here.
class CPngReader {
public:
    explicit CPngReader(std::FILE* file) {
        m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, Fail, Ignore);
        m_info = m_png ? png_create_info_struct(m_png) : nullptr;
        if (!m_info) {
            png_destroy_read_struct(&m_png, nullptr, nullptr);
            throw std::bad_alloc();
        }
        png_set_read_fn(m_png, file, Read);
    }
    ~CPngReader() { png_destroy_read_struct(&m_png, &m_info, nullptr); }
    CPngReader(const CPngReader&) = delete;
    CPngReader& operator=(const CPngReader&) = delete;

    /// The operations answer false when libpng gave up, and then Cause() says why.
    bool ReadHeader(CColourImage& image);
    bool ReadPixels(CColourImage& image);
    const char* Cause() const { return m_cause; }

private:
    static void Fail(png_structp png, png_const_charp cause);
    static void Ignore(png_structp, png_const_charp) {}
    static void Read(png_structp png, png_bytep bytes, png_size_t size);

    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    char m_cause[128] = "";
};

void CPngReader::Fail(png_structp png, png_const_charp cause) {
    auto* const self = static_cast<CPngReader*>(png_get_error_ptr(png));
    std::snprintf(self->m_cause, sizeof self->m_cause, "%s", cause);
    png_longjmp(png, 1);
}

void CPngReader::Read(png_structp png, png_bytep bytes, png_size_t size) {
    auto* const file = static_cast<std::FILE*>(png_get_io_ptr(png));
    if (std::fread(bytes, 1, size, file) != size) {
        png_error(png, std::ferror(file) ? "input/output error" : "the file is cut off");
    }
}

bool CPngReader::ReadHeader(CColourImage& image) {
    if (setjmp(png_jmpbuf(m_png))) {
        return false;
    }
    png_read_info(m_png, m_info);
    image.width = png_get_image_width(m_png, m_info);
    image.height = png_get_image_height(m_png, m_info);
    // whatever the file holds becomes red, green and blue of 16 bits in the order of the host
    png_set_expand_16(m_png);
    png_set_strip_alpha(m_png);
    png_set_gray_to_rgb(m_png);
    png_set_swap(m_png);
    return true;
}

bool CPngReader::ReadPixels(CColourImage& image) {
    if (setjmp(png_jmpbuf(m_png))) {
        return false;
    }
    const int passes = png_set_interlace_handling(m_png);
    png_read_update_info(m_png, m_info);
    if (png_get_rowbytes(m_png, m_info) != std::size_t{image.width} * sizeof(CColour)) {
        png_error(m_png, "a kind of image that is not understood");
    }
    for (int pass = 0; pass < passes; ++pass) {
        for (std::uint32_t y = 0; y < image.height; ++y) {
            png_read_row(m_png, reinterpret_cast<png_bytep>(image.pixels.data() + std::size_t{y} * image.width),
                         nullptr);
        }
    }
    png_read_end(m_png, nullptr); // whether all checksums are right
    return true;
}

struct CFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void Refuse(const std::string& path, const std::string& cause) {
    throw std::runtime_error("the image file '" + path + "' cannot be read: " + cause);
}

} // namespace

void ReadPng(const std::string& path, CColourImage& image) {
    const std::unique_ptr<std::FILE, CFileCloser> file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        Refuse(path, std::generic_category().message(errno));
    }
    CPngReader reader(file.get());
    if (!reader.ReadHeader(image)) {
        Refuse(path, reader.Cause());
    }
    if (std::uint64_t{image.width} * image.height > kMaxPngPixels) {
        Refuse(path, "it has " + std::to_string(image.width) + " x " + std::to_string(image.height) +
                         " pixels, more than " + std::to_string(kMaxPngPixels));
    }
    image.pixels.resize(std::size_t{image.width} * image.height);
    if (!reader.ReadPixels(image)) {
        Refuse(path, reader.Cause());
    }
}

} // namespace CamEmu
