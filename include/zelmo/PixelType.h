// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>

#include <cstddef>
#include <cstdint>

namespace Zelmo {

/// The formats of pixels that images come in.
/// A value is the pixel format code of GigE Vision: bit 31 is set for a custom format, bits 24 to 30 are 1 for
/// monochrome and raw Bayer and 2 for colour, bits 16 to 23 are the bits that one pixel takes, bits 0 to 15 identify
/// the format. Only the values listed here are valid: a code with the right fields that stands in no line is an invalid
/// type.
enum EPixelType : std::int64_t {
    PixelType_Undefined = -1, ///< No type; also the answer of a failed look-up.
    PixelType_Mono8 = 0x01080001,
    PixelType_Mono8signed = 0x01080002,
    PixelType_BayerGR8 = 0x01080008,
    PixelType_BayerRG8 = 0x01080009,
    PixelType_BayerGB8 = 0x0108000A,
    PixelType_BayerBG8 = 0x0108000B,
    PixelType_Mono10p = 0x010A0046,
    PixelType_BayerBG10p = 0x010A0052,
    PixelType_BayerGB10p = 0x010A0054,
    PixelType_BayerGR10p = 0x010A0056,
    PixelType_BayerRG10p = 0x010A0058,
    PixelType_Mono10Packed = 0x010C0004,
    PixelType_Mono12Packed = 0x010C0006,
    PixelType_BayerGR12Packed = 0x010C002A,
    PixelType_BayerRG12Packed = 0x010C002B,
    PixelType_BayerGB12Packed = 0x010C002C,
    PixelType_BayerBG12Packed = 0x010C002D,
    PixelType_Mono12p = 0x010C0047,
    PixelType_BayerBG12p = 0x010C0053,
    PixelType_BayerGB12p = 0x010C0055,
    PixelType_BayerGR12p = 0x010C0057,
    PixelType_BayerRG12p = 0x010C0059,
    PixelType_Mono10 = 0x01100003,
    PixelType_Mono12 = 0x01100005,
    PixelType_Mono16 = 0x01100007,
    PixelType_BayerGR10 = 0x0110000C,
    PixelType_BayerRG10 = 0x0110000D,
    PixelType_BayerGB10 = 0x0110000E,
    PixelType_BayerBG10 = 0x0110000F,
    PixelType_BayerGR12 = 0x01100010,
    PixelType_BayerRG12 = 0x01100011,
    PixelType_BayerGB12 = 0x01100012,
    PixelType_BayerBG12 = 0x01100013,
    PixelType_BayerGR16 = 0x0110002E,
    PixelType_BayerRG16 = 0x0110002F,
    PixelType_BayerGB16 = 0x01100030,
    PixelType_BayerBG16 = 0x01100031,
    PixelType_YUV411Packed = 0x020C001E,
    PixelType_YCbCr420_8_YY_CbCr_Semiplanar = 0x020C0112,
    PixelType_YUV422Packed = 0x0210001F,
    PixelType_YUV422_YUYV_Packed = 0x02100032,
    PixelType_YCbCr422_8_YY_CbCr_Semiplanar = 0x02100113,
    PixelType_RGB8Packed = 0x02180014,
    PixelType_BGR8Packed = 0x02180015,
    PixelType_YUV444Packed = 0x02180020,
    PixelType_RGB8Planar = 0x02180021,
    PixelType_RGBA8Packed = 0x02200016,
    PixelType_BGRA8Packed = 0x02200017,
    PixelType_BGR10V1Packed = 0x0220001C,
    PixelType_BGR10V2Packed = 0x0220001D,
    PixelType_RGB12V1Packed = 0x02240034,
    PixelType_RGB10Packed = 0x02300018,
    PixelType_BGR10Packed = 0x02300019,
    PixelType_RGB12Packed = 0x0230001A,
    PixelType_BGR12Packed = 0x0230001B,
    PixelType_RGB10Planar = 0x02300022,
    PixelType_RGB12Planar = 0x02300023,
    PixelType_RGB16Planar = 0x02300024,
    PixelType_RGB16Packed = 0x02300033,
    PixelType_Mono1Packed = 0x8101000C,
    PixelType_Mono2Packed = 0x8102000D,
    PixelType_Mono4Packed = 0x8104000E,
    PixelType_Double = 0x81400100,
    PixelType_YUV420Planar = 0x820C0040,
    PixelType_YUV422Planar = 0x82100042,
    PixelType_YUV444Planar = 0x82180044,
};

/// @name What a pixel is made of
/// Pure look-ups, from any thread, before and after the library runs.
/// @throws GenICam::InvalidArgumentException for a value that is no type, PixelType_Undefined included.
/// @{

/// Depth of one sample in bits: 10 for Mono10, although it occupies 16.
ZELMO_API std::uint32_t BitDepth(EPixelType pixelType);

/// Samples in one pixel. @throws GenICam::InvalidArgumentException also for the YUV 4:1:1 and 4:2:0 types and for the
/// planar and semiplanar YUV 4:2:2 ones: they have no whole number of samples in a pixel.
ZELMO_API std::uint32_t SamplesPerPixel(EPixelType pixelType);

/// Bits that one pixel occupies in the buffer, over all planes.
ZELMO_API std::uint32_t BitPerPixel(EPixelType pixelType);
/// @}

/// @name What an image takes
/// Widths and heights are in pixels, padding, strides and sizes in bytes. Padding follows the pixels of each line. The
/// stride of a planar type is that of one plane. Sums and products wrap at 64 bits; negative numbers that were passed
/// by mistake (a width or height with its top bit set, likewise padding and strides) are rejected.
/// @throws GenICam::InvalidArgumentException for these, for an invalid type, and where planes that differ in size leave
/// no line length.
/// @{

/// Distance from the start of one line to the start of the next.
/// @return false, and @p strideBytes as it was, when there is none: a line without padding ends inside a byte, the
/// planes differ in size, or the type is PixelType_Undefined. Neither of the two throws here.
ZELMO_API bool ComputeStride(unsigned long& strideBytes, EPixelType pixelType, unsigned int width,
                             unsigned long paddingX);

/// Bytes that follow the pixels of a line whose stride is known.
/// @throws GenICam::InvalidArgumentException also when the pixels of a line do not fit the stride.
ZELMO_API unsigned long ComputePaddingX(unsigned long strideBytes, EPixelType pixelType, unsigned int width);

/// Size of the buffer that holds the whole image. Without padding the lines follow each other bit by bit, and only the
/// end of the image is rounded up to a byte.
ZELMO_API std::size_t ComputeBufferSize(EPixelType pixelType, unsigned int width, unsigned int height,
                                        unsigned long paddingX);
/// @}

} // namespace Zelmo
