// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageFormat.h"
#include "RowTable.h"
#include "Scene.h"

#include <cstdint>
#include <span>
#include <vector>

namespace CamEmu {

/// What the images show; the values are those of the register TestImageSelector.
enum class ETestImage : std::uint32_t {
    Off, ///< the simulated scene; the only image that exposure time and gain act on
    Black,
    White,
    HorizontalRamp,
    HorizontalRampMoving,
    VerticalRamp,
    VerticalRampMoving,
    DiagonalGradient,
    DiagonalGradientMoving,
    DiagonalColourGradientMoving,
    ColourBars,
    FrameCounter,
    Count_
};

/// Draws images straight into the receiver's memory. All memory is made by Configure; drawing allocates nothing, also
/// when another test image is chosen between two frames.
/// Threads: one at a time.
class CPatternGenerator {
public:
    explicit CPatternGenerator(std::uint32_t cameraNumber) : m_cameraNumber(cameraNumber) {}

    void Configure(const CImageFormat& format);

    /// Fills @p image, which has the format's payload size.
    void Render(ETestImage testImage, std::uint64_t blockId, const CSensorResponse& response,
                std::span<std::uint8_t> image);

private:
    void FillTable(ETestImage testImage);
    template <typename ColourAt>
    void RenderColumns(ColourAt colourAt, std::uint8_t* image);
    void RenderVerticalRamp(unsigned phase, std::uint8_t* image) const;
    void RenderDiagonal(unsigned phase, std::uint8_t* image) const;
    void RenderScene(std::uint64_t blockId, const CSensorResponse& response, std::uint8_t* image);
    void DrawDigits(std::uint64_t number, std::uint8_t* image);
    void PutRun(const CColour& colour, unsigned begin, unsigned end);
    void EncodeLine(std::uint8_t* line) const { EncodeSamples(*m_format.pixels, m_samples, line); }

    const std::uint32_t m_cameraNumber;
    CImageFormat m_format;
    ETestImage m_inTable = ETestImage::Count_; // what the table holds; Count_: nothing
    CRowTable m_table;
    CScene m_scene;
    std::vector<std::uint16_t> m_samples; // of one line
};

} // namespace CamEmu
