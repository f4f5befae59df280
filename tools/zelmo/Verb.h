// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"
#include "Options.h"

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

class Library;
class Output;

struct Example {
    std::string command;
    std::string effect;
};

/// One verb: its options, its texts and what it does. Help, manual page and completion are made of the same
/// definitions.
class Verb {
public:
    virtual ~Verb() = default;

    virtual std::string GetName() const = 0;
    virtual std::string GetSummary() const = 0; ///< One line, for the tool's help.
    virtual std::string GetDetails() const { return {}; }
    virtual std::vector<Example> GetExamples() const = 0;

    /// Adds the verb's options to @p command; they are parsed into members of this object.
    virtual void Define(CLI::App& command) = 0;

    /// Whether the library has to run: else it is only prepared, and this verb starts it itself, if at all.
    virtual bool NeedsLibrary() const { return true; }

    /// @throws ToolError, and what the library throws.
    virtual ExitCode Run(Library& library, Output& output) = 0;
};

std::unique_ptr<Verb> MakeBenchVerb();
std::unique_ptr<Verb> MakeBindingVerb();
std::unique_ptr<Verb> MakeDescribeVerb();
std::unique_ptr<Verb> MakeDiffVerb();
std::unique_ptr<Verb> MakeDoctorVerb();
std::unique_ptr<Verb> MakeExecVerb();
std::unique_ptr<Verb> MakeFeaturesVerb();
std::unique_ptr<Verb> MakeGetVerb();
std::unique_ptr<Verb> MakeGrabVerb();
std::unique_ptr<Verb> MakeInfoVerb();
std::unique_ptr<Verb> MakeIpVerb();
std::unique_ptr<Verb> MakeListVerb();
std::unique_ptr<Verb> MakeLoadVerb();
std::unique_ptr<Verb> MakeNodemapVerb();
std::unique_ptr<Verb> MakeSaveVerb();
std::unique_ptr<Verb> MakeServeVerb();
std::unique_ptr<Verb> MakeSetVerb();
std::unique_ptr<Verb> MakeXmlVerb();

} // namespace tool
