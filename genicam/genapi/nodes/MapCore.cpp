// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/MapCore.h"

#include "genicam/genapi/nodes/NodeFactory.h"

#include <algorithm>

namespace GenApi {

namespace {

constexpr std::size_t kMaxKeptClosureNodes = std::size_t(4) << 20; // 32 MiB of pointers

} // namespace

MapCore::MapCore(ModelPtr model, CLock* userLock, const gcstring& deviceName, INodeMap& map)
    : m_model(std::move(model)), m_lock(userLock != nullptr ? std::shared_ptr<CLock>(std::shared_ptr<CLock>(), userLock)
                                                            : std::make_shared<CLock>()),
      m_map(map), m_deviceName(deviceName) {
    try {
        CreateNodes();
    } catch (...) {
        DestroyNodes();
        throw;
    }
}

MapCore::~MapCore() {
    EndRegistrations();
    DestroyNodes();
}

/// As if each was deregistered; the nodes stay until no callback runs that may use them.
void MapCore::EndRegistrations() noexcept {
    std::vector<RegistrationPtr> ended;
    {
        const GenICam::AutoLock lock(*m_lock);
        if (m_registrations == 0) {
            return; // most maps: the nodes need not be looked at
        }
        for (NodeBase* node : m_nodes) {
            node->EndRegistrations(ended);
        }
    }
    for (const RegistrationPtr& registration : ended) {
        registration->Finish(); // without the lock, as the calls that it waits for may take it
    }
}

void MapCore::CreateNodes() {
    const std::size_t count = m_model->NodeCount();
    std::size_t bytes = 0;
    for (NodeIndex node = 0; node < count; ++node) {
        bytes += NodeSize(m_model->Record(node).kind);
    }
    m_block.reset(new std::byte[bytes]);
    m_nodes.reserve(count);
    std::byte* place = m_block.get();
    for (NodeIndex node = 0; node < count; ++node) {
        const NodeKind kind = m_model->Record(node).kind;
        m_nodes.push_back(ConstructNode(place, kind, *this, node));
        place += NodeSize(kind);
    }
    for (NodeBase* node : m_nodes) {
        node->Bind();
        if (node->PollingTime() >= 0) {
            m_polled.push_back(node);
        }
    }
}

void MapCore::DestroyNodes() noexcept {
    for (auto node = m_nodes.rbegin(); node != m_nodes.rend(); ++node) {
        (*node)->~NodeBase();
    }
    m_nodes.clear();
}

std::string MapCore::EntryPoint() const {
    AssertLocked();
    return m_entryNode == nullptr ? std::string() : m_entryNode->NameText() + "." + m_entryMethod;
}

std::weak_ptr<const void> MapCore::Life() {
    const GenICam::AutoLock lock(*m_lock);
    if (m_life == nullptr) {
        m_life = std::make_shared<char>();
    }
    return m_life;
}

bool MapCore::Visit(NodeBase& node) noexcept {
    const bool isNew = node.visited != m_walk;
    node.visited = m_walk;
    return isNew;
}

void MapCore::AddUnvisited(std::span<const NodeIndex> nodes, std::vector<NodeBase*>& list) {
    for (const NodeIndex index : nodes) {
        if (Visit(NodeAt(index))) {
            list.push_back(&NodeAt(index));
        }
    }
}

/// The leaves of what the node writes; the node itself if it writes no other.
void MapCore::CollectTerminals(NodeBase& node, std::vector<NodeBase*>& terminals) {
    ++m_walk; // a new number instead of clearing a mark in all nodes
    std::vector<NodeBase*> open{&node};
    Visit(node);
    while (!open.empty()) {
        NodeBase* at = open.back();
        open.pop_back();
        const auto children = m_model->Edges().writing.Of(at->Index());
        if (children.empty()) {
            terminals.push_back(at);
        }
        // backwards onto the stack, so that they come off in the order of the file
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            if (Visit(NodeAt(*child))) {
                open.push_back(&NodeAt(*child));
            }
        }
    }
}

std::vector<NodeBase*> MapCore::TerminalsOf(NodeBase& node) {
    AssertLocked();
    std::vector<NodeBase*> terminals;
    CollectTerminals(node, terminals);
    return terminals;
}

/// Breadth first, from the roots that the closure holds already.
void MapCore::AddDependents(Closure& closure) {
    ++m_walk;
    for (NodeBase* root : closure.nodes) {
        Visit(*root);
    }
    const std::size_t roots = closure.nodes.size();
    for (std::size_t i = 0; i < closure.nodes.size(); ++i) {
        const NodeIndex node = closure.nodes[i]->Index();
        for (const EdgeLists* edges : {&m_model->Edges().valueParents, &m_model->Edges().otherParents}) {
            AddUnvisited(edges->Of(node), closure.nodes);
        }
    }
    closure.roots = roots; // last: a closure that has some has all
}

/// A written value changes the values that are taken from it, and nothing else of their nodes. Whoever depends on one
/// of these in another way is void as a whole, and so are all that depend on such a node.
void MapCore::MarkOnlyValue(Closure& closure) {
    const Graph& graph = m_model->Edges();
    std::vector<NodeBase*> changed(closure.nodes.begin(),
                                   closure.nodes.begin() + static_cast<std::ptrdiff_t>(closure.roots));
    ++m_walk;
    for (std::size_t i = 0; i < changed.size(); ++i) {
        AddUnvisited(graph.valueParents.Of(changed[i]->Index()), changed);
    }
    std::vector<NodeBase*> whole;
    ++m_walk;
    for (NodeBase* node : changed) {
        AddUnvisited(graph.otherParents.Of(node->Index()), whole);
    }
    for (std::size_t i = 0; i < whole.size(); ++i) {
        AddUnvisited(graph.valueParents.Of(whole[i]->Index()), whole);
        AddUnvisited(graph.otherParents.Of(whole[i]->Index()), whole);
    }
    closure.onlyValue.reserve(closure.nodes.size());
    for (const NodeBase* node : closure.nodes) {
        closure.onlyValue.push_back(node->visited != m_walk ? 1 : 0);
    }
}

const Closure& MapCore::Keep(std::unique_ptr<Closure> made, const Closure*& kept, std::unique_ptr<Closure>& spare) {
    // the sum over all nodes may grow with the square of their number
    if (m_closureNodes + made->nodes.size() > kMaxKeptClosureNodes) {
        spare = std::move(made);
        return *spare;
    }
    made->nodes.shrink_to_fit();
    m_closureNodes += made->nodes.size();
    m_closures.push_back(std::move(made));
    kept = m_closures.back().get();
    return *kept;
}

const Closure& MapCore::AffectedBy(NodeBase& node, std::unique_ptr<Closure>& spare) {
    AssertLocked();
    if (node.affected != nullptr) {
        return *node.affected;
    }
    auto closure = std::make_unique<Closure>();
    closure->nodes.push_back(&node);
    CollectTerminals(node, closure->nodes);
    if (closure->nodes.size() > 1 && closure->nodes[1] == &node) {
        closure->nodes.pop_back(); // it is its own terminal node
    }
    AddDependents(*closure);
    MarkOnlyValue(*closure);
    return Keep(std::move(closure), node.affected, spare);
}

const Closure& MapCore::DependentsOf(NodeBase& node, std::unique_ptr<Closure>& spare) {
    AssertLocked();
    if (node.dependents != nullptr) {
        return *node.dependents;
    }
    if (m_model->Edges().writing.Of(node.Index()).empty()) {
        // a node that writes no other has no terminal nodes beside itself: both closures are one
        return AffectedBy(node, spare);
    }
    auto closure = std::make_unique<Closure>();
    closure->nodes.push_back(&node);
    AddDependents(*closure);
    return Keep(std::move(closure), node.dependents, spare);
}

void MapCore::Collect(const Closure& closure) {
    if (m_registrations == 0 || m_batch == nullptr) {
        return;
    }
    for (NodeBase* node : closure.nodes) {
        if (node->HasRegistrations()) {
            m_batch->Add(node->Registrations());
        }
    }
}

void MapCore::DropAll(const Closure& closure) {
    for (NodeBase* node : closure.nodes) {
        node->DropCaches(false);
    }
    Collect(closure);
}

void MapCore::Invalidate(NodeBase& node) {
    AssertLocked();
    std::unique_ptr<Closure> spare;
    DropAll(DependentsOf(node, spare));
}

void MapCore::Invalidate(Closure& closure) {
    AssertLocked();
    if (closure.roots == 0) {
        AddDependents(closure);
    }
    DropAll(closure);
}

void MapCore::InvalidateAffected(NodeBase& node) {
    AssertLocked();
    std::unique_ptr<Closure> spare;
    DropAll(AffectedBy(node, spare));
}

void MapCore::InvalidateAll() {
    ChangeAll([this](CallbackBatch&) {
        AssertLocked();
        for (NodeBase* node : m_nodes) {
            node->DropCaches(false);
            m_batch->Add(node->Registrations()); // of the outermost call, which need not be this one
        }
    });
}

/// A node that fails keeps no other from its turn.
void MapCore::Poll(std::int64_t elapsedMs) {
    ChangeAll([&](CallbackBatch& batch) {
        Closure due;
        for (NodeBase* node : m_polled) {
            batch.Run([&] {
                if (IsDue(*node, elapsedMs)) {
                    due.nodes.push_back(node);
                }
            });
        }
        // all at once: each callback fires once, however many of the nodes it depends on
        Invalidate(due);
        for (std::size_t i = 0; i < due.roots; ++i) {
            batch.Run([&] {
                const Call call(*due.nodes[i], "Poll");
                due.nodes[i]->OnPollingTime();
            });
        }
    });
}

bool MapCore::IsDue(NodeBase& node, std::int64_t elapsedMs) {
    const Call call(node, "Poll");
    if (node.IsPollingBlocked()) {
        return false;
    }
    if (elapsedMs < node.PollingTime() - node.pollElapsedMs) {
        node.pollElapsedMs += std::max<std::int64_t>(elapsedMs, 0);
        return false;
    }
    node.pollElapsedMs = 0;
    return true;
}

void EntryScope::TraceBegin(const NodeBase& node, const char* method) noexcept {
    const std::string_view name = node.Name();
    GenICam::CLog::LogPush(TraceLog(), GenICam::LogPriority_Debug, "%.*s.%s", static_cast<int>(name.size()),
                           name.data(), method);
    m_isTraced = true;
}

void EntryScope::TraceEnd() noexcept {
    GenICam::CLog::LogPop(TraceLog(), GenICam::LogPriority_Debug, "done");
}

WriteScope::WriteScope(NodeBase& node) : m_core(node.Core()), m_guard(node, EvaluationGuard::Writing) {
    m_core.AssertLocked();
    if (m_core.m_writeDepth == 0) {
        m_affected = &m_core.AffectedBy(node, m_spare);
        // not the roots: read back in part on the way, such as the neighbours of a field, they may come from the cache
        Drop(m_affected->roots, false);
    }
    ++m_core.m_writeDepth;
}

WriteScope::~WriteScope() {
    if (m_isOpen) {
        Leave(false);
    }
}

void WriteScope::Succeed() {
    m_core.AssertLocked();
    Leave(true);
    if (m_affected != nullptr) {
        m_core.Collect(*m_affected);
    }
}

void WriteScope::Drop(std::size_t from, bool keepProtected) noexcept {
    const std::span nodes(m_affected->nodes); // not looked at anew for each node
    const std::span onlyValue(m_affected->onlyValue);
    for (std::size_t i = from; i < nodes.size(); ++i) {
        nodes[i]->DropCaches(keepProtected, onlyValue[i] != 0);
    }
}

void WriteScope::Leave(bool keepProtected) noexcept {
    m_core.AssertLocked();
    m_isOpen = false;
    --m_core.m_writeDepth;
    if (m_affected != nullptr) { // again: the device may have been read while the write was under way
        Drop(0, keepProtected);
    }
}

} // namespace GenApi
