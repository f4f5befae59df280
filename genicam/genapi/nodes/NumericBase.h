// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"

#include <GenApi/Autovector.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace GenApi {

/// What integer and float nodes share: the cached value and limits, and the rules of reading and writing.
/// Natural limits are those of the description, what SetValue checks; imposed ones narrow what others see.
template <typename T>
class NumericBase : public ValueNode {
public:
    using ValueNode::ValueNode;

    ERepresentation Representation() override;
    std::string Unit() override;
    EDisplayNotation DisplayNotation() override;
    std::int64_t DisplayPrecision() override;
    bool ReadTruth(ReadMode mode) override { return ReadNumber(mode) != 0; }
    /// Whether limits may be kept until something they depend on is invalidated.
    bool AreLimitsKept() override { return AreLimitsCacheable(); }
    bool AreLimitsCacheable();

protected:
    T ReadNumber(ReadMode mode);
    void WriteNumber(T value, bool verify);

    T SeenMin() { return std::max(CheckedMin(), m_imposedMin); }
    T SeenMax() { return std::min(CheckedMax(), m_imposedMax); }
    T CheckedMin(); ///< natural, cached
    T CheckedMax();
    bool CheckedInc(T& inc);
    EIncMode IncMode();
    autovector<T> ListValidValues(bool bounded);
    void ImposeLimit(const char* method, T& limit, T value);

    virtual T Evaluate(ReadMode mode) = 0;
    virtual void Store(T value, bool verify) = 0;
    virtual bool ReadKept(T&) { return false; }   ///< of a register: what its port keeps, if it does
    virtual bool KeepsOwnValue() { return true; } ///< registers decode anew from the bytes that their port keeps
    virtual T NaturalMin() { return std::numeric_limits<T>::lowest(); }
    virtual T NaturalMax() { return std::numeric_limits<T>::max(); }
    virtual bool NaturalInc(T& inc);
    virtual bool ComputeLimitsCacheable() { return true; }
    virtual NodeBase* Origin() { return nullptr; } ///< the node that what is shown with a number is taken from
    void BindProperty(const Property& property) override;

    T m_imposedMin = std::numeric_limits<T>::lowest();
    T m_imposedMax = std::numeric_limits<T>::max();

private:
    T Limit(CacheBit bit, T& kept, T (NumericBase::*natural)());
    void CheckLimits(T value);
    void CheckListed(T value);
    template <typename Value, typename Ask>
    Value FromOrigin(Value missing, Ask&& ask); ///< what the origin answers, if there is one

    T m_value{};
    T m_min{};
    T m_max{};
    T m_inc{};
    bool m_hasInc = false;
    std::uint8_t m_limitsCacheable = _UndefinedYesNo; // until computed
    std::uint8_t m_representation = _UndefinedRepresentation;
    const Property* m_unit = nullptr;
    std::vector<T> m_validValues; // sorted
};

extern template class NumericBase<std::int64_t>;
extern template class NumericBase<double>;

/// Integer and float views of a number that some node holds: what differs between the two, in one place.
template <typename T>
struct NumberOf;

template <>
struct NumberOf<std::int64_t> {
    static std::int64_t Read(NodeBase& node, ReadMode mode) { return node.ReadInteger(mode); }
    static void Write(NodeBase& node, std::int64_t value, bool verify) { node.WriteInteger(value, verify); }
    static std::int64_t Min(NodeBase& node) { return node.MinInteger(); }
    static std::int64_t Max(NodeBase& node) { return node.MaxInteger(); }
    static std::int64_t Constant(const Model& model, const Property& property) { return model.IntegerOf(property); }
    static constexpr ValueType kType = ValueType::Integer;
};

template <>
struct NumberOf<double> {
    static double Read(NodeBase& node, ReadMode mode) { return node.ReadFloat(mode); }
    static void Write(NodeBase& node, double value, bool verify) { node.WriteFloat(value, verify); }
    static double Min(NodeBase& node) { return node.MinFloat(); }
    static double Max(NodeBase& node) { return node.MaxFloat(); }
    static double Constant(const Model& model, const Property& property) { return model.FloatOf(property); }
    static constexpr ValueType kType = ValueType::Float;
};

} // namespace GenApi
