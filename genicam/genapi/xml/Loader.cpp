// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/xml/Loader.h"

#include "genicam/genapi/model/LoadLog.h"
#include "genicam/genapi/model/ModelBuilder.h"
#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/xml/NodeReader.h"
#include "genicam/genapi/xml/SourceText.h"
#include "genicam/genapi/xml/Unzip.h"

#include <Base/GCException.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cstring>
#include <limits>

namespace GenApi {

namespace {

constexpr unsigned int kParseFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                     pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single |
                                     pugi::parse_embed_pcdata | pugi::parse_doctype;

[[noreturn]] void Fail(const std::string& place, const std::string& what) {
    throw RUNTIME_EXCEPTION("Cannot load the camera description: " + place + ": " + what + ".");
}

[[noreturn]] void FailAt(const pugi::xml_node& element, const SourceText& source, const std::string& what) {
    Fail(source.Describe(source.TagPosition(element.name())), what);
}

/// A camera is not refused for its own version; that of the schema says how to read the rest.
enum class Version : std::uint8_t { OfSchema, OfDevice };

/// What is too large for a version, such as a date, becomes the highest one.
std::uint16_t ReadVersion(const pugi::xml_node& root, const SourceText& source, Version kind, const char* name,
                          std::uint16_t missing) {
    constexpr std::int64_t highest = std::numeric_limits<std::uint16_t>::max();
    const pugi::xml_attribute attribute = root.attribute(name);
    const auto number = attribute ? ParseInteger(attribute.value()) : missing;
    if (number) {
        return static_cast<std::uint16_t>(std::clamp<std::int64_t>(*number, 0, highest));
    }
    const std::string fault = "attribute '" + std::string(name) + "' is '" +
                              std::string(attribute.value()).substr(0, 64) + "', a number is needed";
    if (kind == Version::OfSchema) {
        FailAt(root, source, fault);
    }
    LogLoadWarning("Root element: " + fault + "; it counts as " + std::to_string(missing) + ".");
    return missing;
}

void ReadDeviceInformation(const pugi::xml_node& root, const SourceText& source, DeviceInformation& device) {
    device.modelName = root.attribute("ModelName").value();
    device.vendorName = root.attribute("VendorName").value();
    device.toolTip = root.attribute("ToolTip").value();
    device.standardNameSpace = root.attribute("StandardNameSpace").as_string("None");
    device.productGuid = root.attribute("ProductGuid").value();
    device.versionGuid = root.attribute("VersionGuid").value();
    device.schemaMajor = ReadVersion(root, source, Version::OfSchema, "SchemaMajorVersion", 1);
    device.schemaMinor = ReadVersion(root, source, Version::OfSchema, "SchemaMinorVersion", 0);
    device.schemaSubMinor = ReadVersion(root, source, Version::OfSchema, "SchemaSubMinorVersion", 0);
    device.major = ReadVersion(root, source, Version::OfDevice, "MajorVersion", 0);
    device.minor = ReadVersion(root, source, Version::OfDevice, "MinorVersion", 0);
    device.subMinor = ReadVersion(root, source, Version::OfDevice, "SubMinorVersion", 0);
}

void CheckSchema(const pugi::xml_node& root, const SourceText& source, const DeviceInformation& device) {
    if (device.schemaMajor != 1) {
        FailAt(root, source,
               "the schema version is " + std::to_string(device.schemaMajor) + "." +
                   std::to_string(device.schemaMinor) + ", 1.0 and 1.1 are known");
    }
    if (device.schemaMinor > 1) {
        LogLoadWarning("The camera description has schema version 1." + std::to_string(device.schemaMinor) +
                       "; 1.1 is the newest that is known.");
    }
}

pugi::xml_parse_result Parse(pugi::xml_document& document, SourceText& source) {
    return document.load_buffer_inplace(source.Data(), source.Size(), kParseFlags, pugi::encoding_utf8);
}

/// Entities are never expanded. A file that has its own would load with other texts than were meant.
void CheckNoEntities(const pugi::xml_document& document, const SourceText& source) {
    for (const pugi::xml_node& node : document.children()) {
        if (node.type() == pugi::node_doctype && std::strstr(node.value(), "<!ENTITY") != nullptr) {
            Fail(source.Describe(source.TagPosition(node.value())),
                 "the document type declares entities, which are not expanded");
        }
    }
}

pugi::xml_node ParseDocument(pugi::xml_document& document, SourceText& source) {
    pugi::xml_parse_result result = Parse(document, source);
    if (!result) {
        source.CutAfterRoot();
        result = Parse(document, source);
    }
    if (!result) {
        Fail(source.Describe(static_cast<std::uint32_t>(result.offset)), result.description());
    }
    CheckNoEntities(document, source);
    const pugi::xml_node root = document.document_element();
    if (LocalName(root.name()) != "RegisterDescription") {
        FailAt(root, source,
               "the root element is '" + std::string(root.name()).substr(0, 64) + "', 'RegisterDescription' is needed");
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
    ReadDeviceInformation(root, source, builder.Device());
    CheckSchema(root, source, builder.Device());
    NodeReader reader(builder, source, options);
    ReadNodes(root, reader);
    reader.TellRest();
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
