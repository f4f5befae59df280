// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/persistence/BagText.h"
#include "genicam/genapi/persistence/DeviceWatch.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace GenApi {

/// Goes through the lines of a bag over a node map, to write or to compare. Borrows both. Takes the lock of the node
/// map, but not over its commands.
class BagReplay {
public:
    BagReplay(INodeMap& nodeMap, const BagEntries& entries);
    ~BagReplay();

    /// Sets all, and compares with @p verify. @return "<name>: <reason>" for what failed.
    std::vector<std::string> Load(bool verify, std::chrono::milliseconds commandTimeout);
    /// Puts back the selectors. @throws what that raises.
    std::vector<CBagDifference> Compare();

private:
    struct Target;
    struct Failure {
        std::size_t line;
        std::string reason;
    };
    typedef std::vector<Failure> Failures; // by line
    class SelectorKeeper;

    void MakeTarget(Target& target, const gcstring& name);
    void FindSelectors(Target& target);
    void ForgetPositions();
    static std::string PositionOf(const Target& target);
    std::optional<std::string> ReasonAgainst(const Target& target) const;
    void Note(Target& target, const gcstring& value, bool stands);

    Failures Write(const Failures* due);
    std::optional<std::string> WriteLine(const Target& target, const gcstring& value);

    std::vector<CBagDifference> CompareLines(const Failures& known, SelectorKeeper* keeper);
    std::optional<CBagDifference> CompareLine(Target& target, const CFeatureBag::CEntry& entry, SelectorKeeper* keeper);
    void CompareLastPositions(std::vector<CBagDifference>& differences) const;
    void WriteAll(std::vector<std::string>& errors, Failures& failures);
    void CheckAll(std::vector<std::string>& errors, const Failures& failures, bool verify);
    void CheckRegisters(std::vector<std::string>& errors) const;

    INodeMap& m_nodeMap;
    const BagEntries& m_entries;
    std::unordered_map<std::string_view, std::unique_ptr<Target>> m_targets; // by name
    std::vector<Target*> m_lines;                                            // the target of each entry
    std::size_t m_lostSelectors = 0;
    bool m_nodesCheck = true; // else the device does, at the end
    DeviceWatch m_watch;
};

} // namespace GenApi
