// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/Export.h>
#include <zelmo/Types.h>

#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

namespace Zelmo {

/// The texts that describe a node.
enum EParameterInfo : int {
    ParameterInfo_Name = 0,        ///< The node's name, without its name space.
    ParameterInfo_DisplayName = 1, ///< What to show instead of the name.
    ParameterInfo_ToolTip = 2,     ///< What it is, in a line.
    ParameterInfo_Description = 3  ///< What it is, at length.
};

/// What parameters offer beside the interface of a node with a value.
struct ZELMO_API IValueEx : virtual public GenApi::IValue {
    /// Whether the value can be read, or written, now: false also without a node, and when the node fails to tell.
    virtual bool IsReadable() const = 0;
    virtual bool IsWritable() const = 0;
    /// Whether a node is attached.
    virtual bool IsValid() const = 0;
    /// One of the node's texts. @throws GenICam::AccessException without a node.
    /// @throws GenICam::InvalidArgumentException when @p info is none of EParameterInfo.
    virtual String_t GetInfo(EParameterInfo info) = 0;
    /// The same, but @p defaultInfo without a node, whatever @p info.
    virtual String_t GetInfoOrDefault(EParameterInfo info, String_t defaultInfo) = 0;
    /// The value as text; @p defaultValue without a node, and when it cannot be read now.
    virtual String_t ToStringOrDefault(const String_t& defaultValue) = 0;
};

/// A view of one node of a node map, whatever its kind; base of the typed parameters.
/// Owns nothing: the node belongs to its node map, and the parameter must not be used after that is gone. Attached to
/// no node it is invalid; what needs the node then throws GenICam::AccessException, which names the operation. What
/// the node itself throws passes unchanged, but where said otherwise. May stand wherever a node's interface is
/// expected. Threads: those of the node; attaching, assigning and releasing by one thread while no other uses the
/// object.
class ZELMO_API CParameter : virtual public IValueEx {
public:
    CParameter() = default; ///< Invalid.
    /// As Attach() with the same arguments; look at IsValid().
    CParameter(GenApi::INode* node);
    CParameter(GenApi::IValue* value);
    CParameter(GenApi::INodeMap& map, const char* name);
    CParameter(GenApi::INodeMap* map, const char* name);
    CParameter(const CParameter& other);            ///< A view of the same node.
    CParameter& operator=(const CParameter& other); ///< Attaches to the node of @p other, if any.
    ~CParameter() override;

    GenApi::EAccessMode GetAccessMode() const override; ///< NI without a node.

    GenApi::INode* GetNode() override;
    String_t ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const String_t& value, bool verify = true) override;
    bool IsValueCacheValid() const override;

    bool IsReadable() const override;
    bool IsWritable() const override;
    bool IsValid() const override;
    String_t GetInfo(EParameterInfo info) override;
    String_t GetInfoOrDefault(EParameterInfo info, String_t defaultInfo) override;
    String_t ToStringOrDefault(const String_t& defaultValue) override;

    /// Binds to a node instead of what was attached before: the node of that name in the map, the node itself, or the
    /// node behind a value, which may be another parameter. Anything null, an unknown name, a node of another kind and
    /// a parameter without a node leave this object invalid. @return whether it is valid now.
    virtual bool Attach(GenApi::INodeMap* map, const char* name);
    virtual bool Attach(GenApi::INodeMap& map, const char* name);
    virtual bool Attach(GenApi::INode* node);
    virtual bool Attach(GenApi::IValue* value);

    /// Whether the other is a view of the same node, or is that node; two times no node is the same too. A pointer to
    /// a value is compared as it stands: one to a parameter is never equal.
    virtual bool Equals(const CParameter& other) const;
    virtual bool Equals(const GenApi::INode* node) const;
    virtual bool Equals(const GenApi::IValue* value) const;

    virtual void Release(); ///< Lets go of the node; invalid afterwards.

protected:
    void PointTo(GenApi::IValue* value) noexcept { m_value = value; } ///< Null makes it invalid.

private:
    GenApi::IValue* m_value = nullptr; // the node's own, never another parameter
};

} // namespace Zelmo
