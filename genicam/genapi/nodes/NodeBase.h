// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Model.h"
#include "genicam/genapi/nodes/Callbacks.h"

#include <GenApi/INode.h>
#include <GenApi/ISelector.h>
#include <GenApi/IUserData.h>
#include <GenApi/IValue.h>

#include <string>

namespace GenApi {

class MapCore;
class NodeBase;
struct Closure;

/// What a read may be served from; goes down the chain of values, but not into predicates and addresses.
struct ReadMode {
    bool verify = false;
    bool ignoreCache = false;
    bool MayUseCache() const noexcept { return !verify && !ignoreCache; }
};

/// What a node's value is, for those that refer to it.
enum class ValueType : std::uint8_t { None, Integer, Float, Boolean, Enumeration, Text };

/// Bits of what a node has cached.
enum CacheBit : std::uint8_t {
    Cached_Value = 1,
    Cached_Min = 2,
    Cached_Max = 4,
    Cached_Inc = 8,
    Cached_Mode = 16,
    Cached_Place = 32,     ///< address and length of a register
    Cached_Protected = 64, ///< the value was written by the call in progress and survives its invalidation
    Cached_Finding = 128   ///< nothing, but something is being found, and was not made void since; see Find
};

/// What all nodes are inside. The public interfaces take the map's lock and call the inner protocol, which nodes use
/// among themselves; it runs under that lock and goes by virtual calls of this class alone, never by a cast between
/// interfaces. A node is bound once, after all nodes of its map exist; what it refers to and its constants stay as they
/// are. Owns: its registrations. Borrows: the map's core, which owns the nodes.
class NodeBase : public INode, public ISelector, public IUserData {
public:
    NodeBase(MapCore& core, NodeIndex index);
    NodeBase(const NodeBase&) = delete;
    NodeBase& operator=(const NodeBase&) = delete;
    ~NodeBase() override;

    // IBase, INode
    EAccessMode GetAccessMode() const override;
    gcstring GetName(bool FullQualified = false) const override;
    ENameSpace GetNameSpace() const override;
    EVisibility GetVisibility() const override;
    void InvalidateNode() override;
    bool IsCachable() const override;
    EYesNo IsAccessModeCacheable() const override;
    ECachingMode GetCachingMode() const override;
    int64_t GetPollingTime() const override;
    gcstring GetToolTip() const override;
    gcstring GetDescription() const override;
    gcstring GetDisplayName() const override;
    gcstring GetDeviceName() const override;
    void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const override;
    void GetParents(NodeList_t& Parents) const override;
    CallbackHandleType RegisterCallback(CNodeCallback* pCallback) override;
    bool DeregisterCallback(CallbackHandleType hCallback) override;
    INodeMap* GetNodeMap() const override;
    gcstring GetEventID() const override;
    bool IsStreamable() const override;
    void GetPropertyNames(gcstring_vector& PropertyNames) const override;
    bool GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) override;
    void ImposeAccessMode(EAccessMode ImposedAccessMode) override;
    void ImposeVisibility(EVisibility ImposedVisibility) override;
    INode* GetAlias() const override;
    INode* GetCastAlias() const override;
    gcstring GetDocuURL() const override;
    bool IsDeprecated() const override;
    EInterfaceType GetPrincipalInterfaceType() const override = 0;
    bool IsFeature() const override;

    // ISelector
    bool IsSelector() const override;
    void GetSelectedFeatures(FeatureList_t& List) const override;
    void GetSelectingFeatures(FeatureList_t& List) const override;

    // IUserData
    UserData_t GetUserData() const override;
    UserData_t SetUserData(UserData_t pUserData) override;

    // the inner protocol: under the lock
    MapCore& Core() const noexcept { return m_core; }
    const Model& Description() const noexcept;
    NodeIndex Index() const noexcept { return m_index; }
    NodeKind Kind() const noexcept { return m_kind; }
    std::string_view Name() const noexcept { return Description().NameOf(m_index); }
    std::string NameText() const { return std::string(Name()); }
    virtual IValue* AsValue() noexcept { return nullptr; }
    virtual ValueType Type() const noexcept { return ValueType::None; }

    void Bind(); ///< Takes over what the description says; called once when all nodes exist.

    /// Natural and imposed.
    EAccessMode Mode() { return HasCached(Cached_Mode) ? static_cast<EAccessMode>(m_mode) : FindMode(); }
    ECachingMode Caching(); ///< of the value
    bool IsModeCacheable(); ///< whether the natural mode may be kept until something it depends on is invalidated
    /// @throws GenICam::AccessException
    void RequireReadable() {
        if (!IsReadable(Mode())) {
            FailAccess("readable");
        }
    }
    void RequireWritable() { ///< likewise
        if (!IsWritable(Mode())) {
            FailAccess("writable");
        }
    }
    void RequireAvailable() { ///< likewise
        if (!IsAvailable(Mode())) {
            FailAccess("available");
        }
    }
    void CheckErrorNodes() { ///< after a verified access. @throws GenICam::RuntimeException
        if (m_hasErrorNodes) {
            ReadErrorNodes();
        }
    }

    /// Values as others see them through a reference. The types that a node is not of raise RuntimeException.
    virtual std::int64_t ReadInteger(ReadMode mode);
    virtual double ReadFloat(ReadMode mode);
    virtual std::string ReadText(ReadMode mode);
    virtual bool ReadTruth(ReadMode mode); ///< as a predicate
    virtual void WriteInteger(std::int64_t value, bool verify);
    virtual void WriteFloat(double value, bool verify);
    virtual void WriteText(const std::string& value, bool verify);
    virtual std::int64_t MinInteger();
    virtual std::int64_t MaxInteger();
    virtual std::int64_t IncInteger() { return 1; }
    virtual double MinFloat();
    virtual double MaxFloat();
    virtual bool IncFloat(double&) { return false; } ///< @return false without increment
    virtual bool AreLimitsKept() { return true; }    ///< whether limits may be cached by those who refer to the node
    virtual std::int64_t MaxTextLength();
    virtual void CompileFormulas() {}              ///< @throws GenICam::PropertyException for a broken formula
    virtual std::string ErrorText() { return {}; } ///< of an enumeration: empty unless it tells an error
    virtual ERepresentation Representation() { return PureNumber; }
    virtual std::string Unit() { return {}; }
    virtual EDisplayNotation DisplayNotation() { return fnAutomatic; }
    virtual std::int64_t DisplayPrecision() { return -1; }
    virtual bool IsValueCached() { return HasCached(Cached_Value); }

    /// Forgets what is cached. @p keepProtected spares the value that the call in progress has written, @p onlyValue
    /// all but the value.
    void DropCaches(bool keepProtected, bool onlyValue = false) noexcept {
        const bool spare = keepProtected && HasCached(Cached_Protected);
        if (m_hasRaw && !spare) {
            DropRaw();
        }
        const int kept =
            (onlyValue ? ~(Cached_Value | Cached_Protected | Cached_Finding) : 0) | (spare ? Cached_Value : 0);
        if ((m_cached & ~kept) != 0) { // else there is nothing: a write comes by all that depends on it, twice
            m_cached &= static_cast<std::uint8_t>(kept);
        }
    }
    bool HasRegistrations() const noexcept { return !m_registrations.empty(); }
    const std::vector<RegistrationPtr>& Registrations() const noexcept { return m_registrations; }
    void EndRegistrations(std::vector<RegistrationPtr>& ended); ///< all, with the map; they are still to be finished

    /// When pBlockPolling is set, whether it says to wait.
    bool IsPollingBlocked();
    std::int64_t PollingTime() const noexcept { return m_pollingTimeMs; }
    virtual void OnPollingTime() {} ///< a command looks whether it is done

    const Closure* affected = nullptr;   ///< kept by the core, once computed
    const Closure* dependents = nullptr; ///< likewise
    std::uint32_t visited = 0;           ///< the core's walk that met it last
    std::int64_t pollElapsedMs = 0;      ///< since its last polling

protected:
    virtual EAccessMode OwnMode() = 0; ///< by the table of kinds, without predicates
    virtual bool IsOwnModeCacheable() { return true; }
    virtual ECachingMode ComputeCaching() { return WriteThrough; }
    virtual void DropRaw() noexcept {} ///< of a register
    virtual void BindProperty(const Property&) {}

    NodeBase* Target(const Property& property) const noexcept; ///< of a reference; null if it was dropped
    /// Visits the nodes that references of this kind name; an entry's own stand in place of its structure's.
    template <typename Visitor>
    void ForEachReference(PropertyKind kind, Visitor&& visit) const;
    static ECachingMode CachingOver(NodeBase* target); ///< of what another node stores, or of an own value
    bool HasCached(CacheBit bit) const noexcept { return (m_cached & bit) != 0; }
    void MarkCached(CacheBit bit) noexcept { m_cached |= bit; }
    void DropCached(CacheBit bit) noexcept { m_cached &= static_cast<std::uint8_t>(~bit); }
    void MarkHasRaw() noexcept { m_hasRaw = true; }

    /// Whether a value may be cached: its caching mode is not NoCache.
    bool KeepsValue() { return Caching() != NoCache; }

    /// While something of the node is being found. It may be kept if nothing made the node void meanwhile: a port may
    /// come back into its map in the middle of a read. One find may lie within another of the same node.
    class Find {
    public:
        explicit Find(NodeBase& node) noexcept : m_node(node), m_isInner(node.HasCached(Cached_Finding)) {
            node.MarkCached(Cached_Finding);
        }
        ~Find() {
            if (!m_isInner) { // nor is it the mark of an outer one that was disturbed before
                m_node.DropCached(Cached_Finding);
            }
        }
        Find(const Find&) = delete;
        Find& operator=(const Find&) = delete;

        bool IsUndisturbed() const noexcept { return m_node.HasCached(Cached_Finding); }

    private:
        NodeBase& m_node;
        const bool m_isInner;
    };

private:
    friend class EvaluationGuard;

    EAccessMode FindMode();
    EAccessMode ComputeMode();
    void ReadErrorNodes();
    bool ComputeModeCacheable();
    bool Predicate(NodeBase& node, bool whenUnreadable);
    [[noreturn]] void FailKind(const char* what);
    [[noreturn]] void FailAccess(const char* what);

    MapCore& m_core;
    const NodeIndex m_index;
    std::uint8_t m_cached = 0; // bits of CacheBit
    const NodeKind m_kind;
    std::uint8_t m_mode = RW;        // EAccessMode with what is imposed, while cached
    std::uint8_t m_imposedMode = RW; // by ImposeAccessMode
    std::uint8_t m_givenMode = RW;   // element ImposedAccessMode
    std::uint8_t m_imposedVisibility = Beginner;
    std::uint8_t m_caching = _UndefinedCachingMode; // until computed
    std::uint8_t m_modeCacheable = _UndefinedYesNo; // until computed
    bool m_hasRaw = false;
    bool m_isEvaluating = false;
    bool m_isWriting = false;
    bool m_isComputingMode = false;
    bool m_toldUnreadable = false;
    bool m_toldCycle = false;
    bool m_hasErrorNodes = false;
    NodeBase* m_isImplementedBy = nullptr;
    NodeBase* m_isAvailableBy = nullptr;
    NodeBase* m_isLockedBy = nullptr;
    std::int64_t m_pollingTimeMs = -1;
    UserData_t m_userData = nullptr;
    std::vector<RegistrationPtr> m_registrations;
};

/// Base of all nodes with a value: text in and out.
class ValueNode : public NodeBase, public virtual IValue {
public:
    using NodeBase::NodeBase;

    INode* GetNode() override { return this; }
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const gcstring& ValueStr, bool Verify = true) override;
    bool IsValueCacheValid() const override;

    IValue* AsValue() noexcept override { return this; }

protected:
    virtual std::string FormatValue(ReadMode mode) = 0;
    virtual void WriteFormatted(std::string_view text, bool verify) = 0;
    /// @throws GenICam::InvalidArgumentException "Node 'X' : cannot convert string 'abc' to int."
    [[noreturn]] void FailConversion(std::string_view text, const char* type);
};

} // namespace GenApi
