// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/PixelType.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/Types.h>

#include <cstddef>
#include <cstdint>

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

/// What is known of one grabbed image, and the image itself. Applications get it through CGrabResultPtr, which keeps it
/// and its buffer reserved; it stays valid after grabbing has stopped and after the camera object is gone.
/// Fields that the transport layer did not tell have the value given here as "else".
/// Threads: any may read; the fields do not change while a CGrabResultPtr holds the object.
class ZELMO_API CGrabResultData {
public:
    CGrabResultData();
    CGrabResultData(const CGrabResultData&) = delete;
    CGrabResultData& operator=(const CGrabResultData&) = delete;
    virtual ~CGrabResultData();

    virtual void Destroy();    ///< Gives a pooled object up.
    virtual void Initialize(); ///< Called once, after the object was made; for derived classes.

    /// Whether the image arrived whole. Where not, error code and description say why, and size and buffer mean
    /// nothing.
    bool GrabSucceeded() const;
    String_t GetErrorDescription() const;
    std::uint32_t GetErrorCode() const; ///< The transport layer's own; else 0.

    EPayloadType GetPayloadType() const; ///< Else PayloadType_Undefined.
    EPixelType GetPixelType() const;     ///< Else PixelType_Undefined.
    std::uint32_t GetWidth() const;      ///< In pixels; else 0.
    std::uint32_t GetHeight() const;     ///< In lines; else 0.
    std::uint32_t GetOffsetX() const;    ///< Position of the first pixel on the sensor, in pixels; else 0.
    std::uint32_t GetOffsetY() const;    ///< In lines; else 0.
    std::uint32_t GetPaddingX() const;   ///< Bytes behind each line; else 0.
    std::uint32_t GetPaddingY() const;   ///< Bytes behind the image; else 0.

    void* GetBuffer() const;              ///< The data, GetPayloadSize() bytes; null in an empty object.
    std::uint64_t GetBufferSize() const;  ///< Bytes of the buffer, filled or not.
    std::uint64_t GetPayloadSize() const; ///< Bytes of the buffer that were filled; else 0.
    long GetBufferContext() const;        ///< What the buffer factory set; by default the address of the buffer.

    /// Distance from one line to the next. @return false when lines do not begin at whole bytes.
    bool GetStride(std::size_t& strideBytes) const;
    /// In bytes, by pixel type, size and padding. With chunk data these are what the camera has sent along: compare
    /// with GetBufferSize() before pixels are touched. Sums wrap at 64 bits.
    /// @throws GenICam::InvalidArgumentException for PixelType_Undefined, for a type that this library does not know,
    /// and for a width or height that ComputeBufferSize refuses.
    std::size_t GetImageSize() const;

    std::uint64_t GetTimeStamp() const; ///< When the image was taken, in ticks of the camera; else 0.
    std::uint64_t GetBlockID() const;   ///< The camera's own count of images; all ones when it has none.

    /// Counts the results that the transport layer delivered to this camera object, over all sessions, from 1 on; 0 for
    /// a cancelled one.
    std::int64_t GetID() const;
    std::int64_t GetImageNumber() const; ///< Counts the results that were retrieved in this session, from 1 on.
    /// Results, failed and cancelled ones included, that were replaced by later ones since the last retrieval. Those
    /// that are still queued when grabbing stops are in no count.
    std::int64_t GetNumberOfSkippedImages() const;
    long GetCameraContext() const; ///< The value that the application gave to the camera object.

    bool IsChunkDataAvailable() const; ///< Whether there is a parser for the data that follow the image.
    /// The chunk data as features; an empty node map where there is none. Valid as long as this object.
    GenApi::INodeMap& GetChunkDataNodeMap() const;
    bool HasCRC() const;   ///< The data carry a checksum.
    bool CheckCRC() const; ///< The checksum matches; false without one.

    class CGrabResultDataImpl;
    CGrabResultDataImpl* GetGrabResultDataImpl() const noexcept { return m_impl; } ///< For the library itself.

private:
    CGrabResultDataImpl* m_impl; // owned; never moves

    // One pointer per field that has an accessor, in the record's order: the record may grow without this class.
    const long* m_cameraContext;
    const std::int64_t* m_id;
    const std::int64_t* m_imageNumber;
    const std::int64_t* m_skippedImages;
    void* const* m_buffer;
    const std::uint64_t* m_bufferSize;
    const bool* m_grabSucceeded;
    const EPayloadType* m_payloadType;
    const EPixelType* m_pixelType;
    const std::uint64_t* m_timeStamp;
    const std::uint32_t* m_width;
    const std::uint32_t* m_height;
    const std::uint32_t* m_offsetX;
    const std::uint32_t* m_offsetY;
    const std::uint32_t* m_paddingX;
    const std::uint32_t* m_paddingY;
    const std::uint64_t* m_payloadSize;
    const std::uint32_t* m_errorCode;
    const String_t* m_errorDescription;
    const std::uint64_t* m_blockId;
    const long* m_bufferContext;
};

} // namespace Zelmo
