// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/PixelType.h>

#include <cstddef>
#include <cstdint>

namespace Zelmo {

/// Where the first line of an image in memory belongs.
enum EImageOrientation : int {
    ImageOrientation_TopDown = 0 ///< At the top.
};

/// A view of an image in memory. Threads: as the object behind it.
class ZELMO_API IImage {
public:
    virtual ~IImage() = default;

    virtual bool IsValid() const = 0; ///< There is an image; where not, all else but IsUnique gives its empty value.
    virtual EPixelType GetPixelType() const = 0; ///< PixelType_Undefined without an image.
    virtual std::uint32_t GetWidth() const = 0;  ///< Pixels in a line.
    virtual std::uint32_t GetHeight() const = 0; ///< Lines.
    virtual std::size_t GetPaddingX() const = 0; ///< Bytes behind each line.
    virtual EImageOrientation GetOrientation() const = 0;
    virtual void* GetBuffer() = 0; ///< First byte of the first line; null without an image.
    virtual const void* GetBuffer() const = 0;
    virtual std::size_t GetImageSize() const = 0; ///< In bytes.
    virtual bool IsUnique() const = 0;            ///< Nobody else refers to the memory of the image.

    /// Sets @p strideBytes to the distance from one line to the next.
    /// @return false, and @p strideBytes as it was, when lines do not begin at whole bytes or there is no image.
    virtual bool GetStride(std::size_t& strideBytes) const = 0;
};

} // namespace Zelmo
