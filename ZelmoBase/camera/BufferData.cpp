// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/BufferData.h"

#include <Base/GCException.h>

#include <new>
#include <utility>

namespace Zelmo {
namespace {

/// Runs @p step and gives a lack of memory its usual exception.
template <typename Step>
auto AllocateOrReport(Step&& step) {
    try {
        return step();
    } catch (const std::bad_alloc& e) {
        throw BAD_ALLOC_EXCEPTION("Out of memory. %s", e.what());
    }
}

std::unique_ptr<CBufferData> MakeRecord(std::uint64_t sizeBytes) {
    auto item = AllocateOrReport([] { return std::make_unique<CBufferData>(); });
    item->sizeBytes = sizeBytes;
    return item;
}

} // namespace

CBufferDataFactory::CBufferDataFactory(std::uint64_t sizeBytes, std::shared_ptr<IBufferFactory> bufferFactory)
    : m_sizeBytes(sizeBytes), m_bufferFactory(std::move(bufferFactory)) {}

CBufferData* CBufferDataFactory::Create() {
    if (m_sizeBytes == 0) {
        return nullptr;
    }
    return m_bufferFactory != nullptr ? CreateForeign() : CreateOnHeap();
}

CBufferData* CBufferDataFactory::CreateForeign() {
    auto item = MakeRecord(m_sizeBytes); // first: nothing can fail once the application has given memory
    item->foreign = true;
    m_bufferFactory->AllocateBuffer(m_sizeBytes, &item->buffer, item->context);
    return item->buffer != nullptr ? item.release() : nullptr;
}

CBufferData* CBufferDataFactory::CreateOnHeap() {
    auto item = MakeRecord(m_sizeBytes);
    item->buffer = AllocateOrReport([this] { return ::operator new(m_sizeBytes); });
    item->context = reinterpret_cast<long>(item->buffer);
    return item.release();
}

void CBufferDataFactory::Destroy(CBufferData* item) {
    const std::unique_ptr<CBufferData> record(item); // goes even if the factory throws
    if (m_bufferFactory != nullptr) {
        m_bufferFactory->FreeBuffer(item->buffer, item->context);
    }
    if (!item->foreign) {
        ::operator delete(item->buffer);
    }
}

CReusableBufferProvider::CReusableBufferProvider()
    : CReusableItemProvider(EReuse::FirstInFirstOut, CBufferDataFactory(0, nullptr)) {}

void CReusableBufferProvider::Reset(std::uint64_t sizeBytes, std::shared_ptr<IBufferFactory> bufferFactory,
                                    EReset reset) {
    if (reset == EReset::IfNeeded && sizeBytes == m_sizeBytes && bufferFactory == nullptr) {
        return;
    }
    Replace(CBufferDataFactory(sizeBytes, std::move(bufferFactory)));
    m_sizeBytes = sizeBytes;
}

} // namespace Zelmo
