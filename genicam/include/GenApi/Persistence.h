// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

#include <cstddef>
#include <iosfwd>
#include <vector>

namespace GenApi {

/// Takes the features of a device one by one, in the order in which they are to be set again.
struct GENICAM_API IPersistScript {
    virtual void SetInfo(const gcstring& Info) = 0; ///< A remark for people.
    virtual void PersistFeature(IValue& item) = 0;  ///< Adds the feature with its value now.

protected:
    ~IPersistScript() = default;
};

/// One place where a bag and a node map differ.
struct CBagDifference {
    gcstring Name;
    gcstring Selectors; ///< "GainSelector=Red": where the selectors stood; empty for a feature without.
    gcstring InBag;
    gcstring InNodeMap; ///< Empty when there is a Problem.
    gcstring Problem;   ///< Why the two could not be compared; empty when they could.
};

/// The settings of a device as lines of name and value, in the order in which they are to be set again.
/// As text: a first line with an identifier, then a line "<name><tab><value>" for each; lines that begin with # are
/// remarks. A value ends with its line. A text with line ends or zero bytes in it stands with `\n`, `\r`, `\0` and `\\`
/// in their place, and a line "#escaped" before it says so; all other values stand as they are, tabs and blanks
/// included. A number is written as the node shows it when that tells its exact value, otherwise with as many digits as
/// that takes.
/// Threads: one at a time. Storing, loading and comparing hold the lock of the node map while they go through the
/// features, so that nobody else moves the selectors; callbacks that fire meanwhile must not wait for other users of
/// the node map. They never hold it while they wait for a command of the device. When the device is lost in the middle,
/// the error of the feature at that point says so, and the others are not tried.
class GENICAM_API CFeatureBag : public IPersistScript {
public:
    struct CEntry {
        gcstring Name;
        gcstring Value;
        bool operator==(const CEntry& other) const { return Name == other.Name && Value == other.Value; }
    };

    CFeatureBag();
    CFeatureBag(const CFeatureBag&);
    CFeatureBag(CFeatureBag&&) noexcept;
    CFeatureBag& operator=(const CFeatureBag&);
    CFeatureBag& operator=(CFeatureBag&&) noexcept;
    virtual ~CFeatureBag();

    /// Replaces the content by the streamable features of @p pNodeMap that can be read and written, in the order of the
    /// description; of one that is selected, the values for all positions of its selectors, which are put back, also
    /// after a failure. The selectors' own values come last. Commands have no state and are left out.
    /// Where the device has them, DeviceFeaturePersistenceStart and -End are executed before and after, the latter also
    /// after a failure.
    /// @param MaxEntries     at most so many lines; -1: no limit
    /// @param pFeatureFilter names of the only features to store (and their selectors); null: all
    /// @param pErrorList     receives "<name>: <reason>", behind what it holds, for each feature that could not be
    ///                       stored and each of the commands that failed; without it that raises, and the content is as
    ///                       before
    /// @param CommandTimeoutMs how long to wait for each of the two commands; one that takes longer has failed
    /// @return the number of lines.
    /// @throws GenICam::InvalidArgumentException on null,
    /// @throws GenICam::RuntimeException         when features could not be stored, without an error list.
    int64_t StoreToBag(INodeMap* pNodeMap, const int MaxEntries = -1, gcstring_vector* pFeatureFilter = nullptr,
                       gcstring_vector* pErrorList = nullptr, unsigned int CommandTimeoutMs = 5000);

    /// Sets all features as the lines say, in their order. What fails is tried twice more when all lines are through,
    /// as features depend on each other. A feature is not written while one of its selectors could not be set. Where
    /// the device has them, DeviceRegistersStreamingStart and -End are executed before and after, the latter also after
    /// a failure; the nodes then check access but no limits, as the device checks them all together at the end.
    /// Invalidates all nodes at last.
    /// @param Verify     read all values back from the device afterwards, past caches, and compare; floating-point
    ///                   numbers as far as their text form shows
    /// @param pErrorList receives "<name>: <reason>", behind what it holds, for each line that could not be set or
    ///                   reads differently
    /// @param CommandTimeoutMs how long to wait for each of the two commands; one that takes longer has failed
    /// @return whether there was no error.
    /// @throws GenICam::InvalidArgumentException on null,
    /// @throws GenICam::RuntimeException         when there were errors, without an error list.
    bool LoadFromBag(INodeMap* pNodeMap, bool Verify = true, gcstring_vector* pErrorList = nullptr,
                     unsigned int CommandTimeoutMs = 5000) const;

    /// Where @p pNodeMap differs from this bag, in the order of the lines. Sets nothing but selectors, and puts these
    /// back; a selector that nothing selects is compared at its last line. @throws GenICam::InvalidArgumentException on
    /// null, and what putting back the selectors raises.
    std::vector<CBagDifference> Compare(INodeMap* pNodeMap) const;

    bool operator==(const CFeatureBag& other) const { return m_entries == other.m_entries; } ///< By names and values.
    bool operator!=(const CFeatureBag& other) const { return !(*this == other); }

    gcstring ToString() const; ///< The whole text, as operator<< writes it.
    const std::vector<CEntry>& GetEntries() const noexcept { return m_entries; }
    void Destroy(); ///< Deletes this object, which must be made by new.

    void SetInfo(const gcstring& Info) override;
    /// @throws GenICam::InvalidArgumentException for what is no node or has a name that cannot stand in a line.
    void PersistFeature(IValue& item) override;

    gcstring GetBagName() const { return m_bagName; }
    void SetBagName(const gcstring& BagName) { m_bagName = BagName; }

    /// Replaces the entries by those of a text up to its end; remarks are passed over. The stream is good then, but at
    /// its end.
    /// @throws GenICam::RuntimeException that names the line for a text without the identifier, of several bags, at its
    /// end, damaged or one that the stream fails to deliver; the bag is then as before.
    GENICAM_API friend std::istream& operator>>(std::istream& stream, CFeatureBag& bag);
    GENICAM_API friend std::ostream& operator<<(std::ostream& stream, const CFeatureBag& bag);

private:
    friend class CFeatureBagger;

    std::vector<CEntry> m_entries;
    gcstring m_info;
    gcstring m_bagName;
};

/// Several feature bags in one text: the settings as they are now, under the name "All", and those that the device
/// keeps in sets of its own, under names like "UserSetSelector=UserSet1" and "SequencerSetSelector=3".
/// As text: a first line with an identifier of its own, remarks, then for each bag a line "[<name>]" and the whole text
/// of the bag. Threads: as for CFeatureBag; the lock of the node map is given back between the bags, and while the
/// device loads or saves a set. What others change meanwhile is stored with it.
class GENICAM_API CFeatureBagger {
public:
    typedef std::vector<CFeatureBag>::const_iterator const_iterator;

    /// Replaces the bags by what the device has. Sets that the node map has no features for (UserSetSelector,
    /// UserSetLoad and UserSetSave, likewise with Sequencer) are passed over, and so are single ones that the device
    /// does not let save, as those of the factory: there would be no way back. Sequencer sets come before user sets.
    /// Each set is selected, loaded and stored, sequencer sets with SequencerConfigurationMode "On", where the device
    /// has that. All this changes the device: at last the selector, the mode and then all streamable features are set
    /// to what they were. Other features stay as the last set leaves them.
    /// @param MaxEntries at most so many lines in each bag; -1: no limit
    /// @param pErrorList receives "<bag>: <reason>", behind what it holds, for all that could not be stored or put
    ///                   back; without it that raises, and the bags are as before
    /// @param CommandTimeoutMs how long to wait for each command, as sets may go to slow flash memory; after one that
    ///                   takes longer no further set of its kind is tried
    /// @return the number of bags.
    /// @throws GenICam::InvalidArgumentException on null,
    /// @throws GenICam::RuntimeException         when something failed, without an error list.
    int64_t Bag(INodeMap* pNodeMap, bool BagDefault = true, bool BagUserSets = false, bool BagSequencerSets = false,
                int MaxEntries = -1, gcstring_vector* pErrorList = nullptr, unsigned int CommandTimeoutMs = 30000);

    /// Loads the bags of sets, the user sets first, and saves each as that set; then puts the settings back as Bag()
    /// does, and loads the bag "All" at last, so that it stands. A set of which a line fails is not saved: the device
    /// keeps the old one. Bags of other names are reported and not loaded.
    /// @param Verify     read and compare all values, before a set is saved
    /// @param pErrorList receives "<bag>: <reason>" for what failed; without it that raises when all is through
    /// @param CommandTimeoutMs as for Bag()
    /// @return whether there was no error. @throws as Bag().
    bool UnBag(INodeMap* pNodeMap, bool Verify = true, gcstring_vector* pErrorList = nullptr,
               unsigned int CommandTimeoutMs = 30000) const;

    const_iterator begin() const noexcept { return m_bags.begin(); }
    const_iterator end() const noexcept { return m_bags.end(); }
    std::size_t size() const noexcept { return m_bags.size(); }
    const CFeatureBag& at(std::size_t Index) const; ///< @throws GenICam::OutOfRangeException

    void SetInfo(const gcstring& Info) { m_info = Info; } ///< A remark for people.

    /// Replaces the bags by those of a text up to its end; the text of a single bag gives one of the name "All".
    /// @throws as CFeatureBag does; the bags are then as before.
    GENICAM_API friend std::istream& operator>>(std::istream& stream, CFeatureBagger& bagger);
    GENICAM_API friend std::ostream& operator<<(std::ostream& stream, const CFeatureBagger& bagger);

private:
    void Read(std::istream& stream);

    std::vector<CFeatureBag> m_bags;
    gcstring m_info;
};

} // namespace GenApi
