// SPDX-License-Identifier: Apache-2.0

// Operations on a loaded map: a row of calls on nodes of all kinds, also from callbacks and in the middle of an access.

#include "Fuzz.h"

#include <vector>

namespace {

using namespace GenApi;

class Session : private Fuzz::Device {
public:
    explicit Session(Fuzz::Choices& choices) : m_choices(choices) {
        m_map->Connect(this);
        m_map->GetNodes(m_nodes);
    }
    void Run() {
        for (int steps = 0; steps < 40 && m_choices.remaining_bytes() > 0; ++steps)
            Fuzz::Try([this] { Step(); });
    }

private:
    void Read(void* buffer, int64_t address, int64_t length) override {
        Nested();
        Fuzz::Device::Read(buffer, address, length);
    }
    void Write(const void* buffer, int64_t address, int64_t length) override {
        Nested();
        Fuzz::Device::Write(buffer, address, length);
    }
    void Nested() {
        if (m_depth >= 3 || m_choices.ConsumeIntegralInRange(0, 7) != 7)
            return;
        ++m_depth;
        Fuzz::Try([this] { Step(); });
        --m_depth;
        if (m_choices.ConsumeIntegralInRange(0, 7) == 7)
            throw TIMEOUT_EXCEPTION("The device is asleep");
    }
    template <typename T>
    T& As(INode& node) {
        return *CPointer<T>(&node); // raises for another kind of node
    }
    void RemoveCallback() {
        const intptr_t handle = m_handles.back();
        m_handles.pop_back();
        Deregister(handle);
    }
    void Step() {
        auto& c = m_choices;
        INode& node = *m_nodes[c.ConsumeIntegralInRange<std::size_t>(0, m_nodes.size() - 1)];
        const bool verify = c.ConsumeBool();
        std::uint8_t bytes[8] = {};
        const auto number = [&] {
            return c.ConsumeBool() ? c.ConsumeIntegral<int8_t>() : c.ConsumeIntegral<int64_t>();
        };
        const auto real = [&] {
            return c.ConsumeBool() ? c.ConsumeIntegral<int8_t>() / 2. : c.ConsumeFloatingPoint<double>();
        };
        const auto length = [&] { return c.ConsumeIntegralInRange(0, 8); };
        int chosen = c.ConsumeIntegralInRange(0, 22);
        const auto either = [&chosen](auto... calls) { ((chosen-- == 0 ? calls() : void()), ...); };
        either([&] { Fuzz::UseNode(node); }, [&] { As<IInteger>(node).SetValue(number(), verify); },
               [&] { As<IInteger>(node).GetValue(verify, c.ConsumeBool()); },
               [&] { As<IInteger>(node).ImposeMin(number()), As<IInteger>(node).ImposeMax(number()); },
               [&] { As<IFloat>(node).SetValue(real(), verify); },
               [&] { As<IBoolean>(node).SetValue(c.ConsumeBool(), verify); },
               [&] { As<IEnumeration>(node).SetIntValue(number(), verify); },
               [&] { As<IEnumeration>(node).GetEntryByName(c.ConsumeRandomLengthString(8).c_str()); },
               [&] { As<IString>(node).SetValue(c.ConsumeRandomLengthString(20).c_str(), verify); },
               [&] { As<ICommand>(node).Execute(verify), As<ICommand>(node).IsDone(verify); },
               [&] { As<IRegister>(node).Set(bytes, length(), verify); },
               [&] { As<IRegister>(node).Get(bytes, length(), verify); },
               [&] { As<IValue>(node).FromString(c.ConsumeRandomLengthString(30).c_str(), verify); },
               [&] { As<IValue>(node).ToString(verify, c.ConsumeBool()); },
               [&] { node.ImposeAccessMode(static_cast<EAccessMode>(c.ConsumeIntegralInRange(0, 4))); },
               [&] { node.GetAccessMode(), node.IsAccessModeCacheable(); }, [&] { node.InvalidateNode(); },
               [&] { m_map->InvalidateNodes(); }, [&] { m_map->Poll(c.ConsumeIntegralInRange(0, 100)); },
               [&] {
                   m_handles.push_back(Register(
                       &node, [this](INode*) { Nested(); }, ECallbackType(1 + verify)));
               },
               [&] { m_handles.empty() ? void() : RemoveCallback(); },
               [&] { m_map->Connect(verify ? this : nullptr, node.GetName()); },
               [&] { this->bytes[c.ConsumeIntegral<std::uint8_t>()] = c.ConsumeIntegral<std::uint8_t>(); });
    }

    Fuzz::Choices& m_choices;
    int m_depth = 0;
    std::vector<intptr_t> m_handles;
    Fuzz::MapPtr m_map = Fuzz::MakeMapOfAllKinds();
    NodeList_t m_nodes;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Choices choices(data, size);
    Session(choices).Run();
    return 0;
}
