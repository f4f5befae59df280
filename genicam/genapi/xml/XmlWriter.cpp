// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/xml/XmlWriter.h"

#include "genicam/genapi/model/ModelCopy.h"
#include "genicam/genapi/model/PropertyText.h"

namespace GenApi {

namespace {

/// Control characters as references, as a parser would make blanks of them.
void AppendEscaped(std::string& xml, std::string_view text, bool isAttribute) {
    for (const char c : text) {
        if (c == '&') {
            xml += "&amp;";
        } else if (c == '<') {
            xml += "&lt;";
        } else if (c == '>') {
            xml += "&gt;";
        } else if (c == '"' && isAttribute) {
            xml += "&quot;";
        } else if (c == '\r' || (isAttribute && (c == '\n' || c == '\t'))) {
            xml += "&#" + std::to_string(static_cast<int>(c)) + ";";
        } else {
            xml += c;
        }
    }
}

class XmlWriter {
public:
    explicit XmlWriter(const Model& model) : m_model(model), m_owners(OwnersOf(model)) {}

    std::string Write() {
        WriteRoot();
        for (NodeIndex node = 0; node < m_model.NodeCount();) {
            if (m_owners[node] != kNoNode) {
                ++node; // written with its owner
            } else if (m_model.Record(node).sharedCount != 0) {
                node = WriteStructure(node);
            } else {
                WriteNode(node++, 1);
            }
        }
        m_xml += "</RegisterDescription>\n";
        return std::move(m_xml);
    }

private:
    void WriteRoot() {
        const DeviceInformation& device = m_model.Device();
        m_xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription";
        for (const auto& [name, value] : {std::pair("ModelName", &device.modelName),
                                          {"VendorName", &device.vendorName},
                                          {"ToolTip", &device.toolTip},
                                          {"StandardNameSpace", &device.standardNameSpace},
                                          {"ProductGuid", &device.productGuid},
                                          {"VersionGuid", &device.versionGuid}}) {
            WriteAttribute(name, *value);
        }
        for (const auto& [name, value] : {std::pair("SchemaMajorVersion", device.schemaMajor),
                                          {"SchemaMinorVersion", device.schemaMinor},
                                          {"SchemaSubMinorVersion", device.schemaSubMinor},
                                          {"MajorVersion", device.major},
                                          {"MinorVersion", device.minor},
                                          {"SubMinorVersion", device.subMinor}}) {
            WriteAttribute(name, std::to_string(value));
        }
        WriteAttribute("xmlns", device.schemaMinor == 0 ? "http://www.genicam.org/GenApi/Version_1_0"
                                                        : "http://www.genicam.org/GenApi/Version_1_1");
        m_xml += ">\n";
    }

    /// The entries of a structure stand one after the other. @return the node behind the last
    NodeIndex WriteStructure(NodeIndex first) {
        const NodeRecord shared = m_model.Record(first);
        m_xml += "  <StructReg Comment=\"\">\n";
        WriteProperties(shared.sharedFirst, shared.sharedCount, 2);
        NodeIndex node = first;
        for (; node < m_model.NodeCount() && m_model.Record(node).sharedCount != 0 &&
               m_model.Record(node).sharedFirst == shared.sharedFirst;
             ++node) {
            WriteNode(node, 2);
        }
        m_xml += "  </StructReg>\n";
        return node;
    }

    void WriteNode(NodeIndex node, std::size_t depth) {
        const NodeRecord& record = m_model.Record(node);
        const std::string kind(NodeKindName(record.kind));
        const bool isInside = m_owners[node] != kNoNode && record.kind == NodeKind::EnumEntry;
        Indent(depth);
        m_xml += "<" + kind;
        WriteAttribute("Name", isInside ? m_model.TextOr(node, PropertyKind::Name, {}) : m_model.NameOf(node));
        for (std::uint32_t i = record.first; i < record.first + record.count; ++i) {
            const Property& property = m_model.PropertyAt(i);
            if (IsAttribute(property.kind)) {
                WriteAttribute(TraitsOf(property.kind).name, PropertyText(m_model, property));
            }
        }
        m_xml += ">\n";
        WriteProperties(record.first, record.count, depth + 1);
        Indent(depth);
        m_xml += "</" + kind + ">\n";
    }

    void WriteProperties(std::uint32_t first, std::uint32_t count, std::size_t depth) {
        for (std::uint32_t i = first; i < first + count; ++i) {
            const Property& property = m_model.PropertyAt(i);
            if (IsOwnedBy(property)) {
                WriteNode(property.payload, depth);
            } else if (!IsAttribute(property.kind) && !IsItemAttribute(property.kind) &&
                       property.form != Form::Dropped) {
                WriteProperty(i, first + count, depth);
            }
        }
    }

    void WriteProperty(std::uint32_t at, std::uint32_t end, std::size_t depth) {
        const Property& property = m_model.PropertyAt(at);
        const std::string name(TraitsOf(property.kind).name);
        Indent(depth);
        m_xml += "<" + name;
        while (++at < end && IsItemAttribute(m_model.PropertyAt(at).kind)) {
            const Property& attribute = m_model.PropertyAt(at);
            WriteAttribute(TraitsOf(attribute.kind).name, PropertyText(m_model, attribute));
        }
        m_xml += ">";
        AppendEscaped(m_xml, PropertyText(m_model, property), false);
        m_xml += "</" + name + ">\n";
    }

    void WriteAttribute(std::string_view name, std::string_view value) {
        m_xml.append(" ").append(name).append("=\"");
        AppendEscaped(m_xml, value, true);
        m_xml += '"';
    }

    void Indent(std::size_t depth) { m_xml.append(2 * depth, ' '); }

    const Model& m_model;
    const std::vector<NodeIndex> m_owners;
    std::string m_xml;
};

} // namespace

std::string WriteXml(const Model& model) {
    return XmlWriter(model).Write();
}

} // namespace GenApi
