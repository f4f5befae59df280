// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/PixelType.h>

#include <cstdint>
#include <memory>

namespace GenApi {
struct IEnumeration;
}

namespace Zelmo {

/// The generations of the Standard Features Naming Convention (SFNC), which differ in the names of pixel formats.
enum SFNCVersion : int {
    SFNCVersion_1 = 1,  ///< As in "Mono10Packed".
    SFNCVersion_2 = 200 ///< As in "Mono10p".
};

class CPixelTypeMapperImpl;

/// Translates between the three ways in which a pixel format is known: the EPixelType, the name of an enumeration
/// entry, and the number that one camera gives to this entry.
/// For the number it is bound to the camera's pixel format node, which is borrowed: the node map must live until
/// another node or null is set. Each number is asked of the node once and then known. Threads: one at a time for an
/// object, also in const operations; any for the static ones.
class ZELMO_API CPixelTypeMapper {
public:
    CPixelTypeMapper() noexcept;                            ///< Without a node.
    explicit CPixelTypeMapper(GenApi::IEnumeration* pEnum); ///< Like SetPixelFormatEnumNode.
    virtual ~CPixelTypeMapper();
    CPixelTypeMapper(const CPixelTypeMapper&) = delete;
    CPixelTypeMapper& operator=(const CPixelTypeMapper&) = delete;

    /// Binds to another node, or with null to none, and forgets all numbers.
    void SetPixelFormatEnumNode(GenApi::IEnumeration* pEnum);
    bool IsValid() const noexcept; ///< Whether it is bound to a node.

    /// The type of the entry with this number; PixelType_Undefined when there is no such entry or its name is unknown.
    /// @throws GenICam::RuntimeException without a node. What the node raises passes.
    EPixelType GetZelmoPixelTypeFromNodeValue(std::int64_t nodeValue) const;

    /// The type with this name, of either generation; letters may be of either case. PixelType_Undefined for an unknown
    /// name and for null.
    static EPixelType GetZelmoPixelTypeByName(const char* name) noexcept;

    /// The name of a type; never null. In SFNC 2 a type without a name of its own has that of SFNC 1, never the other
    /// way round. Empty when there is none, and for any other version.
    static const char* GetNameByPixelType(EPixelType pixelType, SFNCVersion sfncVersion) noexcept;

private:
    std::unique_ptr<CPixelTypeMapperImpl> m_impl; // null without a node
};

} // namespace Zelmo
