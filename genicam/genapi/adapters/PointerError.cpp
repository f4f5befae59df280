// SPDX-License-Identifier: Apache-2.0
#include <GenApi/Pointer.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include <cxxabi.h>

namespace GenApi {

namespace {

/// "IFloat" for GenApi::IFloat.
std::string NameOf(const std::type_info& type) {
    constexpr std::string_view ours = "GenApi::";
    const std::unique_ptr<char, decltype(&std::free)> text(abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr),
                                                           &std::free);
    const std::string_view name = text ? text.get() : type.name();
    return std::string(name.substr(0, ours.size()) == ours ? name.substr(ours.size()) : name);
}

/// A pointer that finds nothing is no failure, so that none may come of describing it.
template <typename Describe>
PointerError::Cause CauseOf(Describe&& describe) noexcept {
    try {
        return std::make_shared<const gcstring>(describe());
    } catch (...) {
        return nullptr;
    }
}

} // namespace

PointerError::Cause PointerError::NoSuchNode(INodeMap* pNodeMap, const gcstring& name) noexcept {
    return CauseOf([&] {
        return pNodeMap ? "node map '" + pNodeMap->GetDeviceName() + "' has no node '" + name + "'"
                        : "there is no node map to find node '" + name + "' in";
    });
}

PointerError::Cause PointerError::WrongKind(INode* pNode) noexcept {
    return pNode ? CauseOf([&] { return "node '" + pNode->GetName() + "' is an " + GetInterfaceName(pNode); })
                 : nullptr;
}

void PointerError::Raise(const std::type_info& wanted, const Cause& cause) {
    const std::string found = cause ? cause->c_str() : "the pointer was made from no node";
    throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced: an " + NameOf(wanted) + " was looked for, but " + found +
                                  ".");
}

} // namespace GenApi
