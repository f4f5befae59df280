// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/ReusableItemProvider.h"

#include <zelmo/GrabResultData.h>

#include <memory>

namespace Zelmo {

struct CBufferData;

/// Makes result records: the camera object, whose class may have records of its own kind.
class IGrabResultDataCreator {
public:
    /// Null when there are no more chunk parsers for records. The record ends through its Destroy.
    virtual CGrabResultData* CreateGrabResultData() = 0;

protected:
    ~IGrabResultDataCreator() = default;
};

/// Makes records through the camera object. The creator is not used after its pool was given up.
class CGrabResultDataFactory {
public:
    explicit CGrabResultDataFactory(IGrabResultDataCreator& creator) : m_creator(&creator) {}

    CGrabResultData* Create() { return m_creator->CreateGrabResultData(); }
    static void Destroy(CGrabResultData* item) { item->Destroy(); }
    /// Empties the record. @return its hold of the buffer, which goes home with it.
    static std::shared_ptr<CBufferData> Recycle(CGrabResultData& item) noexcept;

private:
    IGrabResultDataCreator* m_creator;
};

/// The result records of a session. The one that came back last is used first.
class CReusableGrabResultDataProvider : public CReusableItemProvider<CGrabResultData, CGrabResultDataFactory> {
public:
    explicit CReusableGrabResultDataProvider(IGrabResultDataCreator& creator)
        : CReusableItemProvider(EReuse::LastInFirstOut, CGrabResultDataFactory(creator)), m_creator(creator) {}

    void Reset() { Replace(CGrabResultDataFactory(m_creator)); } ///< At each start: left-over results count no more.

private:
    IGrabResultDataCreator& m_creator;
};

} // namespace Zelmo
