// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Model.h"

#include <functional>

namespace GenApi {

/// Takes the nodes of one file in the order of their elements and makes the model of them.
/// Positions are byte offsets in the file; the describer given at the end turns them into text for errors.
class ModelBuilder {
public:
    using Describer = std::function<std::string(std::uint32_t position)>;

    /// The properties of a node that is still being read; its nested nodes are finished before it.
    struct Draft {
        NodeIndex node = kNoNode; ///< NoNode for a structure, which is none itself
        std::vector<Property> properties;
        std::vector<std::uint32_t> positions; ///< of the properties
    };

    explicit ModelBuilder(std::size_t sourceBytes);

    /// @return NoNode if the name is taken.
    NodeIndex AddNode(NodeKind kind, std::string_view name);
    std::uint32_t Symbolize(std::string_view name) { return m_model->m_symbols.Intern(m_model->m_texts, name); }
    std::uint32_t KeepText(std::string_view text) {
        ++m_model->m_textProperties;
        return m_model->m_texts.Add(text);
    }
    std::uint32_t KeepInteger(std::int64_t value);
    std::uint32_t KeepFloat(double value);
    void Finish(const Draft& draft); ///< stores the node's own properties
    /// @throws GenICam::RuntimeException for more than any real structure has: each entry looks at all of them.
    void ShareProperties(const Draft& structure, const std::vector<NodeIndex>& entries);
    DeviceInformation& Device() noexcept { return m_model->m_device; }
    std::size_t NodeCount() const noexcept { return m_model->m_nodes.size(); }

    /// Resolves all references and computes the graph. @throws GenICam::RuntimeException for a reference to nothing, or
    /// to a node of a kind that cannot stand there.
    ModelPtr Build(const Describer& describe);
    ModelPtr BuildPart(); ///< The nodes with references by name, and without the graph; see MergeModels.

private:
    void ResolveReference(NodeIndex node, Property& property, std::uint32_t position, const Describer& describe);
    void ResolveRange(NodeIndex node, std::uint32_t first, std::uint32_t count, const Describer& describe);
    static void CheckProperties(std::size_t count);
    std::uint32_t StoreProperties(const Draft& draft);

    std::shared_ptr<Model> m_model;
    std::vector<std::uint32_t> m_positions; // of the model's properties
    std::size_t m_sharings = 0;             // properties of structures, as often as they are shared
    std::size_t m_dropped = 0;              // references to nothing
};

} // namespace GenApi
