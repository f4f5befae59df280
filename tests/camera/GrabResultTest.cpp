// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/GrabResultDataImpl.h"
#include "ZelmoBase/camera/GrabResultDataProvider.h"
#include "ZelmoBase/camera/GrabResultPtrImpl.h"
#include "ZelmoBase/camera/QueueEntry.h"
#include "camera/Support.h"
#include "fakes/Failure.h"
#include "fakes/ScarceMemory.h"
#include "fakes/VirtualSlots.h"

#include <GenApi/INodeMap.h>

#include <gmock/gmock.h>

#include <array>
#include <climits>
#include <thread>
#include <tuple>

using namespace Zelmo;

namespace {

auto Values(const CGrabResultData& data) {
    return std::make_tuple(data.GetCameraContext(), data.GetID(), data.GetImageNumber(),
                           data.GetNumberOfSkippedImages(), data.GetBuffer(), data.GetBufferSize(),
                           data.GrabSucceeded(), data.GetPayloadType(), data.GetPixelType(), data.GetTimeStamp(),
                           data.GetWidth(), data.GetHeight(), data.GetOffsetX(), data.GetOffsetY(), data.GetPaddingX(),
                           data.GetPaddingY(), data.GetPayloadSize(), data.GetErrorCode(),
                           std::string(data.GetErrorDescription()), data.GetBlockID(), data.GetBufferContext());
}

const auto kEmptyValues = std::make_tuple(0, 0, 0, 0, nullptr, 0U, false, PayloadType_Undefined, PixelType_Undefined,
                                          0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, "", 0U, 0);

auto Values(const IImage& image) {
    return std::make_tuple(image.IsValid(), image.GetWidth(), image.GetHeight(), image.GetPaddingX(),
                           image.GetImageSize(), image.GetPixelType(), image.GetOrientation(), image.GetBuffer());
}
const auto kEmptyImage = std::make_tuple(false, 0U, 0U, 0U, 0U, PixelType_Undefined, ImageOrientation_TopDown, nullptr);

struct Parser final : ISelfReliantChunkParser {
    explicit Parser(std::string& story) : events(story) {}
    void AttachBuffer(const void*, std::int64_t, GenApi::AttachStatistics_t*) override {}
    void DetachBuffer() override {
        events += "detach ";
        throw RUNTIME_EXCEPTION("detaching");
    }
    void UpdateBuffer(const void*) override {}
    bool HasCRC() const override { return true; }
    bool CheckCRC() const override { return true; }
    GenApi::INodeMap* GetChunkDataNodeMap() override { return &data.GetChunkDataNodeMap(); }
    void Destroy() override {}

    std::string& events;
    CGrabResultData data; // for its node map
};

struct Creator final : IGrabResultDataCreator {
    CGrabResultData* CreateGrabResultData() override { return new CGrabResultData; }
};

class GrabResultTest : public BufferPoolTest {
protected:
    GrabResultTest() {
        Renew();
        m_pool->SetMaxItems(2);
        m_records->SetMaxItems(2);
    }

    CQueueEntry Entry(EGrabStatus status = GrabStatus_Grabbed) {
        CQueueEntry entry;
        std::tie(entry.id, entry.bufferSize, entry.status, entry.payloadType, entry.pixelType, entry.timeStamp,
                 entry.sizeX, entry.sizeY, entry.offsetX, entry.offsetY, entry.paddingX, entry.paddingY,
                 entry.payloadSize, entry.errorCode, entry.errorDescription, entry.blockId) =
            std::make_tuple(77, 64, status, PayloadType_Image, PixelType_Mono12Packed, 1ULL << 63U, 6, 4, 3, 2, 5, 1,
                            57, 0xE1000014, "a description that takes memory", ~0ULL);
        entry.bufferReference = m_pool->GetItem();
        entry.buffer = entry.bufferReference->buffer;
        return entry;
    }
    CGrabResultPtr Retrieve(CQueueEntry entry) {
        std::shared_ptr<CGrabResultData> record = m_records->GetItem();
        auto& data = *record->GetGrabResultDataImpl();
        ScarceMemory::FailAfter(0);
        data.Fill(std::move(entry));
        ScarceMemory::Relax();
        EXPECT_EQ(data.bufferHolder.use_count(), 1);
        std::tie(data.cameraContext, data.imageNumber, data.skippedImages) = std::make_tuple(11, 12, 13);
        CGrabResultPtr result;
        result = CGrabResultPtrImpl(std::move(record));
        return result;
    }

    Creator m_creator;
    std::optional<CReusableGrabResultDataProvider> m_records{std::in_place, m_creator};
};

TEST_F(GrabResultTest, RecordTellsWhatWasDeliveredAndForgetsItAtHome) {
    EXPECT_EQ(Values(CGrabResultData()), kEmptyValues);
    CGrabResultPtr other = Retrieve(Entry());
    CGrabResultPtr result = Retrieve(Entry());
    const CGrabResultData* const record = result.GetPtr();
    EXPECT_EQ(Values(*record),
              std::make_tuple(11, 77, 12, 13, record->GetGrabResultDataImpl()->bufferHolder->buffer, 64U, true,
                              PayloadType_Image, PixelType_Mono12Packed, 1ULL << 63U, 6U, 4U, 3U, 2U, 5U, 1U, 57U,
                              0xE1000014U, "a description that takes memory", ~0ULL, 2));
    IImage& image = result;
    EXPECT_EQ(Values(image), std::make_tuple(true, 6U, 4U, 5U, 56U, PixelType_Mono12Packed, ImageOrientation_TopDown,
                                             record->GetBuffer()));
    EXPECT_EQ(image.GetBuffer(), record->GetBuffer());
    std::size_t stride = 0;
    std::size_t strideOfImage = 0;
    EXPECT_TRUE(record->GetStride(stride));
    EXPECT_TRUE(image.GetStride(strideOfImage));
    EXPECT_EQ(stride, 14);
    EXPECT_EQ(strideOfImage, 14);
    record->GetGrabResultDataImpl()->chunkParser = std::make_shared<Parser>(m_story.events);
    other.Release();
    result.Release();
    EXPECT_EQ(Values(image), kEmptyImage); // it shows whatever its pointer refers to
    EXPECT_EQ(m_pool->GetFreeCount(), 2u);
    EXPECT_EQ(m_records->GetItem().get(), record); // the one that is still warm
    EXPECT_EQ(Values(*record), kEmptyValues);
    EXPECT_TRUE(record->IsChunkDataAvailable()); // the parser stays with its record
    EXPECT_FALSE(record->GetStride(stride));
    EXPECT_THROW(record->GetImageSize(), GenICam::InvalidArgumentException);
}

TEST_F(GrabResultTest, ResultWithoutImageIsAValidPointerAndAnInvalidImage) {
    for (const auto status : {GrabStatus_Failed, GrabStatus_Canceled, GrabStatus_Undefined, GrabStatus_Grabbed}) {
        CQueueEntry entry = Entry(status);
        entry.pixelType = status == GrabStatus_Grabbed ? PixelType_Undefined : PixelType_Mono8;
        entry.sizeX = entry.offsetX = entry.paddingX = -1;
        entry.sizeY = entry.offsetY = entry.paddingY = INT_MIN;
        entry.payloadSize = LLONG_MIN;
        const CGrabResultPtr result = Retrieve(std::move(entry));
        EXPECT_TRUE(result);
        EXPECT_EQ(result->GrabSucceeded(), status == GrabStatus_Grabbed);
        EXPECT_EQ(result->GetWidth() + result->GetHeight() + result->GetOffsetX() + result->GetOffsetY() +
                      result->GetPaddingX() + result->GetPaddingY() + result->GetPayloadSize(),
                  0u);
        IImage& image = result;
        std::size_t stride = 99;
        EXPECT_EQ(Values(image), kEmptyImage);
        EXPECT_FALSE(image.GetStride(stride) || image.GetBuffer() != nullptr);
        EXPECT_EQ(stride, 99);
        EXPECT_TRUE(image.IsUnique());
    }
}

TEST_F(GrabResultTest, PointersShareAResultAndTheLastOneLetsItGo) {
    ScarceMemory::FailAfter(0); // copies of nothing take no memory
    const CGrabResultPtr nothing;
    CGrabResultPtr copy(nothing);
    copy = nothing;
    ScarceMemory::Relax();
    EXPECT_EQ(copy.GetPtr(), nullptr);
    EXPECT_FALSE(static_cast<IImage&>(copy).IsUnique());
    EXPECT_EQ(Fakes::FailureOf([&] { copy->GetWidth(); }),
              "No grab result data is referenced. Cannot access NULL pointer.");
    CGrabResultPtr result = Retrieve(Entry());
    EXPECT_TRUE(result.IsUnique());
    copy = result;
    EXPECT_EQ(copy.GetPtr(), result.GetPtr());
    EXPECT_FALSE(copy.IsUnique() || result.IsUnique());
    result = Retrieve(Entry());
    EXPECT_TRUE(copy.IsUnique());
    const auto other = std::exchange(copy->GetGrabResultDataImpl()->bufferHolder, nullptr);
    EXPECT_FALSE(copy.IsUnique());
    copy->GetGrabResultDataImpl()->bufferHolder = other;
    EXPECT_FALSE(copy.IsUnique());
    CGrabResultPtr& same = result;
    result = same; // and holds nothing then
    EXPECT_FALSE(result || result.IsUnique() || result.GetPtr() != nullptr);
    EXPECT_EQ(m_pool->GetOutCount(), 1u); // the other's
    copy = result;
    EXPECT_EQ(m_records->GetOutCount(), 0u);
}

TEST_F(GrabResultTest, MovingTakesTheResultAlongAndNoMemory) {
    CGrabResultPtr from = Retrieve(Entry());
    CGrabResultData* const data = from.GetPtr();
    CGrabResultPtr second = Retrieve(Entry());
    CGrabResultPtr to;
    const IImage& view = second;
    ScarceMemory::FailAfter(0);
    CGrabResultPtr constructed(std::move(from));
    second = std::move(constructed); // lets go of its own result
    const bool isViewOfSecond = view.GetBuffer() == data->GetBuffer();
    to = std::move(second); // which had no view yet: that of the other goes along
    const bool isViewOfTo = view.GetBuffer() == data->GetBuffer();
    CGrabResultPtr nothing;
    CGrabResultPtr ofNothing(std::move(nothing));
    ofNothing = std::move(nothing); // NOLINT(bugprone-use-after-move): it is empty then
    CGrabResultPtr& same = to;
    to = std::move(same);
    ScarceMemory::Relax();
    EXPECT_TRUE(isViewOfSecond && isViewOfTo);
    EXPECT_EQ(to.GetPtr(), data);
    EXPECT_TRUE(to.IsUnique());
    EXPECT_EQ(m_records->GetOutCount(), 1u);
    // NOLINTNEXTLINE(bugprone-use-after-move): likewise
    for (CGrabResultPtr* const left : {&from, &constructed, &second, &nothing, &ofNothing}) {
        EXPECT_FALSE(left->IsValid() || left->IsUnique() || left->GetPtr() != nullptr);
        EXPECT_EQ(Values(static_cast<IImage&>(*left)), kEmptyImage);
    }
    second = std::move(to); // a moved-from pointer can be used again
    EXPECT_EQ(static_cast<IImage&>(second).GetBuffer(), data->GetBuffer());
    EXPECT_EQ(second.GetPtr(), data);
}

TEST_F(GrabResultTest, OutlivesEverythingAndItsParserLetsGoBeforeTheBufferGoes) {
    CGrabResultPtr result = Retrieve(Entry());
    m_records.reset();
    m_pool.reset();
    EXPECT_FALSE(result->IsChunkDataAvailable() || result->HasCRC() || result->CheckCRC());
    std::array<GenApi::INodeMap*, 2> maps{};
    std::thread other([&] { maps[0] = &result->GetChunkDataNodeMap(); });
    maps[1] = &result->GetChunkDataNodeMap();
    other.join();
    EXPECT_EQ(maps[0], maps[1]); // one for the record, whoever asks first
    EXPECT_EQ(maps[0]->GetNumNodes(), 0u);
    const auto parser = std::make_shared<Parser>(m_story.events);
    result->GetGrabResultDataImpl()->chunkParser = parser;
    EXPECT_TRUE(result->IsChunkDataAvailable());
    EXPECT_TRUE(result->HasCRC());
    EXPECT_TRUE(result->CheckCRC());
    EXPECT_EQ(&result->GetChunkDataNodeMap(), parser->GetChunkDataNodeMap());
    EXPECT_EQ(result->GetWidth(), 6);
    EXPECT_TRUE(result.IsUnique());
    std::jthread([&] { result.Release(); }).join();
    EXPECT_EQ(m_story.Told(), "detach free 1 gone");
    EXPECT_EQ(m_log.Errors("msg='detaching'"), 1u);
}

TEST(GrabResultOrderTest, VirtualOperationsKeepTheirPlaces) { // behind the two of a destructor, where it comes first
    using Image = IImage;                                     // between 7 and 10 stand both GetBuffer
    EXPECT_THAT(Fakes::Slots(&CGrabResultData::Destroy, &CGrabResultData::Initialize, &IBufferFactory::AllocateBuffer,
                             &IBufferFactory::FreeBuffer, &IBufferFactory::DestroyBufferFactory, &Image::IsValid,
                             &Image::GetPixelType, &Image::GetWidth, &Image::GetHeight, &Image::GetPaddingX,
                             &Image::GetOrientation, &Image::GetImageSize, &Image::IsUnique, &Image::GetStride),
                testing::ElementsAre(2, 3, 2, 3, 4, 2, 3, 4, 5, 6, 7, 10, 11, 12));
}

} // namespace
