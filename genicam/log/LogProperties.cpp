// SPDX-License-Identifier: Apache-2.0
#include "LogProperties.h"

#include "LogHierarchy.h"
#include "PriorityNames.h"
#include "SinkAppender.h"
#include "TextParts.h"

#include <Base/GCException.h>
#include <Base/GCUtilities.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

namespace GenICam {

namespace {

/// One line "key=value"; the texts are borrowed.
struct Property {
    std::string_view key; // without the "log4cpp." in front
    std::string_view value;
    int line;
};

/// The lines of a property text. Lines that say nothing are told when it is read.
class CProperties {
public:
    CProperties(std::string_view text, std::string_view origin) : m_origin(origin) {
        for (int line = 1; !text.empty(); ++line) {
            AddLine(TakePart(text, '\n'), line);
        }
    }

    const std::vector<Property>& Lines() const noexcept { return m_lines; }

    /// The last line of that key, null without one.
    const Property* Find(const std::string& key) const {
        const auto found = std::find_if(m_lines.rbegin(), m_lines.rend(),
                                        [&](const Property& property) { return property.key == key; });
        return found == m_lines.rend() ? nullptr : &*found;
    }

    void Tell(int line, const std::string& fault) const {
        std::fprintf(stderr, "%s, line %d: %s\n", m_origin.c_str(), line, fault.c_str());
    }

private:
    void AddLine(std::string_view text, int line) {
        if (text.empty() || text.front() == '#' || text.front() == '!') {
            return;
        }
        if (text.find('=') == text.npos) {
            return Tell(line, "'" + std::string(text) + "' is no 'key=value' and is ignored");
        }
        std::string_view key = TakePart(text, '=');
        constexpr std::string_view prefix = "log4cpp.";
        if (key.starts_with(prefix)) {
            key.remove_prefix(prefix.size());
        }
        m_lines.push_back({key, Trimmed(text), line});
    }

    std::string m_origin;
    std::vector<Property> m_lines;
};

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

/// Carries out what the lines say; a line that cannot be carried out is told and left out, the others hold.
class CPropertyConfiguration {
public:
    CPropertyConfiguration(CLogHierarchy& hierarchy, const CProperties& properties)
        : m_hierarchy(hierarchy), m_properties(properties) {}

    void Apply(const Property& property) {
        constexpr std::string_view category = "category.";
        constexpr std::string_view additivity = "additivity.";
        if (property.key == "rootCategory") {
            SetCategory(m_hierarchy.Root(), property);
        } else if (property.key.starts_with(category)) {
            SetCategory(m_hierarchy.Get(property.key.substr(category.size())), property);
        } else if (property.key.starts_with(additivity)) {
            SetAdditivity(m_hierarchy.Get(property.key.substr(additivity.size())), property);
        }
    }

private:
    /// "LEVEL, appender, appender"; without a level that of the ancestor holds.
    void SetCategory(Logger& logger, const Property& property) {
        std::string_view rest = property.value;
        const auto name = TakePart(rest, ',');
        int level = LogPriority_NotSet;
        if (!name.empty() && !ParsePriority(name, level)) {
            m_properties.Tell(property.line, Quoted(name) + " names no log level and is ignored");
        } else if (!name.empty()) {
            logger.setPriority(level);
        }
        while (!rest.empty()) {
            logger.addAppender(FindAppender(std::string(TakePart(rest, ',')), property));
        }
    }

    void SetAdditivity(Logger& logger, const Property& property) {
        bool additivity = true;
        if (ParseFlag(property, additivity)) {
            logger.setAdditivity(additivity);
        }
    }

    bool ParseFlag(const Property& property, bool& flag) const {
        if (property.value != "true" && property.value != "false") {
            m_properties.Tell(property.line, Quoted(property.value) + " is neither 'true' nor 'false' and is ignored");
            return false;
        }
        flag = property.value == "true";
        return true;
    }

    /// Null for one that cannot be made, which is told at each of its users.
    AppenderPtr FindAppender(const std::string& name, const Property& user) {
        if (const auto found = m_appenders.find(name); found != m_appenders.end()) {
            return found->second;
        }
        try {
            return m_appenders[name] = CreateAppender(name);
        } catch (const GenericException& failure) {
            m_properties.Tell(user.line, "appender " + Quoted(name) + " is ignored: " + failure.GetDescription());
            return nullptr;
        }
    }

    AppenderPtr CreateAppender(const std::string& name) const {
        const std::string key = "appender." + name;
        const std::string_view kind = ValueOf(key);
        const gcstring pattern(ValueOf(key + ".layout.ConversionPattern"));
        if (kind == "ConsoleAppender") {
            return CreateErrorStreamAppender(gcstring(name), pattern);
        }
        if (kind != "FileAppender") {
            throw INVALID_ARGUMENT_EXCEPTION(kind.empty() ? "there is no line " + Quoted(key)
                                                          : "its kind " + Quoted(kind) + " is unknown");
        }
        return CreateFile(name, key, pattern);
    }

    AppenderPtr CreateFile(const std::string& name, const std::string& key, const gcstring& pattern) const {
        gcstring path(ValueOf(key + ".fileName"));
        if (path.empty()) {
            throw INVALID_ARGUMENT_EXCEPTION("there is no line " + Quoted(key + ".fileName"));
        }
        ReplaceEnvironmentVariables(path);
        bool append = true;
        if (const Property* const property = m_properties.Find(key + ".append")) {
            ParseFlag(*property, append);
        }
        return CreatePlainFileAppender(gcstring(name), path, append, pattern);
    }

    std::string_view ValueOf(const std::string& key) const {
        const Property* const property = m_properties.Find(key);
        return property ? property->value : std::string_view();
    }

    CLogHierarchy& m_hierarchy;
    const CProperties& m_properties;
    std::map<std::string, AppenderPtr> m_appenders;
};

} // namespace

bool ConfigureLogFromProperties(CLogHierarchy& hierarchy, std::string_view text, std::string_view origin) {
    const CProperties properties(text, origin);
    const bool isConfiguration = std::ranges::any_of(properties.Lines(), [](const Property& property) {
        return property.key == "rootCategory" || property.key.starts_with("category.");
    });
    if (!isConfiguration) {
        return false;
    }
    hierarchy.Reset();
    CPropertyConfiguration configuration(hierarchy, properties);
    for (const Property& property : properties.Lines()) {
        configuration.Apply(property);
    }
    return true;
}

bool ConfigureLogFromFile(CLogHierarchy& hierarchy, const gcstring& path) {
    std::ifstream file(path.c_str());
    std::ostringstream text;
    const bool isEmpty = file.peek() == std::ifstream::traits_type::eof(); // of which << would make a failure
    if (!file || file.bad() || (!isEmpty && !(text << file.rdbuf()))) {
        std::fprintf(stderr, "Cannot read the log configuration '%s'\n", path.c_str());
        return false;
    }
    return ConfigureLogFromProperties(hierarchy, text.str(), path.view());
}

} // namespace GenICam
