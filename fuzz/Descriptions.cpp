// SPDX-License-Identifier: Apache-2.0

// Descriptions: text, an archive, or made up node by node by an input that begins with '!'. Loads them, uses every
// node.

#include "Fuzz.h"
#include "genicam/genapi/model/Kinds.h"

#include <string>

namespace {

using namespace GenApi;

std::string NodeName(Fuzz::Choices& choices) {
    return "N" + std::to_string(choices.ConsumeIntegralInRange(0, 7));
}

std::string ValueFor(const PropertyTraits& traits, Fuzz::Choices& choices) {
    static const char* const texts[] = {"A+B",   "A/B", "A=0", "A.Max-B", "TO+1", "FROM*A",
                                        "0",     "1",   "8",   "-1",      "31",   "0x7FFFFFFFFFFFFFFF",
                                        "1E300", "4",   "RW",  "1;2"};
    if (traits.target != Target::None)
        return NodeName(choices);
    const std::string word(EnumeratorName(traits.syntax, choices.ConsumeIntegralInRange(0u, 5u)));
    return word.empty() ? choices.PickValueInArray(texts) : word;
}

std::string MakeProperty(Fuzz::Choices& choices) {
    const auto last = static_cast<int>(PropertyKind::Unknown) - 1;
    const PropertyTraits& traits = TraitsOf(static_cast<PropertyKind>(choices.ConsumeIntegralInRange(0, last)));
    const std::string element(traits.name);
    const char* const name = choices.ConsumeBool() ? " Name=\"A\" Index=\"1\"" : " Name=\"B\" Offset=\"4\"";
    return "<" + element + name + ">" + ValueFor(traits, choices) + "</" + element + ">";
}

/// Nodes of any kinds that refer to each other as the input likes; what they need to be loaded is there.
std::string MakeDescription(Fuzz::Choices& choices) {
    std::string text = "<RegisterDescription>";
    for (int node = 0; node < 8; ++node) {
        const auto last = static_cast<int>(NodeKind::SmartFeature);
        const std::string kind(NodeKindName(static_cast<NodeKind>(choices.ConsumeIntegralInRange(0, last))));
        text += "<" + kind + " Name=\"N" + std::to_string(node) + "\">";
        for (int properties = choices.ConsumeIntegralInRange(0, 7); properties > 0; --properties)
            text += MakeProperty(choices);
        text += "<Length>4</Length><pPort>Device</pPort><CommandValue>1</CommandValue><LSB>3</LSB><MSB>9</MSB>";
        text += choices.ConsumeBool() ? "<Value>1</Value>" : "<pValue>" + NodeName(choices) + "</pValue>";
        text += "<Formula>A</Formula><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom></" + kind + ">";
    }
    return text + "<Port Name=\"Device\"/></RegisterDescription>";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    if (text.starts_with('!')) {
        Fuzz::Choices choices(data + 1, size - 1);
        text = MakeDescription(choices);
    }
    if (const Fuzz::MapPtr map = Fuzz::Load(text))
        Fuzz::UseMap(*map);
    return 0;
}
