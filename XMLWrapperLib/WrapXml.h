// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Types.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace tinyxml2 {
class XMLAttribute;
class XMLDocument;
class XMLNode;
} // namespace tinyxml2

namespace Zelmo {

/// A place in an XML document: an element, an attribute, or nothing (null).
/// A text child counts as an element without a name. Comments and declarations are never seen. Copies are cheap and
/// share the document, which goes with its last copy. Threads: copies may be destroyed on different threads; otherwise
/// one thread at a time for all copies of a document.
class CXmlNode {
public:
    CXmlNode() = default; ///< Null.

    /// Replace the document and move to its root; a document of nothing but comments leaves a null object.
    /// @throws GenICam::RuntimeException with the parser's error code, 0 when it failed for another reason such as lack
    /// of memory. The object must then not be used but for another load, assignment or destruction.
    /// @{
    void LoadFromFile(const String_t& path);
    void LoadFromString(const String_t& text); ///< Up to the first zero byte.
    /// @}

    bool IsNull() const;
    bool IsValid() const;
    bool IsAttribute() const;
    bool IsElement() const;

    String_t GetName() const;  ///< Empty for null and for text.
    String_t GetValue() const; ///< The attribute's value, or the element's text if text is what it begins with.

    CXmlNode GetRoot() const;

    /// @return whether there was such a node; if not, the object is null now.
    /// @{
    bool MoveToFirstChild();
    bool MoveToNextSibling();
    /// @}

    CXmlNode GetFirstChild() const;
    CXmlNode GetNextSibling() const;
    CXmlNode GetParent() const; ///< Null for an attribute.

    /// An element without attributes, and an attribute without a next one, answer the element itself.
    /// @{
    CXmlNode GetFirstAttribute() const;
    CXmlNode GetNextAttribute() const;
    /// @}
    CXmlNode GetAttribute(const String_t& name) const; ///< Null if there is none of this name.

    /// Appends what has this name, in document order: among this node, its descendants, the siblings behind it and
    /// theirs. @return the number of nodes then in @p result.
    std::size_t GetNodesByName(const String_t& name, std::vector<CXmlNode>& result) const;

private:
    template <typename Parse>
    bool TryLoad(int& error, Parse parse);
    void MoveTo(tinyxml2::XMLNode* node);

    std::shared_ptr<tinyxml2::XMLDocument> m_document;
    tinyxml2::XMLNode* m_node = nullptr;                 // owned by the document
    const tinyxml2::XMLAttribute* m_attribute = nullptr; // of m_node; null when this stands for the node itself
};

} // namespace Zelmo
