// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/FormulaPart.h"

#include "genicam/genapi/nodes/EnumerationNode.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <algorithm>
#include <array>

namespace GenApi {

namespace {

constexpr std::size_t kMaxNames = 4096;  // they are looked for one after the other
constexpr std::size_t kInlineSlots = 16; // formulas with more variables take them from the heap

bool NeedsValue(EVariablePart part) noexcept {
    return part == EVariablePart::Value || part == EVariablePart::Min || part == EVariablePart::Max ||
           part == EVariablePart::Inc;
}

std::int64_t IncOf(NodeBase& node, std::int64_t) {
    return node.IncInteger();
}

double IncOf(NodeBase& node, double) {
    double inc = 1;
    node.IncFloat(inc);
    return inc;
}

} // namespace

/// What a formula asks for its names while it is compiled; they stand in the model until then.
template <typename T>
class FormulaPart<T>::Scope final : public IFormulaScope {
public:
    Scope(FormulaPart& part, std::string_view input) : m_part(part), m_input(input) {
        const NodeBase& owner = part.m_owner;
        owner.Description().ForEachProperty(owner.Index(), [this](const Property& property) { Add(property); });
        if (m_names.size() > kMaxNames) {
            throw PROPERTY_EXCEPTION("It has %zu names, %zu are allowed", m_names.size(), kMaxNames);
        }
    }

    CFormulaName FindName(std::string_view name) override {
        if (name == m_input) {
            return {EFormulaName::Variable, 0, {}};
        }
        const Name* found = Find(name);
        CVariableName variable = SplitVariableName(name);
        if (found == nullptr) {
            found = Find(variable.Base);
            if (found == nullptr || found->kind != EFormulaName::Variable || variable.Part == EVariablePart::Unknown) {
                return {};
            }
        }
        if (found->kind != EFormulaName::Variable) {
            return {found->kind, 0, found->text};
        }
        if (variable.Part == EVariablePart::Unknown) {
            variable = {name, EVariablePart::Value, {}};
        }
        return {EFormulaName::Variable, m_part.SlotFor(found->node, variable), {}};
    }

private:
    struct Name {
        std::string_view name;
        EFormulaName kind;
        NodeBase* node; // of a variable
        std::string_view text;
    };

    void Add(const Property& property) {
        const Model& model = m_part.m_owner.Description();
        switch (property.kind) {
        case PropertyKind::pVariable:
            m_names.push_back({{}, EFormulaName::Variable, &m_part.m_owner.Core().NodeAt(property.payload), {}});
            break;
        case PropertyKind::Constant:
            m_names.push_back({{}, EFormulaName::Constant, nullptr, model.TextOf(property.payload)});
            break;
        case PropertyKind::Expression:
            m_names.push_back({{}, EFormulaName::Expression, nullptr, model.TextOf(property.payload)});
            break;
        case PropertyKind::Name:
            if (!m_names.empty()) {
                m_names.back().name = model.TextOf(property.payload);
            }
            break;
        default:
            break;
        }
    }
    const Name* Find(std::string_view name) const noexcept {
        const auto found =
            std::find_if(m_names.begin(), m_names.end(), [name](const Name& each) { return each.name == name; });
        return found != m_names.end() ? &*found : nullptr;
    }

    FormulaPart& m_part;
    const std::string_view m_input;
    std::vector<Name> m_names;
};

template <typename T>
std::uint32_t FormulaPart<T>::SlotFor(NodeBase* node, const CVariableName& variable) {
    std::int64_t entryValue = 0;
    if (variable.Part == EVariablePart::Entry) {
        const EnumEntryNode* const entry = node->Type() == ValueType::Enumeration
                                               ? static_cast<EnumerationNode*>(node)->FindSymbolic(variable.Entry)
                                               : nullptr;
        if (entry == nullptr) {
            throw PROPERTY_EXCEPTION("Node '%s' has no entry '%s'.", node->NameText().c_str(),
                                     std::string(variable.Entry).c_str());
        }
        entryValue = entry->Value();
    }
    for (std::uint32_t i = 1; i < m_slots.size(); ++i) {
        const Slot& slot = m_slots[i];
        if (slot.node == node && slot.part == variable.Part && slot.entryValue == entryValue) {
            return i;
        }
    }
    m_slots.push_back({node, variable.Part, entryValue});
    return static_cast<std::uint32_t>(m_slots.size() - 1);
}

template <typename T>
void FormulaPart<T>::Compile(Program& program) {
    if (program.formula) {
        return;
    }
    // a broken one is compiled each time; one that is too long is refused unread
    EvaluationGuard::Spend(m_owner, std::min(program.text.size(), kFormulaMaxLength));
    if (m_slots.empty()) {
        m_slots.push_back({nullptr, EVariablePart::Value, 0}); // the input
    }
    try {
        Scope scope(*this, program.input);
        program.formula.emplace(program.text, scope);
    } catch (const GenICam::GenericException& failure) {
        throw NODE_EXCEPTION(PropertyException, m_owner)(std::string("Node '") + m_owner.NameText() + "', property '" +
                                                         program.property + "': " + failure.GetDescription());
    }
}

template <typename T>
T FormulaPart<T>::ReadSlot(const Slot& slot, ReadMode mode) {
    switch (slot.part) {
    case EVariablePart::Min:
        return NumberOf<T>::Min(*slot.node);
    case EVariablePart::Max:
        return NumberOf<T>::Max(*slot.node);
    case EVariablePart::Inc:
        return IncOf(*slot.node, T());
    case EVariablePart::AccessMode:
        return static_cast<T>(slot.node->Mode());
    case EVariablePart::Visibility:
        return static_cast<T>(slot.node->GetVisibility());
    case EVariablePart::CachingMode:
        return static_cast<T>(slot.node->Caching());
    case EVariablePart::Entry:
        return static_cast<T>(slot.entryValue);
    default:
        return NumberOf<T>::Read(*slot.node, mode);
    }
}

template <typename T>
template <typename OnFailure>
T FormulaPart<T>::Run(Program& program, T input, ReadMode mode, OnFailure&& onFailure) {
    Compile(program);
    std::array<T, kInlineSlots> few;
    std::vector<T> many;
    if (m_slots.size() > few.size()) {
        many.resize(m_slots.size());
    }
    EvaluationGuard::Spend(m_owner, program.formula->GetLength() / 8);
    T* const values = many.empty() ? few.data() : many.data();
    for (const std::uint32_t slot : program.formula->GetUsedSlots()) {
        values[slot] = slot == 0 ? input : ReadSlot(m_slots[slot], mode);
    }
    try {
        return program.formula->Evaluate({values, m_slots.size()});
    } catch (const GenICam::RuntimeException& failure) {
        return onFailure(failure);
    }
}

template <typename T>
T FormulaPart<T>::Evaluate(Program& program, T input, ReadMode mode) {
    return Run(program, input, mode, [this](const GenICam::RuntimeException& failure) -> T {
        throw NODE_EXCEPTION(RuntimeException, m_owner)(std::string(failure.GetDescription()));
    });
}

template <typename T>
std::optional<T> FormulaPart<T>::TryEvaluate(Program& program, T input, ReadMode mode) {
    bool hasResult = true;
    const T result = Run(program, input, mode, [&hasResult](const GenICam::RuntimeException&) {
        hasResult = false;
        return T();
    });
    return hasResult ? std::optional<T>(result) : std::nullopt;
}

template <typename T>
EAccessMode FormulaPart<T>::Mode(Program& program) {
    try {
        Compile(program);
    } catch (const GenICam::PropertyException&) {
        return RO; // a read tells what is wrong
    }
    EvaluationGuard::Spend(m_owner, program.formula->GetUsedSlots().size() / 8);
    EAccessMode mode = RO;
    for (const std::uint32_t slot : program.formula->GetUsedSlots()) {
        if (slot == 0 || !NeedsValue(m_slots[slot].part)) {
            continue;
        }
        const EAccessMode variable = m_slots[slot].node->Mode();
        if (!IsReadable(variable)) {
            mode = Combine(mode, variable == NI ? NI : NA);
        }
    }
    return mode;
}

template <typename T>
bool FormulaPart<T>::IsModeCacheable() {
    bool cacheable = true;
    m_owner.Description().ForEachProperty(m_owner.Index(), [&](const Property& property) {
        if (property.kind == PropertyKind::pVariable) {
            cacheable = cacheable && m_owner.Core().NodeAt(property.payload).IsModeCacheable();
        }
    });
    return cacheable;
}

template <typename T>
ECachingMode FormulaPart<T>::CachingOf(const Slot& slot) {
    switch (slot.part) {
    case EVariablePart::Value:
        return slot.node->Caching();
    case EVariablePart::Min:
    case EVariablePart::Max:
    case EVariablePart::Inc:
        return slot.node->AreLimitsKept() ? WriteThrough : NoCache;
    case EVariablePart::AccessMode:
        return slot.node->IsModeCacheable() ? WriteThrough : NoCache;
    default:
        return WriteThrough; // what changes only with a word to those who depend on it
    }
}

template <typename T>
ECachingMode FormulaPart<T>::Caching(Program& program) {
    try {
        Compile(program);
    } catch (const GenICam::PropertyException&) {
        return NoCache;
    }
    ECachingMode caching = WriteThrough;
    for (const std::uint32_t slot : program.formula->GetUsedSlots()) {
        caching = slot == 0 ? caching : Combine(caching, CachingOf(m_slots[slot]));
    }
    return caching;
}

template class FormulaPart<std::int64_t>;
template class FormulaPart<double>;

} // namespace GenApi
