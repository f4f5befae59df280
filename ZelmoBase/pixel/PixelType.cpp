// SPDX-License-Identifier: Apache-2.0
#include <zelmo/PixelType.h>

#include <Base/GCException.h>
#include <zelmo/internal/PixelTypePrivate.h>

#include <algorithm>
#include <iterator>

namespace Zelmo {
namespace {

struct PixelTypeRow {
    EPixelType pixelType;
    std::uint32_t bitDepth;
    std::uint32_t samplesPerPixel;
    std::uint32_t planes;
};

constexpr std::uint32_t kNoSamples = 0; // no whole number of samples makes up a pixel

// All valid types, by rising value.
constexpr PixelTypeRow kPixelTypes[] = {
    {PixelType_Mono8, 8, 1, 1},
    {PixelType_Mono8signed, 8, 1, 1},
    {PixelType_BayerGR8, 8, 1, 1},
    {PixelType_BayerRG8, 8, 1, 1},
    {PixelType_BayerGB8, 8, 1, 1},
    {PixelType_BayerBG8, 8, 1, 1},
    {PixelType_Mono10p, 10, 1, 1},
    {PixelType_BayerBG10p, 10, 1, 1},
    {PixelType_BayerGB10p, 10, 1, 1},
    {PixelType_BayerGR10p, 10, 1, 1},
    {PixelType_BayerRG10p, 10, 1, 1},
    {PixelType_Mono10Packed, 10, 1, 1},
    {PixelType_Mono12Packed, 12, 1, 1},
    {PixelType_BayerGR12Packed, 12, 1, 1},
    {PixelType_BayerRG12Packed, 12, 1, 1},
    {PixelType_BayerGB12Packed, 12, 1, 1},
    {PixelType_BayerBG12Packed, 12, 1, 1},
    {PixelType_Mono12p, 12, 1, 1},
    {PixelType_BayerBG12p, 12, 1, 1},
    {PixelType_BayerGB12p, 12, 1, 1},
    {PixelType_BayerGR12p, 12, 1, 1},
    {PixelType_BayerRG12p, 12, 1, 1},
    {PixelType_Mono10, 10, 1, 1},
    {PixelType_Mono12, 12, 1, 1},
    {PixelType_Mono16, 16, 1, 1},
    {PixelType_BayerGR10, 10, 1, 1},
    {PixelType_BayerRG10, 10, 1, 1},
    {PixelType_BayerGB10, 10, 1, 1},
    {PixelType_BayerBG10, 10, 1, 1},
    {PixelType_BayerGR12, 12, 1, 1},
    {PixelType_BayerRG12, 12, 1, 1},
    {PixelType_BayerGB12, 12, 1, 1},
    {PixelType_BayerBG12, 12, 1, 1},
    {PixelType_BayerGR16, 16, 1, 1},
    {PixelType_BayerRG16, 16, 1, 1},
    {PixelType_BayerGB16, 16, 1, 1},
    {PixelType_BayerBG16, 16, 1, 1},
    {PixelType_YUV411Packed, 8, kNoSamples, 1},
    {PixelType_YCbCr420_8_YY_CbCr_Semiplanar, 8, kNoSamples, 1},
    {PixelType_YUV422Packed, 8, 2, 1},
    {PixelType_YUV422_YUYV_Packed, 8, 2, 1},
    {PixelType_YCbCr422_8_YY_CbCr_Semiplanar, 8, kNoSamples, 1},
    {PixelType_RGB8Packed, 8, 3, 1},
    {PixelType_BGR8Packed, 8, 3, 1},
    {PixelType_YUV444Packed, 8, 3, 1},
    {PixelType_RGB8Planar, 8, 3, 3},
    {PixelType_RGBA8Packed, 8, 4, 1},
    {PixelType_BGRA8Packed, 8, 4, 1},
    {PixelType_BGR10V1Packed, 10, 3, 1},
    {PixelType_BGR10V2Packed, 10, 3, 1},
    {PixelType_RGB12V1Packed, 12, 3, 1},
    {PixelType_RGB10Packed, 10, 3, 1},
    {PixelType_BGR10Packed, 10, 3, 1},
    {PixelType_RGB12Packed, 12, 3, 1},
    {PixelType_BGR12Packed, 12, 3, 1},
    {PixelType_RGB10Planar, 10, 3, 3},
    {PixelType_RGB12Planar, 12, 3, 3},
    {PixelType_RGB16Planar, 16, 3, 3},
    {PixelType_RGB16Packed, 16, 3, 1},
    {PixelType_Mono1Packed, 1, 1, 1},
    {PixelType_Mono2Packed, 2, 1, 1},
    {PixelType_Mono4Packed, 4, 1, 1},
    {PixelType_Double, 64, 1, 1},
    {PixelType_YUV420Planar, 8, kNoSamples, 3},
    {PixelType_YUV422Planar, 8, kNoSamples, 3},
    {PixelType_YUV444Planar, 8, 3, 3},
};

constexpr bool IsLess(const PixelTypeRow& a, const PixelTypeRow& b) {
    return a.pixelType < b.pixelType;
}
static_assert(std::is_sorted(std::begin(kPixelTypes), std::end(kPixelTypes), IsLess), "FindRow searches by value");

// Null for an invalid type.
const PixelTypeRow* FindRow(EPixelType pixelType) {
    const PixelTypeRow wanted{pixelType, 0, 0, 0};
    const auto* row = std::lower_bound(std::begin(kPixelTypes), std::end(kPixelTypes), wanted, IsLess);
    return row != std::end(kPixelTypes) && row->pixelType == pixelType ? row : nullptr;
}

// The planes differ in size, so that no single line length exists.
bool IsUneven(EPixelType pixelType) {
    return pixelType == PixelType_YCbCr420_8_YY_CbCr_Semiplanar ||
           pixelType == PixelType_YCbCr422_8_YY_CbCr_Semiplanar || pixelType == PixelType_YUV420Planar ||
           pixelType == PixelType_YUV422Planar;
}

constexpr std::uint64_t RoundUpToBytes(std::uint64_t bits) {
    return (bits + 7) / 8;
}

// Catches negative numbers that were passed as unsigned ones.
void CheckNotNegative(std::int64_t value, const char* name) {
    if (value < 0) {
        throw INVALID_ARGUMENT_EXCEPTION(
            "The unsigned %s parameter value exceeds the maximum allowed value. Probably a "
            "negative value has been passed.",
            name);
    }
}

// A luma plane with full lines, then the chroma lines, each as long as two half lines that are rounded up. Only the
// planar 4:2:0 type halves the number of chroma lines.
std::uint64_t ComputeUnevenBufferSize(EPixelType pixelType, std::uint64_t width, std::uint64_t height,
                                      std::uint64_t paddingX) {
    const std::uint64_t line = paddingX + width;
    const std::uint64_t chromaRows = pixelType == PixelType_YUV420Planar ? (height + 1) / 2 : height;
    return height * line + (2 * ((line + 1) / 2)) * chromaRows;
}

} // namespace

std::uint32_t BitDepth(EPixelType pixelType) {
    const PixelTypeRow* row = FindRow(pixelType);
    if (row == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Invalid pixel type. Bit depth not defined for pixel type %d.",
                                         static_cast<int>(pixelType));
    }
    return row->bitDepth;
}

std::uint32_t SamplesPerPixel(EPixelType pixelType) {
    const PixelTypeRow* row = FindRow(pixelType);
    if (row == nullptr || row->samplesPerPixel == kNoSamples) {
        throw INVALID_ARGUMENT_EXCEPTION("Invalid pixel type. Samples per pixel not defined for pixel type %d.",
                                         static_cast<int>(pixelType));
    }
    return row->samplesPerPixel;
}

std::uint32_t BitPerPixel(EPixelType pixelType) {
    if (FindRow(pixelType) == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Invalid pixel type. Pixel size in bit not defined for pixel type %d.",
                                         static_cast<int>(pixelType));
    }
    return static_cast<std::uint32_t>(pixelType >> 16) & 0xff; // GigE Vision: bits 16 to 23 of the code
}

std::uint32_t GetPlaneCount(EPixelType pixelType) {
    const PixelTypeRow* row = FindRow(pixelType);
    return row != nullptr ? row->planes : 1;
}

std::uint64_t ComputeBitsPerPlaneLine(EPixelType pixelType, unsigned int width) {
    CheckNotNegative(static_cast<std::int32_t>(width), "width");
    const std::uint32_t bitPerPixel = BitPerPixel(pixelType);
    const std::uint32_t planes = GetPlaneCount(pixelType);
    if (IsUneven(pixelType)) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot compute stride. The image planes are of different sizes.");
    }
    if (bitPerPixel % planes != 0) {
        throw INVALID_ARGUMENT_EXCEPTION("The value of bit per pixel is not divisible by the number of planes.");
    }
    return std::uint64_t{bitPerPixel / planes} * width;
}

bool ComputeStride(unsigned long& strideBytes, EPixelType pixelType, unsigned int width, unsigned long paddingX) {
    if (pixelType == PixelType_Undefined || IsUneven(pixelType)) {
        return false;
    }
    CheckNotNegative(static_cast<std::int64_t>(paddingX), "paddingX");
    const std::uint64_t bits = ComputeBitsPerPlaneLine(pixelType, width);
    if (paddingX == 0 && bits % 8 != 0) {
        return false;
    }
    strideBytes = RoundUpToBytes(bits) + paddingX;
    return true;
}

unsigned long ComputePaddingX(unsigned long strideBytes, EPixelType pixelType, unsigned int width) {
    CheckNotNegative(static_cast<std::int64_t>(strideBytes), "strideBytes");
    const std::uint64_t minimum = RoundUpToBytes(ComputeBitsPerPlaneLine(pixelType, width));
    if (strideBytes < minimum) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot compute paddingX. The given stride value %d is too small. The minimum "
                                         "valid stride value is %d",
                                         static_cast<int>(strideBytes), static_cast<int>(minimum));
    }
    return strideBytes - minimum;
}

std::size_t ComputeBufferSize(EPixelType pixelType, unsigned int width, unsigned int height, unsigned long paddingX) {
    CheckNotNegative(static_cast<std::int32_t>(height), "height");
    CheckNotNegative(static_cast<std::int64_t>(paddingX), "paddingX");
    if (IsUneven(pixelType)) {
        return ComputeUnevenBufferSize(pixelType, width, height, paddingX);
    }
    const std::uint64_t planes = GetPlaneCount(pixelType);
    const std::uint64_t bits = ComputeBitsPerPlaneLine(pixelType, width);
    if (paddingX > 0) {
        return (RoundUpToBytes(bits) + paddingX) * planes * height;
    }
    return RoundUpToBytes(height * bits * planes);
}

} // namespace Zelmo
