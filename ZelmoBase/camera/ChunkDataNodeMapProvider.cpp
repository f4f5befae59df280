// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/camera/ChunkDataNodeMapProvider.h"

#include "ZelmoBase/camera/CameraLog.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/core/ScopeGuard.h"
#include "ZelmoBase/transport/LibraryFile.h"

#include <zelmo/Device.h>

#include <typeinfo>

namespace Zelmo {

ISelfReliantChunkParser* CChunkDataNodeMapFactory::Create() const {
    IZelmoDevice* const device = *m_device;
    IChunkParser* const made = device != nullptr ? device->CreateChunkParser() : nullptr;
    auto* const parser = dynamic_cast<ISelfReliantChunkParser*>(made);
    if (parser == nullptr) {
        return nullptr;
    }
    ScopeGuard destroy([parser] { Destroy(parser); });
    KeepLibraryLoaded(typeid(*parser)); // a result may be dropped when the library has long been ended
    if (parser->GetChunkDataNodeMap() == nullptr) {
        return nullptr;
    }
    destroy.Dismiss();
    return parser;
}

void CChunkDataNodeMapFactory::Destroy(ISelfReliantChunkParser* parser) noexcept {
    RunLogged(CameraLogCategory(), "Exception caught while destroying chunk parser, msg='%s'",
              "Unknown exception caught while destroying chunk parser.", [parser] { parser->Destroy(); });
}

} // namespace Zelmo
