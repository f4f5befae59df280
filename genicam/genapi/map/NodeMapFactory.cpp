// SPDX-License-Identifier: Apache-2.0
#include <GenApi/NodeMapFactory.h>

#include "genicam/genapi/map/NodeMap.h"
#include "genicam/genapi/model/ModelMerge.h"
#include "genicam/genapi/xml/Loader.h"
#include "genicam/genapi/xml/ReadFile.h"
#include "genicam/genapi/xml/XmlWriter.h"

#include <Base/GCException.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace GenApi {

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

    explicit CNodeMapFactoryImpl(ModelPtr model) : m_model(std::move(model)) {}

    ModelPtr Load() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (!m_model) {
            m_model = LoadOnce();
            m_injections.clear();
            m_part.reset();
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
        if (!m_model && !m_part) {
            m_part = ReadSource(LoadPart); // later maps need it
        }
        std::string().swap(m_text);
        m_memory = {};
        m_isReleased = true;
    }
    bool IsReleased() const {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_isReleased;
    }
    bool IsEmpty() const {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_source == Source::None && !m_model && m_injections.empty();
    }

    static void Inject(CNodeMapFactoryImpl& target, const std::shared_ptr<CNodeMapFactoryImpl>& injection) {
        static std::mutex mutex; // two factories that inject each other at the same time
        const std::lock_guard<std::mutex> guard(mutex);
        if (injection->Reaches(target)) {
            throw INVALID_ARGUMENT_EXCEPTION("Cannot merge a camera description into itself.");
        }
        const std::lock_guard<std::mutex> targetGuard(target.m_mutex);
        if (target.m_model) {
            throw LOGICAL_ERROR_EXCEPTION("Cannot merge into a camera description that is loaded already.");
        }
        target.m_injections.push_back(injection);
    }

private:
    using Loader = ModelPtr (*)(std::string_view, const LoadOptions&);

    bool Reaches(const CNodeMapFactoryImpl& other) const {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return this == &other || std::any_of(m_injections.begin(), m_injections.end(),
                                             [&other](const auto& injection) { return injection->Reaches(other); });
    }

    /// Own part first, then those of the injections, each with its own.
    void CollectParts(std::vector<ModelPtr>& parts) const {
        if (m_model || m_part) {
            parts.push_back(m_model ? m_model : m_part);
        } else if (m_source != Source::None) {
            parts.push_back(ReadSource(LoadPart));
        }
        for (const auto& injection : m_injections) {
            const std::lock_guard<std::mutex> guard(injection->m_mutex);
            injection->CollectParts(parts);
        }
    }

    ModelPtr LoadOnce() const {
        if (m_injections.empty() && !m_part) {
            return ReadSource(LoadModel);
        }
        std::vector<ModelPtr> parts;
        CollectParts(parts);
        if (parts.empty()) {
            throw RUNTIME_EXCEPTION("Cannot create a node map without a camera description.");
        }
        return MergeModels(parts);
    }

    ModelPtr ReadSource(Loader load) const {
        if (m_cacheUsage == CacheUsage_ForceRead) {
            throw RUNTIME_EXCEPTION("Cannot read the camera description from a cache: there is none.");
        }
        switch (m_source) {
        case Source::File:
            return ReadFileSource(load);
        case Source::Memory:
            return load(m_memory, m_options);
        case Source::Text:
            return load(m_text, m_options);
        case Source::None:
            break;
        }
        throw RUNTIME_EXCEPTION("Cannot create a node map without a camera description.");
    }

    ModelPtr ReadFileSource(Loader load) const {
        const std::string bytes = ReadFile(m_text);
        try {
            return load(bytes, m_options);
        } catch (const GenICam::RuntimeException& failure) {
            throw RUNTIME_EXCEPTION("In file '" + m_text + "': " + failure.GetDescription());
        }
    }

    mutable std::mutex m_mutex;
    const Source m_source = Source::None;
    std::string m_text;        // the file's name, or the description
    std::string_view m_memory; // the caller's
    const ECacheUsage_t m_cacheUsage = CacheUsage_Automatic;
    LoadOptions m_options;
    std::vector<std::shared_ptr<CNodeMapFactoryImpl>> m_injections; // until it is loaded; never in a circle
    ModelPtr m_part;                                                // what the source said, if it is released earlier
    ModelPtr m_model;
    bool m_isReleased = false;
};

CNodeMapFactory::CNodeMapFactory(std::shared_ptr<CNodeMapFactoryImpl> impl) : m_impl(std::move(impl)) {}
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

void CNodeMapFactory::AddInjectionData(CNodeMapFactory& Injection) {
    CNodeMapFactoryImpl::Inject(*m_impl, Injection.m_impl);
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

CNodeMapFactory CNodeMapFactory::ExtractSubtree(const gcstring& SubTreeRootNodeName, bool RenameToRoot) {
    const ModelPtr model = m_impl->Load();
    const NodeIndex root = model->Find(SubTreeRootNodeName.view());
    if (root == kNoNode) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot extract node '" + std::string(SubTreeRootNodeName.view()) +
                                         "' of the camera description: there is none of this name.");
    }
    return CNodeMapFactory(std::make_shared<CNodeMapFactoryImpl>(ExtractModel(*model, root, RenameToRoot)));
}

bool CNodeMapFactory::IsEmpty() const {
    return m_impl->IsEmpty();
}

gcstring CNodeMapFactory::ToString() {
    const ModelPtr model = m_impl->Load();
    const DeviceInformation& device = model->Device();
    return gcstring(device.vendorName + " " + device.modelName + " " + std::to_string(device.major) + "." +
                    std::to_string(device.minor) + "." + std::to_string(device.subMinor) + ", " +
                    std::to_string(model->NodeCount()) + " nodes");
}

gcstring CNodeMapFactory::ToXml() {
    return gcstring(WriteXml(*m_impl->Load()));
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
