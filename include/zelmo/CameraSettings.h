// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Persistence.h>
#include <GenApi/Synch.h>
#include <zelmo/InstantCamera.h>
#include <zelmo/Types.h>

#include <sstream>

namespace Zelmo {

/// The settings of an open camera as a text, which `zelmo save` would write and `zelmo load` can read: its streamable
/// features; see GenApi::CFeatureBag. With the camera lock held, so that nobody closes the camera meanwhile; not while
/// grabbing, where the camera locks some of them.
/// @param failures receives "<name>: <reason>" for what could not be saved; without it that raises
/// @throws the device check; GenICam::RuntimeException, see above.
inline String_t SaveSettings(CInstantCamera& camera, StringList_t* failures = nullptr) {
    const GenApi::AutoLock lock(camera.GetLock());
    GenApi::CFeatureBag settings;
    settings.StoreToBag(&camera.GetNodeMap(), /*MaxEntries*/ -1, /*pFeatureFilter*/ nullptr, failures);
    return settings.ToString();
}

namespace Internal {

inline GenApi::CFeatureBag ToFeatureBag(const String_t& settings) {
    GenApi::CFeatureBag bag;
    std::istringstream text(settings.str());
    text >> bag;
    return bag;
}

} // namespace Internal

/// Sets what SaveSettings has saved. Likewise. An empty text sets nothing.
/// @return "<name>: <reason>" for what could not be set, or reads back differently.
/// @throws the device check; GenICam::RuntimeException for a text that is none of settings: nothing is set.
inline StringList_t RestoreSettings(CInstantCamera& camera, const String_t& settings) {
    StringList_t failures;
    if (settings.empty()) {
        return failures;
    }
    const GenApi::CFeatureBag bag = Internal::ToFeatureBag(settings);
    const GenApi::AutoLock lock(camera.GetLock());
    bag.LoadFromBag(&camera.GetNodeMap(), /*Verify*/ true, &failures);
    return failures;
}

} // namespace Zelmo
