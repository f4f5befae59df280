// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "Library.h"
#include "Output.h"
#include "SystemChecks.h"
#include "Verb.h"

namespace tool {
namespace {

class DoctorVerb : public Verb {
public:
    std::string GetName() const override { return "doctor"; }
    std::string GetSummary() const override { return "Check plug-ins and host, and tell what to improve"; }
    std::string GetDetails() const override {
        return "The exit code is 8 when a plug-in could not be loaded; warnings leave it 0.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo doctor", "All checks, each with a verdict and, where needed, a remedy"},
            {"zelmo doctor --json", "The same for a program"},
        };
    }

    void Define(CLI::App&) override {}

    ExitCode Run(Library& library, Output& output) override {
        std::vector<Check> checks = CheckPlugins(library);
        bool pluginFailed = false;
        for (const Check& check : checks) {
            pluginFailed = pluginFailed || check.verdict == Verdict::Problem;
        }
        const auto system = CheckSystem();
        checks.insert(checks.end(), system.begin(), system.end());
        Print(checks, output);
        return pluginFailed ? ExitCode::Plugin : ExitCode::Done;
    }

private:
    static const char* GetWord(Verdict verdict) {
        return verdict == Verdict::Ok ? "ok" : verdict == Verdict::Warning ? "warning" : "problem";
    }

    static void Print(const std::vector<Check>& checks, Output& output) {
        Json list = Json::array();
        for (const Check& check : checks) {
            Json json = {{"name", check.name}, {"verdict", GetWord(check.verdict)}, {"detail", check.detail}};
            std::string word = GetWord(check.verdict);
            word.resize(9, ' ');
            output.Line(word + check.name + ": " + check.detail);
            if (!check.remedy.empty()) {
                json["remedy"] = check.remedy;
                output.Line("         -> " + check.remedy);
            }
            list.push_back(json);
        }
        output.Document({{"checks", list}});
    }
};

} // namespace

std::unique_ptr<Verb> MakeDoctorVerb() {
    return std::make_unique<DoctorVerb>();
}

} // namespace tool
