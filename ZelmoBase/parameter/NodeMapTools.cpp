// SPDX-License-Identifier: Apache-2.0
#include <zelmo/NodeMapTools.h>

#include "ZelmoBase/parameter/NodeMapFromResource.h"

#include <GenApi/IDestroy.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

#include <Base/GCException.h>

#include <boost/proto/deep_copy.hpp>
#include <boost/xpressive/xpressive_static.hpp>

#include <string>
#include <string_view>

namespace Zelmo {
namespace {

namespace xpr = boost::xpressive;

/// A pair and what separates it from the next. One expression over all pairs of a text would need stack for each of
/// them.
xpr::cregex PairExpression() {
    // ranges, as classes like "alnum" depend on the locale; copies, as an expression refers to the parts it is written
    // with
    const auto word =
        boost::proto::deep_copy(xpr::set[xpr::range('a', 'z') | xpr::range('A', 'Z') | xpr::range('0', '9') | '_']);
    const auto blank = boost::proto::deep_copy(xpr::set[' ' | xpr::range('\t', '\r')]);
    return (xpr::s1 = +word) >> '=' >> (xpr::s2 = +word) >> (xpr::eos | +blank >> xpr::before(word));
}

std::string_view View(const xpr::csub_match& match) {
    return {match.first, static_cast<std::size_t>(match.length())};
}

/// Calls @p visit with key and value of each pair, up to the first place where none begins.
/// @return whether that is the end, and the text is not empty.
template <typename Visit>
bool VisitPairs(std::string_view text, Visit visit) {
    static const xpr::cregex kPair = PairExpression();
    const char* const end = text.data() + text.size();
    const char* reached = nullptr;
    for (xpr::cregex_iterator pair(text.data(), end, kPair, xpr::regex_constants::match_continuous), none; pair != none;
         ++pair) {
        visit(View((*pair)[1]), View((*pair)[2]));
        reached = (*pair)[0].second;
    }
    return reached == end;
}

GenApi::IValue* FindValue(const GenApi::INodeMap& nodeMap, std::string_view key) {
    GenApi::INode* const node = nodeMap.GetNode(key);
    const bool isCategory = node != nullptr && node->GetPrincipalInterfaceType() == GenApi::intfICategory;
    return isCategory ? nullptr : dynamic_cast<GenApi::IValue*>(node); // a category's text is no value to set
}

void SetValue(const GenApi::INodeMap& nodeMap, std::string_view key, std::string_view value) {
    GenApi::IValue* const node = FindValue(nodeMap, key);
    if (node == nullptr) {
        throw RUNTIME_EXCEPTION("Failed to set GenICam node value (key=" + std::string(key) + ")");
    }
    node->FromString(value, true);
}

} // namespace

void SetGenICamNodeValuesFromKeyValueStr(GenApi::INodeMap* nodeMap, const char* keyValueStr) {
    if (nodeMap == nullptr || keyValueStr == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot set GenICam node values from a key/value string: the %s is null.",
                                         nodeMap == nullptr ? "node map" : "string");
    }
    const std::string_view text = keyValueStr;
    if (!VisitPairs(text, [](std::string_view, std::string_view) {})) { // all of it first, so that nothing is set
        throw RUNTIME_EXCEPTION("Failed to set GenICam node values from key/value string!");
    }
    VisitPairs(text, [nodeMap](std::string_view key, std::string_view value) { SetValue(*nodeMap, key, value); });
}

GenApi::INodeMap* CreateDefaultTransportLayerParamsNodeMap() {
    return CreateNodeMapFromResource("DefaultTransportLayerParams");
}

void DestroyNodeMap(GenApi::INodeMap* nodeMap) {
    if (auto* const destroyable = dynamic_cast<GenApi::IDestroy*>(nodeMap)) {
        destroyable->Destroy();
    }
}

} // namespace Zelmo
