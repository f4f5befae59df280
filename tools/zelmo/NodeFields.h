// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"

#include <functional>
#include <string>
#include <vector>

namespace GenApi {
struct IEnumeration;
struct IInteger;
struct INode;
} // namespace GenApi

namespace tool {

/// Takes one field of a node: its name, and what reads it (null: there is nothing to tell). The taker decides what
/// becomes of an exception.
using FieldTaker = std::function<void(const char* name, const std::function<Json()>& read)>;

/// Hands out what limits the value of a node: "min", "max", "step" and "valid_values" of numbers, "max_length" of
/// texts, "length_bytes" of registers.
void ForEachLimit(GenApi::INode& node, const FieldTaker& take);

/// Whether its value is told as a number; addresses have a text form of their own, which only the node itself reads.
bool IsPlainNumber(GenApi::IInteger& integer);

/// The element that stands for the node in its description, such as "IntReg".
std::string GetKind(GenApi::INode& node);

std::string GetVisibilityName(const GenApi::INode& node); ///< Such as "Beginner".

/// The symbolic names of all entries, whether they are available or not.
std::vector<std::string> AllEntries(GenApi::IEnumeration& enumeration);
std::vector<std::string> AvailableEntries(GenApi::IEnumeration& enumeration); ///< Those that can be set now.

/// Puts fields of a node into a JSON object. What cannot be read stands in "errors", by field, with the cause, so that
/// one failure hides nothing else.
class FieldCollector {
public:
    explicit FieldCollector(GenApi::INode& node); ///< "name" and "kind" are there at once.

    /// @return whether it could be read; null is left out.
    bool Take(const char* name, const std::function<Json()>& read);
    Json Finish();

private:
    GenApi::INode& m_node;
    Json m_fields;
    Json m_errors = Json::object();
};

/// All that can be read of a node now: "name", "kind", "access", "visibility", and where there is such a thing "unit",
/// "value", limits and "entries"; with the value "number" where it is a text that stands for one, and "text" where the
/// text of a number is another one than the JSON has.
Json ReadNode(GenApi::INode& node);

} // namespace tool
