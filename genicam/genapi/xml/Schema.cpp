#include "genicam/genapi/xml/Schema.h"

namespace GenApi {

namespace {

using P = PropertyKind;

constexpr PropertySet ofAll = {
    P::Extension,    P::ToolTip, P::Description,    P::DisplayName,       P::Visibility,   P::DocuURL,
    P::IsDeprecated, P::EventID, P::pIsImplemented, P::pIsAvailable,      P::pIsLocked,    P::pBlockPolling,
    P::pError,       P::pAlias,  P::pCastAlias,     P::ImposedAccessMode, P::pInvalidator, P::Streamable};
constexpr PropertySet ofNumber =
    ofAll |
    PropertySet{P::Value,        P::pValue,        P::pValueCopy, P::pIndex,         P::ValueIndexed,  P::pValueIndexed,
                P::ValueDefault, P::pValueDefault, P::Min,        P::pMin,           P::Max,           P::pMax,
                P::Inc,          P::pInc,          P::Unit,       P::Representation, P::ValidValueSet, P::pSelected};
constexpr PropertySet ofNotation = {P::DisplayNotation, P::DisplayPrecision};
constexpr PropertySet ofAddress = {P::Address, P::IntSwissKnife, P::pAddress, P::pIndex};
constexpr PropertySet ofOverride = {P::AccessMode, P::Cachable, P::PollingTime};
constexpr PropertySet ofRegister = ofAll | ofAddress | ofOverride | PropertySet{P::Length, P::pLength, P::pPort};
constexpr PropertySet ofField = {P::Sign, P::Unit, P::Representation, P::pSelected};
constexpr PropertySet ofBits = {P::Bit, P::LSB, P::MSB};
constexpr PropertySet ofEndianess = {P::Endianess};
constexpr PropertySet ofValue = {P::Value, P::pValue};
constexpr PropertySet ofVariables =
    ofAll | PropertySet{P::pVariable, P::Constant, P::Expression, P::Unit, P::Representation};
constexpr PropertySet ofConverter =
    ofVariables | PropertySet{P::FormulaTo, P::FormulaFrom, P::pValue, P::Slope, P::IsLinear};

constexpr PropertySet Allowed(NodeKind kind) {
    switch (kind) {
    case NodeKind::Category:
        return ofAll | PropertySet{P::pFeature};
    case NodeKind::Integer:
        return ofNumber;
    case NodeKind::Float:
        return ofNumber | ofNotation;
    case NodeKind::IntReg:
        return ofRegister | ofField | ofEndianess;
    case NodeKind::MaskedIntReg:
        return ofRegister | ofField | ofEndianess | ofBits;
    case NodeKind::StructEntry:
        return ofAll | ofOverride | ofField | ofBits;
    case NodeKind::StructReg:
        return ofRegister | ofEndianess;
    case NodeKind::FloatReg:
        return ofRegister | ofEndianess | ofNotation | PropertySet{P::Unit, P::Representation};
    case NodeKind::StringReg:
    case NodeKind::Register:
        return ofRegister;
    case NodeKind::Boolean:
        return ofAll | ofValue | PropertySet{P::OnValue, P::OffValue, P::pSelected};
    case NodeKind::Command:
        return ofAll | ofValue | PropertySet{P::CommandValue, P::pCommandValue, P::PollingTime};
    case NodeKind::Enumeration:
        return ofAll | ofValue | PropertySet{P::EnumEntry, P::pEnumEntry, P::pSelected, P::PollingTime};
    case NodeKind::EnumEntry:
        return ofAll | PropertySet{P::Value, P::NumericValue, P::Symbolic, P::IsSelfClearing};
    case NodeKind::String:
        return ofAll | ofValue;
    case NodeKind::SwissKnife:
        return ofVariables | ofNotation | PropertySet{P::Formula};
    case NodeKind::IntSwissKnife:
        return ofVariables | PropertySet{P::Formula};
    case NodeKind::Converter:
        return ofConverter | ofNotation;
    case NodeKind::IntConverter:
        return ofConverter;
    case NodeKind::Port:
        return ofAll | PropertySet{P::ChunkID, P::pChunkID, P::SwapEndianess, P::CacheChunkData};
    case NodeKind::ConfRom:
        return ofAll | ofAddress | PropertySet{P::Unit, P::Length, P::pLength, P::pPort};
    case NodeKind::TextDesc:
    case NodeKind::IntKey:
        return ofAll | PropertySet{P::p1212Parser, P::Key};
    case NodeKind::AdvFeatureLock:
        return ofRegister | PropertySet{P::FeatureID, P::Timeout};
    case NodeKind::SmartFeature:
        return ofAll | ofAddress | PropertySet{P::FeatureID, P::pPort};
    default:
        return ofAll;
    }
}

constexpr auto allowedElements = [] {
    std::array<PropertySet, static_cast<std::size_t>(NodeKind::Unknown) + 1> sets;
    for (std::size_t kind = 0; kind < sets.size(); ++kind) {
        sets[kind] = Allowed(static_cast<NodeKind>(kind));
    }
    return sets;
}();

constexpr PropertySet repeated = {P::pError,       P::pInvalidator,  P::pSelected,  P::pFeature,  P::pValueCopy,
                                  P::ValueIndexed, P::pValueIndexed, P::Address,    P::pAddress,  P::IntSwissKnife,
                                  P::pIndex,       P::EnumEntry,     P::pEnumEntry, P::pVariable, P::Constant,
                                  P::Expression,   P::Extension};

constexpr PropertySet length = {P::Length, P::pLength};
constexpr PropertySet port = {P::pPort};
constexpr PropertySet needsValue[] = {ofValue};
constexpr PropertySet needsNumber[] = {{P::Value, P::pValue, P::pIndex}};
constexpr PropertySet needsCommand[] = {ofValue, {P::CommandValue, P::pCommandValue}};
constexpr PropertySet needsOwnValue[] = {{P::Value}};
constexpr PropertySet needsRegister[] = {length, port};
constexpr PropertySet needsBits[] = {length, port, {P::Bit, P::LSB}, {P::Bit, P::MSB}};
constexpr PropertySet needsFormula[] = {{P::Formula}};
constexpr PropertySet needsFormulas[] = {{P::FormulaTo}, {P::FormulaFrom}, {P::pValue}};

} // namespace

const PropertySet& AllowedElements(NodeKind kind) noexcept {
    return allowedElements[static_cast<std::size_t>(kind)];
}

std::span<const PropertySet> Requirements(NodeKind kind) noexcept {
    switch (kind) {
    case NodeKind::Integer:
    case NodeKind::Float:
        return needsNumber;
    case NodeKind::Boolean:
    case NodeKind::String:
    case NodeKind::Enumeration:
        return needsValue;
    case NodeKind::Command:
        return needsCommand;
    case NodeKind::EnumEntry:
        return needsOwnValue;
    case NodeKind::IntReg:
    case NodeKind::FloatReg:
    case NodeKind::StringReg:
    case NodeKind::Register:
        return needsRegister;
    case NodeKind::MaskedIntReg:
    case NodeKind::StructEntry:
        return needsBits;
    case NodeKind::SwissKnife:
    case NodeKind::IntSwissKnife:
        return needsFormula;
    case NodeKind::Converter:
    case NodeKind::IntConverter:
        return needsFormulas;
    default:
        return {};
    }
}

bool MayRepeat(PropertyKind kind) noexcept {
    return repeated.Has(kind);
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
