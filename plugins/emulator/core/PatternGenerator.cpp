// SPDX-License-Identifier: Apache-2.0
#include "PatternGenerator.h"

#include "Digits.h"
#include "FrameRecord.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <iterator>

namespace CamEmu {

namespace {

CColour Grey(unsigned phase) {
    const auto value = static_cast<std::uint16_t>(phase % CRowTable::kPeriod * 257);
    return {value, value, value};
}

// Behind the digits of the FrameCounter; dark, so that they can be read.
CColour DarkGrey(unsigned phase) {
    return Grey(phase % CRowTable::kPeriod / 2);
}

std::uint16_t Wave(unsigned phase) {
    phase %= CRowTable::kPeriod;
    return static_cast<std::uint16_t>((phase < 128 ? phase * 2 : 511 - phase * 2) * 257);
}

CColour Rainbow(unsigned phase) {
    return {Wave(phase), Wave(phase + 85), Wave(phase + 171)};
}

constexpr CColour kBars[] = {
    kWhite, {65535, 65535, 0}, {0, 65535, 65535}, {0, 65535, 0}, {65535, 0, 65535}, {65535, 0, 0}, {0, 0, 65535},
    kBlack,
};

// Repeats the first bytes of a line until it is full.
void Repeat(std::uint8_t* line, std::size_t known, std::size_t size) {
    while (known < size) {
        const std::size_t count = std::min(known, size - known);
        std::memcpy(line + known, line, count);
        known += count;
    }
}

} // namespace

void CPatternGenerator::Configure(const CImageFormat& format) {
    m_format = format;
    m_table.Reserve(format);
    m_scene.Configure(format);
    m_samples.resize(std::size_t{format.width} * format.pixels->SamplesPerPixel());
    m_inTable = ETestImage::Count_;
}

void CPatternGenerator::Render(ETestImage testImage, std::uint64_t blockId, const CSensorResponse& response,
                               std::span<std::uint8_t> image) {
    const auto phase = static_cast<unsigned>(blockId % CRowTable::kPeriod);
    switch (testImage) {
    case ETestImage::Black:
        return RenderColumns([](unsigned) { return kBlack; }, image.data());
    case ETestImage::White:
        return RenderColumns([](unsigned) { return kWhite; }, image.data());
    case ETestImage::HorizontalRamp:
        return RenderColumns(Grey, image.data());
    case ETestImage::HorizontalRampMoving:
        return RenderColumns([phase](unsigned x) { return Grey(x + phase); }, image.data());
    case ETestImage::ColourBars:
        return RenderColumns([this](unsigned x) { return kBars[x * std::size(kBars) / m_format.width]; }, image.data());
    case ETestImage::VerticalRamp:
        return RenderVerticalRamp(0, image.data());
    case ETestImage::VerticalRampMoving:
        return RenderVerticalRamp(phase, image.data());
    case ETestImage::DiagonalGradient:
        FillTable(testImage);
        return RenderDiagonal(0, image.data());
    case ETestImage::DiagonalGradientMoving:
    case ETestImage::DiagonalColourGradientMoving:
        FillTable(testImage);
        return RenderDiagonal(phase, image.data());
    case ETestImage::FrameCounter:
        FillTable(testImage);
        RenderDiagonal(phase, image.data());
        DrawDigits(blockId, image.data());
        return WriteFrameRecord(m_cameraNumber, blockId, image);
    default:
        return RenderScene(blockId, response, image.data());
    }
}

void CPatternGenerator::FillTable(ETestImage testImage) {
    if (testImage == m_inTable) {
        return;
    }
    m_inTable = testImage;
    if (testImage == ETestImage::DiagonalColourGradientMoving) {
        m_table.Fill(m_format, Rainbow);
    } else if (testImage == ETestImage::FrameCounter) {
        m_table.Fill(m_format, DarkGrey);
    } else {
        m_table.Fill(m_format, Grey);
    }
}

// The lines are all alike, but for the two kinds of line that a Bayer mosaic has.
template <typename ColourAt>
void CPatternGenerator::RenderColumns(ColourAt colourAt, std::uint8_t* image) {
    const std::size_t lineBytes = m_format.BytesPerLine();
    const unsigned kinds = m_format.pixels->CellHeight();
    for (unsigned y = 0; y < std::min(kinds, m_format.height); ++y) {
        for (unsigned x = 0; x < m_format.width; ++x) {
            PutPixel(*m_format.pixels, colourAt(x), x, y,
                     m_samples.data() + std::size_t{x} * m_format.pixels->SamplesPerPixel());
        }
        EncodeLine(image + y * lineBytes);
    }
    for (unsigned y = kinds; y < m_format.height; ++y) {
        std::memcpy(image + y * lineBytes, image + (y - kinds) * lineBytes, lineBytes);
    }
}

void CPatternGenerator::RenderVerticalRamp(unsigned phase, std::uint8_t* image) const {
    constexpr unsigned pixels = 8; // fill whole bytes in every format
    std::array<std::uint16_t, pixels * 3> samples{};
    const unsigned perPixel = m_format.pixels->SamplesPerPixel();
    const std::size_t lineBytes = m_format.BytesPerLine();
    for (unsigned y = 0; y < m_format.height; ++y) {
        for (unsigned x = 0; x < pixels; ++x) {
            PutPixel(*m_format.pixels, Grey(y + phase), x, y, samples.data() + std::size_t{x} * perPixel);
        }
        EncodeSamples(*m_format.pixels, {samples.data(), std::size_t{pixels} * perPixel}, image + y * lineBytes);
        Repeat(image + y * lineBytes, m_format.pixels->BitsPerPixel(), lineBytes);
    }
}

void CPatternGenerator::RenderDiagonal(unsigned phase, std::uint8_t* image) const {
    const std::size_t lineBytes = m_format.BytesPerLine();
    for (unsigned y = 0; y < m_format.height; ++y) {
        std::memcpy(image + y * lineBytes, m_table.Line(y, phase + y), lineBytes);
    }
}

void CPatternGenerator::RenderScene(std::uint64_t blockId, const CSensorResponse& response, std::uint8_t* image) {
    for (unsigned y = 0; y < m_format.height; ++y) {
        m_scene.RenderLine(blockId, y, response, m_samples.data());
        EncodeLine(image + y * m_format.BytesPerLine());
    }
}

// White digits in a black band across the middle, as large as the width allows. Black and white have the same samples
// at all places of a Bayer mosaic or a pair of pixels, so each row of the font is encoded once and copied. What does
// not fit is cut off.
void CPatternGenerator::DrawDigits(std::uint64_t number, std::uint8_t* image) {
    char text[20];
    const auto size = static_cast<unsigned>(std::to_chars(text, std::end(text), number).ptr - text);
    const unsigned scale = std::max(1u, std::min(m_format.width / ((size + 1) * kDigitPitch), m_format.height / 16));
    const unsigned bandHeight = std::min(m_format.height, (kDigitHeight + 2) * scale);
    const unsigned textWidth = size * kDigitPitch * scale;
    const unsigned left = m_format.width > textWidth ? (m_format.width - textWidth) / 2 : 0;
    const std::size_t lineBytes = m_format.BytesPerLine();
    std::uint8_t* band = image + (m_format.height - bandHeight) / 2 * lineBytes;

    for (unsigned y = 0; y < bandHeight; ++y) {
        if (y % scale != 0) {
            std::memcpy(band + y * lineBytes, band + (y - 1) * lineBytes, lineBytes);
            continue;
        }
        const unsigned row = y / scale; // the first and the last one are a margin
        PutRun(kBlack, 0, m_format.width);
        for (unsigned x = left; x < std::min(left + textWidth, m_format.width); ++x) {
            if (row >= 1 && row <= kDigitHeight && DigitPixel({text, size}, (x - left) / scale, row - 1)) {
                PutRun(kWhite, x, x + 1);
            }
        }
        EncodeLine(band + y * lineBytes);
    }
}

// Black or white pixels of a line, which have the same samples wherever they stand.
void CPatternGenerator::PutRun(const CColour& colour, unsigned begin, unsigned end) {
    std::array<std::uint16_t, 4> samples{};
    PutPixel(*m_format.pixels, colour, 0, 0, samples.data());
    const unsigned perPixel = m_format.pixels->SamplesPerPixel();
    for (unsigned channel = 0; channel < perPixel; ++channel) {
        for (std::size_t i = std::size_t{begin} * perPixel + channel; i < std::size_t{end} * perPixel; i += perPixel) {
            m_samples[i] = samples[channel];
        }
    }
}

} // namespace CamEmu
