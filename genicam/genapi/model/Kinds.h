// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// The vocabulary of description files: kinds of nodes and properties, and what the loader must know about each.
namespace GenApi {

/// What an element that stands for a node is called in the file.
enum class NodeKind : std::uint8_t {
    Node,
    Category,
    Integer,
    IntReg,
    MaskedIntReg,
    StructEntry,
    Boolean,
    Command,
    Float,
    FloatReg,
    Enumeration,
    EnumEntry,
    String,
    StringReg,
    Register,
    SwissKnife,
    IntSwissKnife,
    Converter,
    IntConverter,
    Port,
    ConfRom,
    TextDesc,
    IntKey,
    AdvFeatureLock,
    SmartFeature,
    StructReg, ///< Expands to its entries; never a node of the model.
    Group,     ///< Only groups; never a node of the model.
    Unknown
};

std::string_view NodeKindName(NodeKind kind) noexcept;
NodeKind FindNodeKind(std::string_view element) noexcept; ///< Unknown if there is none.

/// How the text of a property is written. Value is an integer, a float or a text, as the node's kind says.
enum class Syntax : std::uint8_t {
    Text,
    Reference,
    Integer,
    Float,
    Value,
    YesNo,
    AccessMode,
    Visibility,
    CachingMode,
    Sign,
    Endianess,
    Representation,
    Slope,
    DisplayNotation,
    NameSpace
};

/// Which kinds of nodes a reference may name.
enum class Target : std::uint8_t { None, Any, Number, Text, Port, Enumeration, Entry };

/// What a reference means for the dependency graph; bits.
enum Edge : std::uint8_t {
    Edge_None = 0,
    Edge_Read = 1,       ///< The node reads the target to find its value, limits, address or length.
    Edge_Write = 2,      ///< Writing the node writes the target.
    Edge_Invalidate = 4, ///< What changes the target makes the node's caches void.
    Edge_Optional = 8    ///< A name that does not exist is dropped with a warning.
};

// X(name, syntax, target, edges); the name is the element's, or the attribute's that belongs to the property before it.
#define GENAPI_PROPERTIES(X)                                                                                           \
    X(Extension, Text, None, Edge_None)                                                                                \
    X(ToolTip, Text, None, Edge_None)                                                                                  \
    X(Description, Text, None, Edge_None)                                                                              \
    X(DisplayName, Text, None, Edge_None)                                                                              \
    X(Visibility, Visibility, None, Edge_None)                                                                         \
    X(DocuURL, Text, None, Edge_None)                                                                                  \
    X(IsDeprecated, YesNo, None, Edge_None)                                                                            \
    X(EventID, Text, None, Edge_None)                                                                                  \
    X(pIsImplemented, Reference, Number, Edge_Invalidate)                                                              \
    X(pIsAvailable, Reference, Number, Edge_Invalidate)                                                                \
    X(pIsLocked, Reference, Number, Edge_Invalidate)                                                                   \
    X(pBlockPolling, Reference, Number, Edge_None)                                                                     \
    X(ImposedAccessMode, AccessMode, None, Edge_None)                                                                  \
    X(pError, Reference, Enumeration, Edge_Optional)                                                                   \
    X(pAlias, Reference, Any, Edge_Optional)                                                                           \
    X(pCastAlias, Reference, Any, Edge_Optional)                                                                       \
    X(pInvalidator, Reference, Any, Edge_Invalidate | Edge_Optional)                                                   \
    X(Streamable, YesNo, None, Edge_None)                                                                              \
    X(pSelected, Reference, Any, Edge_Optional)                                                                        \
    X(pFeature, Reference, Any, Edge_Optional)                                                                         \
    X(Value, Value, None, Edge_None)                                                                                   \
    X(pValue, Reference, Number, Edge_Read | Edge_Write | Edge_Invalidate)                                             \
    X(pValueCopy, Reference, Number, Edge_Write)                                                                       \
    X(ValueIndexed, Value, None, Edge_None)                                                                            \
    X(pValueIndexed, Reference, Number, Edge_Read | Edge_Write | Edge_Invalidate)                                      \
    X(ValueDefault, Value, None, Edge_None)                                                                            \
    X(pValueDefault, Reference, Number, Edge_Read | Edge_Write | Edge_Invalidate)                                      \
    X(Index, Integer, None, Edge_None)                                                                                 \
    X(Min, Value, None, Edge_None)                                                                                     \
    X(pMin, Reference, Number, Edge_Read | Edge_Invalidate)                                                            \
    X(Max, Value, None, Edge_None)                                                                                     \
    X(pMax, Reference, Number, Edge_Read | Edge_Invalidate)                                                            \
    X(Inc, Value, None, Edge_None)                                                                                     \
    X(pInc, Reference, Number, Edge_Read | Edge_Invalidate)                                                            \
    X(Unit, Text, None, Edge_None)                                                                                     \
    X(Representation, Representation, None, Edge_None)                                                                 \
    X(DisplayNotation, DisplayNotation, None, Edge_None)                                                               \
    X(DisplayPrecision, Integer, None, Edge_None)                                                                      \
    X(ValidValueSet, Text, None, Edge_None)                                                                            \
    X(Address, Integer, None, Edge_None)                                                                               \
    X(pAddress, Reference, Number, Edge_Read | Edge_Invalidate)                                                        \
    X(IntSwissKnife, Reference, Number, Edge_Read | Edge_Invalidate)                                                   \
    X(pIndex, Reference, Number, Edge_Read | Edge_Invalidate)                                                          \
    X(Offset, Integer, None, Edge_None)                                                                                \
    X(pOffset, Reference, Number, Edge_Read | Edge_Invalidate)                                                         \
    X(Length, Integer, None, Edge_None)                                                                                \
    X(pLength, Reference, Number, Edge_Read | Edge_Invalidate)                                                         \
    X(AccessMode, AccessMode, None, Edge_None)                                                                         \
    X(pPort, Reference, Port, Edge_Invalidate)                                                                         \
    X(Cachable, CachingMode, None, Edge_None)                                                                          \
    X(PollingTime, Integer, None, Edge_None)                                                                           \
    X(Endianess, Endianess, None, Edge_None)                                                                           \
    X(Sign, Sign, None, Edge_None)                                                                                     \
    X(Bit, Integer, None, Edge_None)                                                                                   \
    X(LSB, Integer, None, Edge_None)                                                                                   \
    X(MSB, Integer, None, Edge_None)                                                                                   \
    X(OnValue, Integer, None, Edge_None)                                                                               \
    X(OffValue, Integer, None, Edge_None)                                                                              \
    X(CommandValue, Integer, None, Edge_None)                                                                          \
    X(pCommandValue, Reference, Number, Edge_Read | Edge_Invalidate)                                                   \
    X(EnumEntry, Reference, Entry, Edge_Invalidate)                                                                    \
    X(pEnumEntry, Reference, Entry, Edge_Invalidate)                                                                   \
    X(NumericValue, Float, None, Edge_None)                                                                            \
    X(Symbolic, Text, None, Edge_None)                                                                                 \
    X(IsSelfClearing, YesNo, None, Edge_None)                                                                          \
    X(pVariable, Reference, Any, Edge_Read | Edge_Invalidate)                                                          \
    X(Constant, Text, None, Edge_None)                                                                                 \
    X(Expression, Text, None, Edge_None)                                                                               \
    X(Formula, Text, None, Edge_None)                                                                                  \
    X(FormulaTo, Text, None, Edge_None)                                                                                \
    X(FormulaFrom, Text, None, Edge_None)                                                                              \
    X(Slope, Slope, None, Edge_None)                                                                                   \
    X(IsLinear, YesNo, None, Edge_None)                                                                                \
    X(ChunkID, Text, None, Edge_None)                                                                                  \
    X(pChunkID, Reference, Text, Edge_Read | Edge_Invalidate)                                                          \
    X(SwapEndianess, YesNo, None, Edge_None)                                                                           \
    X(CacheChunkData, YesNo, None, Edge_None)                                                                          \
    X(FeatureID, Text, None, Edge_None)                                                                                \
    X(Timeout, Integer, None, Edge_None)                                                                               \
    X(Key, Text, None, Edge_None)                                                                                      \
    X(p1212Parser, Reference, Any, Edge_Optional)                                                                      \
    X(Name, Text, None, Edge_None)                                                                                     \
    X(NameSpace, NameSpace, None, Edge_None)                                                                           \
    X(MergePriority, Integer, None, Edge_None)                                                                         \
    X(ExposeStatic, YesNo, None, Edge_None)

enum class PropertyKind : std::uint8_t {
#define GENAPI_PROPERTY_ENUMERATOR(name, syntax, target, edges) name,
    GENAPI_PROPERTIES(GENAPI_PROPERTY_ENUMERATOR)
#undef GENAPI_PROPERTY_ENUMERATOR
        Unknown
};

struct PropertyTraits {
    std::string_view name;
    Syntax syntax;
    Target target;
    std::uint8_t edges; ///< of Edge
};

const PropertyTraits& TraitsOf(PropertyKind kind) noexcept;       ///< not for Unknown
PropertyKind FindPropertyKind(std::string_view element) noexcept; ///< Unknown if there is none.

bool IsAttribute(PropertyKind kind) noexcept;     ///< of a node
bool IsItemAttribute(PropertyKind kind) noexcept; ///< of the property before it
bool IsFloatSyntax(NodeKind kind) noexcept;       ///< its Value, Min, Max, Inc and Constant are floats
bool Accepts(Target target, NodeKind kind) noexcept;

/// Reads an enumerator as the file spells it. @return false for a text that is none of @p syntax.
bool ParseEnumerator(Syntax syntax, std::string_view text, std::uint32_t& value) noexcept;
std::string_view EnumeratorName(Syntax syntax, std::uint32_t value) noexcept;

} // namespace GenApi
