// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

struct ICommand;

/// The features by which a device keeps settings in sets of its own.
struct SetFeatures {
    const char* selector;
    const char* load;
    const char* save;
    const char* mode; ///< Has to be "On" for all this; null: there is none.
};

constexpr SetFeatures kUserSets{"UserSetSelector", "UserSetLoad", "UserSetSave", nullptr};
constexpr SetFeatures kSequencerSets{"SequencerSetSelector", "SequencerSetLoad", "SequencerSetSave",
                                     "SequencerConfigurationMode"};

/// The sets of one kind. Puts back selector and mode, but not what Load() does to the other features. Borrows the node
/// map, whose lock it takes; so nobody moves the selector between a choice and the begin of its command, but others use
/// the device while the command runs.
class DeviceSets {
public:
    DeviceSets(INodeMap& nodeMap, const SetFeatures& features, std::chrono::milliseconds commandTimeout);
    ~DeviceSets(); ///< Restores; a failure is logged.
    DeviceSets(const DeviceSets&) = delete;
    DeviceSets& operator=(const DeviceSets&) = delete;

    bool IsPresent() const noexcept; ///< Whether the device has all these features.

    void Open();                     ///< Lets the sets be changed. @throws AccessException when the device does not.
    std::vector<std::string> List(); ///< Their names as text of the selector. Moves it.

    /// Sets the device up as a set says; waits until that is done. @return false, with nothing done, for a set that can
    /// be loaded but not saved, as those of the factory.
    bool Load(std::string_view set);
    void Save(std::string_view set); ///< Keeps what the device now is in a set; waits until that is done.
    bool IsLost() const;             ///< Whether the device, which let the sets be opened, does not answer any more.

    void Restore();

private:
    void Select(std::string_view set);
    bool IsFixed() const;
    void Begin(ICommand& command);
    void Await(ICommand& command);

    INodeMap& m_nodeMap;
    const std::chrono::milliseconds m_timeout;
    IValue* m_selector;
    ICommand* m_load;
    ICommand* m_save;
    IValue* m_mode;
    std::optional<std::string> m_selectorFound; // empty until it may have moved
    std::optional<std::string> m_modeFound;
    bool m_isStuck = false; // after a time-out, since hundreds of sets would add up to hours
};

} // namespace GenApi
