// SPDX-License-Identifier: Apache-2.0
#include "RemovalNotice.h"

namespace Minimal {

RemovalNotice::~RemovalNotice() {
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

Zelmo::DeviceCallbackHandle RemovalNotice::Add(Zelmo::IZelmoDevice& device,
                                               const Zelmo::DeviceRemovalCallback& callback) {
    std::lock_guard lock(m_mutex);
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { Run(); });
    }
    m_clients.push_back(std::make_shared<Client>(Client{m_lastHandle + 1, &device, callback}));
    m_changed.notify_all(); // the camera may be gone already
    return ++m_lastHandle;
}

void RemovalNotice::Remove(Zelmo::DeviceCallbackHandle handle) {
    RemoveIf([&](const Client& client) { return client.handle == handle; });
}

void RemovalNotice::RemoveAllOf(const Zelmo::IZelmoDevice& device) {
    RemoveIf([&](const Client& client) { return client.device == &device; });
}

void RemovalNotice::RemoveIf(const std::function<bool(const Client&)>& isMeant) {
    std::unique_lock lock(m_mutex);
    std::erase_if(m_clients, [&](const ClientPtr& client) { return isMeant(*client); });
    if (std::this_thread::get_id() != m_thread.get_id()) { // else it is the callback that would wait for itself
        m_changed.wait(lock, [&] { return !m_running || !isMeant(*m_running); });
    }
}

void RemovalNotice::CameraIsGone() {
    std::lock_guard lock(m_mutex);
    m_isGone = true;
    m_changed.notify_all();
}

void RemovalNotice::CameraIsBack() {
    std::lock_guard lock(m_mutex);
    m_isGone = false;
    for (const ClientPtr& client : m_clients) {
        client->isTold = false;
    }
}

RemovalNotice::ClientPtr RemovalNotice::NextToTell() const {
    for (const ClientPtr& client : m_clients) {
        if (m_isGone && !client->isTold && client->device->IsOpen()) {
            return client;
        }
    }
    return nullptr;
}

void RemovalNotice::Run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stop || (m_running = NextToTell()) != nullptr; });
        if (m_stop) {
            return;
        }
        const ClientPtr client = m_running;
        client->isTold = true;
        lock.unlock();
        client->callback(client->device); // without the lock: it may remove itself, close and destroy the device
        lock.lock();
        m_running = nullptr;
        m_changed.notify_all(); // somebody may wait in RemoveIf
    }
}

} // namespace Minimal
