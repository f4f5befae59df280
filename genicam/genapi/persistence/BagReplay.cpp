// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/BagReplay.h"

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/persistence/Failure.h"
#include "genicam/genapi/persistence/FeatureTexts.h"
#include "genicam/genapi/persistence/Selectors.h"
#include "genicam/genapi/persistence/StreamingPhase.h"

#include <GenApi/IBoolean.h>

#include <algorithm>

namespace GenApi {

namespace {

constexpr int kMaxRetries = 2;

/// Whatever the device was told is to be seen, also after a failure.
class InvalidateGuard {
public:
    explicit InvalidateGuard(const INodeMap& nodeMap) : m_nodeMap(nodeMap) {}
    ~InvalidateGuard() {
        if (const auto failure = FailureOf([this] { m_nodeMap.InvalidateNodes(); })) {
            LogLoadWarning("A callback failed after a feature bag was loaded: " + *failure);
        }
    }
    InvalidateGuard(const InvalidateGuard&) = delete;
    InvalidateGuard& operator=(const InvalidateGuard&) = delete;

private:
    const INodeMap& m_nodeMap;
};

std::string WithPosition(const std::string& reason, const std::string& selectors) {
    return selectors.empty() ? reason : reason + " (" + selectors + ")";
}

std::string ReasonOf(const CBagDifference& difference) {
    const std::string reason = difference.Problem.empty()
                                   ? "It reads '" + std::string(difference.InNodeMap.view()) + "' instead of '" +
                                         std::string(difference.InBag.view()) + "'."
                                   : std::string(difference.Problem.view());
    return WithPosition(reason, std::string(difference.Selectors.view()));
}

} // namespace

/// What the lines of one name lead to.
struct BagReplay::Target {
    IValue* value = nullptr;
    std::string refusal; // why it cannot be set or compared at all
    bool isSelector = false;
    bool isCommand = false;
    std::vector<const Target*> selectors; // those that lines name, each before those that select it

    bool isLost = false;            // a selector that does not stand where the lines want it
    const gcstring* last = nullptr; // the value of its last line up to here
};

/// Puts selectors back that a comparison has moved.
class BagReplay::SelectorKeeper {
public:
    SelectorKeeper() = default;
    ~SelectorKeeper() {
        if (const auto failure = FailureOf([this] { RestoreAll(); })) {
            LogLoadWarning("Selectors could not be put back: " + *failure);
        }
    }
    SelectorKeeper(const SelectorKeeper&) = delete;
    SelectorKeeper& operator=(const SelectorKeeper&) = delete;

    void Move(const Target& selector, const gcstring& value) {
        if (HasValue(*selector.value, value.view())) {
            return;
        }
        Restore([&](const Target& other) {
            return std::find(other.selectors.begin(), other.selectors.end(), &selector) != other.selectors.end();
        });
        const auto isThis = [&](const Moved& one) { return one.selector == &selector; };
        if (std::none_of(m_moved.begin(), m_moved.end(), isThis)) {
            m_moved.push_back({&selector, selector.value->ToString()});
        }
        selector.value->FromString(value);
    }

    void RestoreAll() {
        std::stable_sort(m_moved.begin(), m_moved.end(), [](const Moved& left, const Moved& right) {
            return left.selector->selectors.size() > right.selector->selectors.size();
        });
        Restore([](const Target&) { return true; });
    }

private:
    struct Moved {
        const Target* selector;
        gcstring found; // where those that select it stand now
    };

    template <class Wanted>
    void Restore(Wanted isWanted) {
        std::exception_ptr failure;
        std::vector<Moved> staying;
        for (const Moved& one : std::vector<Moved>(std::move(m_moved))) {
            if (!isWanted(*one.selector)) {
                staying.push_back(one);
                continue;
            }
            try {
                one.selector->value->FromString(one.found);
            } catch (const std::exception&) {
                failure = failure ? failure : std::current_exception();
            }
        }
        m_moved = std::move(staying);
        if (failure) {
            std::rethrow_exception(failure);
        }
    }

    std::vector<Moved> m_moved; // in the order of their first move
};

BagReplay::BagReplay(INodeMap& nodeMap, const BagEntries& entries) : m_nodeMap(nodeMap), m_entries(entries) {
    m_lines.reserve(entries.size());
    for (const CFeatureBag::CEntry& entry : entries) {
        std::unique_ptr<Target>& target = m_targets[entry.Name.view()];
        if (!target) {
            target = std::make_unique<Target>();
            MakeTarget(*target, entry.Name);
        }
        m_lines.push_back(target.get());
    }
    for (const auto& [name, target] : m_targets) {
        FindSelectors(*target);
    }
}

BagReplay::~BagReplay() = default;

void BagReplay::MakeTarget(Target& target, const gcstring& name) {
    INode* const node = m_nodeMap.GetNode(name);
    target.value = dynamic_cast<IValue*>(node);
    if (target.value == nullptr) {
        target.refusal = node == nullptr ? "There is no such feature." : "The node has no value.";
        return;
    }
    target.isCommand = node->GetPrincipalInterfaceType() == intfICommand;
    target.isSelector = IsSelector(*node);
}

void BagReplay::FindSelectors(Target& target) {
    if (target.value == nullptr) {
        return;
    }
    const auto failure = FailureOf([&] {
        for (IValue* const selector : CollectSelectors(*target.value).selectors) {
            const auto found = m_targets.find(NameOf(*selector));
            if (found != m_targets.end()) {
                target.selectors.push_back(found->second.get());
            }
        }
    });
    target.refusal = failure.value_or("");
}

void BagReplay::ForgetPositions() {
    m_lostSelectors = 0;
    for (const auto& [name, target] : m_targets) {
        target->isLost = false;
        target->last = nullptr;
    }
}

std::string BagReplay::PositionOf(const Target& target) {
    std::string text;
    for (const Target* const selector : target.selectors) {
        if (selector->last != nullptr) {
            text.insert(0, NameOf(*selector->value) + "=" + selector->last->c_str() + (text.empty() ? "" : ","));
        }
    }
    return text;
}

// What a lost selector selects would go to a wrong place.
std::optional<std::string> BagReplay::ReasonAgainst(const Target& target) const {
    if (!target.refusal.empty()) {
        return target.refusal;
    }
    const auto lost = std::find_if(target.selectors.begin(), target.selectors.end(),
                                   [](const Target* selector) { return selector->isLost; });
    if (m_lostSelectors == 0 || lost == target.selectors.end()) {
        return std::nullopt;
    }
    return "Its selector '" + NameOf(*(*lost)->value) + "' could not be set.";
}

void BagReplay::Note(Target& target, const gcstring& value, bool stands) {
    target.last = &value;
    if (target.isSelector && target.isLost == stands) {
        target.isLost = !stands;
        m_lostSelectors += stands ? -1 : 1;
    }
}

std::vector<std::string> BagReplay::Load(bool verify, std::chrono::milliseconds commandTimeout) {
    std::vector<std::string> errors;
    Failures failures;
    const InvalidateGuard invalidate(m_nodeMap);
    StreamingPhase phase(m_nodeMap, "DeviceRegistersStreaming", commandTimeout);
    phase.Start(errors);
    m_nodesCheck = !phase.IsOpen();
    WriteAll(errors, failures);
    phase.End(errors); // before the checks: until then the device takes what does not go together
    if (!m_watch.IsLost()) {
        CheckAll(errors, failures, verify);
    }
    return errors;
}

void BagReplay::WriteAll(std::vector<std::string>& errors, Failures& failures) {
    const AutoLock lock(m_nodeMap.GetLock()); // nobody else moves the selectors
    failures = Write(nullptr);
    for (int retry = 0; retry < kMaxRetries && !failures.empty() && !m_watch.IsLost(); ++retry) {
        const std::size_t before = failures.size();
        failures = Write(&failures);
        if (failures.size() >= before) {
            break; // nothing has changed that could help
        }
    }
    for (const Failure& failure : failures) {
        errors.push_back(m_entries[failure.line].Name.c_str() + (": " + failure.reason));
    }
}

void BagReplay::CheckAll(std::vector<std::string>& errors, const Failures& failures, bool verify) {
    const AutoLock lock(m_nodeMap.GetLock());
    if (!m_nodesCheck) {
        CheckRegisters(errors);
    }
    if (verify) {
        for (const CBagDifference& one : CompareLines(failures, nullptr)) {
            errors.push_back(one.Name.c_str() + (": " + ReasonOf(one)));
        }
    }
}

/// Writes all lines, or only those @p due and, as these depend on them, all selectors.
BagReplay::Failures BagReplay::Write(const Failures* due) {
    ForgetPositions();
    Failures failures;
    std::size_t next = 0;
    for (std::size_t i = 0; i < m_lines.size() && !m_watch.IsLost(); ++i) {
        Target& target = *m_lines[i];
        const bool isDue = due == nullptr || (next < due->size() && (*due)[next].line == i);
        next += isDue ? 1 : 0;
        if (!isDue && !target.isSelector) {
            continue;
        }
        const auto reason = WriteLine(target, m_entries[i].Value);
        if (reason) {
            failures.push_back({i, WithPosition(*reason, PositionOf(target))});
        }
        Note(target, m_entries[i].Value, !reason);
    }
    return failures;
}

std::optional<std::string> BagReplay::WriteLine(const Target& target, const gcstring& value) {
    if (auto reason = ReasonAgainst(target)) {
        return reason;
    }
    return m_watch.Try(*target.value, [&] {
        if (!m_nodesCheck && !IsWritable(target.value)) {
            throw ACCESS_EXCEPTION("Node is not writable.");
        }
        target.value->FromString(value, m_nodesCheck);
    });
}

void BagReplay::CheckRegisters(std::vector<std::string>& errors) const {
    auto* const valid = dynamic_cast<IBoolean*>(m_nodeMap.GetNode("DeviceRegistersValid"));
    const auto failure = FailureOf([&] {
        if (IsReadable(valid) && !valid->GetValue(false, true)) {
            throw RUNTIME_EXCEPTION("The device finds that its settings do not go together.");
        }
    });
    if (failure) {
        errors.push_back("DeviceRegistersValid: " + *failure);
    }
}

std::vector<CBagDifference> BagReplay::Compare() {
    const AutoLock lock(m_nodeMap.GetLock());
    SelectorKeeper keeper;
    std::vector<CBagDifference> differences = CompareLines({}, &keeper);
    keeper.RestoreAll();
    CompareLastPositions(differences);
    return differences;
}

/// The lines that fail or differ, but for those that are @p known to. Without a keeper selectors stay where they are
/// put.
std::vector<CBagDifference> BagReplay::CompareLines(const Failures& known, SelectorKeeper* keeper) {
    ForgetPositions();
    std::vector<CBagDifference> differences;
    std::size_t next = 0;
    for (std::size_t i = 0; i < m_lines.size() && !m_watch.IsLost(); ++i) {
        const bool isKnown = next < known.size() && known[next].line == i;
        next += isKnown ? 1 : 0;
        if (isKnown && !m_lines[i]->isSelector) {
            continue;
        }
        auto difference = CompareLine(*m_lines[i], m_entries[i], keeper);
        Note(*m_lines[i], m_entries[i].Value, !difference);
        if (difference && !isKnown) {
            differences.push_back(std::move(*difference));
        }
    }
    return differences;
}

std::optional<CBagDifference> BagReplay::CompareLine(Target& target, const CFeatureBag::CEntry& entry,
                                                     SelectorKeeper* keeper) {
    std::string found;
    bool isSame = true;
    auto problem = ReasonAgainst(target);
    if (!problem) {
        problem = m_watch.Try(*target.value, [&] {
            if (target.isSelector) {
                keeper != nullptr ? keeper->Move(target, entry.Value) : target.value->FromString(entry.Value);
            } else if (!target.isCommand && target.value->GetAccessMode() != WO) { // else there is nothing to compare
                isSame = HasValue(*target.value, entry.Value.view());
                found = isSame ? "" : ExactText(*target.value);
            }
        });
    }
    if (isSame && !problem) {
        return std::nullopt;
    }
    return CBagDifference{entry.Name, gcstring(PositionOf(target)), entry.Value, gcstring(std::move(found)),
                          gcstring(problem.value_or(""))};
}

/// The positions where the bag leaves selectors, against those where the device has them.
void BagReplay::CompareLastPositions(std::vector<CBagDifference>& differences) const {
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        const Target& target = *m_lines[i];
        const bool isLast = target.last == &m_entries[i].Value;
        if (target.isSelector && isLast && !target.isLost && target.selectors.empty() &&
            !HasValue(*target.value, target.last->view())) {
            differences.push_back({m_entries[i].Name, "", *target.last, gcstring(ExactText(*target.value)), ""});
        }
    }
}

} // namespace GenApi
