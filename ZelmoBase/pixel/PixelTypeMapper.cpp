// SPDX-License-Identifier: Apache-2.0
#include <zelmo/PixelTypeMapper.h>

#include <GenApi/IEnumeration.h>
#include <GenApi/Pointer.h>

#include <Base/GCException.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include <strings.h>

namespace Zelmo {
namespace {

struct NameRow {
    EPixelType pixelType;
    const char* name;
};

// Where a type has several names, the first one wins.
constexpr NameRow kNames[] = {
    // SFNC 2
    {PixelType_Mono1Packed, "Mono1p"},
    {PixelType_Mono2Packed, "Mono2p"},
    {PixelType_Mono4Packed, "Mono4p"},
    {PixelType_Mono8signed, "Mono8s"},
    {PixelType_Mono10p, "Mono10p"},
    {PixelType_Mono12p, "Mono12p"},
    {PixelType_BayerGB10p, "BayerGB10p"},
    {PixelType_BayerGR10p, "BayerGR10p"},
    {PixelType_BayerRG10p, "BayerRG10p"},
    {PixelType_BayerBG10p, "BayerBG10p"},
    {PixelType_BayerGB12p, "BayerGB12p"},
    {PixelType_BayerGR12p, "BayerGR12p"},
    {PixelType_BayerRG12p, "BayerRG12p"},
    {PixelType_BayerBG12p, "BayerBG12p"},
    {PixelType_BGR8Packed, "BGR8"},
    {PixelType_BGR10Packed, "BGR10"},
    {PixelType_BGR12Packed, "BGR12"},
    {PixelType_BGRA8Packed, "BGRa8"},
    {PixelType_RGB8Packed, "RGB8"},
    {PixelType_RGB10Packed, "RGB10"},
    {PixelType_RGB12Packed, "RGB12"},
    {PixelType_RGB16Packed, "RGB16"},
    {PixelType_RGBA8Packed, "RGBa8"},
    {PixelType_YUV411Packed, "YCbCr411_8"},
    {PixelType_YUV444Packed, "YCbCr8"},
    {PixelType_YUV422_YUYV_Packed, "YCbCr422_8"},
    {PixelType_YCbCr422_8_YY_CbCr_Semiplanar, "YCbCr422_8_YY_CbCr_Semiplanar"},
    {PixelType_YCbCr420_8_YY_CbCr_Semiplanar, "YCbCr420_8_YY_CbCr_Semiplanar"},
    {PixelType_RGB8Planar, "RGB8_Planar"},
    {PixelType_RGB10Planar, "RGB10_Planar"},
    {PixelType_RGB12Planar, "RGB12_Planar"},
    {PixelType_RGB16Planar, "RGB16_Planar"},
    // SFNC 1
    {PixelType_Mono1Packed, "Mono1Packed"},
    {PixelType_Mono2Packed, "Mono2Packed"},
    {PixelType_Mono4Packed, "Mono4Packed"},
    {PixelType_Mono8, "Mono8"},
    {PixelType_Mono8signed, "Mono8signed"},
    {PixelType_Mono10, "Mono10"},
    {PixelType_Mono10Packed, "Mono10Packed"},
    {PixelType_Mono12, "Mono12"},
    {PixelType_Mono12Packed, "Mono12Packed"},
    {PixelType_Mono16, "Mono16"},
    {PixelType_BayerGR8, "BayerGR8"},
    {PixelType_BayerRG8, "BayerRG8"},
    {PixelType_BayerGB8, "BayerGB8"},
    {PixelType_BayerBG8, "BayerBG8"},
    {PixelType_BayerGR10, "BayerGR10"},
    {PixelType_BayerRG10, "BayerRG10"},
    {PixelType_BayerGB10, "BayerGB10"},
    {PixelType_BayerBG10, "BayerBG10"},
    {PixelType_BayerGR12, "BayerGR12"},
    {PixelType_BayerRG12, "BayerRG12"},
    {PixelType_BayerGB12, "BayerGB12"},
    {PixelType_BayerBG12, "BayerBG12"},
    {PixelType_RGB8Packed, "RGB8Packed"},
    {PixelType_BGR8Packed, "BGR8Packed"},
    {PixelType_RGBA8Packed, "RGBA8Packed"},
    {PixelType_BGRA8Packed, "BGRA8Packed"},
    {PixelType_RGB10Packed, "RGB10Packed"},
    {PixelType_BGR10Packed, "BGR10Packed"},
    {PixelType_RGB12Packed, "RGB12Packed"},
    {PixelType_BGR12Packed, "BGR12Packed"},
    {PixelType_RGB16Packed, "RGB16Packed"},
    {PixelType_BGR10V1Packed, "BGR10V1Packed"},
    {PixelType_BGR10V2Packed, "BGR10V2Packed"},
    {PixelType_YUV411Packed, "YUV411Packed"},
    {PixelType_YUV422Packed, "YUV422Packed"},
    {PixelType_YUV444Packed, "YUV444Packed"},
    {PixelType_RGB8Planar, "RGB8Planar"},
    {PixelType_RGB10Planar, "RGB10Planar"},
    {PixelType_RGB12Planar, "RGB12Planar"},
    {PixelType_RGB16Planar, "RGB16Planar"},
    {PixelType_YUV422_YUYV_Packed, "YUV422_YUYV_Packed"},
    {PixelType_BayerGB12Packed, "BayerGB12Packed"},
    {PixelType_BayerGR12Packed, "BayerGR12Packed"},
    {PixelType_BayerRG12Packed, "BayerRG12Packed"},
    {PixelType_BayerBG12Packed, "BayerBG12Packed"},
    {PixelType_BayerGR16, "BayerGR16"},
    {PixelType_BayerRG16, "BayerRG16"},
    {PixelType_BayerGB16, "BayerGB16"},
    {PixelType_BayerBG16, "BayerBG16"},
    {PixelType_RGB12V1Packed, "RGB12V1Packed"},
    {PixelType_YUV422_YUYV_Packed, "YUV422_8"},
    {PixelType_Double, "Double"},
};
constexpr std::ptrdiff_t kSfnc1Begin = 32;
static_assert(std::size(kNames) == 84 && kNames[kSfnc1Begin].pixelType == PixelType_Mono1Packed,
              "both sections begin with the same type");

constexpr std::size_t kUsualFormats = 5; // room in the cache from the start

} // namespace

/// The node, and the numbers that it was asked for.
class CPixelTypeMapperImpl {
public:
    explicit CPixelTypeMapperImpl(GenApi::IBase* node) : m_node(node) { m_cache.reserve(kUsualFormats); }
    virtual ~CPixelTypeMapperImpl() = default;

    bool IsValid() const noexcept { return m_node.IsValid(); }
    EPixelType GetPixelType(std::int64_t nodeValue);

private:
    struct Known {
        EPixelType pixelType;
        std::int64_t nodeValue;
    };

    EPixelType AskNode(std::int64_t nodeValue);

    GenApi::CEnumerationPtr m_node;
    std::vector<Known> m_cache;
};

EPixelType CPixelTypeMapperImpl::GetPixelType(std::int64_t nodeValue) {
    const auto known = std::find_if(m_cache.begin(), m_cache.end(),
                                    [nodeValue](const Known& entry) { return entry.nodeValue == nodeValue; });
    if (known != m_cache.end()) {
        return known->pixelType;
    }
    return IsValid() ? AskNode(nodeValue) : PixelType_Undefined;
}

EPixelType CPixelTypeMapperImpl::AskNode(std::int64_t nodeValue) {
    GenApi::IEnumEntry* const entry = m_node->GetEntry(nodeValue);
    if (entry == nullptr) {
        return PixelType_Undefined;
    }
    const GenICam::gcstring name = entry->GetSymbolic();
    if (name.empty()) {
        return PixelType_Undefined;
    }
    const EPixelType pixelType = CPixelTypeMapper::GetZelmoPixelTypeByName(name.c_str());
    m_cache.push_back({pixelType, nodeValue}); // also an unknown name, so that it is not asked for again
    return pixelType;
}

CPixelTypeMapper::CPixelTypeMapper() noexcept = default;

CPixelTypeMapper::CPixelTypeMapper(GenApi::IEnumeration* pEnum) {
    SetPixelFormatEnumNode(pEnum);
}

CPixelTypeMapper::~CPixelTypeMapper() = default;

void CPixelTypeMapper::SetPixelFormatEnumNode(GenApi::IEnumeration* pEnum) {
    m_impl.reset();
    if (pEnum != nullptr) {
        m_impl = std::make_unique<CPixelTypeMapperImpl>(pEnum);
    }
}

bool CPixelTypeMapper::IsValid() const noexcept {
    return m_impl != nullptr && m_impl->IsValid();
}

EPixelType CPixelTypeMapper::GetZelmoPixelTypeFromNodeValue(std::int64_t nodeValue) const {
    if (m_impl == nullptr) {
        throw RUNTIME_EXCEPTION("SetPixeltypeEnumNode not called."); // applications know the text, so it stays
    }
    return m_impl->GetPixelType(nodeValue);
}

EPixelType CPixelTypeMapper::GetZelmoPixelTypeByName(const char* name) noexcept {
    const auto isNamed = [name](const NameRow& row) { return strcasecmp(row.name, name) == 0; };
    const auto* const row =
        name != nullptr ? std::find_if(std::begin(kNames), std::end(kNames), isNamed) : std::end(kNames);
    return row != std::end(kNames) ? row->pixelType : PixelType_Undefined;
}

const char* CPixelTypeMapper::GetNameByPixelType(EPixelType pixelType, SFNCVersion sfncVersion) noexcept {
    if (sfncVersion != SFNCVersion_1 && sfncVersion != SFNCVersion_2) {
        return "";
    }
    const auto* const first = std::begin(kNames) + (sfncVersion == SFNCVersion_1 ? kSfnc1Begin : 0);
    const auto* const row =
        std::find_if(first, std::end(kNames), [pixelType](const NameRow& each) { return each.pixelType == pixelType; });
    return row != std::end(kNames) ? row->name : "";
}

} // namespace Zelmo
