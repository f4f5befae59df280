// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCString.h>

#include <GenApi/EventAdapter.h>

namespace GenApi {

/// Events without any header: the whole message is the event, and the caller knows its id. A message of 0 bytes is an
/// event without data. @p msg may be null for one; else that is a RuntimeException.
class GENICAM_API CEventAdapterGeneric : public CEventAdapter {
public:
    explicit CEventAdapterGeneric(INodeMap* pNodeMap = nullptr);
    ~CEventAdapterGeneric() override;

    /// @throws GenICam::LogicalErrorException always: an id is needed.
    void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
    /// @throws GenICam::InvalidArgumentException if @p EventID is no hexadecimal number of at most 16 bytes.
    void DeliverMessage(const uint8_t msg[], uint32_t numBytes, const GenICam::gcstring& EventID);
    void DeliverMessage(const uint8_t msg[], uint32_t numBytes, uint64_t EventID);
};

} // namespace GenApi
