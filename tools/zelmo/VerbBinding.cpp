// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Output.h"
#include "Verb.h"

#include <zelmo/BindingReport.h>

#include <Base/GCException.h>

#include <filesystem>

namespace tool {
namespace {

using Binding = Zelmo::CConfigFileRegistry::CBinding;

Zelmo::CBindingReport Explain(const Zelmo::CDeviceInfo& info) {
    try {
        return Zelmo::ExplainBinding(info);
    } catch (const GenICam::GenericException& error) {
        const ToolError failure = FromLibrary(error, "Asking the binding rules for camera " + GetCameraName(info));
        throw ToolError(ExitCode::Failed, "rules",
                        std::string(failure.what()) + "; 'zelmo doctor' tells which rule file is at fault");
    }
}

bool Exists(const Zelmo::String_t& file) {
    std::error_code error;
    return std::filesystem::exists(file.str(), error);
}

std::string ShowFile(const Zelmo::String_t& file) {
    return Printable(file.str()) + (Exists(file) ? "" : " (missing)");
}

Json ToJson(const Zelmo::String_t& file) {
    return {{"path", file.str()}, {"exists", Exists(file)}};
}

const char* GetWord(Zelmo::EBindingStep step) {
    static const char* const kWords[] = {"no_match", "highest_priority", "last_custom", "last"};
    return kWords[step];
}

std::string DescribeSource(const Binding& binding) {
    const std::string file = binding.HasFile ? "the file " + ShowFile(binding.File) : "";
    if (binding.Download) {
        return "the camera" + (file.empty() ? "" : "; where that fails, " + file);
    }
    return file.empty() ? "nowhere: the rule forbids the download and names no file, so the camera cannot be opened"
                        : file;
}

std::string DescribeReason(const Zelmo::CBindingReport& report) {
    switch (report.step) {
    case Zelmo::BindingStep_HighestPriority:
        return report.matching.size() == 1 ? "no other rule matches" : "its priority is the highest";
    case Zelmo::BindingStep_LastCustom:
        return "of several rules of the highest priority, it is the last custom one";
    case Zelmo::BindingStep_Last:
        return "of several rules of the highest priority, none of them custom, it is the last one";
    default:
        return "no rule matches, so the camera has to have its description";
    }
}

const char* DescribeKind(const Zelmo::CBindingRuleInfo& rule) {
    return rule.custom ? "custom" : "standard";
}

Json ToJson(const Zelmo::CBindingRuleInfo& rule, bool isWinner) {
    Json json = {{"chosen", isWinner},
                 {"origin", rule.origin.str()},
                 {"priority", rule.priority},
                 {"custom", rule.custom},
                 {"manufacturer", rule.manufacturer.str()},
                 {"name", rule.modelName.str()},
                 {"serial_number", rule.serialNumber.str()},
                 {"download", rule.download}};
    if (!rule.file.empty()) {
        json["file"] = rule.file.str();
    }
    json["additional_files"] = Json::array();
    for (const Zelmo::String_t& file : rule.additionalFiles) {
        json["additional_files"].push_back(file.str());
    }
    return json;
}

Json ToJson(const std::string& device, const Zelmo::CBindingReport& report) {
    const Binding& binding = report.binding;
    Json json = {{"device", device}, {"reason", GetWord(report.step)}, {"download", binding.Download}};
    if (binding.HasFile) {
        json["file"] = ToJson(binding.File);
    }
    json["additional_files"] = Json::array();
    for (const Zelmo::String_t& file : binding.AdditionalFiles) {
        json["additional_files"].push_back(ToJson(file));
    }
    json["rules"] = Json::array();
    for (std::size_t i = 0; i < report.matching.size(); ++i) {
        json["rules"].push_back(ToJson(report.matching[i], i == report.winner));
    }
    return json;
}

class BindingVerb : public Verb {
public:
    std::string GetName() const override { return "binding"; }
    std::string GetSummary() const override { return "Tell where a camera's description comes from, and why"; }
    std::string GetDetails() const override {
        return "The rules that match the camera are shown as they were written, in the order in which they were read; "
               "a "
               "'*' marks the one that counts. The camera is not opened.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo binding", "The only camera"},
            {"zelmo binding 0815-0000 --json", "For a program, by serial number"},
        };
    }

    void Define(CLI::App& command) override { DefineDeviceArgument(command, m_device); }

    ExitCode Run(Library& library, Output& output) override {
        const Zelmo::CDeviceInfo info = SelectDevice(library, m_device);
        const Zelmo::CBindingReport report = Explain(info);
        output.Document(ToJson(GetCameraName(info), report));
        PrintChoice(report, output);
        PrintRules(report, output);
        return ExitCode::Done;
    }

private:
    static void PrintChoice(const Zelmo::CBindingReport& report, Output& output) {
        std::vector<std::vector<std::string>> rows = {{"Description", "from " + DescribeSource(report.binding)}};
        for (const Zelmo::String_t& file : report.binding.AdditionalFiles) {
            if (!file.empty()) {
                rows.push_back({"Added", ShowFile(file)});
            }
        }
        if (!report.matching.empty()) {
            const Zelmo::CBindingRuleInfo& rule = report.matching[report.winner];
            rows.push_back({"Rule", Printable(rule.origin.str()) + ", " + DescribeKind(rule) + ", priority " +
                                        std::to_string(rule.priority)});
        }
        rows.push_back({"Reason", DescribeReason(report)});
        for (const std::string& line : FormatTable(rows)) {
            output.Line(line);
        }
    }

    static void PrintRules(const Zelmo::CBindingReport& report, Output& output) {
        if (report.matching.empty()) {
            return;
        }
        std::vector<std::vector<std::string>> rows = {
            {"", "PRIORITY", "TYPE", "MANUFACTURER", "NAME", "SERIAL", "DOWNLOAD", "FILE", "ADDITIONAL", "ORIGIN"}};
        for (std::size_t i = 0; i < report.matching.size(); ++i) {
            const Zelmo::CBindingRuleInfo& rule = report.matching[i];
            std::string additional;
            for (const Zelmo::String_t& file : rule.additionalFiles) {
                additional += (additional.empty() ? "" : ";") + file.str();
            }
            rows.push_back({i == report.winner ? "*" : "", std::to_string(rule.priority), DescribeKind(rule),
                            Printable(rule.manufacturer.str()), Printable(rule.modelName.str()),
                            Printable(rule.serialNumber.str()), rule.download ? "yes" : "no",
                            Printable(rule.file.str()), Printable(additional), Printable(rule.origin.str())});
        }
        output.Line("");
        output.Table(rows);
    }

    std::string m_device;
};

} // namespace

std::unique_ptr<Verb> MakeBindingVerb() {
    return std::make_unique<BindingVerb>();
}

} // namespace tool
