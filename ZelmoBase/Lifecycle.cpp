// SPDX-License-Identifier: Apache-2.0
#include <zelmo/Lifecycle.h>

#include "ZelmoBase/binding/ConfigFileRegistryInstance.h"
#include "ZelmoBase/core/GenICamCache.h"
#include "ZelmoBase/core/Mutex.h"
#include "ZelmoBase/core/OsDescription.h"
#include "ZelmoBase/transport/TlFactoryInstance.h"
#include <zelmo/Log.h>
#include <zelmo/NodeMapTools.h>
#include <zelmo/ZelmoSettings.h>

#include <Log/CLog.h>

#include <cstdint>
#include <cstdlib>

namespace Zelmo {
namespace {

// Both from the root CMakeLists.txt: major, minor, subminor and build.
constexpr unsigned int kVersionNumbers[] = {ZELMO_VERSION_NUMBERS};
constexpr char kVersion[] = ZELMO_VERSION_TEXT;

CRecursiveMutex g_initLock; // held during every step of start and stop; outside of the factory's lock
std::int32_t g_initCount ZELMO_GUARDED_BY(g_initLock) = 0;
bool g_isLoggingStarted ZELMO_GUARDED_BY(g_initLock) = false; // by us, and not shut down since
// A step of start or stop is running: what it calls may call back, which then only counts.
bool g_isInSteps ZELMO_GUARDED_BY(g_initLock) = false;

CRecursiveMutex g_flagsLock;
std::int64_t g_flags ZELMO_GUARDED_BY(g_flagsLock) = 0;

unsigned long catId() {
    static const unsigned long kId = hxlog::LogGetCatID("zelmo.base");
    return kId;
}

bool HasInternalFlag(long mask) {
    CLockGuard guard(g_flagsLock);
    return (g_flags & mask) != 0;
}

void AddFlagsFromEnvironment() {
    if (const char* text = std::getenv("ZELMOIF")) {
        const long flags = std::atol(text);
        if (flags != 0) {
            AddInternalFlags(flags);
        }
    }
}

void StartLogging() ZELMO_REQUIRES(g_initLock) {
    if (!g_isLoggingStarted && !HasInternalFlag(InternalFlag_ForeignLogging)) {
        GenICam::CLog::Initialize();
        g_isLoggingStarted = true;
    }
    hxlog::LogEnable(true);
}

void StopLogging() ZELMO_REQUIRES(g_initLock) {
    hxlog::LogEnable(false);
    GenICam::CLog::ShutDown();
    g_isLoggingStarted = false;
}

void Start() ZELMO_REQUIRES(g_initLock) {
    AddFlagsFromEnvironment();
    StartLogging();
    hxlog::LogTrace(catId(), hxlog::LogLevel_Notice, "Initializing Zelmo version %s (%s) on %s.", kVersion, "64 bit",
                    DescribeOperatingSystem().c_str());
    SetUpGenICamCache();
    CZelmoSettings::UpdateSettings();
    CTlFactoryInstance::Create();
}

/// What follows the factory's end.
void Stop(bool shutDownLogging) ZELMO_REQUIRES(g_initLock) {
    CConfigFileRegistryInstance::Destroy();
    CZelmoSettings::ClearSettings();
    ClearInternalFlags(InternalFlag_UntilTerminate);
    hxlog::LogTrace(catId(), hxlog::LogLevel_Notice, "Terminated Zelmo for Linux.");
    if (shutDownLogging && !HasInternalFlag(InternalFlag_ForeignLogging)) {
        StopLogging();
    }
}

} // namespace

void ZelmoInitialize() noexcept {
    CLockGuard guard(g_initLock);
    if (++g_initCount > 1 || g_isInSteps) {
        return;
    }
    g_isInSteps = true;
    try {
        Start();
    } catch (...) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Critical, "Exception during initialisation in ZelmoInitialize()!");
    }
    g_isInSteps = false;
}

void ZelmoTerminate(bool shutDownLogging) noexcept {
    CLockGuard guard(g_initLock);
    if (g_initCount == 0) {
        hxlog::LogTrace(catId(), hxlog::LogLevel_Info, "ZelmoTerminate called after zelmo has already terminated");
        return;
    }
    if (--g_initCount > 0 || g_isInSteps) {
        return;
    }
    g_isInSteps = true;
    CTlFactoryInstance::Destroy(); // its destructors do not throw; if they did, the process would end
    try {
        Stop(shutDownLogging);
    } catch (...) { // dropped: there is nobody left to tell
    }
    g_isInSteps = false;
}

void AddInternalFlags(long flags) {
    CLockGuard guard(g_flagsLock);
    g_flags |= flags;
}

void ClearInternalFlags(long flags) {
    CLockGuard guard(g_flagsLock);
    g_flags &= ~std::int64_t{flags};
}

} // namespace Zelmo

void GetZelmoVersion(unsigned int* major, unsigned int* minor, unsigned int* subminor, unsigned int* build) {
    const auto store = [](unsigned int* target, unsigned int value) {
        if (target != nullptr) {
            *target = value;
        }
    };
    store(major, Zelmo::kVersionNumbers[0]);
    store(minor, Zelmo::kVersionNumbers[1]);
    store(subminor, Zelmo::kVersionNumbers[2]);
    store(build, Zelmo::kVersionNumbers[3]);
}

const char* GetZelmoVersionString() {
    return Zelmo::kVersion;
}
