// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace GenApi {
struct INodeMap;
}

namespace Zelmo {

class IZelmoDevice;
class WaitObject;

/// Starts and stops the acquisition of a camera by its features.
/// Threads: StopFromEngine is the engine thread's, which never takes the camera lock; the rest comes with that lock
/// held. Locks: that of the device's node map, which guards whether the camera owes a stop.
class CAcquisition {
public:
    /// Before the engine starts. Borrows @p nodeMap until the engine has stopped; null where the device has none.
    void SetNodeMap(GenApi::INodeMap* nodeMap) noexcept {
        m_nodeMap = nodeMap;
        m_owed = EOwed::Nothing;
    }

    /// Executes "AcquisitionStart", if the device has it and lets it be written. A stop is owed from here on, even when
    /// it throws what the device throws.
    void Start();

    /// Executes "AcquisitionStop" likewise, if a stop is owed and @p device still has that node map. What the device
    /// throws is logged.
    void Stop(IZelmoDevice& device) noexcept;

    /// The same; while the start is under way, the thread that starts does it behind that. While others hold the lock
    /// of the node map it waits no longer than until @p stop is signaled: then the thread that stops does it.
    void StopFromEngine(const WaitObject& stop) noexcept;

private:
    /// The stop that the camera owes.
    enum class EOwed { Nothing, Stop, StopOfStart /* the start is under way */, StopBehindStart /* and asked for */ };

    void EndStart();
    void StopIfOwed(); // with the lock of the node map held; so the next

    GenApi::INodeMap* m_nodeMap = nullptr; // the device's
    EOwed m_owed = EOwed::Nothing;         // guarded by its lock
};

} // namespace Zelmo
