// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/map/MapLink.h"

#include "genicam/genapi/map/NodeMap.h"
#include "genicam/genapi/nodes/PortNode.h"

#include <Log/CLog.h>

#include <algorithm>
#include <exception>
#include <span>

namespace GenApi {

namespace {

IPort*& ImplementationOf(const PortLink& link) {
    return static_cast<PortNode&>(*link.node).Implementation();
}

/// For a map of another make, which fires its callbacks itself.
template <class Choose>
void SetEach(const PortLinks& links, Choose choose) {
    CallbackBatch batch; // of failures alone
    for (const PortLink& link : links) {
        batch.Run([&] { dynamic_cast<IPortConstruct&>(*link.node).SetPortImpl(choose(link)); });
    }
    batch.Rethrow();
}

} // namespace

MapLink::MapLink(INodeMap& map) : m_map(&map) {
    if (auto* const ours = dynamic_cast<NodeMap*>(&map)) {
        m_core = &ours->Core();
        m_life = m_core->Life();
    }
}

/// In one walk; in none if the same nodes have changed before.
void MapLink::InvalidateSelected() {
    if (m_selected.size() <= 1) {
        for (NodeBase* node : m_selected) {
            m_core->Invalidate(*node); // whose closure the map keeps
        }
        return;
    }
    if (!std::ranges::equal(m_selected, std::span(m_closure.nodes).first(m_closure.roots))) {
        m_closure.roots = 0;
        m_closure.nodes = m_selected;
    }
    m_core->Invalidate(m_closure);
}

void MapLink::Connect(PortLinks links) {
    m_ports = std::move(links);
    for (const PortLink& link : m_ports) {
        link.implementation->SetPortImpl(&dynamic_cast<IPortConstruct&>(*link.node));
    }
    if (m_core == nullptr) {
        SetEach(m_ports, [](const PortLink& link) { return link.implementation; });
        return;
    }
    Change(
        [this](const auto& select) {
            for (const PortLink& link : m_ports) {
                select(*link.node);
            }
        },
        [this] {
            for (const PortLink& link : m_ports) {
                ImplementationOf(link) = link.implementation;
            }
        });
}

void MapLink::Disconnect() {
    if (!IsAlive()) {
        return;
    }
    const PortLinks links = std::move(m_ports);
    if (m_core == nullptr) {
        SetEach(links, [](const PortLink&) { return nullptr; });
        return;
    }
    m_core->ChangeAll([&](CallbackBatch& batch) {
        m_selected.clear();
        for (const PortLink& link : links) {
            if (ImplementationOf(link) == link.implementation) {
                ImplementationOf(link) = nullptr; // whatever fails: it may be destroyed after this
                batch.Run([&] { m_selected.push_back(static_cast<NodeBase*>(link.node)); });
            }
        }
        batch.Run([this] { InvalidateSelected(); });
    });
}

void LogLateFailure(const char* occasion) noexcept {
    static auto& logger = GenICam::CLog::GetLogger("GenApi");
    try {
        throw;
    } catch (const std::exception& failure) {
        GenICam::CLog::Log(logger, GenICam::LogPriority_Error, "%s: %s", occasion, failure.what());
    } catch (...) {
        GenICam::CLog::Log(logger, GenICam::LogPriority_Error, "%s: unknown exception", occasion);
    }
}

} // namespace GenApi
