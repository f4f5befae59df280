#include <GenApi/NodeMapFactory.h>

#include "genicam/genapi/map/NodeMap.h"
#include "genicam/genapi/xml/Loader.h"

#include <Base/GCException.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace GenApi {

namespace {

constexpr std::size_t maxFileBytes = std::size_t(64) << 20;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

std::string ReadFile(const std::string& path) {
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        throw RUNTIME_EXCEPTION("Cannot open the camera description '%s': %s.", path.c_str(), std::strerror(errno));
    }
    std::string text;
    char block[65536];
    for (std::size_t count; (count = std::fread(block, 1, sizeof(block), file.get())) != 0;) {
        if (text.size() + count > maxFileBytes) {
            throw RUNTIME_EXCEPTION("Cannot load the camera description '%s': it has more than %zu bytes.",
                                    path.c_str(), maxFileBytes);
        }
        text.append(block, count);
    }
    if (std::ferror(file.get()) != 0) {
        throw RUNTIME_EXCEPTION("Cannot read the camera description '%s'.", path.c_str());
    }
    return text;
}

} // namespace

/// The body that copies of a factory share: the source until it is released, and the model once it is loaded.
/// Threads: any; its mutex guards all.
class CNodeMapFactoryImpl {
public:
    enum class Source { None, File, Memory, Text };

    CNodeMapFactoryImpl() = default;
    CNodeMapFactoryImpl(Source source, std::string text, std::string_view memory, ECacheUsage_t cacheUsage,
                        bool suppressStrings)
        : m_source(source), m_text(std::move(text)), m_memory(memory), m_cacheUsage(cacheUsage) {
        m_options.suppressStrings = suppressStrings;
    }

    ModelPtr Load() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (!m_model) {
            m_model = LoadOnce();
        }
        return m_model;
    }
    bool IsLoaded() const {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_model != nullptr;
    }
    void Release() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (m_source == Source::None) {
            return;
        }
        if (!m_model) {
            m_model = LoadOnce(); // later maps need it
        }
        std::string().swap(m_text);
        m_memory = {};
        m_isReleased = true;
    }
    bool IsReleased() const {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_isReleased;
    }
    bool IsEmpty() const noexcept { return m_source == Source::None; }

private:
    ModelPtr LoadOnce() const {
        if (m_cacheUsage == CacheUsage_ForceRead) {
            throw RUNTIME_EXCEPTION("Cannot read the camera description from a cache: there is none.");
        }
        switch (m_source) {
        case Source::File:
            return LoadModel(ReadFile(m_text), m_options);
        case Source::Memory:
            return LoadModel(m_memory, m_options);
        case Source::Text:
            return LoadModel(m_text, m_options);
        case Source::None:
            break;
        }
        throw RUNTIME_EXCEPTION("Cannot create a node map without a camera description.");
    }

    mutable std::mutex m_mutex;
    const Source m_source = Source::None;
    std::string m_text;        // the file's name, or the description
    std::string_view m_memory; // the caller's
    const ECacheUsage_t m_cacheUsage = CacheUsage_Automatic;
    LoadOptions m_options;
    ModelPtr m_model;
    bool m_isReleased = false;
};

CNodeMapFactory::CNodeMapFactory() : m_impl(std::make_shared<CNodeMapFactoryImpl>()) {}

// What a description is packed in is told by its first bytes, whatever the caller says.
CNodeMapFactory::CNodeMapFactory(EContentType_t, const gcstring& FileName, ECacheUsage_t CacheUsage,
                                 bool SuppressStringsOnLoad)
    : m_impl(std::make_shared<CNodeMapFactoryImpl>(CNodeMapFactoryImpl::Source::File, std::string(FileName.view()),
                                                   std::string_view(), CacheUsage, SuppressStringsOnLoad)) {}

CNodeMapFactory::CNodeMapFactory(EContentType_t, const void* pData, size_t DataSize, ECacheUsage_t CacheUsage,
                                 bool SuppressStringsOnLoad) {
    if (pData == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot read a camera description from a null pointer.");
    }
    m_impl = std::make_shared<CNodeMapFactoryImpl>(CNodeMapFactoryImpl::Source::Memory, std::string(),
                                                   std::string_view(static_cast<const char*>(pData), DataSize),
                                                   CacheUsage, SuppressStringsOnLoad);
}

CNodeMapFactory::CNodeMapFactory(const gcstring& XmlData, ECacheUsage_t CacheUsage, bool SuppressStringsOnLoad)
    : m_impl(std::make_shared<CNodeMapFactoryImpl>(CNodeMapFactoryImpl::Source::Text, std::string(XmlData.view()),
                                                   std::string_view(), CacheUsage, SuppressStringsOnLoad)) {}

CNodeMapFactory::CNodeMapFactory(const CNodeMapFactory& Other) = default;
CNodeMapFactory& CNodeMapFactory::operator=(const CNodeMapFactory& Other) = default;
CNodeMapFactory::~CNodeMapFactory() = default;

INodeMap* CNodeMapFactory::CreateNodeMap(const gcstring& DeviceName, bool ReleaseCameraDescriptionFileData) {
    INodeMap* const map = new NodeMap(m_impl->Load(), nullptr, DeviceName);
    if (ReleaseCameraDescriptionFileData) {
        m_impl->Release();
    }
    return map;
}

INodeMap* CNodeMapFactory::CreateNodeMap(CLock& UserProvidedLock, const gcstring& DeviceName,
                                         bool ReleaseCameraDescriptionFileData) {
    INodeMap* const map = new NodeMap(m_impl->Load(), &UserProvidedLock, DeviceName);
    if (ReleaseCameraDescriptionFileData) {
        m_impl->Release();
    }
    return map;
}

INodeMap* CNodeMapFactory::CreateEmptyNodeMap() {
    return new NodeMap(EmptyModel(), nullptr, "Device");
}

void CNodeMapFactory::AddInjectionData(CNodeMapFactory&) {
    throw RUNTIME_EXCEPTION("Merging camera descriptions is not supported yet.");
}

void CNodeMapFactory::LoadAndInject() {
    m_impl->Load();
}

bool CNodeMapFactory::IsLoaded() const {
    return m_impl->IsLoaded();
}

void CNodeMapFactory::Preprocess() {
    m_impl->Load();
}

bool CNodeMapFactory::IsPreprocessed() const {
    return m_impl->IsLoaded();
}

void CNodeMapFactory::ReleaseCameraDescriptionFileData() {
    m_impl->Release();
}

bool CNodeMapFactory::IsCameraDescriptionFileDataReleased() const {
    return m_impl->IsReleased();
}

CNodeMapFactory CNodeMapFactory::ExtractSubtree(const gcstring&, bool) {
    throw RUNTIME_EXCEPTION("Extracting a part of a camera description is not supported yet.");
}

bool CNodeMapFactory::IsEmpty() const {
    return m_impl->IsEmpty();
}

gcstring CNodeMapFactory::ToString() {
    const DeviceInformation& device = m_impl->Load()->Device();
    return gcstring(device.vendorName + " " + device.modelName);
}

gcstring CNodeMapFactory::ToXml() {
    throw RUNTIME_EXCEPTION("Writing a camera description is not supported yet.");
}

NodeStatistics_t CNodeMapFactory::GetNodeStatistics() {
    const ModelPtr model = m_impl->Load();
    return {model->NodeCount(), model->PropertyCount(), model->ReferenceCount(), model->TextCount()};
}

void CNodeMapFactory::GetSupportedSchemaVersions(gcstring_vector& SchemaVersions) {
    SchemaVersions.clear();
    SchemaVersions.push_back("1.0");
    SchemaVersions.push_back("1.1");
}

void CNodeMapFactory::ClearCache() {} // nothing is cached on disk

} // namespace GenApi
