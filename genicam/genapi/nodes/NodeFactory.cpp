// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/NodeFactory.h"

#include "genicam/genapi/nodes/BooleanNode.h"
#include "genicam/genapi/nodes/CategoryNode.h"
#include "genicam/genapi/nodes/CommandNode.h"
#include "genicam/genapi/nodes/ConverterNode.h"
#include "genicam/genapi/nodes/EnumerationNode.h"
#include "genicam/genapi/nodes/NumberNode.h"
#include "genicam/genapi/nodes/PortNode.h"
#include "genicam/genapi/nodes/RegisterNodes.h"
#include "genicam/genapi/nodes/StringBase.h"
#include "genicam/genapi/nodes/SwissKnifeNode.h"
#include "genicam/genapi/nodes/UnservedNode.h"

#include <new>

namespace GenApi {

namespace {

/// Calls @p visitor with a null pointer of the class that stands for the kind.
template <typename Visitor>
auto VisitNodeClass(NodeKind kind, Visitor&& visitor) {
    switch (kind) {
    case NodeKind::Category:
        return visitor(static_cast<CategoryNode*>(nullptr));
    case NodeKind::Integer:
        return visitor(static_cast<IntegerNode*>(nullptr));
    case NodeKind::IntReg:
    case NodeKind::MaskedIntReg:
    case NodeKind::StructEntry:
        return visitor(static_cast<IntegerRegisterNode*>(nullptr));
    case NodeKind::Boolean:
        return visitor(static_cast<BooleanNode*>(nullptr));
    case NodeKind::Command:
        return visitor(static_cast<CommandNode*>(nullptr));
    case NodeKind::Float:
        return visitor(static_cast<FloatNode*>(nullptr));
    case NodeKind::FloatReg:
        return visitor(static_cast<FloatRegisterNode*>(nullptr));
    case NodeKind::Enumeration:
        return visitor(static_cast<EnumerationNode*>(nullptr));
    case NodeKind::EnumEntry:
        return visitor(static_cast<EnumEntryNode*>(nullptr));
    case NodeKind::String:
        return visitor(static_cast<StringNode*>(nullptr));
    case NodeKind::StringReg:
        return visitor(static_cast<StringRegisterNode*>(nullptr));
    case NodeKind::Register:
        return visitor(static_cast<RegisterNode*>(nullptr));
    case NodeKind::SwissKnife:
        return visitor(static_cast<SwissKnifeNode*>(nullptr));
    case NodeKind::IntSwissKnife:
        return visitor(static_cast<IntSwissKnifeNode*>(nullptr));
    case NodeKind::Converter:
        return visitor(static_cast<ConverterNode*>(nullptr));
    case NodeKind::IntConverter:
        return visitor(static_cast<IntConverterNode*>(nullptr));
    case NodeKind::Port:
        return visitor(static_cast<PortNode*>(nullptr));
    case NodeKind::IntKey:
    case NodeKind::SmartFeature:
        return visitor(static_cast<UnservedInteger*>(nullptr));
    case NodeKind::AdvFeatureLock:
        return visitor(static_cast<UnservedRegisterOf<UnservedInteger>*>(nullptr));
    case NodeKind::TextDesc:
        return visitor(static_cast<UnservedString*>(nullptr));
    case NodeKind::ConfRom:
        return visitor(static_cast<UnservedRegisterOf<UnservedBytes>*>(nullptr));
    default:
        return visitor(static_cast<PlainNode*>(nullptr));
    }
}

} // namespace

std::size_t NodeSize(NodeKind kind) noexcept {
    constexpr std::size_t alignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
    return VisitNodeClass(kind, []<typename Node>(Node*) {
        static_assert(alignof(Node) <= alignment);
        return (sizeof(Node) + alignment - 1) / alignment * alignment;
    });
}

NodeBase* ConstructNode(void* place, NodeKind kind, MapCore& core, NodeIndex index) {
    return VisitNodeClass(kind, [&]<typename Node>(Node*) -> NodeBase* { return new (place) Node(core, index); });
}

} // namespace GenApi
