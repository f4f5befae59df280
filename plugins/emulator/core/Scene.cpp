// SPDX-License-Identifier: Apache-2.0
#include "Scene.h"

#include <algorithm>
#include <cmath>

namespace CamEmu {

namespace {

constexpr unsigned kTileSize = 256; // pixels, even: the mosaic of Bayer formats goes on over the border
constexpr std::size_t kNoiseStarts = 8192;
constexpr float kNoiseSigma = 150.0F; // of 65535, at 0 dB

CColour TileColour(unsigned x, unsigned y) {
    const double distance = std::hypot(x - 127.5, y - 127.5);
    if (distance < 40) {
        return {4500, 4500, 5000}; // the hole
    }
    if (distance < 46) {
        return {14000, 14500, 15000}; // its bevel
    }
    if (x >= 16 && x < 48 && y >= 16 && y < 48) {
        return {46000, 12000, 10000};
    }
    if (x >= 208 && x < 240 && y >= 16 && y < 48) {
        return {12000, 38000, 14000};
    }
    if (x >= 16 && x < 48 && y >= 208 && y < 240) {
        return {10000, 16000, 44000};
    }
    if (x < 2 || y < 2) {
        return {8000, 8000, 8000}; // scribed lines between the tiles
    }
    const auto brushed = static_cast<std::uint16_t>(38000 + (y * 2654435761u >> 20) % 1500);
    return {brushed, brushed, brushed};
}

float LightAt(double position, double size) {
    const double fromMiddle = 2 * position / size - 1;
    return static_cast<float>(1 - 0.3 * fromMiddle * fromMiddle);
}

// Roughly normal noise: sums of four uniform values from a fixed generator. A line starts somewhere in the first part.
std::vector<float> MakeNoise() {
    std::vector<float> noise(kNoiseStarts + std::size_t{kSensorWidth} * 3);
    std::uint32_t state = 1;
    for (float& value : noise) {
        float sum = 0;
        for (int i = 0; i < 4; ++i) {
            state = state * 1664525u + 1013904223u;
            sum += static_cast<float>(state >> 8) / 16777216.0F - 0.5F;
        }
        value = sum * 1.732F * kNoiseSigma; // four uniform values of width 1 have a variance of 1/3
    }
    return noise;
}

const std::vector<float>& Noise() {
    static const std::vector<float> kNoise = MakeNoise();
    return kNoise;
}

std::size_t NoiseStart(std::uint64_t blockId, unsigned y) {
    const std::uint64_t mixed = (blockId * 0x9E3779B97F4A7C15u + y) * 0xD1B54A32D192ED03u;
    return (mixed >> 32) % kNoiseStarts;
}

// What the sensor answers with. Chroma cannot be lit or clipped, so formats that have it are made of the answer in RGB.
const CPixelFormat& SensorFormat(const CPixelFormat& pixels) {
    constexpr std::uint32_t rgb8 = 0x02180014;
    return pixels.layout == EPixelLayout::YCbCr422 ? *FindPixelFormat(rgb8) : pixels;
}

} // namespace

CSensorResponse SensorResponse(double exposureUs, double gainDb) {
    const double gain = std::pow(10.0, gainDb / 20);
    return {exposureUs / kDefaultExposureUs * gain, gain};
}

void CScene::Configure(const CImageFormat& format) {
    m_format = format;
    m_noise = Noise().data();
    const CPixelFormat& sensor = SensorFormat(*format.pixels);
    const unsigned samples = sensor.SamplesPerPixel();
    if (m_plateFormat != &sensor) {
        m_plate.resize(std::size_t{kTileSize} * kTileSize * samples);
        for (unsigned y = 0; y < kTileSize; ++y) {
            for (unsigned x = 0; x < kTileSize; ++x) {
                PutPixel(sensor, TileColour(x, y), x, y, m_plate.data() + (std::size_t{y} * kTileSize + x) * samples);
            }
        }
        m_plateFormat = &sensor; // only now: the memory may have been refused
    }
    m_colours.resize(&sensor == format.pixels ? 0 : format.width);
    m_light.resize(std::size_t{format.width} * samples);
    for (unsigned x = 0; x < format.width; ++x) {
        std::fill_n(m_light.begin() + std::ptrdiff_t{x} * samples, samples, LightAt(format.offsetX + x, kSensorWidth));
    }
}

void CScene::RenderLine(std::uint64_t blockId, unsigned y, const CSensorResponse& response, std::uint16_t* samples) {
    if (m_plateFormat == m_format.pixels) {
        return RenderSensorLine(blockId, y, response, samples);
    }
    RenderSensorLine(blockId, y, response, &m_colours.data()->red);
    PutLine(*m_format.pixels, m_colours, y, samples);
}

void CScene::RenderSensorLine(std::uint64_t blockId, unsigned y, const CSensorResponse& response,
                              std::uint16_t* samples) const {
    const std::size_t tileLine = std::size_t{kTileSize} * m_plateFormat->SamplesPerPixel();
    const unsigned sensorY = m_format.offsetY + y;
    const std::uint16_t* plate = m_plate.data() + sensorY % kTileSize * tileLine;
    const float* noise = m_noise + NoiseStart(blockId, y);
    CSensorResponse lineResponse = response;
    lineResponse.brightness *= LightAt(sensorY, kSensorHeight);

    std::size_t inTile = m_format.offsetX % kTileSize * m_plateFormat->SamplesPerPixel();
    for (std::size_t done = 0; done < m_light.size();) {
        const std::size_t count = std::min(tileLine - inTile, m_light.size() - done);
        RenderPiece(plate + inTile, m_light.data() + done, noise + done, count, lineResponse, samples + done);
        done += count;
        inTile = 0;
    }
}

void CScene::RenderPiece(const std::uint16_t* plate, const float* light, const float* noise, std::size_t count,
                         const CSensorResponse& response, std::uint16_t* samples) const {
    const auto brightness = static_cast<float>(response.brightness);
    const auto noiseGain = static_cast<float>(response.noise);
    for (std::size_t i = 0; i < count; ++i) {
        const float value = static_cast<float>(plate[i]) * light[i] * brightness + noise[i] * noiseGain;
        samples[i] = static_cast<std::uint16_t>(static_cast<int>(std::min(std::max(value, 0.0F), 65535.0F)));
    }
}

} // namespace CamEmu
