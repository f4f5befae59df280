// SPDX-License-Identifier: Apache-2.0
#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Escape.h"
#include "Feature.h"
#include "Output.h"
#include "Verb.h"

#include <GenApi/GenApi.h>

#include <fnmatch.h>
#include <set>

namespace tool {
namespace {

GenApi::EVisibility ParseVisibility(const std::string& word) {
    return word == "beginner" ? GenApi::Beginner
           : word == "expert" ? GenApi::Expert
           : word == "guru"   ? GenApi::Guru
                              : GenApi::Invisible;
}

/// Walks the categories from Root and prints what fits, categories only where something below them does.
class FeatureTree {
public:
    FeatureTree(Output& output, const Camera& camera, const FeaturesOptions& options)
        : m_output(output), m_camera(camera.GetName()), m_options(options),
          m_visibility(ParseVisibility(options.visibility)) {}

    void Print(GenApi::INodeMap& nodeMap) {
        if (auto* root = dynamic_cast<GenApi::ICategory*>(nodeMap.GetNode("Root"))) {
            WalkChildren(*root, 0);
        }
        if (m_features.empty() && !m_options.glob.empty()) {
            throw FeatureError("", "unknown_feature",
                               "No feature of camera " + m_camera + " matches '" + m_options.glob +
                                   "' at the visibility " + m_options.visibility + "; 'zelmo features' lists all");
        }
        m_output.Document({{"device", m_camera}, {"features", m_features}});
        for (const std::string& line : FormatTable(m_rows)) {
            m_output.Line(line);
        }
    }

private:
    void Walk(GenApi::INode& node, std::size_t depth) {
        auto* category = dynamic_cast<GenApi::ICategory*>(&node);
        if (category == nullptr) {
            Add(node, depth);
            return;
        }
        if (!m_path.insert(&node).second) { // a category that holds itself
            return;
        }
        const std::string outer = m_category;
        const std::size_t rows = m_rows.size();
        const std::size_t features = m_features.size();
        m_category += (m_category.empty() ? "" : "/") + std::string(node.GetName().c_str());
        m_rows.push_back({Indent(depth) + node.GetName().c_str()});
        WalkChildren(*category, depth + 1);
        if (m_features.size() == features) {
            m_rows.resize(rows);
        }
        m_category = outer;
        m_path.erase(&node);
    }

    void WalkChildren(const GenApi::ICategory& category, std::size_t depth) {
        GenApi::FeatureList_t children;
        category.GetFeatures(children);
        for (GenApi::IValue* child : children) {
            Walk(*child->GetNode(), depth);
        }
    }

    void Add(GenApi::INode& node, std::size_t depth) {
        const Feature feature(node, m_camera);
        if (node.GetVisibility() > m_visibility || !Matches(feature.GetName())) {
            return;
        }
        Json json = Describe(feature);
        if (json.value("access", "") == "NI") {
            return;
        }
        json["category"] = m_category;
        m_features.push_back(json);
        m_rows.push_back(MakeRow(feature, json, depth));
    }

    bool Matches(const std::string& name) const {
        return m_options.glob.empty() || fnmatch(m_options.glob.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
    }

    /// One feature that cannot be read must not hide all others.
    Json Describe(const Feature& feature) const {
        Json json = {{"name", feature.GetName()}, {"type", feature.GetType()}};
        try {
            json = feature.GetDescription(false);
            if (m_options.values) {
                json = feature.GetDescription(true);
            }
        } catch (const ToolError& error) {
            json["error"] = MakeCauseJson(error);
        }
        return json;
    }

    std::vector<std::string> MakeRow(const Feature& feature, const Json& json, std::size_t depth) const {
        const std::string access = json.value("access", "?");
        std::vector<std::string> row{Indent(depth) + feature.GetName(), access, json["type"]};
        if (!m_options.values) {
            return row;
        }
        const bool value = json.contains("value");
        const std::string unit = json.value("unit", "");
        row.push_back(value ? Escape(feature.GetText()) + (unit.empty() ? "" : " " + unit) : "-");
        const bool limited = (access == "RW" || access == "WO") && (json.contains("min") || json.contains("entries"));
        row.push_back(limited                  ? "(" + feature.GetLimits() + ")"
                      : json.contains("error") ? json["error"]["message"].get<std::string>()
                                               : "");
        return row;
    }

    static std::string Indent(std::size_t depth) { return std::string(2 * depth, ' '); }

    Output& m_output;
    const std::string m_camera;
    const FeaturesOptions& m_options;
    const GenApi::EVisibility m_visibility;
    std::set<const GenApi::INode*> m_path; // from the root to here
    std::string m_category;                // names on the way, joined by "/"
    Json m_features = Json::array();
    std::vector<std::vector<std::string>> m_rows;
};

class FeaturesVerb : public Verb {
public:
    std::string GetName() const override { return "features"; }
    std::string GetSummary() const override { return "Show a camera's features by category"; }
    std::string GetDetails() const override {
        return "Access is RW, RO (read-only or locked now), WO or NA (not available now). GLOB takes * and ? and "
               "ignores case.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo features", "All features of the only camera"},
            {"zelmo features 'Exposure*' --values", "Some, with value, unit and limits"},
            {"zelmo features -d 0815-0000 --visibility beginner", "The most common ones of that camera"},
            {"zelmo features --nodemap stream --values --json", "The parameters of its stream grabber, for a program"},
            {"zelmo features --nodemap chunk --values", "What it sends along with images, of one that is grabbed now"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("GLOB", m_options.glob, "Names of features; all when left out")->type_name("");
        DefineDeviceOptions(command, m_device);
        command.add_flag("--values", m_options.values, "Read values, units and limits");
        DefineChoice(command, "--visibility", m_options.visibility, {"beginner", "expert", "guru", "invisible"},
                     "Show features up to this one; default guru");
    }

    ExitCode Run(Library& library, Output& output) override {
        Camera camera(SelectDevice(library, m_device.device), output);
        FeatureTree(output, camera, m_options).Print(camera.GetNodeMap(m_device));
        return ExitCode::Done;
    }

private:
    DeviceOptions m_device;
    FeaturesOptions m_options;
};

} // namespace

std::unique_ptr<Verb> MakeFeaturesVerb() {
    return std::make_unique<FeaturesVerb>();
}

} // namespace tool
