// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IPort.h>

namespace GenApi {

/// A port node whose data comes as a chunk of each image.
struct GENICAM_API IChunkPort : virtual public IPort {
    virtual gcstring GetChunkID() const = 0;   ///< Hexadecimal digits; empty for a port that is no chunk port.
    virtual EYesNo CacheChunkData() const = 0; ///< Whether the data is to be copied when a buffer is attached.
};

} // namespace GenApi
