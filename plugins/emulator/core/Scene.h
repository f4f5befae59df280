// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageFormat.h"

#include <cstdint>
#include <vector>

namespace CamEmu {

/// How strongly the sensor answers to the light of the scene, and how much it adds of its own.
struct CSensorResponse {
    double brightness; ///< 1 at the default exposure time and gain; proportional to exposure time · 10^(gain / 20)
    double noise;      ///< 1 at gain 0 dB; proportional to 10^(gain / 20)
};
CSensorResponse SensorResponse(double exposureUs, double gainDb);

inline constexpr double kDefaultExposureUs = 10000.0;

/// What stands before the camera: a plate with holes and coloured marks, lit more in the middle than at the rim. It is
/// fixed to the sensor, so that the offsets move the window over it. The noise is a function of frame and line.
/// Threads: one at a time.
class CScene {
public:
    /// Makes the tables for that window; all that is allocated is allocated here.
    void Configure(const CImageFormat& format);

    /// The samples of one line of the window, clipped at full scale; as many as the window has in a line.
    void RenderLine(std::uint64_t blockId, unsigned y, const CSensorResponse& response, std::uint16_t* samples);

private:
    void RenderSensorLine(std::uint64_t blockId, unsigned y, const CSensorResponse& response,
                          std::uint16_t* samples) const;
    void RenderPiece(const std::uint16_t* plate, const float* light, const float* noise, std::size_t count,
                     const CSensorResponse& response, std::uint16_t* samples) const;

    CImageFormat m_format;
    std::vector<std::uint16_t> m_plate; // one tile of the plate, in the samples of m_plateFormat
    const CPixelFormat* m_plateFormat = nullptr;
    std::vector<CColour> m_colours; // of one line, for a format that the plate is not in
    const float* m_noise = nullptr; // the same for all scenes
    std::vector<float> m_light;     // along a line, for each sample
};

} // namespace CamEmu
