// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/NodeBase.h"

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/nodes/MapCore.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <limits>
#include <utility>

namespace GenApi {

NodeBase::NodeBase(MapCore& core, NodeIndex index)
    : m_core(core), m_index(index), m_kind(core.Description().Record(index).kind) {}

NodeBase::~NodeBase() = default;

const Model& NodeBase::Description() const noexcept {
    return m_core.Description();
}

NodeBase* NodeBase::Target(const Property& property) const noexcept {
    return property.form == Form::Node ? &m_core.NodeAt(property.payload) : nullptr;
}

template <typename Visitor>
void NodeBase::ForEachReference(PropertyKind kind, Visitor&& visit) const {
    const Property* const first = Description().FindProperty(m_index, kind);
    const bool isOverridden = first != nullptr && Description().IsOwn(m_index, *first);
    Description().ForEachProperty(m_index, [&](const Property& property) {
        NodeBase* const target = property.kind == kind ? Target(property) : nullptr;
        if (target != nullptr && (!isOverridden || Description().IsOwn(m_index, property))) {
            visit(*target);
        }
    });
}

/// What is written through an enumeration becomes the value of an entry, so it is not kept as it was given.
ECachingMode NodeBase::CachingOver(NodeBase* target) {
    if (target == nullptr) {
        return WriteThrough;
    }
    return Combine(target->Caching(), target->Type() == ValueType::Enumeration ? WriteAround : WriteThrough);
}

void NodeBase::Bind() {
    Description().ForEachProperty(m_index, [this](const Property& property) {
        switch (property.kind) {
        case PropertyKind::pIsImplemented:
            m_isImplementedBy = Target(property);
            break;
        case PropertyKind::pIsAvailable:
            m_isAvailableBy = Target(property);
            break;
        case PropertyKind::pIsLocked:
            m_isLockedBy = Target(property);
            break;
        case PropertyKind::ImposedAccessMode:
            m_givenMode = static_cast<std::uint8_t>(property.payload);
            break;
        case PropertyKind::PollingTime:
            m_pollingTimeMs = Description().IntegerOf(property);
            break;
        case PropertyKind::pError:
            m_hasErrorNodes = true;
            break;
        case PropertyKind::Extension: // found in the model when somebody asks
        case PropertyKind::ToolTip:
        case PropertyKind::Description:
        case PropertyKind::DisplayName:
        case PropertyKind::Visibility:
        case PropertyKind::DocuURL:
        case PropertyKind::IsDeprecated:
        case PropertyKind::EventID:
        case PropertyKind::pBlockPolling:
        case PropertyKind::pAlias:
        case PropertyKind::pCastAlias:
        case PropertyKind::pInvalidator:
        case PropertyKind::Streamable:
        case PropertyKind::pSelected:
        case PropertyKind::pFeature:
        case PropertyKind::NameSpace:
        case PropertyKind::MergePriority:
        case PropertyKind::ExposeStatic:
            break;
        default:
            BindProperty(property);
            break;
        }
    });
}

EAccessMode NodeBase::FindMode() {
    const auto imposed = static_cast<EAccessMode>(m_imposedMode);
    if (m_isComputingMode) {
        EvaluationGuard::Spend(*this, 1);
        if (!m_toldCycle) {
            m_toldCycle = true;
            LogLoadWarning("The access mode of node '" + NameText() + "' depends on itself; it is taken for RW.");
        }
        return imposed;
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Asking);
    m_isComputingMode = true;
    const Find find(*this);
    EAccessMode mode;
    try {
        mode = Combine(ComputeMode(), imposed);
        m_isComputingMode = false;
    } catch (...) {
        m_isComputingMode = false;
        throw;
    }
    if (IsModeCacheable() && find.IsUndisturbed()) {
        m_mode = static_cast<std::uint8_t>(mode);
        MarkCached(Cached_Mode);
    }
    return mode;
}

EAccessMode NodeBase::ComputeMode() {
    if (m_isImplementedBy != nullptr && !Predicate(*m_isImplementedBy, false)) {
        return NI;
    }
    if (m_isAvailableBy != nullptr && !Predicate(*m_isAvailableBy, false)) {
        return NA;
    }
    EAccessMode mode = OwnMode();
    if (m_isLockedBy != nullptr && Predicate(*m_isLockedBy, true)) {
        mode = Combine(mode, RO);
    }
    return Combine(mode, static_cast<EAccessMode>(m_givenMode));
}

bool NodeBase::Predicate(NodeBase& node, bool whenUnreadable) {
    try {
        if (IsReadable(node.Mode())) {
            return node.ReadTruth(ReadMode());
        }
    } catch (const GenICam::AccessException&) {   // something below it cannot be read, such as a value without entry
    } catch (const GenICam::PropertyException&) { // a broken formula
    }
    if (!m_toldUnreadable) {
        m_toldUnreadable = true;
        LogLoadInfo("The access mode of node '" + NameText() + "' depends on node '" + node.NameText() +
                    "', which is not readable.");
    }
    return whenUnreadable;
}

bool NodeBase::IsModeCacheable() {
    if (m_modeCacheable == _UndefinedYesNo) {
        m_modeCacheable = No; // for those who ask in a circle
        m_modeCacheable = static_cast<std::uint8_t>(ComputeModeCacheable() ? Yes : No);
    }
    return m_modeCacheable == Yes;
}

bool NodeBase::ComputeModeCacheable() {
    const EvaluationGuard guard(*this, EvaluationGuard::Asking);
    for (NodeBase* predicate : {m_isImplementedBy, m_isAvailableBy, m_isLockedBy}) {
        if (predicate != nullptr && (predicate->Caching() == NoCache || !predicate->IsModeCacheable())) {
            return false;
        }
    }
    return IsOwnModeCacheable();
}

ECachingMode NodeBase::Caching() {
    if (m_caching == _UndefinedCachingMode) {
        const EvaluationGuard guard(*this, EvaluationGuard::Asking);
        m_caching = NoCache; // for those who ask in a circle
        m_caching = static_cast<std::uint8_t>(ComputeCaching());
    }
    return static_cast<ECachingMode>(m_caching);
}

void NodeBase::FailAccess(const char* what) {
    throw NODE_EXCEPTION(AccessException, *this)("Node is not %s.", what);
}

void NodeBase::ReadErrorNodes() {
    ForEachReference(PropertyKind::pError, [this](NodeBase& error) {
        const std::string text = error.ErrorText();
        if (!text.empty()) {
            throw NODE_EXCEPTION(RuntimeException, *this)(text);
        }
    });
}

bool NodeBase::IsPollingBlocked() {
    bool blocked = false;
    ForEachReference(PropertyKind::pBlockPolling,
                     [&](NodeBase& blocker) { blocked = blocked || Predicate(blocker, false); });
    return blocked;
}

void NodeBase::EndRegistrations(std::vector<RegistrationPtr>& ended) {
    for (RegistrationPtr& registration : m_registrations) {
        registration->End();
        ended.push_back(std::move(registration));
    }
    m_registrations.clear(); // a callback that deregisters another one when it is destroyed finds none
}

void NodeBase::FailKind(const char* what) {
    throw NODE_EXCEPTION(RuntimeException, *this)("Node '%s' of kind '%s' has no value that can be %s.",
                                                  NameText().c_str(), std::string(NodeKindName(m_kind)).c_str(), what);
}

std::int64_t NodeBase::ReadInteger(ReadMode) {
    FailKind("read as a number");
}
double NodeBase::ReadFloat(ReadMode) {
    FailKind("read as a number");
}
std::string NodeBase::ReadText(ReadMode) {
    FailKind("read as text");
}
bool NodeBase::ReadTruth(ReadMode mode) {
    return ReadInteger(mode) != 0;
}
void NodeBase::WriteInteger(std::int64_t, bool) {
    FailKind("written as a number");
}
void NodeBase::WriteFloat(double, bool) {
    FailKind("written as a number");
}
void NodeBase::WriteText(const std::string&, bool) {
    FailKind("written as text");
}
std::int64_t NodeBase::MinInteger() {
    return std::numeric_limits<std::int64_t>::min();
}
std::int64_t NodeBase::MaxInteger() {
    return std::numeric_limits<std::int64_t>::max();
}
double NodeBase::MinFloat() {
    return std::numeric_limits<double>::lowest();
}
double NodeBase::MaxFloat() {
    return std::numeric_limits<double>::max();
}
std::int64_t NodeBase::MaxTextLength() {
    return std::numeric_limits<std::int64_t>::max();
}

void EvaluationGuard::Fail(const NodeBase& node, bool isCycle, int depth) {
    const std::string name = node.NameText();
    if (isCycle) {
        throw NODE_EXCEPTION(RuntimeException, node)("The value of node '%s' depends on itself.", name.c_str());
    }
    if (depth >= kMaxDepth) {
        throw NODE_EXCEPTION(RuntimeException, node)("The evaluation of node '%s' is nested more than %d levels deep.",
                                                     name.c_str(), kMaxDepth);
    }
    throw NODE_EXCEPTION(RuntimeException, node)("The evaluation of node '%s' takes more than %u steps.", name.c_str(),
                                                 kMaxSteps);
}

void EvaluationGuard::Spend(const NodeBase& node, std::size_t steps) {
    node.Core().AssertLocked();
    std::uint32_t& spent = node.Core().m_evaluationSteps;
    spent = node.Core().m_evaluationDepth == 0 ? 0 : spent;
    if (steps > kMaxSteps - spent) {
        Fail(node, false, 0);
    }
    spent += static_cast<std::uint32_t>(steps);
}

gcstring ValueNode::ToString(bool Verify, bool IgnoreCache) {
    const Call call(*this, "ToString");
    return gcstring(FormatValue({Verify, IgnoreCache}));
}

void ValueNode::FromString(const gcstring& ValueStr, bool Verify) {
    Core().Change(*this, "FromString", [&] { WriteFormatted(ValueStr.view(), Verify); });
}

bool ValueNode::IsValueCacheValid() const {
    const Call call(*this, "IsValueCacheValid");
    auto& self = const_cast<ValueNode&>(*this);
    return IsReadable(self.Mode()) && self.IsValueCached();
}

void ValueNode::FailConversion(std::string_view text, const char* type) {
    throw NODE_EXCEPTION(InvalidArgumentException, *this)("Node '%s' : cannot convert string '%s' to %s.",
                                                          NameText().c_str(), std::string(text).c_str(), type);
}

} // namespace GenApi
