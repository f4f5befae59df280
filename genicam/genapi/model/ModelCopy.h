// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/ModelBuilder.h"

#include <string>
#include <string_view>
#include <vector>

namespace GenApi {

/// Who is written inside whom in a file: an entry in its enumeration, the formula of an address in its register.
/// @return for each node the one around it, or NoNode. A formula of a structure stands in each of its entries: the
/// first is named.
std::vector<NodeIndex> OwnersOf(const Model& model);
bool IsOwnedBy(const Property& property) noexcept; ///< whether it says that its target is written inside its node

/// Copies nodes of a model into a builder. References go by name, so that they may lead to nodes of other models.
/// Borrows: builder and model.
class ModelCopier {
public:
    ModelCopier(ModelBuilder& builder, const Model& model);

    const Model& Source() const noexcept { return m_model; }
    NodeIndex OwnerOf(NodeIndex node) const noexcept { return m_owners[node]; }
    void Rename(NodeIndex node, std::string_view name);
    void Leave(NodeIndex node) { m_isLeft[node] = true; } ///< will not be copied with its structure

    /// Copies a node that no other owns, with all that it owns and the rest of its structure.
    /// @param features what a category lists instead of its own; null: its own
    /// @throws GenICam::RuntimeException if its name, or one of what it owns, is taken.
    void Copy(NodeIndex node, const std::vector<std::string>* features = nullptr);

private:
    std::string NameFor(NodeIndex node) const;
    NodeIndex Add(NodeIndex node);
    NodeIndex CopyNode(NodeIndex node, const std::vector<std::string>* features);
    void CopyStructure(NodeIndex first);
    NodeIndex FirstOfStructure(NodeIndex entry) const noexcept;
    bool IsInStructure(NodeIndex node, std::uint32_t sharedFirst) const noexcept;
    void CopyProperties(std::uint32_t first, std::uint32_t count, ModelBuilder::Draft& draft);
    Property CopyProperty(const Property& property);

    ModelBuilder& m_builder;
    const Model& m_model;
    const std::vector<NodeIndex> m_owners;
    std::vector<bool> m_isLeft; // or copied
    NodeIndex m_renamed = kNoNode;
    std::string m_newName;
};

} // namespace GenApi
