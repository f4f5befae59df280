// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Completion.h"
#include "Verb.h"

#include <memory>

namespace tool {

/// What the user may type, and what he typed. Everything about it (parsing, help, manual page, completion) comes from
/// the definitions that the verbs make here.
class CommandLine {
public:
    enum class Request { RunVerb, Help, Version, Document, Complete };

    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// @throws ToolError that says what is wrong and what was perhaps meant.
    Request Parse(int argc, const char* const* argv);

    const GlobalOptions& GetGlobalOptions() const noexcept { return m_global; }
    Verb& GetVerb(); ///< After RunVerb.

    std::string GetHelp() const;     ///< Of the verb that was given, else of the tool.
    std::string GetDocument() const; ///< After Document: a manual page, or a completion script for a shell.

    /// After Complete: what can stand for the last word that was typed.
    Completion GetCompletion(CompletionSource& source) const;

private:
    void DefineGlobalOptions();
    void DefineGenerator();
    void ParseOrThrow(int argc, const char* const* argv);
    std::string ExplainUnexpected() const;
    std::size_t FindVerb() const;

    std::unique_ptr<CLI::App> m_app;
    GlobalOptions m_global;
    std::vector<std::unique_ptr<Verb>> m_verbs;
    std::vector<CLI::App*> m_commands; // of each verb, owned by m_app
    CLI::App* m_generator = nullptr;   // hidden: what the build uses
    std::string m_generated;
    std::vector<std::string> m_typed; // behind "complete --"
    bool m_version = false;
};

} // namespace tool
