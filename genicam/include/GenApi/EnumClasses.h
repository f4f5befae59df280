// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>

#include <GenApi/Types.h>

namespace GenApi {

/// Text forms of the enumeration @p E: the enumerators' names, case-sensitive (display notations without "fn").
template <typename E>
class EnumClass {
public:
    /// @return false, and @p pValue untouched, when no enumerator has that name.
    static bool FromString(const gcstring& ValueStr, E* pValue);
    static void ToString(gcstring& ValueStr, E* pValue) { ValueStr = ToString(*pValue); }
    static gcstring ToString(E Value); ///< Empty for a number that is no enumerator.
};

typedef EnumClass<ESign> ESignClass;
typedef EnumClass<EAccessMode> EAccessModeClass;
typedef EnumClass<EVisibility> EVisibilityClass;
typedef EnumClass<ECachingMode> ECachingModeClass;
typedef EnumClass<ERepresentation> ERepresentationClass;
typedef EnumClass<EEndianess> EEndianessClass;
typedef EnumClass<ENameSpace> ENameSpaceClass;
typedef EnumClass<EStandardNameSpace> EStandardNameSpaceClass;
typedef EnumClass<EYesNo> EYesNoClass;
typedef EnumClass<ESlope> ESlopeClass;
typedef EnumClass<EXMLValidation> EXMLValidationClass;
typedef EnumClass<EDisplayNotation> EDisplayNotationClass;
typedef EnumClass<EInterfaceType> EInterfaceTypeClass;
typedef EnumClass<ELinkType> ELinkTypeClass;
typedef EnumClass<EIncMode> EIncModeClass;
typedef EnumClass<EInputDirection> EInputDirectionClass;
typedef EnumClass<EGenApiSchemaVersion> EGenApiSchemaVersionClass;
typedef EnumClass<ECallbackType> ECallbackTypeClass;
typedef EnumClass<EContentType_t> EContentTypeClass;
typedef EnumClass<ECacheUsage_t> ECacheUsageClass;

extern template class GENICAM_API EnumClass<ESign>;
extern template class GENICAM_API EnumClass<EAccessMode>;
extern template class GENICAM_API EnumClass<EVisibility>;
extern template class GENICAM_API EnumClass<ECachingMode>;
extern template class GENICAM_API EnumClass<ERepresentation>;
extern template class GENICAM_API EnumClass<EEndianess>;
extern template class GENICAM_API EnumClass<ENameSpace>;
extern template class GENICAM_API EnumClass<EStandardNameSpace>;
extern template class GENICAM_API EnumClass<EYesNo>;
extern template class GENICAM_API EnumClass<ESlope>;
extern template class GENICAM_API EnumClass<EXMLValidation>;
extern template class GENICAM_API EnumClass<EDisplayNotation>;
extern template class GENICAM_API EnumClass<EInterfaceType>;
extern template class GENICAM_API EnumClass<ELinkType>;
extern template class GENICAM_API EnumClass<EIncMode>;
extern template class GENICAM_API EnumClass<EInputDirection>;
extern template class GENICAM_API EnumClass<EGenApiSchemaVersion>;
extern template class GENICAM_API EnumClass<ECallbackType>;
extern template class GENICAM_API EnumClass<EContentType_t>;
extern template class GENICAM_API EnumClass<ECacheUsage_t>;

} // namespace GenApi
