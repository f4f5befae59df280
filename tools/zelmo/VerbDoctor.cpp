// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "LibraryChecks.h"
#include "Output.h"
#include "Verb.h"

#include <algorithm>

namespace tool {
namespace {

class DoctorVerb : public Verb {
public:
    std::string GetName() const override { return "doctor"; }
    std::string GetSummary() const override { return "Check plug-ins and host, and tell what to improve"; }
    std::string GetDetails() const override {
        return "Plug-ins are tried in a process of their own, and two emulated cameras grab for a moment in another "
               "one, "
               "to count the files that a camera takes. The exit code is 8 when a plug-in could not be loaded, 1 when "
               "the library does not start or a rule file cannot be read; warnings leave it 0.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo doctor", "All checks, each with a verdict and, where needed, a remedy"},
            {"zelmo doctor --json", "The same for a program"},
        };
    }

    void Define(CLI::App&) override {}

    bool NeedsLibrary() const override { return false; } // what keeps it from starting is among the findings

    ExitCode Run(Library& library, Output& output) override {
        std::vector<Check> checks = CheckLibrary(library, output);
        const auto system = CheckSystem();
        checks.insert(checks.end(), system.begin(), system.end());
        Print(checks, output);
        const auto problem = std::find_if(checks.begin(), checks.end(),
                                          [](const Check& check) { return check.verdict == Verdict::Problem; });
        return problem == checks.end() ? ExitCode::Done : problem->exitCode;
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
