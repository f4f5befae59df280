// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCString.h>
#include <Base/GCStringVector.h>
#include <Base/GCTypes.h>

#include <cstdint>

/// Node maps: the features of a device, described by a file and reached through a port.
/// The enumerations carry the names and numbers of the GenApi standard, schema 1.1.
namespace GenApi {

using GenICam::gcstring;
using GenICam::gcstring_vector;

/// A list of texts, for example the symbolic names of an enumeration.
typedef gcstring_vector StringList_t;

/// Names one registered callback; see NodeCallback.h.
typedef intptr_t CallbackHandleType;

enum ESign { Signed = 0, Unsigned = 1, _UndefinedSign = 2 };

/// What may be done with a node now: not implemented, not available, write only, read only, read and write.
/// The last two are used while a mode is being computed and never leave the library.
enum EAccessMode { NI = 0, NA = 1, WO = 2, RO = 3, RW = 4, _UndefinedAccesMode = 5, _CycleDetectAccesMode = 6 };

/// For which users a feature is shown.
enum EVisibility { Beginner = 0, Expert = 1, Guru = 2, Invisible = 3, _UndefinedVisibility = 99 };

/// What becomes of a written value: kept as the cached one, forgotten until the next read, or never cached at all.
enum ECachingMode { NoCache = 0, WriteThrough = 1, WriteAround = 2, _UndefinedCachingMode = 3 };

/// How a number is best shown.
enum ERepresentation {
    Linear = 0,
    Logarithmic = 1,
    Boolean = 2,
    PureNumber = 3,
    HexNumber = 4,
    IPV4Address = 5,
    MACAddress = 6,
    _UndefinedRepresentation = 7,
    _UndefindedRepresentation = 7
};

enum EEndianess { BigEndian = 0, LittleEndian = 1, _UndefinedEndian = 2 };

enum ENameSpace { Custom = 0, Standard = 1, _UndefinedNameSpace = 2 };

enum EStandardNameSpace { None = 0, GEV = 1, IIDC = 2, CL = 3, USB = 4, _UndefinedStandardNameSpace = 5 };

enum EYesNo { Yes = 1, No = 0, _UndefinedYesNo = 2 };

/// How a converter's formula runs over its range.
enum ESlope { Increasing = 0, Decreasing = 1, Varying = 2, Automatic = 3, _UndefinedESlope = 4 };

enum EXMLValidation {
    xvLoad = 0x00000001,
    xvCycles = 0x00000002,
    xvSFNC = 0x00000004,
    xvDefault = 0x00000000,
    xvAll = static_cast<int>(0xffffffff),
    _UndefinedEXMLValidation = 0x8000000
};

/// How a floating-point number is written as text.
enum EDisplayNotation { fnAutomatic = 0, fnFixed = 1, fnScientific = 2, _UndefinedEDisplayNotation = 3 };

/// The interface that says best what a node is.
enum EInterfaceType {
    intfIValue = 0,
    intfIBase = 1,
    intfIInteger = 2,
    intfIBoolean = 3,
    intfICommand = 4,
    intfIFloat = 5,
    intfIString = 6,
    intfIRegister = 7,
    intfICategory = 8,
    intfIEnumeration = 9,
    intfIEnumEntry = 10,
    intfIPort = 11
};

/// The relations between nodes that INode::GetChildren can list.
enum ELinkType {
    ctParentNodes = 0,
    ctReadingChildren = 1,
    ctWritingChildren = 2,
    ctInvalidatingChildren = 3,
    ctDependingNodes = 4,
    ctTerminalNodes = 5,
    ctValueChangingChildren = 6
};

enum EIncMode { noIncrement = 0, fixedIncrement = 1, listIncrement = 2 };

enum EInputDirection { idFrom = 0, idTo = 1, idNone = 2 };

enum EGenApiSchemaVersion { v1_0 = 1, v1_1 = 2, _Undefined = -1 };

/// When a callback runs: while the lock of the node map is held by the call that caused it, or after it was given back.
enum ECallbackType { cbPostInsideLock = 1, cbPostOutsideLock = 2 };

/// What a description is delivered as.
enum EContentType_t { ContentType_Xml = 0, ContentType_ZippedXml = 1 };

enum ECacheUsage_t {
    CacheUsage_Automatic = 0,
    CacheUsage_ForceWrite = 1,
    CacheUsage_ForceRead = 2,
    CacheUsage_Ignore = 3
};

/// Questions about an access mode.
inline bool IsReadable(EAccessMode mode) {
    return mode == RO || mode == RW;
}
inline bool IsWritable(EAccessMode mode) {
    return mode == WO || mode == RW;
}
inline bool IsImplemented(EAccessMode mode) {
    return mode != NI;
}
inline bool IsAvailable(EAccessMode mode) {
    return mode != NI && mode != NA;
}

inline bool IsCacheable(ECachingMode mode) {
    return mode != NoCache;
}

/// Whether a feature of visibility @p visibility is shown to a user who sees up to @p maxVisibility.
inline bool IsVisible(EVisibility visibility, EVisibility maxVisibility) {
    return visibility <= maxVisibility;
}

/// What remains possible where two access modes apply at once; a read-only thing behind a write-only one is NA.
inline EAccessMode Combine(EAccessMode a, EAccessMode b) {
    if (a == NI || b == NI) {
        return NI;
    }
    if (a == NA || b == NA || (a == RO && b == WO) || (a == WO && b == RO)) {
        return NA;
    }
    if (a == WO || b == WO) {
        return WO;
    }
    return a == RO || b == RO ? RO : RW;
}

/// The more restrictive of two visibilities.
inline EVisibility Combine(EVisibility a, EVisibility b) {
    return a > b ? a : b;
}

/// The caching mode of a value that is computed from two.
inline ECachingMode Combine(ECachingMode a, ECachingMode b) {
    if (a == NoCache || b == NoCache) {
        return NoCache;
    }
    return a == WriteAround || b == WriteAround ? WriteAround : WriteThrough;
}

} // namespace GenApi
