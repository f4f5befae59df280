// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/xml/Schema.h"

#include <algorithm>

namespace GenApi {

namespace {

using P = PropertyKind;

constexpr PropertySet kOfAll = {
    P::Extension,    P::ToolTip, P::Description,    P::DisplayName,       P::Visibility,   P::DocuURL,
    P::IsDeprecated, P::EventID, P::pIsImplemented, P::pIsAvailable,      P::pIsLocked,    P::pBlockPolling,
    P::pError,       P::pAlias,  P::pCastAlias,     P::ImposedAccessMode, P::pInvalidator, P::Streamable};
constexpr PropertySet kOfNumber =
    kOfAll |
    PropertySet{P::Value,        P::pValue,        P::pValueCopy, P::pIndex,         P::ValueIndexed,  P::pValueIndexed,
                P::ValueDefault, P::pValueDefault, P::Min,        P::pMin,           P::Max,           P::pMax,
                P::Inc,          P::pInc,          P::Unit,       P::Representation, P::ValidValueSet, P::pSelected};
constexpr PropertySet kOfNotation = {P::DisplayNotation, P::DisplayPrecision};
constexpr PropertySet kOfAddress = {P::Address, P::IntSwissKnife, P::pAddress, P::pIndex};
constexpr PropertySet kOfOverride = {P::AccessMode, P::Cachable, P::PollingTime};
constexpr PropertySet kOfRegister = kOfAll | kOfAddress | kOfOverride | PropertySet{P::Length, P::pLength, P::pPort};
constexpr PropertySet kOfField = {P::Sign, P::Unit, P::Representation, P::pSelected};
constexpr PropertySet kOfBits = {P::Bit, P::LSB, P::MSB};
constexpr PropertySet kOfEndianess = {P::Endianess};
constexpr PropertySet kOfValue = {P::Value, P::pValue};
constexpr PropertySet kOfVariables =
    kOfAll | PropertySet{P::pVariable, P::Constant, P::Expression, P::Unit, P::Representation};
constexpr PropertySet kOfConverter =
    kOfVariables | PropertySet{P::FormulaTo, P::FormulaFrom, P::pValue, P::Slope, P::IsLinear};

constexpr PropertySet Allowed(NodeKind kind) {
    switch (kind) {
    case NodeKind::Category:
        return kOfAll | PropertySet{P::pFeature};
    case NodeKind::Integer:
        return kOfNumber;
    case NodeKind::Float:
        return kOfNumber | kOfNotation;
    case NodeKind::IntReg:
        return kOfRegister | kOfField | kOfEndianess;
    case NodeKind::MaskedIntReg:
        return kOfRegister | kOfField | kOfEndianess | kOfBits;
    case NodeKind::StructEntry:
        return kOfAll | kOfOverride | kOfField | kOfBits;
    case NodeKind::StructReg:
        return kOfRegister | kOfEndianess;
    case NodeKind::FloatReg:
        return kOfRegister | kOfEndianess | kOfNotation | PropertySet{P::Unit, P::Representation};
    case NodeKind::StringReg:
    case NodeKind::Register:
        return kOfRegister;
    case NodeKind::Boolean:
        return kOfAll | kOfValue | PropertySet{P::OnValue, P::OffValue, P::pSelected};
    case NodeKind::Command:
        return kOfAll | kOfValue | PropertySet{P::CommandValue, P::pCommandValue, P::PollingTime};
    case NodeKind::Enumeration:
        return kOfAll | kOfValue | PropertySet{P::EnumEntry, P::pEnumEntry, P::pSelected, P::PollingTime};
    case NodeKind::EnumEntry:
        return kOfAll | PropertySet{P::Value, P::NumericValue, P::Symbolic, P::IsSelfClearing};
    case NodeKind::String:
        return kOfAll | kOfValue;
    case NodeKind::SwissKnife:
        return kOfVariables | kOfNotation | PropertySet{P::Formula};
    case NodeKind::IntSwissKnife:
        return kOfVariables | PropertySet{P::Formula};
    case NodeKind::Converter:
        return kOfConverter | kOfNotation;
    case NodeKind::IntConverter:
        return kOfConverter;
    case NodeKind::Port:
        return kOfAll | PropertySet{P::ChunkID, P::pChunkID, P::SwapEndianess, P::CacheChunkData};
    case NodeKind::ConfRom:
        return kOfAll | kOfAddress | PropertySet{P::Unit, P::Length, P::pLength, P::pPort};
    case NodeKind::TextDesc:
    case NodeKind::IntKey:
        return kOfAll | PropertySet{P::p1212Parser, P::Key};
    case NodeKind::AdvFeatureLock:
        return kOfRegister | PropertySet{P::FeatureID, P::Timeout};
    case NodeKind::SmartFeature:
        return kOfAll | kOfAddress | PropertySet{P::FeatureID, P::pPort};
    default:
        return kOfAll;
    }
}

constexpr auto kAllowedElements = [] {
    std::array<PropertySet, static_cast<std::size_t>(NodeKind::Unknown) + 1> sets;
    for (std::size_t kind = 0; kind < sets.size(); ++kind) {
        sets[kind] = Allowed(static_cast<NodeKind>(kind));
    }
    return sets;
}();

constexpr PropertySet kRepeated = {P::pError,       P::pInvalidator,  P::pSelected,  P::pFeature,  P::pValueCopy,
                                   P::ValueIndexed, P::pValueIndexed, P::Address,    P::pAddress,  P::IntSwissKnife,
                                   P::pIndex,       P::EnumEntry,     P::pEnumEntry, P::pVariable, P::Constant,
                                   P::Expression,   P::Extension};

constexpr PropertySet kLength = {P::Length, P::pLength};
constexpr PropertySet kPort = {P::pPort};
constexpr PropertySet kNeedsValue[] = {kOfValue};
constexpr PropertySet kNeedsNumber[] = {{P::Value, P::pValue, P::pIndex}};
constexpr PropertySet kNeedsCommand[] = {kOfValue, {P::CommandValue, P::pCommandValue}};
constexpr PropertySet kNeedsOwnValue[] = {{P::Value}};
constexpr PropertySet kNeedsRegister[] = {kLength, kPort};
constexpr PropertySet kNeedsBits[] = {kLength, kPort, {P::Bit, P::LSB}, {P::Bit, P::MSB}};
constexpr PropertySet kNeedsFormula[] = {{P::Formula}};
constexpr PropertySet kNeedsFormulas[] = {{P::FormulaTo}, {P::FormulaFrom}, {P::pValue}};
/// What stands in a list of which one item is needed, and what such an item needs: a register whose address lacks a
/// term would be another place of the device.
constexpr PropertySet kNeedsItem = {P::Address,      P::pAddress,      P::pIndex, P::ValueIndexed, P::pValueIndexed,
                                    P::ValueDefault, P::pValueDefault, P::Index,  P::Name};

} // namespace

const PropertySet& AllowedElements(NodeKind kind) noexcept {
    return kAllowedElements[static_cast<std::size_t>(kind)];
}

std::span<const PropertySet> Requirements(NodeKind kind) noexcept {
    switch (kind) {
    case NodeKind::Integer:
    case NodeKind::Float:
        return kNeedsNumber;
    case NodeKind::Boolean:
    case NodeKind::String:
    case NodeKind::Enumeration:
        return kNeedsValue;
    case NodeKind::Command:
        return kNeedsCommand;
    case NodeKind::EnumEntry:
        return kNeedsOwnValue;
    case NodeKind::IntReg:
    case NodeKind::FloatReg:
    case NodeKind::StringReg:
    case NodeKind::Register:
        return kNeedsRegister;
    case NodeKind::MaskedIntReg:
    case NodeKind::StructEntry:
        return kNeedsBits;
    case NodeKind::SwissKnife:
    case NodeKind::IntSwissKnife:
        return kNeedsFormula;
    case NodeKind::Converter:
    case NodeKind::IntConverter:
        return kNeedsFormulas;
    default:
        return {};
    }
}

bool IsRequired(NodeKind kind, PropertyKind property) noexcept {
    // what a structure says counts for its entries
    const auto requirements = Requirements(kind == NodeKind::StructReg ? NodeKind::StructEntry : kind);
    return kNeedsItem.Has(property) || std::any_of(requirements.begin(), requirements.end(),
                                                   [=](const PropertySet& set) { return set.Has(property); });
}

bool MayRepeat(PropertyKind kind) noexcept {
    return kRepeated.Has(kind);
}

PropertyKind NeededAttribute(PropertyKind element) noexcept {
    switch (element) {
    case P::pVariable:
    case P::Constant:
    case P::Expression:
        return P::Name;
    case P::ValueIndexed:
    case P::pValueIndexed:
        return P::Index;
    default:
        return P::Unknown;
    }
}

bool MayStandAt(PropertyKind attribute, PropertyKind element) noexcept {
    const bool isOffset = attribute == P::Offset || attribute == P::pOffset;
    return isOffset ? element == P::pIndex : attribute != P::Unknown && attribute == NeededAttribute(element);
}

} // namespace GenApi
