// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/GrabResultData.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/Image.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace Zelmo {

/// Whether @p data is the only reference to its record, and the record the only holder of its buffer.
bool IsUniqueGrabResult(const std::shared_ptr<CGrabResultData>& data) noexcept;

/// The image view of a grab result.
/// @tparam Data how the result is held; a reference makes a view that follows it.
template <typename Data>
class CGrabResultPtrImageT final : public IImage {
public:
    explicit CGrabResultPtrImageT(Data data) noexcept : m_data(std::forward<Data>(data)) {}
    CGrabResultPtrImageT(const CGrabResultPtrImageT&) = delete;
    CGrabResultPtrImageT& operator=(const CGrabResultPtrImageT&) = delete;

    bool IsValid() const override {
        return m_data != nullptr && m_data->GrabSucceeded() && m_data->GetPixelType() != PixelType_Undefined;
    }
    EPixelType GetPixelType() const override { return IsValid() ? m_data->GetPixelType() : PixelType_Undefined; }
    std::uint32_t GetWidth() const override { return IsValid() ? m_data->GetWidth() : 0; }
    std::uint32_t GetHeight() const override { return IsValid() ? m_data->GetHeight() : 0; }
    std::size_t GetPaddingX() const override { return IsValid() ? m_data->GetPaddingX() : 0; }
    EImageOrientation GetOrientation() const override { return ImageOrientation_TopDown; }
    void* GetBuffer() override { return IsValid() ? m_data->GetBuffer() : nullptr; }
    const void* GetBuffer() const override { return IsValid() ? m_data->GetBuffer() : nullptr; }
    std::size_t GetImageSize() const override { return IsValid() ? m_data->GetImageSize() : 0; }
    bool IsUnique() const override { return IsUniqueGrabResult(m_data); }
    bool GetStride(std::size_t& strideBytes) const override { return IsValid() && m_data->GetStride(strideBytes); }

private:
    Data m_data;
};

/// The body of a CGrabResultPtr: the result, and a view that always shows it. Never moves: the view refers into it.
class CGrabResultPtrImpl {
public:
    explicit CGrabResultPtrImpl(std::shared_ptr<CGrabResultData> result = nullptr) noexcept
        : data(std::move(result)), image(data) {}
    CGrabResultPtrImpl(const CGrabResultPtrImpl&) = delete;
    CGrabResultPtrImpl& operator=(const CGrabResultPtrImpl&) = delete;

    std::shared_ptr<CGrabResultData> data;
    CGrabResultPtrImageT<const std::shared_ptr<CGrabResultData>&> image;
};

} // namespace Zelmo
