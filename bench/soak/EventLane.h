// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SoakLane.h"

#include <zelmo/zelmo.h>

#include <GenApi/GenApi.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace soak {

/// What became of the events of one camera.
struct EventAccount {
    std::uint64_t raised = 0; // by the images that were begun, and on demand
    std::uint64_t delivered = 0;
    std::uint64_t dropped = 0; // by a full queue
    std::uint64_t pending = 0; // when grabbing stopped behind a removal
    std::uint64_t overruns = 0;
    // must stay 0
    std::uint64_t disordered = 0;  // ids that did not rise
    std::uint64_t unaccounted = 0; // of a life whose sums do not match

    bool IsClean() const { return disordered + unaccounted == 0 && raised == delivered + dropped + pending; }
};

/// One emulated camera with all chunks and with events, grabbed from by a loop of the application or by that of the
/// camera object, in lives that a removal ends. The lives of two ways take turns:
///   drained    the camera goes behind so many images; all of them and all of their events must come
///   cut off    the cable is pulled while images come, and grabbing stops at once; images and events that were on their
///              way are lost, as many as there is room for
/// In each life more events are raised than their queue takes, and the last image of a life is looked at in the next.
class EventLane {
public:
    /// With @p pool the parsers of the chunks are made once a device, else for each start.
    EventLane(const std::string& serialNumber, Zelmo::EGrabLoop loop, bool pool, std::uint64_t removals);

    /// Until at least @p frames images have come in as many lives as there are to be removals. @throws what grabbing
    /// throws, std::runtime_error when something does not come.
    void Run(std::uint64_t frames);

    std::uint64_t GetFrames() const noexcept { return m_frames; } ///< So far; any thread.
    std::uint64_t GetRemovals() const noexcept { return m_removals; }
    const Account& GetAccount() const noexcept { return m_account; }
    const EventAccount& GetEventAccount() const noexcept { return m_events; }

private:
    enum class EEnd { Drained, CutOff };

    /// Those of the device, which can be read behind its removal, too.
    struct Nodes {
        explicit Nodes(Zelmo::CInstantCamera& camera);

        GenApi::CIntegerPtr frameOfEvent, begun, raised, dropped;
    };

    void Set(const char* name, const char* value);
    void Execute(const char* command);
    void Live(std::uint64_t frames, EEnd end);
    void Return(const Zelmo::CDeviceInfo& info, const Zelmo::String_t& settings);
    template <class Condition>
    void Await(const char* what, Condition holds);
    void Audit(const Zelmo::CGrabResultPtr& result);
    void NoteExposure();
    void CloseAccounts(std::uint64_t frames, EEnd end);

    const Zelmo::EGrabLoop m_loop;
    const std::uint64_t m_lives;
    std::uint64_t m_removals = 0;
    std::atomic<bool> m_isRemoved{false};
    std::atomic<bool> m_isCutOff{false}; // the next removal stops the grabbing
    Account m_account;
    EventAccount m_events;
    std::atomic<std::uint64_t> m_frames{0};
    // of the life
    std::atomic<std::uint64_t> m_taken{0};
    std::atomic<std::uint64_t> m_delivered{0}; // events
    std::uint64_t m_overruns = 0;
    std::uint64_t m_nextEvent = 0; // id of its frame, at least
    Nodes* m_nodes = nullptr;
    Zelmo::CGrabResultPtr m_last;
    Zelmo::CInstantCamera m_camera;
    Zelmo::CHandlerRegistration m_removal, m_images, m_exposures, m_heat, m_losses;
};

} // namespace soak
