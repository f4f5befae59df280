// SPDX-License-Identifier: Apache-2.0
#include "RemovalWatch.h"

#include "PluginLog.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

namespace CamEmu {

namespace {

struct CClient {
    Zelmo::DeviceRemovalCallback callback;
    bool isTold = false;
    std::thread::id runner = {}; // the thread in the callback
};
using ClientPtr = std::shared_ptr<CClient>;

} // namespace

struct CRemovalWatch::CState {
    ClientPtr NextToTell() const {
        for (const auto& [handle, client] : clients) {
            if (isLost && !client->isTold && client->runner == std::thread::id()) {
                return client;
            }
        }
        return nullptr;
    }

    Zelmo::IZelmoDevice* device = nullptr;
    std::string name;
    std::mutex lock; // guards all below
    std::condition_variable changed;
    std::uint64_t session = 0; // changes with each Start and Stop; a thread ends when it is not its own any more
    bool isLost = false;
    Zelmo::DeviceCallbackHandle lastHandle = 0;
    std::map<Zelmo::DeviceCallbackHandle, ClientPtr> clients;
};

CEndedThreads::~CEndedThreads() {
    for (CEnding& ending : m_threads) {
        ending.thread.join();
    }
}

void CEndedThreads::Add(std::thread thread, std::shared_ptr<const std::atomic<bool>> isOver) {
    const std::lock_guard lock(m_lock);
    std::erase_if(m_threads, [](CEnding& ending) {
        const bool joins = *ending.isOver;
        if (joins) {
            ending.thread.join();
        }
        return joins;
    });
    m_threads.push_back({std::move(thread), std::move(isOver)});
}

CRemovalWatch::CRemovalWatch(Zelmo::IZelmoDevice& device, std::string name, CEndedThreads& ended)
    : m_state(std::make_shared<CState>()), m_ended(ended) {
    m_state->device = &device;
    m_state->name = std::move(name);
}

CRemovalWatch::~CRemovalWatch() {
    Stop();
}

Zelmo::DeviceCallbackHandle CRemovalWatch::Add(const Zelmo::DeviceRemovalCallback& callback) {
    auto client = std::make_shared<CClient>(CClient{callback});
    const std::lock_guard lock(m_state->lock);
    m_state->clients.emplace(m_state->lastHandle + 1, std::move(client));
    m_state->changed.notify_all();
    return ++m_state->lastHandle;
}

void CRemovalWatch::Remove(Zelmo::DeviceCallbackHandle handle) {
    ClientPtr client;
    std::unique_lock lock(m_state->lock);
    const auto found = m_state->clients.find(handle);
    if (found == m_state->clients.end()) {
        return;
    }
    client = std::move(found->second);
    m_state->clients.erase(found);
    m_state->changed.wait(
        lock, [&] { return client->runner == std::thread::id() || client->runner == std::this_thread::get_id(); });
}

void CRemovalWatch::Start() {
    const std::lock_guard lock(m_state->lock);
    m_isOver = std::make_shared<std::atomic<bool>>(false);
    m_thread = std::thread([state = m_state, session = m_state->session + 1, isOver = m_isOver] {
        Run(state, session);
        *isOver = true;
    });
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
        const std::lock_guard lock(m_state->lock);
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
    const std::lock_guard lock(m_state->lock);
    m_state->isLost = true;
    m_state->changed.notify_all();
}

bool CRemovalWatch::IsLost() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->isLost;
}

void CRemovalWatch::Run(const std::shared_ptr<CState>& state, std::uint64_t session) noexcept {
    std::unique_lock lock(state->lock);
    for (;;) {
        ClientPtr client;
        state->changed.wait(lock,
                            [&] { return state->session != session || (client = state->NextToTell()) != nullptr; });
        if (state->session != session) {
            return;
        }
        client->isTold = true;
        client->runner = std::this_thread::get_id();
        lock.unlock();
        RunLogged(state->name.c_str(), "a removal callback", [&] { client->callback(state->device); });
        lock.lock();
        client->runner = {};
        state->changed.notify_all();
        lock.unlock();
        client.reset(); // its last owner runs the destructor of the application's callback: not under the lock
        lock.lock();
    }
}

} // namespace CamEmu
