// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/formula/Formula.h"
#include "genicam/genapi/nodes/NumericBase.h"

#include <optional>
#include <string_view>
#include <vector>

namespace GenApi {

/// The variables, constants and expressions of a node with formulas, and how a formula is compiled and run over them.
/// Formulas are compiled when they are first needed: descriptions carry broken ones in nodes that nobody uses.
/// Owned by its node; under the lock.
template <typename T>
class FormulaPart {
public:
    explicit FormulaPart(NodeBase& owner) : m_owner(owner) {}

    /// One formula of the node. @p input is the name of the value that is given at each evaluation.
    struct Program {
        const char* property = nullptr; ///< "Formula", for errors
        std::string_view text;
        std::string_view input;
        std::optional<CFormula<T>> formula; ///< once compiled
    };

    /// @throws GenICam::PropertyException if the formula is broken.
    void Compile(Program& program);
    /// Reads the variables that the formula uses and runs it. @throws GenICam::RuntimeException as CFormula::Evaluate.
    T Evaluate(Program& program, T input, ReadMode mode);
    /// The same; nothing if the formula has no result, such as a division by zero.
    std::optional<T> TryEvaluate(Program& program, T input, ReadMode mode);

    EAccessMode Mode(Program& program); ///< RO if all variables that the formula reads can be read, else NI or NA
    bool IsModeCacheable();
    /// Of what the formula reads; NoCache if it is broken.
    ECachingMode Caching(Program& program);

private:
    struct Slot {
        NodeBase* node;
        EVariablePart part;
        std::int64_t entryValue;
    };
    class Scope;

    T ReadSlot(const Slot& slot, ReadMode mode);
    ECachingMode CachingOf(const Slot& slot);
    template <typename OnFailure>
    T Run(Program& program, T input, ReadMode mode, OnFailure&& onFailure);
    std::uint32_t SlotFor(NodeBase* node, const CVariableName& variable);

    NodeBase& m_owner;
    std::vector<Slot> m_slots; // of all compiled formulas; the first is the input
};

extern template class FormulaPart<std::int64_t>;
extern template class FormulaPart<double>;

} // namespace GenApi
