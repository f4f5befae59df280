// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "Description.h"
#include "InputFile.h"
#include "MemoryImage.h"
#include "NodeFields.h"
#include "Output.h"
#include "Verb.h"

#include <Base/GCException.h>
#include <GenApi/GenApi.h>

#include <CLI/CLI.hpp>

#include <memory>

namespace tool {
namespace {

constexpr std::size_t kMostBytes = std::size_t{64} << 20; // of a file

/// A description that is loaded without a camera, all its ports over one image of memory: chunk and event ports too,
/// so that their nodes can be looked at like the others.
class OfflineNodeMap {
public:
    /// @throws ToolError that names the file at fault, and the place in it.
    OfflineNodeMap(const std::string& file, const std::string& imageFile) {
        if (!imageFile.empty()) {
            m_image.Parse(ReadInputFile(imageFile, kMostBytes), imageFile);
        }
        const std::string content = ReadInputFile(file, kMostBytes);
        try {
            m_nodeMap = LoadDescription(content);
        } catch (const GenICam::GenericException& error) {
            throw ToolError(ExitCode::Failed, "description", "'" + file + "': " + error.GetDescription());
        }
        m_nodeMap->GetNodes(m_nodes);
        ConnectPorts();
    }

    const GenApi::NodeList_t& GetNodes() const noexcept { return m_nodes; }

private:
    void ConnectPorts() {
        for (GenApi::INode* node : m_nodes) {
            if (node->GetPrincipalInterfaceType() == GenApi::intfIPort) {
                m_ports.push_back(std::make_unique<MemoryPort>(m_image));
                m_nodeMap->Connect(m_ports.back().get(), node->GetName());
            }
        }
    }

    MemoryImage m_image;
    std::vector<std::unique_ptr<MemoryPort>> m_ports;
    NodeMapPtr m_nodeMap; // goes before its ports
    GenApi::NodeList_t m_nodes;
};

std::string TextOf(const Json& field) {
    return field.is_string() ? field.get<std::string>() : field.dump();
}

std::string Joined(const Json& list) {
    std::string text;
    for (const Json& item : list) {
        text += (text.empty() ? "" : ", ") + TextOf(item);
    }
    return text;
}

std::string MakeValueCell(const Json& node) {
    if (!node.contains("value")) {
        return "-";
    }
    constexpr std::size_t widest = 60;
    const std::string text = TextOf(node[node.contains("text") ? "text" : "value"]);
    const bool isNamed = node["kind"] == "Enumeration" || node["kind"] == "EnumEntry"; // its number says more
    return Cut(Printable(text), widest) + (isNamed ? " (" + TextOf(node["number"]) + ")" : "") +
           (node.contains("unit") ? " " + Printable(node["unit"]) : "");
}

/// Limits and entries.
std::string MakeLimitsCell(const Json& node) {
    if (node.contains("entries")) {
        return Printable(Joined(node["entries"]));
    }
    std::string text;
    if (node.contains("min") && node.contains("max")) {
        text = TextOf(node["min"]) + " to " + TextOf(node["max"]);
        text += node.contains("step") && node["step"] != 1 ? " in steps of " + TextOf(node["step"]) : "";
        text += node.contains("valid_values") ? ": " + Joined(node["valid_values"]) : "";
    } else if (node.contains("max_length")) {
        text = "at most " + TextOf(node["max_length"]) + " characters";
    } else if (node.contains("length_bytes")) {
        text = TextOf(node["length_bytes"]) + " bytes";
    }
    return text;
}

std::string MakeErrorText(const Json& node) {
    std::string text;
    for (const auto& [field, message] : node["errors"].items()) {
        text += (text.empty() ? "! " : "; ") + field + ": " + Printable(message);
    }
    return text;
}

/// An error stands in front of the limits that could be read, where it is seen.
std::vector<std::string> MakeRow(const Json& node) {
    std::string limits = MakeLimitsCell(node);
    if (node.contains("errors")) {
        limits = MakeErrorText(node) + (limits.empty() ? "" : " (" + limits + ")");
    }
    return {node["name"],        node["kind"], node.value("access", "?"), node.value("visibility", "?"),
            MakeValueCell(node), limits};
}

class NodemapVerb : public Verb {
public:
    std::string GetName() const override { return "nodemap"; }
    std::string GetSummary() const override { return "List every node of a description file, without a camera"; }
    std::string GetDetails() const override {
        return "FILE is a GenICam description, plain or zipped. Each node stands in one line, in the order of the "
               "file: name, kind, access, visibility, value with unit, and limits or entries; on a terminal the lines "
               "end at its edge. An error in reading a property stands behind the value, marked with '!'. --json has "
               "the fields one by one. "
               "IMAGE is a text of lines ADDRESS HEXBYTES, both hexadecimal; '#' starts a comment, and of two lines "
               "for one address the later one counts. All other bytes read as zero. All ports of the description, "
               "also those of chunks and events, lead to this memory, and it can be read and written.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo nodemap camera.xml", "All nodes over memory that is zero everywhere"},
            {"zelmo nodemap camera.zip --memory registers.txt", "The same over registers with content"},
            {"zelmo nodemap camera.xml --json", "One document, for programs"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("FILE", m_file, "Description, plain or zipped")->type_name("")->required();
        command.add_option("--memory", m_image, "Content of the registers; all zero when left out")
            ->type_name("IMAGE")
            ->check(NotEmpty());
    }

    bool NeedsLibrary() const override { return false; }

    ExitCode Run(Library&, Output& output) override {
        const OfflineNodeMap nodeMap(m_file, m_image);
        Json nodes = Json::array();
        std::vector<std::vector<std::string>> rows{{"NAME", "KIND", "ACCESS", "VISIBILITY", "VALUE", "LIMITS"}};
        std::size_t faulty = 0;
        for (GenApi::INode* node : nodeMap.GetNodes()) {
            Json json = ReadNode(*node);
            faulty += json.contains("errors") ? 1 : 0;
            if (output.IsJson()) {
                nodes.push_back(std::move(json));
            } else {
                rows.push_back(MakeRow(json));
            }
        }
        output.Document({{"file", m_file}, {"nodes", std::move(nodes)}});
        output.Table(rows, {44, 14, 6, 10, 20});
        if (faulty != 0) {
            output.Note(std::to_string(faulty) + " of " + std::to_string(nodeMap.GetNodes().size()) +
                        " nodes have properties that cannot be read");
        }
        return ExitCode::Done;
    }

private:
    std::string m_file;
    std::string m_image;
};

} // namespace

std::unique_ptr<Verb> MakeNodemapVerb() {
    return std::make_unique<NodemapVerb>();
}

} // namespace tool
