// SPDX-License-Identifier: Apache-2.0
#include <GenApi/Persistence.h>

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/persistence/BagText.h"
#include "genicam/genapi/persistence/DeviceSets.h"
#include "genicam/genapi/persistence/Failure.h"

#include <Base/GCException.h>
#include <Base/GCStringVector.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace GenApi {

namespace {

typedef std::vector<std::string> Errors; // "<bag>: <reason>"

constexpr const char* kAllName = "All";

std::string NameOf(const CFeatureBag& bag) {
    return std::string(bag.GetBagName().view());
}

/// What follows "<selector>=" in the name of a bag, nothing when it begins otherwise.
std::optional<std::string> SetOf(const CFeatureBag& bag, const SetFeatures& features) {
    const std::string name = NameOf(bag);
    const std::string begin = features.selector + std::string("=");
    return name.compare(0, begin.size(), begin) == 0 ? std::optional(name.substr(begin.size())) : std::nullopt;
}

/// Runs a step for a bag and keeps what goes wrong, also what the step itself collects.
void Try(Errors& errors, const std::string& bag, const std::function<void(gcstring_vector&)>& step) {
    gcstring_vector reasons;
    if (const auto failure = FailureOf([&] { step(reasons); })) {
        reasons.push_back(gcstring(std::string_view(*failure)));
    }
    for (const gcstring& reason : reasons) {
        errors.push_back(bag + ": " + reason.c_str());
    }
}

/// The device, and how long it may take for a command.
struct Device {
    INodeMap& nodeMap;
    unsigned int commandTimeoutMs;
};

/// Keeps the settings while sets are loaded, and puts them back.
class SettingsKeeper {
public:
    explicit SettingsKeeper(const Device& device) : m_device(device) {}
    ~SettingsKeeper() {
        Errors errors;
        if (const auto failure = FailureOf([&] { PutBack(errors); })) {
            errors.push_back(*failure);
        }
        for (const std::string& error : errors) {
            LogLoadWarning(error);
        }
    }
    SettingsKeeper(const SettingsKeeper&) = delete;
    SettingsKeeper& operator=(const SettingsKeeper&) = delete;

    /// What cannot be read cannot be put back either, and is reported. @throws what ends the storing.
    void Keep(Errors& errors) {
        gcstring_vector reasons;
        m_found.StoreToBag(&m_device.nodeMap, -1, nullptr, &reasons, m_device.commandTimeoutMs);
        m_isDue = true;
        for (const gcstring& reason : reasons) {
            errors.push_back(std::string("Keeping the settings: ") + reason.c_str());
        }
    }

    void PutBack(Errors& errors) {
        if (m_isDue) {
            m_isDue = false;
            Try(errors, "Putting back the settings", [this](gcstring_vector& reasons) {
                m_found.LoadFromBag(&m_device.nodeMap, false, &reasons, m_device.commandTimeoutMs);
            });
        }
    }

private:
    const Device m_device;
    CFeatureBag m_found;
    bool m_isDue = false;
};

DeviceSets SetsOf(const Device& device, const SetFeatures& features) {
    return DeviceSets(device.nodeMap, features, std::chrono::milliseconds(device.commandTimeoutMs));
}

/// Does something with the sets of one kind, and puts back what that changes.
void WithSets(const Device& device, const SetFeatures& features, Errors& errors,
              const std::function<void(DeviceSets&)>& action) {
    SettingsKeeper keeper(device);
    DeviceSets sets(SetsOf(device, features));
    keeper.Keep(errors);
    Try(errors, features.selector, [&](gcstring_vector&) {
        sets.Open();
        action(sets);
    });
    Try(errors, features.selector, [&](gcstring_vector&) { sets.Restore(); });
    keeper.PutBack(errors);
}

/// Stores what the device now is.
class BagWriter {
public:
    BagWriter(const Device& device, int maxEntries) : m_device(device), m_maxEntries(maxEntries) {}

    void StoreAll() {
        Try(errors, kAllName, [&](gcstring_vector& reasons) { Store(kAllName, reasons); });
    }

    void StoreSets(const SetFeatures& features) {
        if (SetsOf(m_device, features).IsPresent()) {
            WithSets(m_device, features, errors, [&](DeviceSets& sets) {
                for (const std::string& set : sets.List()) {
                    const std::size_t before = errors.size();
                    StoreSet(sets, set, features.selector + ("=" + set));
                    if (errors.size() > before && sets.IsLost()) {
                        break; // each further set would take a time-out
                    }
                }
            });
        }
    }

    std::vector<CFeatureBag> bags;
    Errors errors;

private:
    void StoreSet(DeviceSets& sets, const std::string& set, const std::string& name) {
        Try(errors, name, [&](gcstring_vector& reasons) {
            if (name.find_first_of("\t\r\n") != std::string::npos) {
                throw INVALID_ARGUMENT_EXCEPTION("The name of the set cannot stand in a line");
            }
            if (sets.Load(set)) {
                Store(name, reasons);
            }
        });
    }

    void Store(const std::string& name, gcstring_vector& reasons) {
        CFeatureBag bag;
        bag.SetBagName(name.c_str());
        bag.StoreToBag(&m_device.nodeMap, m_maxEntries, nullptr, &reasons, m_device.commandTimeoutMs);
        bags.push_back(std::move(bag));
    }

    const Device m_device;
    const int m_maxEntries;
};

/// Sets the device up as bags say.
class BagReader {
public:
    BagReader(const Device& device, const std::vector<CFeatureBag>& bags, bool verify)
        : m_device(device), m_bags(bags), m_verify(verify) {}

    void LoadSets(const SetFeatures& features) {
        const auto isOne = [&](const CFeatureBag& bag) { return SetOf(bag, features).has_value(); };
        if (std::none_of(m_bags.begin(), m_bags.end(), isOne)) {
            return;
        }
        if (!SetsOf(m_device, features).IsPresent()) {
            errors.push_back(std::string(features.selector) + ": The device has no such sets.");
            return;
        }
        WithSets(m_device, features, errors, [&](DeviceSets& sets) {
            for (const CFeatureBag& bag : m_bags) {
                const std::size_t before = errors.size();
                if (const auto set = SetOf(bag, features)) {
                    Try(errors, NameOf(bag), [&](gcstring_vector& reasons) { LoadSet(sets, *set, bag, reasons); });
                }
                if (errors.size() > before && sets.IsLost()) {
                    break;
                }
            }
        });
    }

    void LoadOthers() {
        for (const CFeatureBag& bag : m_bags) {
            if (bag.GetBagName() == kAllName) {
                Try(errors, kAllName, [&](gcstring_vector& reasons) { Load(bag, reasons); });
            } else if (!SetOf(bag, kUserSets) && !SetOf(bag, kSequencerSets)) {
                errors.push_back(NameOf(bag) + ": The bag is neither '" + kAllName + "' nor of a set of the device.");
            }
        }
    }

    Errors errors;

private:
    bool Load(const CFeatureBag& bag, gcstring_vector& reasons) {
        return bag.LoadFromBag(&m_device.nodeMap, m_verify, &reasons, m_device.commandTimeoutMs);
    }

    void LoadSet(DeviceSets& sets, const std::string& set, const CFeatureBag& bag, gcstring_vector& reasons) {
        if (Load(bag, reasons)) {
            sets.Save(set);
        } else {
            reasons.push_back("The set was not saved.");
        }
    }

    const Device m_device;
    const std::vector<CFeatureBag>& m_bags;
    bool m_verify;
};

} // namespace

int64_t CFeatureBagger::Bag(INodeMap* pNodeMap, bool BagDefault, bool BagUserSets, bool BagSequencerSets,
                            int MaxEntries, gcstring_vector* pErrorList, unsigned int CommandTimeoutMs) {
    BagWriter writer({RequireNodeMap(pNodeMap), CommandTimeoutMs}, MaxEntries);
    if (BagDefault) {
        writer.StoreAll();
    }
    if (BagSequencerSets) {
        writer.StoreSets(kSequencerSets); // before a user set may load others
    }
    if (BagUserSets) {
        writer.StoreSets(kUserSets);
    }
    ReportFailures(writer.errors, pErrorList, "stored");
    m_bags = std::move(writer.bags);
    return static_cast<int64_t>(m_bags.size());
}

bool CFeatureBagger::UnBag(INodeMap* pNodeMap, bool Verify, gcstring_vector* pErrorList,
                           unsigned int CommandTimeoutMs) const {
    BagReader reader({RequireNodeMap(pNodeMap), CommandTimeoutMs}, m_bags, Verify);
    reader.LoadSets(kUserSets);
    reader.LoadSets(kSequencerSets);
    reader.LoadOthers();
    return ReportFailures(reader.errors, pErrorList, "loaded");
}

const CFeatureBag& CFeatureBagger::at(std::size_t Index) const {
    if (Index >= m_bags.size()) {
        throw OUT_OF_RANGE_EXCEPTION("There is no feature bag %zu: the bagger has %zu.", Index, m_bags.size());
    }
    return m_bags[Index];
}

void CFeatureBagger::Read(std::istream& stream) {
    BagLines lines(stream);
    std::vector<CFeatureBag> bags;
    for (NamedBag& one : ParseBags(lines)) {
        CFeatureBag& bag = bags.emplace_back();
        bag.SetBagName(one.name);
        bag.m_entries = std::move(one.entries);
    }
    m_bags = std::move(bags);
}

std::istream& operator>>(std::istream& stream, CFeatureBagger& bagger) {
    bagger.Read(stream);
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const CFeatureBagger& bagger) {
    std::string text = FormatRemarks(kBaggerId, bagger.m_info);
    for (const CFeatureBag& bag : bagger) {
        text += "[" + NameOf(bag) + "]\n";
        text += bag.ToString().view();
    }
    return stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace GenApi
