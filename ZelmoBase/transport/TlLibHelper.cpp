// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/TlLibHelper.h"

#include "ZelmoBase/core/ExpandEnvironment.h"
#include "ZelmoBase/core/Guarded.h"
#include "ZelmoBase/transport/LibraryFile.h"
#include "ZelmoBase/transport/TlFactoryLog.h"
#include <Base/GCException.h>

#include <dlfcn.h>

namespace Zelmo {
namespace {

std::string TakeDlError() {
    const char* const text = dlerror();
    return text ? text : "";
}

} // namespace

void CSharedLibrary::Open(std::string path) {
    if (ExpandEnvironment(path, ExpandDialect_LibraryPath) < 0) {
        m_lastError = "Failed to expand environment variables";
        return;
    }
    if (path.find('/') != std::string::npos) { // else the loader looks for the file
        if (const std::string damage = FindFileDamage(path); !damage.empty()) {
            m_lastError = path + ": " + damage; // as the loader words its errors
            return;
        }
    }
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    m_lastError = TakeDlError();
    if (handle) {
        Close();
        m_handle = handle;
    }
}

bool CSharedLibrary::Close() {
    if (!m_handle) {
        return false;
    }
    dlclose(m_handle);
    m_handle = nullptr;
    return true;
}

void* CSharedLibrary::GetSymbol(const char* name) {
    if (!m_handle) {
        return nullptr;
    }
    dlerror(); // an old error must not be taken for one of this look-up
    void* const symbol = dlsym(m_handle, name);
    m_lastError = TakeDlError();
    return symbol;
}

bool CTlLibHelper::Load(const String_t& path) {
    hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Notice, "Trying to load TL lib '%s'", path.c_str());
    m_path = path;
    m_library.Open(path.c_str());
    if (!m_library.IsOpen()) {
        hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Error, "Could not load TL lib '%s' : %s", path.c_str(),
                        m_library.GetLastError().c_str());
        return false;
    }
    m_getTlInfoListFunction = reinterpret_cast<GetTlInfoListFunction>(m_library.GetSymbol("GetTLInfoList"));
    m_createFunction = reinterpret_cast<CreateTlFunction>(m_library.GetSymbol("Create"));
    m_destroyFunction = reinterpret_cast<DestroyTlFunction>(m_library.GetSymbol("Destroy"));
    if (m_getTlInfoListFunction && m_createFunction && m_destroyFunction) {
        return true;
    }
    m_library.Close();
    hxlog::LogTrace(TlFactoryCatId(), hxlog::LogLevel_Warn,
                    "Could not find required exports in TL lib '%s'. Lib won't be used.", path.c_str());
    return false;
}

void CTlLibHelper::GetTlInfoList(TlInfoList& list, bool flag) {
    if (!m_getTlInfoListFunction) {
        throw LOGICAL_ERROR_EXCEPTION("Incomplete Transportlayer: missing Info function");
    }
    m_getTlInfoListFunction(list, flag);
}

ITransportLayer* CTlLibHelper::CreateTl(const CTlInfo& info) {
    if (!m_createFunction) {
        throw LOGICAL_ERROR_EXCEPTION("Incomplete Transportlayer: missing Create function");
    }
    return m_createFunction(info);
}

void CTlLibHelper::DestroyTl(ITransportLayer* tl) {
    if (!m_destroyFunction) {
        throw LOGICAL_ERROR_EXCEPTION("Incomplete Transportlayer: missing Destroy function");
    }
    try {
        m_destroyFunction(tl);
    } catch (...) {
        // Most callers cannot go on, and the process ends: this line says because of whom.
        RunLogged(
            TlFactoryCatId(), "Exception in Destroy of TL lib '%s': %s",
            "Exception in Destroy of TL lib '%s': Unknown exception", [] { throw; }, m_path.c_str());
        throw;
    }
}

} // namespace Zelmo
