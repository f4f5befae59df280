// SPDX-License-Identifier: Apache-2.0
#include "common/RemovalWatch.h"

#include "common/LoggedCallback.h"

#include <condition_variable>
#include <map>
#include <pthread.h>
#include <utility>

namespace PluginKit {

namespace {

struct CClient {
    Zelmo::DeviceRemovalCallback callback;
    bool isTold = false;
    std::thread::id runner = {}; // the thread in the callback
};
using ClientPtr = std::shared_ptr<CClient>;

} // namespace

struct CRemovalWatch::CState {
    ClientPtr NextToTell() const PLUGIN_REQUIRES(lock) {
        for (const auto& [handle, client] : clients) {
            if (isLost && !client->isTold && client->runner == std::thread::id()) {
                return client;
            }
        }
        return nullptr;
    }

    Zelmo::IZelmoDevice* device = nullptr;
    std::string name;
    unsigned long logCategory = 0;
    CMutex lock;
    std::condition_variable changed;
    std::uint64_t session PLUGIN_GUARDED_BY(lock) =
        0; // changes with each Start and Stop; a thread ends when it is not its own any more
    bool isLost PLUGIN_GUARDED_BY(lock) = false;
    Zelmo::DeviceCallbackHandle lastHandle PLUGIN_GUARDED_BY(lock) = 0;
    std::map<Zelmo::DeviceCallbackHandle, ClientPtr> clients PLUGIN_GUARDED_BY(lock); // with their states
};

CEndedThreads::~CEndedThreads() {
    for (CEnding& ending : m_threads) {
        ending.thread.join();
    }
}

void CEndedThreads::Add(std::thread thread, std::shared_ptr<const std::atomic<bool>> isOver) {
    const CLockGuard lock(m_lock);
    std::erase_if(m_threads, [](CEnding& ending) {
        const bool joins = *ending.isOver;
        if (joins) {
            ending.thread.join();
        }
        return joins;
    });
    m_threads.push_back({std::move(thread), std::move(isOver)});
}

CRemovalWatch::CRemovalWatch(Zelmo::IZelmoDevice& device, std::string name, unsigned long logCategory,
                             CEndedThreads& ended)
    : m_state(std::make_shared<CState>()), m_ended(ended) {
    m_state->device = &device;
    m_state->name = std::move(name);
    m_state->logCategory = logCategory;
}

CRemovalWatch::~CRemovalWatch() {
    Stop();
}

Zelmo::DeviceCallbackHandle CRemovalWatch::Add(const Zelmo::DeviceRemovalCallback& callback) {
    auto client = std::make_shared<CClient>(CClient{callback});
    const CLockGuard lock(m_state->lock);
    m_state->clients.emplace(m_state->lastHandle + 1, std::move(client));
    m_state->changed.notify_all();
    return ++m_state->lastHandle;
}

void CRemovalWatch::Remove(Zelmo::DeviceCallbackHandle handle) {
    ClientPtr client; // goes last: its end runs the destructor of the application's callback
    CState& state = *m_state;
    const CLockGuard lock(state.lock);
    const auto found = state.clients.find(handle);
    if (found == state.clients.end()) {
        return;
    }
    client = std::move(found->second);
    state.clients.erase(found);
    while (client->runner != std::thread::id() && client->runner != std::this_thread::get_id()) {
        state.lock.WaitFor(state.changed);
    }
}

void CRemovalWatch::Start() {
    const CLockGuard lock(m_state->lock);
    m_isOver = std::make_shared<std::atomic<bool>>(false);
    m_thread = std::thread([state = m_state, session = m_state->session + 1, isOver = m_isOver] {
        Run(*state, session);
        *isOver = true;
    });
    pthread_setname_np(m_thread.native_handle(), "zelmo-removal");
    ++m_state->session;
    m_state->isLost = false;
    for (const auto& [handle, client] : m_state->clients) {
        client->isTold = false;
    }
}

void CRemovalWatch::Stop() noexcept {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const CLockGuard lock(m_state->lock);
        ++m_state->session;
        m_state->changed.notify_all();
    }
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_ended.Add(std::move(m_thread), m_isOver); // closed in a callback: it ends right after
    } else {
        m_thread.join();
    }
}

void CRemovalWatch::LinkLost() noexcept {
    const CLockGuard lock(m_state->lock);
    m_state->isLost = true;
    m_state->changed.notify_all();
}

bool CRemovalWatch::IsLost() const {
    const CLockGuard lock(m_state->lock);
    return m_state->isLost;
}

void CRemovalWatch::Run(CState& state, std::uint64_t session) noexcept {
    const CLockGuard lock(state.lock);
    while (state.session == session) {
        ClientPtr client = state.NextToTell();
        if (!client) {
            state.lock.WaitFor(state.changed);
            continue;
        }
        client->isTold = true;
        client->runner = std::this_thread::get_id();
        {
            const CLockGap gap(state.lock);
            RunLogged(state.logCategory, state.name.c_str(), "a removal callback",
                      [&] { client->callback(state.device); });
        }
        client->runner = {};
        state.changed.notify_all();
        const CLockGap gap(state.lock);
        client.reset(); // its last owner runs the destructor of the application's callback: not under the lock
    }
}

} // namespace PluginKit
