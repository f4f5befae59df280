// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/ChunkParsingEngine.h"

#include <zelmo/Device.h>

#include <Base/GCException.h>

namespace Zelmo {

void CChunkParsingEngine::Start(bool isChunkModeActive) const {
    if (!isChunkModeActive) {
        return;
    }
    const auto* const device = dynamic_cast<IZelmoDevicePrivate*>(m_device);
    if (device == nullptr || !device->IsChunkNodeMapDescriptionAvailable()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot create chunk parser. No chunk node map description available. Check the "
                                      "Transport Layer settings.");
    }
}

} // namespace Zelmo
