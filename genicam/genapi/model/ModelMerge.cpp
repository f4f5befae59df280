// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/model/ModelMerge.h"

#include "genicam/genapi/model/ModelCopy.h"

#include <algorithm>
#include <map>
#include <unordered_set>

namespace GenApi {

namespace {

ModelPtr Finish(ModelBuilder& builder) {
    return builder.Build([](std::uint32_t) { return std::string("after merging"); });
}

/// All that the parts say of one name.
struct Contest {
    struct Candidate {
        std::size_t part;
        NodeIndex node;
    };
    std::vector<Candidate> candidates;
    std::size_t best = 0;
};

class Merger {
public:
    explicit Merger(const std::vector<ModelPtr>& parts) {
        m_builder.Device() = parts.front()->Device();
        for (const ModelPtr& part : parts) {
            m_copiers.emplace_back(m_builder, *part);
        }
    }

    ModelPtr Merge() {
        for (std::size_t part = 0; part < m_copiers.size(); ++part) {
            for (NodeIndex node = 0; node < ModelOf(part).NodeCount(); ++node) {
                if (m_copiers[part].OwnerOf(node) == kNoNode) {
                    Enter({part, node});
                }
            }
        }
        for (const Contest& contest : m_contests) {
            const Contest::Candidate& best = contest.candidates[contest.best];
            const std::vector<std::string> features = FeaturesOf(contest);
            m_copiers[best.part].Copy(best.node, KindOf(best) == NodeKind::Category ? &features : nullptr);
        }
        return Finish(m_builder);
    }

private:
    const Model& ModelOf(std::size_t part) const noexcept { return m_copiers[part].Source(); }
    NodeKind KindOf(const Contest::Candidate& each) const noexcept { return ModelOf(each.part).Record(each.node).kind; }
    std::int64_t PriorityOf(const Contest::Candidate& each) const noexcept {
        const Property* property = ModelOf(each.part).FindProperty(each.node, PropertyKind::MergePriority);
        return property != nullptr ? ModelOf(each.part).IntegerOf(*property) : 0;
    }

    void Enter(const Contest::Candidate& candidate) {
        const auto [place, isNew] =
            m_byName.try_emplace(ModelOf(candidate.part).NameOf(candidate.node), m_contests.size());
        if (isNew) {
            m_contests.push_back({{candidate}});
            return;
        }
        Contest& contest = m_contests[place->second];
        const Contest::Candidate best = contest.candidates[contest.best];
        const bool wins = PriorityOf(candidate) > PriorityOf(best);
        const Contest::Candidate& loser = wins ? best : candidate;
        m_copiers[loser.part].Leave(loser.node);
        contest.best = wins ? contest.candidates.size() : contest.best;
        contest.candidates.push_back(candidate);
    }

    std::vector<std::string> FeaturesOf(const Contest& contest) const {
        std::vector<std::string> features;
        std::unordered_set<std::string> known;
        for (const Contest::Candidate& each : contest.candidates) {
            if (KindOf(each) != NodeKind::Category) {
                continue;
            }
            ModelOf(each.part).ForEachProperty(each.node, [&](const Property& property) {
                if (property.kind == PropertyKind::pFeature) {
                    std::string name(ModelOf(each.part).TargetName(property));
                    if (contest.candidates.size() == 1 || known.insert(name).second) {
                        features.push_back(std::move(name));
                    }
                }
            });
        }
        return features;
    }

    ModelBuilder m_builder{0};
    std::vector<ModelCopier> m_copiers;
    std::vector<Contest> m_contests; // in the order of the result
    std::map<std::string_view, std::size_t> m_byName;
};

/// Marks what can be reached, and with a node that around it.
std::vector<bool> ReachableFrom(const Model& model, NodeIndex root, const ModelCopier& copier) {
    std::vector<bool> isReached(model.NodeCount());
    std::vector<NodeIndex> open;
    const auto reach = [&](NodeIndex node) {
        if (node != kNoNode && !isReached[node]) {
            isReached[node] = true;
            open.push_back(node);
        }
    };
    reach(root);
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        reach(copier.OwnerOf(node));
        model.ForEachProperty(node, [&](const Property& property) {
            if (property.form == Form::Node) {
                reach(property.payload);
            }
        });
    }
    return isReached;
}

} // namespace

ModelPtr MergeModels(const std::vector<ModelPtr>& parts) {
    return Merger(parts).Merge();
}

ModelPtr ExtractModel(const Model& model, NodeIndex root, bool renameToRoot) {
    ModelBuilder builder(0);
    builder.Device() = model.Device();
    ModelCopier copier(builder, model);
    const std::vector<bool> isReached = ReachableFrom(model, root, copier);
    for (NodeIndex node = 0; node < model.NodeCount(); ++node) {
        if (!isReached[node]) {
            copier.Leave(node);
        }
    }
    if (renameToRoot) {
        copier.Rename(root, "Root");
    }
    for (NodeIndex node = 0; node < model.NodeCount(); ++node) {
        if (copier.OwnerOf(node) == kNoNode) {
            copier.Copy(node);
        }
    }
    return Finish(builder);
}

} // namespace GenApi
