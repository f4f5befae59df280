// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PixelConversion.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <string>

/// The image in a PNG file, in the same form as the tool writes it; a failure of the test and an empty one otherwise.
inline tool::Image DecodePng(const std::string& path) {
    tool::Image image;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        ADD_FAILURE() << "no file " << path;
        return image;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {
        ADD_FAILURE() << path << " is no PNG file";
    } else {
        png_init_io(png, file);
        png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
        image.width = png_get_image_width(png, info);
        image.height = png_get_image_height(png, info);
        image.channels = png_get_channels(png, info);
        image.bits = png_get_bit_depth(png, info);
        png_bytepp rows = png_get_rows(png, info);
        for (unsigned y = 0; y < image.height; ++y) {
            image.bytes.insert(image.bytes.end(), rows[y], rows[y] + image.GetRowBytes());
        }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return image;
}
