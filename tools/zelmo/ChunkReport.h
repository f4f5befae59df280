// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EntryChoice.h"
#include "NodeValues.h"
#include "TemporarySettings.h"

#include <zelmo/GrabResultData.h>

#include <string>
#include <vector>

namespace tool {

class Camera;

/// The data that a camera sends along with its images: switched on as long as this object lives, and read from results.
/// Borrows the camera, which does not grab when this object is made and when it goes.
/// Threads: one at a time.
class ChunkReport {
public:
    /// @param wanted entries of ChunkSelector, or the features "Chunk<entry>" that they fill; "all" is every chunk.
    /// @throws ToolError that names what there is; what switching one on is refused for. All is put back then.
    ChunkReport(Camera& camera, const std::vector<std::string>& wanted);

    /// All that @p result tells in its chunks, and what is missing of the chunks that were wanted.
    NodeValues Read(const Zelmo::CGrabResultData& result) const;

private:
    void SwitchOn(const ChosenEntry& chunk);

    TemporarySettings m_settings;
    std::vector<std::string> m_features; // of the chunks that are wanted
};

/// Whether @p camera is set to send chunks. @throws ToolError for one that has none.
bool SendsChunks(Camera& camera);

} // namespace tool
