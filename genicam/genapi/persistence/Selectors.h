// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/IValue.h>

#include <cstdint>
#include <string>
#include <vector>

namespace GenApi {

struct IBoolean;
struct IEnumeration;
struct IInteger;

/// All selectors of a feature, those that select selectors included.
struct SelectorOrder {
    std::vector<IValue*> selectors; ///< Each before those that select it; without the feature itself.
    bool isCyclic = false;          ///< Whether selectors select each other in a circle.
};

/// @throws OutOfRangeException for more than 64 selectors.
SelectorOrder CollectSelectors(IBase& feature);

bool IsSelector(IBase& feature);
std::string NameOf(IValue& feature); ///< Empty for what is not a node.

/// The values of a selector as numbers. Borrows the selector.
class SelectorValue {
public:
    explicit SelectorValue(IValue& selector);

    IValue& Feature() const noexcept { return m_selector; }
    bool IsMovable() const; ///< Whether it can be read and written now, and its values can be listed.
    std::int64_t Get() const;
    void Set(std::int64_t value, bool verify) const;

    /// All values that can be set now. @throws OutOfRangeException for more than 65,536.
    std::vector<std::int64_t> ListValues() const;

private:
    std::vector<std::int64_t> ListEntries() const;
    std::vector<std::int64_t> ListRange() const;
    void RequireBounded(std::uint64_t count) const;

    IValue& m_selector;
    IEnumeration* m_enumeration;
    IInteger* m_integer;
    IBoolean* m_boolean;
};

} // namespace GenApi
