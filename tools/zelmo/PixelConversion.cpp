// SPDX-License-Identifier: Apache-2.0
#include "PixelConversion.h"

#include "Demosaic.h"
#include "Errors.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {
namespace {

/// Spreads the range of @p depth bits over 8 or 16 by repeating the upper bits below.
std::uint16_t Spread(std::uint16_t value, unsigned depth) {
    switch (depth) {
    case 1:
        return value * 0xFF;
    case 2:
        return value * 0x55;
    case 4:
        return value * 0x11;
    case 10:
        return static_cast<std::uint16_t>(value << 6 | value >> 4);
    case 12:
        return static_cast<std::uint16_t>(value << 4 | value >> 8);
    default:
        return value;
    }
}

std::uint16_t ToByte(double value) {
    return static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

void YCbCrToRgb(double y, double cb, double cr, std::uint16_t* rgb) {
    rgb[0] = ToByte(y + 1.402 * (cr - 128));
    rgb[1] = ToByte(y - 0.344136 * (cb - 128) - 0.714136 * (cr - 128));
    rgb[2] = ToByte(y + 1.772 * (cb - 128));
}

void Luma422Line(const PixelLayout& layout, const std::uint16_t* samples, std::size_t width, std::uint16_t* rgb) {
    const auto [firstY, secondY, cb, cr] = layout.place;
    for (std::size_t x = 0; x < width; ++x, rgb += 3) {
        const std::uint16_t* group = samples + x / 2 * 4;
        // The last pixel of an odd width has only half a group: its missing chroma counts as grey.
        const std::size_t have = std::min<std::size_t>(4, (width - x / 2 * 2) * 2);
        const auto at = [&](unsigned place) { return place < have ? group[place] : 128; };
        YCbCrToRgb(at(x % 2 == 0 ? firstY : secondY), at(cb), at(cr), rgb);
    }
}

void DirectLine(const PixelLayout& layout, const std::uint16_t* samples, std::size_t width, std::uint16_t* rgb) {
    for (std::size_t x = 0; x < width; ++x, rgb += 3, samples += layout.samplesPerPixel) {
        rgb[0] = samples[layout.place[0]];
        rgb[1] = samples[layout.place[1]];
        rgb[2] = samples[layout.place[2]];
    }
}

void WriteRow(const std::vector<std::uint16_t>& line, unsigned depth, unsigned bits, std::uint8_t* row) {
    for (const std::uint16_t sample : line) {
        const std::uint16_t value = Spread(sample, depth);
        if (bits == 16) {
            *row++ = static_cast<std::uint8_t>(value >> 8);
        }
        *row++ = static_cast<std::uint8_t>(value);
    }
}

const PixelLayout& GetLayout(const Frame& frame) {
    const PixelLayout* layout = FindPixelLayout(frame.pixelType);
    if (layout == nullptr) {
        throw ToolError(ExitCode::Feature, "format_refused",
                        "The pixel format with the code " + std::to_string(frame.pixelType) +
                            " cannot be written as PNG; --raw writes it as it is");
    }
    const std::size_t needed = GetNeededBytes(*layout, frame.width, frame.height, frame.paddingX);
    if (frame.width == 0 || frame.height == 0 || frame.data == nullptr || frame.sizeBytes < needed) {
        throw ToolError(
            ExitCode::Failed, "incomplete",
            "The buffer holds " + std::to_string(frame.sizeBytes) + " bytes, but an image of " +
                std::to_string(frame.width) + " x " + std::to_string(frame.height) + " pixels takes " +
                (needed == std::numeric_limits<std::size_t>::max() ? "more than any" : std::to_string(needed)));
    }
    return *layout;
}

} // namespace

void PixelConverter::Convert(const Frame& frame, Image& image) {
    const PixelLayout& layout = GetLayout(frame);
    image.width = frame.width;
    image.height = frame.height;
    image.channels = layout.GetOutputChannels();
    image.bits = layout.GetOutputBits();
    image.bytes.resize(image.GetRowBytes() * image.height);
    const std::size_t lineSamples = std::size_t{frame.width} * layout.samplesPerPixel;
    m_line.resize(std::size_t{frame.width} * image.channels);
    m_samples.resize(layout.colour == Colour::Bayer ? lineSamples * frame.height : lineSamples);
    if (layout.colour == Colour::Bayer) {
        for (std::size_t y = 0; y < frame.height; ++y) {
            UnpackLine(layout, frame.data, frame.width, y, frame.paddingX, &m_samples[y * lineSamples]);
        }
    }
    for (std::size_t y = 0; y < frame.height; ++y) {
        MakeLine(layout, frame, y);
        WriteRow(m_line, layout.depth, image.bits, &image.bytes[y * image.GetRowBytes()]);
    }
}

void PixelConverter::MakeLine(const PixelLayout& layout, const Frame& frame, std::size_t y) {
    if (layout.colour == Colour::Bayer) {
        Demosaic(m_samples.data(), frame.width, frame.height, layout.place[0], layout.place[1])
            .MakeLine(y, m_line.data());
        return;
    }
    const bool mono = layout.colour == Colour::Mono;
    UnpackLine(layout, frame.data, frame.width, y, frame.paddingX, mono ? m_line.data() : m_samples.data());
    if (layout.colour == Colour::Direct) {
        DirectLine(layout, m_samples.data(), frame.width, m_line.data());
    } else if (layout.colour == Colour::Luma422) {
        Luma422Line(layout, m_samples.data(), frame.width, m_line.data());
    }
}

} // namespace tool
