// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/binding/RuleReader.h"

#include <zelmo/Utilities.h>

#include <Base/GCException.h>

#include <boost/algorithm/string/case_conv.hpp>

#include <cstdint>
#include <cstdlib>
#include <locale>
#include <sstream>
#include <string>

namespace Zelmo {
namespace {

/// A rule on the way from its elements to its compiled expressions.
struct CRuleText {
    String_t manufacturer = ".*";
    String_t modelName = ".*";
    String_t serialNumber = ".*";
    String_t file;
    StringList_t additionalFiles;
    bool download = true;
};

// A separator at the end is followed by nothing, one elsewhere also by an empty name.
void AppendFiles(const String_t& names, StringList_t& files) {
    std::istringstream stream(names.str());
    for (std::string name; std::getline(stream, name, ';');) {
        files.push_back(name);
    }
}

bool ReadDownload(const String_t& text) {
    const std::string word = boost::algorithm::to_lower_copy(TrimLeft(TrimRight(text)).str(), std::locale::classic());
    if (word != "yes" && word != "no") {
        throw RUNTIME_EXCEPTION(
            "CConfigFileRegistry::ProcessRuleNode: download attribute must be set to 'yes' or 'no'.");
    }
    return word == "yes";
}

void ReadElement(const String_t& name, const String_t& text, CRuleText& rule) {
    if (name == "Manufacturer") {
        rule.manufacturer = text;
    } else if (name == "Name") {
        rule.modelName = text;
    } else if (name == "SerialNumber") {
        rule.serialNumber = text;
    } else if (name == "File") {
        rule.file = text;
    } else if (name == "AdditionalFile") {
        AppendFiles(text, rule.additionalFiles);
    } else if (name == "Download") {
        rule.download = ReadDownload(text);
    } else {
        throw RUNTIME_EXCEPTION("CConfigFileRegistry::ProcessRuleNode: unexpected element %s found.", name.c_str());
    }
}

} // namespace

CBindingRule ReadRule(const CXmlNode& node) {
    CRuleText text;
    const String_t priority = node.GetAttribute("priority").GetValue(); // empty without one, which reads as 0
    CXmlNode element = node.GetFirstChild();
    do { // without any element, the empty name is the one that is not expected
        ReadElement(element.GetName(), element.GetValue(), text);
    } while (element.MoveToNextSibling());

    CBindingRule rule;
    rule.priority = static_cast<std::uint32_t>(std::atol(priority.c_str()));
    rule.manufacturer = CompilePattern(text.manufacturer);
    rule.modelName = CompilePattern(text.modelName);
    rule.serialNumber = CompilePattern(text.serialNumber);
    rule.file = text.file;
    rule.additionalFiles = text.additionalFiles;
    rule.download = text.download;
    return rule;
}

} // namespace Zelmo
