// SPDX-License-Identifier: Apache-2.0
#include "XMLWrapperLib/WrapXml.h"

#include <Base/GCException.h>

#include <tinyxml2.h>

#include <filesystem>
#include <system_error>

namespace Zelmo {
namespace {

String_t ToString(const char* text) {
    return text != nullptr ? String_t(text) : String_t();
}

// Pipes and devices are not even opened: that could block until somebody writes to them.
tinyxml2::XMLError LoadFile(tinyxml2::XMLDocument& document, const char* path) {
    std::error_code ignored; // a path that cannot be looked at is the parser's to report
    return std::filesystem::is_other(path, ignored) ? tinyxml2::XML_ERROR_FILE_READ_ERROR : document.LoadFile(path);
}

} // namespace

// Answers whether the load succeeded. What fails beside the parser leaves the error code as it was.
template <typename Parse>
bool CXmlNode::TryLoad(int& error, Parse parse) {
    try {
        const bool processEntities = true;
        m_document = std::make_shared<tinyxml2::XMLDocument>(processEntities, tinyxml2::PRESERVE_WHITESPACE);
        error = parse(*m_document);
        if (error != tinyxml2::XML_SUCCESS) {
            return false;
        }
        MoveTo(m_document->FirstChild());
        return true;
    } catch (...) {
        return false;
    }
}

void CXmlNode::LoadFromFile(const String_t& path) {
    int error = 0;
    if (!TryLoad(error, [&](tinyxml2::XMLDocument& document) { return LoadFile(document, path.c_str()); })) {
        throw RUNTIME_EXCEPTION("CXmlNode::LoadFromFile %s failed, Error=%d", path.c_str(), error);
    }
}

void CXmlNode::LoadFromString(const String_t& text) {
    int error = 0;
    if (!TryLoad(error, [&](tinyxml2::XMLDocument& document) { return document.Parse(text.c_str()); })) {
        throw RUNTIME_EXCEPTION("CXmlNode::LoadFromString failed, Error=%d", error);
    }
}

bool CXmlNode::IsNull() const {
    return m_document == nullptr || m_node == nullptr;
}

bool CXmlNode::IsValid() const {
    return !IsNull();
}

bool CXmlNode::IsAttribute() const {
    return IsValid() && m_attribute != nullptr;
}

bool CXmlNode::IsElement() const {
    return IsValid() && m_attribute == nullptr;
}

String_t CXmlNode::GetName() const {
    if (IsAttribute()) {
        return ToString(m_attribute->Name());
    }
    const tinyxml2::XMLElement* element = IsElement() ? m_node->ToElement() : nullptr;
    return element != nullptr ? ToString(element->Name()) : String_t();
}

String_t CXmlNode::GetValue() const {
    if (IsAttribute()) {
        return ToString(m_attribute->Value());
    }
    const tinyxml2::XMLElement* element = IsElement() ? m_node->ToElement() : nullptr;
    return element != nullptr ? ToString(element->GetText()) : String_t();
}

// Moves to the node or, past comments and declarations, to a sibling behind it.
void CXmlNode::MoveTo(tinyxml2::XMLNode* node) {
    while (node != nullptr && (node->ToComment() != nullptr || node->ToDeclaration() != nullptr)) {
        node = node->NextSibling();
    }
    m_node = node;
    m_attribute = nullptr;
}

CXmlNode CXmlNode::GetRoot() const {
    CXmlNode root(*this);
    if (m_document != nullptr) {
        root.MoveTo(m_document->FirstChild());
    }
    return root;
}

bool CXmlNode::MoveToFirstChild() {
    if (IsNull()) {
        return false;
    }
    MoveTo(m_node->FirstChild());
    return IsElement();
}

bool CXmlNode::MoveToNextSibling() {
    if (IsNull()) {
        return false;
    }
    MoveTo(m_node->NextSibling());
    return IsElement();
}

CXmlNode CXmlNode::GetFirstChild() const {
    CXmlNode child(*this);
    child.MoveToFirstChild();
    return child;
}

CXmlNode CXmlNode::GetNextSibling() const {
    CXmlNode sibling(*this);
    sibling.MoveToNextSibling();
    return sibling;
}

CXmlNode CXmlNode::GetParent() const {
    if (!IsElement()) {
        return {};
    }
    CXmlNode parent(*this);
    parent.m_node = m_node->Parent();
    return parent;
}

CXmlNode CXmlNode::GetFirstAttribute() const {
    if (!IsElement()) {
        return {};
    }
    CXmlNode attribute(*this);
    const tinyxml2::XMLElement* element = m_node->ToElement();
    attribute.m_attribute = element != nullptr ? element->FirstAttribute() : nullptr;
    return attribute;
}

CXmlNode CXmlNode::GetNextAttribute() const {
    if (!IsAttribute()) {
        return {};
    }
    CXmlNode attribute(*this);
    attribute.m_attribute = m_attribute->Next();
    return attribute;
}

CXmlNode CXmlNode::GetAttribute(const String_t& name) const {
    CXmlNode attribute = GetFirstAttribute();
    while (attribute.IsAttribute()) {
        if (attribute.GetName() == name) {
            return attribute;
        }
        attribute = attribute.GetNextAttribute();
    }
    return {};
}

// A loop, as files may hold more siblings than the stack has room for.
std::size_t CXmlNode::GetNodesByName(const String_t& name, std::vector<CXmlNode>& result) const {
    CXmlNode node(*this);
    std::size_t depth = 0; // below the level of this node
    while (node.IsValid()) {
        if (node.GetName() == name) {
            result.push_back(node);
        }
        const CXmlNode child = node.GetFirstChild();
        if (child.IsValid()) {
            node = child;
            ++depth;
            continue;
        }
        CXmlNode parent = node;
        while (!node.MoveToNextSibling() && depth > 0) {
            node = parent = parent.GetParent();
            --depth;
        }
    }
    return result.size();
}

} // namespace Zelmo
