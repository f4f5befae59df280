// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EnumClasses.h>

#include <algorithm>
#include <utility>

namespace GenApi {

namespace {

template <typename E>
struct CEnumerator {
    E Value;
    const char* Name;
};

// The enumerators of each type, the undefined value last.
template <typename E>
constexpr int kEnumerators = 0; // not an enumeration with names

template <>
constexpr CEnumerator<ESign> kEnumerators<ESign>[] = {
    {Signed, "Signed"}, {Unsigned, "Unsigned"}, {_UndefinedSign, "_UndefinedSign"}};
template <>
constexpr CEnumerator<EAccessMode> kEnumerators<EAccessMode>[] = {{NI, "NI"},
                                                                  {NA, "NA"},
                                                                  {WO, "WO"},
                                                                  {RO, "RO"},
                                                                  {RW, "RW"},
                                                                  {_CycleDetectAccesMode, "_CycleDetectAccesMode"},
                                                                  {_UndefinedAccesMode, "_UndefinedAccesMode"}};
template <>
constexpr CEnumerator<EVisibility> kEnumerators<EVisibility>[] = {{Beginner, "Beginner"},
                                                                  {Expert, "Expert"},
                                                                  {Guru, "Guru"},
                                                                  {Invisible, "Invisible"},
                                                                  {_UndefinedVisibility, "_UndefinedVisibility"}};
template <>
constexpr CEnumerator<ECachingMode> kEnumerators<ECachingMode>[] = {{NoCache, "NoCache"},
                                                                    {WriteThrough, "WriteThrough"},
                                                                    {WriteAround, "WriteAround"},
                                                                    {_UndefinedCachingMode, "_UndefinedCachingMode"}};
template <>
constexpr CEnumerator<ERepresentation> kEnumerators<ERepresentation>[] = {
    {Linear, "Linear"},         {Logarithmic, "Logarithmic"},
    {Boolean, "Boolean"},       {PureNumber, "PureNumber"},
    {HexNumber, "HexNumber"},   {IPV4Address, "IPV4Address"},
    {MACAddress, "MACAddress"}, {_UndefinedRepresentation, "_UndefinedRepresentation"}};
template <>
constexpr CEnumerator<EEndianess> kEnumerators<EEndianess>[] = {
    {BigEndian, "BigEndian"}, {LittleEndian, "LittleEndian"}, {_UndefinedEndian, "_UndefinedEndian"}};
template <>
constexpr CEnumerator<ENameSpace> kEnumerators<ENameSpace>[] = {
    {Custom, "Custom"}, {Standard, "Standard"}, {_UndefinedNameSpace, "_UndefinedNameSpace"}};
template <>
constexpr CEnumerator<EStandardNameSpace> kEnumerators<EStandardNameSpace>[] = {
    {None, "None"}, {GEV, "GEV"}, {IIDC, "IIDC"},
    {CL, "CL"},     {USB, "USB"}, {_UndefinedStandardNameSpace, "_UndefinedStandardNameSpace"}};
template <>
constexpr CEnumerator<EYesNo> kEnumerators<EYesNo>[] = {{Yes, "Yes"}, {No, "No"}, {_UndefinedYesNo, "_UndefinedYesNo"}};
template <>
constexpr CEnumerator<ESlope> kEnumerators<ESlope>[] = {{Increasing, "Increasing"},
                                                        {Decreasing, "Decreasing"},
                                                        {Varying, "Varying"},
                                                        {Automatic, "Automatic"},
                                                        {_UndefinedESlope, "_UndefinedESlope"}};
template <>
constexpr CEnumerator<EXMLValidation> kEnumerators<EXMLValidation>[] = {
    {xvLoad, "xvLoad"},       {xvCycles, "xvCycles"}, {xvSFNC, "xvSFNC"},
    {xvDefault, "xvDefault"}, {xvAll, "xvAll"},       {_UndefinedEXMLValidation, "_UndefinedEXMLValidation"}};
template <>
constexpr CEnumerator<EDisplayNotation> kEnumerators<EDisplayNotation>[] = {
    {fnAutomatic, "Automatic"},
    {fnFixed, "Fixed"},
    {fnScientific, "Scientific"},
    {_UndefinedEDisplayNotation, "_UndefinedEDisplayNotation"}};
template <>
constexpr CEnumerator<EInterfaceType> kEnumerators<EInterfaceType>[] = {
    {intfIValue, "intfIValue"},         {intfIBase, "intfIBase"},
    {intfIInteger, "intfIInteger"},     {intfIBoolean, "intfIBoolean"},
    {intfICommand, "intfICommand"},     {intfIFloat, "intfIFloat"},
    {intfIString, "intfIString"},       {intfIRegister, "intfIRegister"},
    {intfICategory, "intfICategory"},   {intfIEnumeration, "intfIEnumeration"},
    {intfIEnumEntry, "intfIEnumEntry"}, {intfIPort, "intfIPort"}};
template <>
constexpr CEnumerator<ELinkType> kEnumerators<ELinkType>[] = {{ctParentNodes, "ctParentNodes"},
                                                              {ctReadingChildren, "ctReadingChildren"},
                                                              {ctWritingChildren, "ctWritingChildren"},
                                                              {ctInvalidatingChildren, "ctInvalidatingChildren"},
                                                              {ctDependingNodes, "ctDependingNodes"},
                                                              {ctTerminalNodes, "ctTerminalNodes"},
                                                              {ctValueChangingChildren, "ctValueChangingChildren"}};
template <>
constexpr CEnumerator<EIncMode> kEnumerators<EIncMode>[] = {
    {noIncrement, "noIncrement"}, {fixedIncrement, "fixedIncrement"}, {listIncrement, "listIncrement"}};
template <>
constexpr CEnumerator<EInputDirection> kEnumerators<EInputDirection>[] = {
    {idFrom, "idFrom"}, {idTo, "idTo"}, {idNone, "idNone"}};
template <>
constexpr CEnumerator<EGenApiSchemaVersion> kEnumerators<EGenApiSchemaVersion>[] = {
    {v1_0, "v1_0"}, {v1_1, "v1_1"}, {_Undefined, "_Undefined"}};
template <>
constexpr CEnumerator<ECallbackType> kEnumerators<ECallbackType>[] = {{cbPostInsideLock, "cbPostInsideLock"},
                                                                      {cbPostOutsideLock, "cbPostOutsideLock"}};
template <>
constexpr CEnumerator<EContentType_t> kEnumerators<EContentType_t>[] = {
    {ContentType_Xml, "ContentType_Xml"}, {ContentType_ZippedXml, "ContentType_ZippedXml"}};
template <>
constexpr CEnumerator<ECacheUsage_t> kEnumerators<ECacheUsage_t>[] = {{CacheUsage_Automatic, "CacheUsage_Automatic"},
                                                                      {CacheUsage_ForceWrite, "CacheUsage_ForceWrite"},
                                                                      {CacheUsage_ForceRead, "CacheUsage_ForceRead"},
                                                                      {CacheUsage_Ignore, "CacheUsage_Ignore"}};

} // namespace

template <typename E>
bool EnumClass<E>::FromString(const gcstring& ValueStr, E* pValue) {
    const auto found = std::find_if(std::begin(kEnumerators<E>), std::end(kEnumerators<E>),
                                    [&](const CEnumerator<E>& enumerator) { return ValueStr == enumerator.Name; });
    if (found == std::end(kEnumerators<E>)) {
        return false;
    }
    *pValue = found->Value;
    return true;
}

template <typename E>
gcstring EnumClass<E>::ToString(E Value) {
    const auto found = std::find_if(std::begin(kEnumerators<E>), std::end(kEnumerators<E>),
                                    [&](const CEnumerator<E>& enumerator) { return Value == enumerator.Value; });
    return found == std::end(kEnumerators<E>) ? "" : found->Name;
}

template class EnumClass<ESign>;
template class EnumClass<EAccessMode>;
template class EnumClass<EVisibility>;
template class EnumClass<ECachingMode>;
template class EnumClass<ERepresentation>;
template class EnumClass<EEndianess>;
template class EnumClass<ENameSpace>;
template class EnumClass<EStandardNameSpace>;
template class EnumClass<EYesNo>;
template class EnumClass<ESlope>;
template class EnumClass<EXMLValidation>;
template class EnumClass<EDisplayNotation>;
template class EnumClass<EInterfaceType>;
template class EnumClass<ELinkType>;
template class EnumClass<EIncMode>;
template class EnumClass<EInputDirection>;
template class EnumClass<EGenApiSchemaVersion>;
template class EnumClass<ECallbackType>;
template class EnumClass<EContentType_t>;
template class EnumClass<ECacheUsage_t>;

} // namespace GenApi
