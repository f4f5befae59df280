// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

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
/// map; hold its lock.
class DeviceSets {
public:
    DeviceSets(INodeMap& nodeMap, const SetFeatures& features);
    ~DeviceSets(); ///< Restores; a failure is logged.
    DeviceSets(const DeviceSets&) = delete;
    DeviceSets& operator=(const DeviceSets&) = delete;

    bool IsPresent() const noexcept; ///< Whether the device has all these features.

    void Open();                     ///< Lets the sets be changed. @throws AccessException when the device does not.
    std::vector<std::string> List(); ///< Their names as text of the selector. Moves it.

    void Select(std::string_view set);
    void Load();          ///< Sets the device up as the selected set says; waits until that is done.
    bool IsFixed() const; ///< Whether the selected set can be loaded but not saved, as those of the factory.
    void Save();          ///< Keeps what the device now is in the selected set; waits until that is done.

    void Restore();

private:
    void Run(ICommand& command);

    INodeMap& m_nodeMap;
    IValue* m_selector;
    ICommand* m_load;
    ICommand* m_save;
    IValue* m_mode;
    std::optional<std::string> m_selectorFound; // empty until it may have moved
    std::optional<std::string> m_modeFound;
    bool m_isStuck = false; // after a time-out, since hundreds of sets would add up to hours
};

} // namespace GenApi
