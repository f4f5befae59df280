// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/ConfigurationEventHandler.h>

#include <string_view>

namespace Zelmo {

/// What happens to a camera, as its configuration handlers hear of it.
struct CLifeEvent {
    void (CConfigurationEventHandler::*call)(CInstantCamera& camera);
    const char* name; ///< With the class.
    bool isSwallowed; ///< Whether what handlers throw goes no further.

    const char* GetShortName() const { return name + std::string_view("CConfigurationEventHandler::").size(); }
};

#define ZELMO_LIFE_EVENT(operation, isSwallowed)                                                                       \
    inline constexpr CLifeEvent k##operation {                                                                         \
        &CConfigurationEventHandler::operation, "CConfigurationEventHandler::" #operation, isSwallowed                 \
    }
ZELMO_LIFE_EVENT(OnAttach, true);
ZELMO_LIFE_EVENT(OnAttached, true);
ZELMO_LIFE_EVENT(OnDetach, true);
ZELMO_LIFE_EVENT(OnDetached, true);
ZELMO_LIFE_EVENT(OnDestroy, true);
ZELMO_LIFE_EVENT(OnDestroyed, true);
ZELMO_LIFE_EVENT(OnOpen, false);
ZELMO_LIFE_EVENT(OnOpened, false);
ZELMO_LIFE_EVENT(OnClose, true);
ZELMO_LIFE_EVENT(OnClosed, true);
ZELMO_LIFE_EVENT(OnGrabStart, false);
ZELMO_LIFE_EVENT(OnGrabStarted, false);
ZELMO_LIFE_EVENT(OnGrabStop, true);
ZELMO_LIFE_EVENT(OnGrabStopped, true);
ZELMO_LIFE_EVENT(OnCameraDeviceRemoved, true);
#undef ZELMO_LIFE_EVENT

} // namespace Zelmo
