// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/DeviceSets.h"

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/persistence/DeviceWatch.h"
#include "genicam/genapi/persistence/Failure.h"
#include "genicam/genapi/persistence/RunToEnd.h"
#include "genicam/genapi/persistence/Selectors.h"

#include <Base/GCException.h>

#include <GenApi/ICommand.h>

#include <utility>

namespace GenApi {

namespace {

template <class Interface>
Interface* Find(const INodeMap& nodeMap, const char* name) {
    auto* const feature = name != nullptr ? dynamic_cast<Interface*>(nodeMap.GetNode(name)) : nullptr;
    return IsImplemented(feature) ? feature : nullptr;
}

std::string TextOf(IValue& feature) {
    return std::string(feature.ToString().view());
}

/// Puts back a value if it was kept and is another now.
void PutBack(IValue& feature, std::optional<std::string>& found) {
    const auto value = std::exchange(found, std::nullopt);
    if (value && TextOf(feature) != *value) {
        feature.FromString(gcstring(std::string_view(*value)));
    }
}

} // namespace

DeviceSets::DeviceSets(INodeMap& nodeMap, const SetFeatures& features, std::chrono::milliseconds commandTimeout)
    : m_nodeMap(nodeMap), m_timeout(commandTimeout), m_selector(Find<IValue>(nodeMap, features.selector)),
      m_load(Find<ICommand>(nodeMap, features.load)), m_save(Find<ICommand>(nodeMap, features.save)),
      m_mode(Find<IValue>(nodeMap, features.mode)) {}

DeviceSets::~DeviceSets() {
    if (const auto failure = FailureOf([this] { Restore(); })) {
        LogLoadWarning("The selector of a device's sets could not be put back: " + *failure);
    }
}

bool DeviceSets::IsPresent() const noexcept {
    return m_selector != nullptr && m_load != nullptr && m_save != nullptr;
}

void DeviceSets::Open() {
    const AutoLock lock(m_nodeMap.GetLock());
    if (m_mode != nullptr && TextOf(*m_mode) != "On") {
        m_modeFound = TextOf(*m_mode);
        m_mode->FromString("On");
    }
    if (!SelectorValue(*m_selector).IsMovable()) {
        throw ACCESS_EXCEPTION("Feature '%s' cannot be read and written now.", NameOf(*m_selector).c_str());
    }
    m_selectorFound = TextOf(*m_selector);
}

std::vector<std::string> DeviceSets::List() {
    const AutoLock lock(m_nodeMap.GetLock());
    const SelectorValue selector(*m_selector);
    std::vector<std::string> names;
    for (const std::int64_t value : selector.ListValues()) {
        selector.Set(value, true);
        names.push_back(TextOf(*m_selector));
    }
    return names;
}

void DeviceSets::Select(std::string_view set) {
    if (TextOf(*m_selector) != set) {
        m_selector->FromString(gcstring(set));
    }
}

void DeviceSets::Begin(ICommand& command) {
    if (m_isStuck) {
        throw TIMEOUT_EXCEPTION("Not tried, as the device did not answer in time before.");
    }
    command.Execute();
}

void DeviceSets::Await(ICommand& command) {
    try {
        WaitForEnd(command, m_timeout);
    } catch (const GenICam::TimeoutException&) {
        m_isStuck = true;
        throw;
    }
}

bool DeviceSets::Load(std::string_view set) {
    {
        const AutoLock lock(m_nodeMap.GetLock());
        Select(set);
        if (IsFixed()) {
            return false;
        }
        Begin(*m_load);
    }
    Await(*m_load);
    m_nodeMap.InvalidateNodes(); // descriptions seldom tell all that this changes
    return true;
}

bool DeviceSets::IsFixed() const {
    return IsWritable(m_load) && !IsWritable(m_save);
}

void DeviceSets::Save(std::string_view set) {
    {
        const AutoLock lock(m_nodeMap.GetLock());
        Select(set);
        Begin(*m_save);
    }
    Await(*m_save);
}

bool DeviceSets::IsLost() const {
    return IsSilent(*m_selector);
}

void DeviceSets::Restore() {
    const AutoLock lock(m_nodeMap.GetLock());
    const auto failure = FailureOf([this] {
        if (m_selector != nullptr) {
            PutBack(*m_selector, m_selectorFound);
        }
    });
    if (m_mode != nullptr) {
        PutBack(*m_mode, m_modeFound);
    }
    if (failure) {
        throw RUNTIME_EXCEPTION(*failure);
    }
}

} // namespace GenApi
