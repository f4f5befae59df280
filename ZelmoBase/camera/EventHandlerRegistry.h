// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ZelmoBase/camera/HandlerScope.h"
#include "ZelmoBase/camera/RegisteredEventHandler.h"
#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/ScopeGuard.h"

#include <zelmo/Registration.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <memory>
#include <utility>

namespace Zelmo {

/// The handlers of one kind that are registered at a camera object, in the order of their registration.
///
/// A handler may register and deregister others, and itself, while it is called: what is added during a walk is called
/// in it once it has heard of its registration; what is removed ends at once, and its place stays empty until the walk
/// is over.
///
/// Locks:   the registry's lock belongs to the owner, who holds it for all but IsEmpty, SetBlocked and, where
///          handlers are to be added while others run, Register with RegistrationMode_Append. Inside, a leaf guards
///          the list; nothing is called or logged with that one held.
/// Threads: any, under those locks.
/// @tparam Kind as that of CRegisteredEventHandler; also Registered(handler, camera, metaData),
///              LogRegistered(camera, cookie, metaData), LogBlocked(camera, cookie), LogClearing(camera), and
///              kIsAddedWhileOthersRun: whether a new handler is passed over until it has heard of its registration
template <class Kind>
class CEventHandlerRegistry {
public:
    using Handler = typename Kind::Handler;
    using Cookie = typename Kind::Cookie;
    using MetaData = typename Kind::MetaData;
    using Record = typename CRegisteredEventHandler<Kind>::Interface;

    explicit CEventHandlerRegistry(CInstantCamera& camera) noexcept : m_camera(camera) {}
    CEventHandlerRegistry(const CEventHandlerRegistry&) = delete;
    CEventHandlerRegistry& operator=(const CEventHandlerRegistry&) = delete;
    ~CEventHandlerRegistry() { Clear(); }

    /// Adds a handler; with RegistrationMode_ReplaceAll the others are given up first. A null handler gives them up, or
    /// does nothing. While registrations are blocked, this one ends before it began.
    /// @param prepare called once the registration stands, before the handler hears of it; what it throws ends it
    /// @throws what @p prepare throws; what the handler throws when it hears of it: the registration stands;
    ///         std::bad_alloc: there is none.
    template <class Prepare>
    void Register(Handler* handler, long* counter, Cookie cookie, ERegistrationMode mode, ECleanup cleanup,
                  MetaData metaData, Prepare&& prepare) {
        if (handler == nullptr && mode != RegistrationMode_ReplaceAll) {
            return;
        }
        std::shared_ptr<Record> record;
        if (handler != nullptr) {
            record = Own(new CRegisteredEventHandler<Kind>(m_camera, handler, counter, cleanup, cookie, metaData));
        }
        if (!IsBlocked()) {
            if (mode == RegistrationMode_ReplaceAll) {
                Clear();
            }
            if (record == nullptr) {
                return;
            }
            if (const std::uint64_t number = Append(record)) {
                ScopeGuard remove([this, number] {
                    UnhookYoungest([number](const Node& node) { return node.number == number; }).reset();
                });
                prepare(metaData);
                remove.Dismiss();
                Kind::LogRegistered(m_camera, cookie, metaData);
                Tell(number, metaData);
                return;
            }
        }
        Kind::LogBlocked(m_camera, record != nullptr ? cookie : Cookie()); // the record goes, and ends the registration
    }

    void Register(Handler* handler, long* counter, Cookie cookie, ERegistrationMode mode, ECleanup cleanup) {
        Register(handler, counter, std::move(cookie), mode, cleanup, {}, [](const MetaData&) {});
    }

    /// Ends the youngest registration with that cookie. @return false when there is none.
    bool Deregister(const Cookie& cookie) {
        std::shared_ptr<Record> record = Unhook(cookie);
        return record != nullptr; // which it ends on its way out
    }

    /// Ends all registrations, the oldest first; the registry is empty from the beginning for whoever looks.
    void Clear() noexcept {
        if (IsEmpty()) {
            return;
        }
        Kind::LogClearing(m_camera);
        {
            CLockGuard lock(m_listLock);
            for (Node& node : m_nodes) {
                node.isEnding = true;
            }
            m_count = 0;
        }
        while (std::shared_ptr<Record> oldest = TakeEnding()) {
            oldest.reset(); // without the list's lock: the handler hears of it
        }
    }

    /// Whether registrations are turned away. None is added any more once this has returned.
    void SetBlocked(bool isBlocked) noexcept {
        CLockGuard lock(m_listLock);
        m_isBlocked = isBlocked;
    }

    /// Takes no lock.
    bool IsEmpty() const noexcept { return m_count == 0; }

    /// Calls each handler, the oldest first. What @p call throws ends the walk.
    template <class Call>
    void ForEach(Call&& call) {
        Walk([](const Node& node) { return node.IsThere() && (node.isTold || !Kind::kIsAddedWhileOthersRun); },
             [&call](Record& record) { call(*record.GetInterface()); });
    }

    /// Calls @p call with what belongs to each registration, the oldest first, whether its handler has heard of it or
    /// not. Likewise.
    template <class Call>
    void ForEachMetaData(Call&& call) {
        Walk([](const Node& node) { return node.IsThere(); }, [&call](Record& record) { call(record.GetMetaData()); });
    }

private:
    struct Node {
        std::shared_ptr<Record> record; // null: it has ended during a walk
        std::uint64_t number;           // of the registration, never used again
        bool isTold = false;            // the handler has heard of its registration
        bool isEnding = false;          // it is about to be given up

        bool IsThere() const noexcept { return record != nullptr && !isEnding; }
    };
    using Nodes = std::list<Node>; // nodes keep their places in memory: walks stand on them

    static std::shared_ptr<Record> Own(Record* record) {
        return std::shared_ptr<Record>(record, CInterfaceDataDeallocator()); // without memory it ends the record, too
    }

    bool IsBlocked() const noexcept {
        CLockGuard lock(m_listLock);
        return m_isBlocked;
    }

    /// Takes @p record. @return the number of the registration; 0, with @p record left, when registrations are blocked.
    std::uint64_t Append(std::shared_ptr<Record>& record) {
        CLockGuard lock(m_listLock);
        if (m_isBlocked) {
            return 0;
        }
        m_nodes.push_back({nullptr, m_lastNumber + 1});
        m_nodes.back().record = std::move(record);
        ++m_count;
        return ++m_lastNumber;
    }

    /// From here on the handler is called, whatever it throws when it hears of it.
    void Tell(std::uint64_t number, const MetaData& metaData) {
        const ScopeGuard told([this, number] {
            CLockGuard lock(m_listLock);
            if (Node* const node = Find(number)) { // else it has ended meanwhile
                node->isTold = true;
            }
        });
        Handler* handler = nullptr;
        {
            CLockGuard lock(m_listLock);
            if (Node* const node = Find(number)) {
                handler = node->record->GetInterface();
                node->record->SetNotified();
            }
        }
        if (handler != nullptr) {
            const CHandlerScope scope;
            Kind::Registered(*handler, m_camera, metaData);
        }
    }

    std::shared_ptr<Record> Unhook(const Cookie& cookie) {
        if (Kind::Address(cookie) == nullptr) {
            return nullptr; // that of no handler, and of those that came without a counter
        }
        return UnhookYoungest([&cookie](const Node& node) { return node.record->GetCookie() == cookie; });
    }

    template <class Test>
    std::shared_ptr<Record> UnhookYoungest(Test&& test) noexcept {
        CLockGuard lock(m_listLock);
        const auto found = std::find_if(m_nodes.rbegin(), m_nodes.rend(),
                                        [&test](const Node& node) { return node.IsThere() && test(node); });
        return found != m_nodes.rend() ? Empty(std::prev(found.base())) : nullptr;
    }

    std::shared_ptr<Record> TakeEnding() noexcept {
        CLockGuard lock(m_listLock);
        const auto found = std::find_if(m_nodes.begin(), m_nodes.end(),
                                        [](const Node& node) { return node.record != nullptr && node.isEnding; });
        return found != m_nodes.end() ? Empty(found) : nullptr;
    }

    std::shared_ptr<Record> Empty(typename Nodes::iterator node) noexcept ZELMO_REQUIRES(m_listLock) {
        if (!node->isEnding) {
            --m_count;
        }
        std::shared_ptr<Record> record = std::move(node->record);
        if (m_walks == 0) {
            m_nodes.erase(node);
        }
        return record;
    }

    Node* Find(std::uint64_t number) noexcept ZELMO_REQUIRES(m_listLock) {
        const auto found = std::find_if(m_nodes.begin(), m_nodes.end(),
                                        [number](const Node& node) { return node.number == number && node.IsThere(); });
        return found != m_nodes.end() ? &*found : nullptr;
    }

    typename Nodes::iterator BeginWalk() noexcept {
        CLockGuard lock(m_listLock);
        ++m_walks;
        return m_nodes.begin();
    }

    void EndWalk() noexcept {
        CLockGuard lock(m_listLock);
        if (--m_walks == 0) {
            m_nodes.remove_if([](const Node& node) { return node.record == nullptr; });
        }
    }

    template <class Test, class Visit>
    void Walk(Test&& test, Visit&& visit) {
        typename Nodes::iterator at = BeginWalk();
        const ScopeGuard end([this] { EndWalk(); });
        while (Record* const record = NextRecord(at, test)) {
            visit(*record);
            CLockGuard lock(m_listLock);
            ++at;
        }
    }

    /// Moves on to the first registration at @p at or behind it that passes @p test; null at the end.
    template <class Test>
    Record* NextRecord(typename Nodes::iterator& at, Test&& test) {
        CLockGuard lock(m_listLock);
        at = std::find_if(at, m_nodes.end(), test);
        return at != m_nodes.end() ? at->record.get() : nullptr;
    }

    CInstantCamera& m_camera;
    mutable CMutex m_listLock; // a leaf
    bool m_isBlocked ZELMO_GUARDED_BY(m_listLock) = false;
    Nodes m_nodes ZELMO_GUARDED_BY(m_listLock);
    std::atomic<std::size_t> m_count{0}; // registrations; written under the list's lock
    unsigned m_walks ZELMO_GUARDED_BY(m_listLock) = 0;
    std::uint64_t m_lastNumber ZELMO_GUARDED_BY(m_listLock) = 0;
};

} // namespace Zelmo
