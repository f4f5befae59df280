#include "Fuzz.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace Fuzz {

using namespace GenApi;

namespace {

template <typename Number>
void UseLimits(Number& number) {
    Try([&] { number.GetMin(); });
    Try([&] { number.GetMax(); });
    Try([&] { number.GetInc(); });
    Try([&] { number.GetListOfValidValues(); });
    Try([&] { number.GetUnit(); });
    Try([&] { number.SetValue(number.GetValue(true, true)); });
    Try([&] { number.SetValue(number.GetMax(), false); });
}

void UseRegister(IRegister& bytes) {
    std::uint8_t buffer[16] = {};
    Try([&] { bytes.GetAddress(); });
    Try([&] { bytes.GetLength(); });
    Try([&] { bytes.Get(buffer, sizeof(buffer)); });
    Try([&] { bytes.Set(buffer, 4); });
}

void UseEnumeration(IEnumeration& enumeration) {
    NodeList_t entries;
    enumeration.GetEntries(entries);
    Try([&] { enumeration.GetCurrentEntry(); });
    Try([&] { enumeration.SetIntValue(enumeration.GetIntValue()); });
}

void UseValue(IValue& value) {
    Try([&] { value.FromString(value.ToString()); });
    Try([&] { value.ToString(true, true); });
    if (auto* const integer = dynamic_cast<IInteger*>(&value))
        UseLimits(*integer);
    if (auto* const number = dynamic_cast<IFloat*>(&value))
        UseLimits(*number);
    if (auto* const text = dynamic_cast<IString*>(&value))
        Try([&] { text->GetMaxLength(); });
    if (auto* const enumeration = dynamic_cast<IEnumeration*>(&value))
        UseEnumeration(*enumeration);
    if (auto* const command = dynamic_cast<ICommand*>(&value))
        Try([&] { command->Execute(), command->IsDone(); });
    if (auto* const bytes = dynamic_cast<IRegister*>(&value))
        UseRegister(*bytes);
    Try([&] { value.IsValueCacheValid(); });
}

void UseProperties(INode& node) {
    GenICam::gcstring_vector names;
    node.GetPropertyNames(names);
    GenICam::gcstring value, attribute;
    for (const GenICam::gcstring& name : names)
        Require(node.GetProperty(name, value, attribute), "a property that is listed is there");
}

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

void UseNode(INode& node) {
    Try([&] { node.GetAccessMode(); });
    Try([&] { node.GetCachingMode(); });
    UseProperties(node);
    for (int link = ctParentNodes; link <= ctValueChangingChildren; ++link) {
        NodeList_t nodes;
        Try([&] { node.GetChildren(nodes, static_cast<ELinkType>(link)); });
    }
    if (auto* const value = dynamic_cast<IValue*>(&node))
        UseValue(*value);
    Try([&] { node.InvalidateNode(); });
}

void UseMap(INodeMap& map) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
    Device device;
    Try([&] { map.Connect(&device); });
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        Require(map.GetNode(node->GetName()) == node, "a node is found by its name");
        UseNode(*node);
        if (std::chrono::steady_clock::now() > end)
            return;
    }
    Try([&] { map.Poll(1000); });
    Try([&] { map.ParseSwissKnifes(nullptr); });
}

} // namespace Fuzz
