#include "genicam/genapi/xml/Loader.h"

#include "genicam/genapi/map/LoadLog.h"
#include "genicam/genapi/map/ModelBuilder.h"
#include "genicam/genapi/xml/NodeReader.h"
#include "genicam/genapi/xml/SourceText.h"
#include "genicam/genapi/xml/Unzip.h"

#include <Base/GCException.h>

#include <pugixml.hpp>

#include <cstdlib>

namespace GenApi {

namespace {

constexpr unsigned int parseFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                    pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single |
                                    pugi::parse_embed_pcdata;

std::uint16_t VersionAttribute(const pugi::xml_node& root, const char* name, std::uint16_t missing) {
    const pugi::xml_attribute attribute = root.attribute(name);
    return attribute ? static_cast<std::uint16_t>(attribute.as_uint()) : missing;
}

void ReadDeviceInformation(const pugi::xml_node& root, DeviceInformation& device) {
    device.modelName = root.attribute("ModelName").value();
    device.vendorName = root.attribute("VendorName").value();
    device.toolTip = root.attribute("ToolTip").value();
    device.standardNameSpace = root.attribute("StandardNameSpace").as_string("None");
    device.productGuid = root.attribute("ProductGuid").value();
    device.versionGuid = root.attribute("VersionGuid").value();
    device.schemaMajor = VersionAttribute(root, "SchemaMajorVersion", 1);
    device.schemaMinor = VersionAttribute(root, "SchemaMinorVersion", 0);
    device.schemaSubMinor = VersionAttribute(root, "SchemaSubMinorVersion", 0);
    device.major = VersionAttribute(root, "MajorVersion", 0);
    device.minor = VersionAttribute(root, "MinorVersion", 0);
    device.subMinor = VersionAttribute(root, "SubMinorVersion", 0);
}

void CheckSchema(const DeviceInformation& device) {
    if (device.schemaMajor != 1) {
        throw RUNTIME_EXCEPTION(
            "Cannot load the camera description: its schema version is %u.%u, 1.0 and 1.1 are known.",
            device.schemaMajor, device.schemaMinor);
    }
    if (device.schemaMinor > 1) {
        LogLoadWarning("The camera description has schema version 1." + std::to_string(device.schemaMinor) +
                       "; 1.1 is the newest that is known.");
    }
}

pugi::xml_parse_result Parse(pugi::xml_document& document, SourceText& source) {
    return document.load_buffer_inplace(source.Data(), source.Size(), parseFlags, pugi::encoding_utf8);
}

pugi::xml_node ParseDocument(pugi::xml_document& document, SourceText& source) {
    pugi::xml_parse_result result = Parse(document, source);
    if (!result) {
        source.CutAfterRoot();
        result = Parse(document, source);
    }
    if (!result) {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: %s: %s.",
                                source.Describe(static_cast<std::uint32_t>(result.offset)).c_str(),
                                result.description());
    }
    const pugi::xml_node root = document.document_element();
    if (LocalName(root.name()) != "RegisterDescription") {
        throw RUNTIME_EXCEPTION("Cannot load the camera description: %s: the root element is '%.64s', "
                                "'RegisterDescription' is needed.",
                                source.Describe(source.TagPosition(root.name())).c_str(), root.name());
    }
    return root;
}

/// Visits the node elements in the order of the file. Groups only group; walking them needs no stack, however deep they
/// are.
void ReadNodes(const pugi::xml_node& root, NodeReader& reader) {
    pugi::xml_node element = root.first_child();
    while (element) {
        if (element.type() == pugi::node_element) {
            const NodeKind kind = FindNodeKind(LocalName(element.name()));
            if (kind == NodeKind::Group && element.first_child()) {
                element = element.first_child();
                continue;
            }
            reader.Read(element, kind);
        }
        while (!element.next_sibling() && element.parent() != root) {
            element = element.parent();
        }
        element = element.next_sibling();
    }
}

/// Reads all nodes and lets @p finish make the model of them.
template <typename Finish>
ModelPtr Read(std::string_view bytes, const LoadOptions& options, Finish&& finish) {
    std::string unpacked;
    if (IsZip(bytes)) {
        unpacked = UnzipDescription(bytes);
        bytes = unpacked;
    }
    SourceText source(bytes);
    pugi::xml_document document;
    const pugi::xml_node root = ParseDocument(document, source);
    ModelBuilder builder(source.Size());
    ReadDeviceInformation(root, builder.Device());
    CheckSchema(builder.Device());
    NodeReader reader(builder, source, options);
    ReadNodes(root, reader);
    return finish(builder, source);
}

} // namespace

ModelPtr LoadModel(std::string_view bytes, const LoadOptions& options) {
    return Read(bytes, options, [](ModelBuilder& builder, const SourceText& source) {
        return builder.Build([&source](std::uint32_t position) { return source.Describe(position); });
    });
}

ModelPtr LoadPart(std::string_view bytes, const LoadOptions& options) {
    return Read(bytes, options, [](ModelBuilder& builder, const SourceText&) { return builder.BuildPart(); });
}

} // namespace GenApi
