// SPDX-License-Identifier: Apache-2.0
#include "Fuzz.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace Fuzz {

using namespace GenApi;

namespace {

template <typename T, typename... Calls>
void With(INode& node, Calls... calls) {
    if (T* const face = dynamic_cast<T*>(&node))
        Try([&] { calls(*face); }...);
}

const auto useNumber = [](auto& number) {
    Try([&] { number.GetMin(); }, [&] { number.GetMax(); }, [&] { number.GetInc(); }, [&] { number.GetUnit(); },
        [&] { number.GetListOfValidValues(); }, [&] { number.SetValue(number.GetValue(true, true)); },
        [&] { number.SetValue(number.GetMax(), false); });
};

} // namespace

void Require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "This does not hold: %s\n", what);
    std::abort();
}

MapPtr Load(std::string_view description) {
    try {
        return MapPtr(CNodeMapFactory(ContentType_Xml, description.data(), description.size()).CreateNodeMap());
    } catch (const GenICam::RuntimeException& failure) {
        Require(std::string_view(failure.GetDescription()).starts_with("Cannot "), "a refusal says what failed");
        return nullptr;
    }
}

MapPtr MakeMapOfAllKinds() {
    static CNodeMapFactory factory(ContentType_Xml, ALL_KINDS);
    return MapPtr(factory.CreateNodeMap());
}

void UseNode(INode& node) {
    GenICam::gcstring_vector names;
    GenICam::gcstring text, attribute;
    NodeList_t nodes;
    std::uint8_t bytes[16] = {};
    node.GetPropertyNames(names);
    for (const GenICam::gcstring& name : names)
        Require(node.GetProperty(name, text, attribute), "a property that is listed is there");
    for (int link = ctParentNodes; link <= ctValueChangingChildren; ++link)
        node.GetChildren(nodes, static_cast<ELinkType>(link));
    Try([&] { node.GetAccessMode(); }, [&] { node.GetCachingMode(); });
    With<IValue>(
        node, [](IValue& value) { value.FromString(value.ToString()); },
        [](IValue& value) { value.ToString(true, true); }, [](IValue& value) { value.IsValueCacheValid(); });
    With<IInteger>(node, useNumber);
    With<IFloat>(node, useNumber);
    With<IString>(node, [](IString& string) { string.GetMaxLength(); });
    With<IEnumeration>(node, [](IEnumeration& values) { values.SetIntValue(values.GetIntValue()); });
    With<ICommand>(node, [](ICommand& command) { command.Execute(), command.IsDone(); });
    With<IRegister>(
        node, [&](IRegister& place) { place.Get(bytes, sizeof(bytes)); },
        [&](IRegister& place) { place.Set(bytes, 4); });
    Try([&] { node.InvalidateNode(); });
}

void UseMap(INodeMap& map) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    failures = 0;
    Device device;
    map.Connect(&device);
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        Require(map.GetNode(node->GetName()) == node, "a node is found by its name");
        UseNode(*node);
        if (failures > 15 || std::chrono::steady_clock::now() > end)
            return;
    }
    Try([&] { map.Poll(1000); }, [&] { map.ParseSwissKnifes(nullptr); });
}

} // namespace Fuzz
