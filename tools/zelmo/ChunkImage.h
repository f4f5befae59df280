// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/GrabResultPtr.h>

namespace tool {

class Camera;

/// Grabs one image for what is sent along with it. A camera that is not set to send chunks sends all of them for this
/// image; its settings are put back. Until a signal; on the main thread.
/// @throws ToolError: no image within @p timeoutMs, one that failed, a camera without chunks or opened to look only.
Zelmo::CGrabResultPtr GrabChunkImage(Camera& camera, unsigned timeoutMs);

} // namespace tool
