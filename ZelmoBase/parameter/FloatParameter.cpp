// SPDX-License-Identifier: Apache-2.0
#include <zelmo/FloatParameter.h>

#include "ZelmoBase/parameter/NodeAccess.h"
#include "ZelmoBase/parameter/NumberAccess.h"
#include "ZelmoBase/parameter/TypedParameterBody.h"
#include <zelmo/IntegerParameter.h>

#include <cmath>

namespace Zelmo {

template class CTypedParameter<CFloatParameter, IFloatEx, GenApi::IFloat>;

namespace {

void SetCorrected(GenApi::IFloat& node, double value, EFloatValueCorrection correction) {
    const double min = node.GetMin();
    const double max = node.GetMax();
    node.SetValue(correction == FloatValueCorrection_ClipToRange ? Clip(value, min, max) : value, true);
}

void SetShare(GenApi::IFloat& node, double share) {
    const double min = node.GetMin();
    const double max = node.GetMax();
    node.SetValue(Clip(PointOfRange(min, max, share), min, max), true);
}

// On halves: the whole range may be wider than double.
double ShareOf(double value, double min, double max) {
    const double start = min * 0.5;
    return std::fma(value, 0.5, -start) / std::fma(max, 0.5, -start);
}

} // namespace

void CFloatParameter::SetValue(double value, bool verify) {
    NodeFor(__func__).SetValue(value, verify);
}

GenApi::IFloat& CFloatParameter::operator=(double value) {
    NodeFor(__func__) = value;
    return *this;
}

double CFloatParameter::GetValue(bool verify, bool ignoreCache) {
    return NodeFor(__func__).GetValue(verify, ignoreCache);
}

double CFloatParameter::operator()() {
    return NodeFor(__func__)();
}

double CFloatParameter::operator*() {
    return *NodeFor(__func__);
}

double CFloatParameter::GetMin() {
    return NodeFor(__func__).GetMin();
}

double CFloatParameter::GetMax() {
    return NodeFor(__func__).GetMax();
}

bool CFloatParameter::HasInc() {
    return NodeFor(__func__).HasInc();
}

GenApi::EIncMode CFloatParameter::GetIncMode() {
    return NodeFor(__func__).GetIncMode();
}

double CFloatParameter::GetInc() {
    return NodeFor(__func__).GetInc();
}

GenApi::double_autovector_t CFloatParameter::GetListOfValidValues(bool bounded) {
    return NodeFor(__func__).GetListOfValidValues(bounded);
}

GenApi::ERepresentation CFloatParameter::GetRepresentation() {
    return NodeFor(__func__).GetRepresentation();
}

String_t CFloatParameter::GetUnit() const {
    return NodeFor(__func__).GetUnit();
}

GenApi::EDisplayNotation CFloatParameter::GetDisplayNotation() const {
    return NodeFor(__func__).GetDisplayNotation();
}

int64_t CFloatParameter::GetDisplayPrecision() const {
    return NodeFor(__func__).GetDisplayPrecision();
}

void CFloatParameter::ImposeMin(double value) {
    NodeFor(__func__).ImposeMin(value);
}

void CFloatParameter::ImposeMax(double value) {
    NodeFor(__func__).ImposeMax(value);
}

bool CFloatParameter::TrySetValue(double value) {
    return TrySetValueOf(Node(), value);
}

double CFloatParameter::GetValueOrDefault(double defaultValue) {
    return ValueOrDefault(Node(), defaultValue);
}

bool CFloatParameter::TrySetValue(double value, EFloatValueCorrection correction) {
    return TryWithLimits(Node(), [&](auto&) { CFloatParameter::SetValue(value, correction); });
}

void CFloatParameter::SetValue(double value, EFloatValueCorrection correction) {
    if (correction == FloatValueCorrection_None) {
        SetValue(value, true);
    } else {
        SetCorrected(NodeFor(__func__), value, correction);
    }
}

double CFloatParameter::GetValuePercentOfRange() {
    return PercentOfRange(NodeFor(__func__), ShareOf);
}

void CFloatParameter::SetValuePercentOfRange(double percent) {
    SetPercent(NodeFor(__func__), percent, SetShare);
}

bool CFloatParameter::TrySetValuePercentOfRange(double percent) {
    return TryWithLimits(Node(), [&](auto& node) { SetPercent(node, percent, SetShare); });
}

void CFloatParameter::SetToMaximum() {
    SetMaximum(NodeFor(__func__));
}

void CFloatParameter::SetToMinimum() {
    SetMinimum(NodeFor(__func__));
}

bool CFloatParameter::TrySetToMaximum() {
    return TryWithLimits(Node(), SetMaximum<GenApi::IFloat>);
}

bool CFloatParameter::TrySetToMinimum() {
    return TryWithLimits(Node(), SetMinimum<GenApi::IFloat>);
}

void CFloatParameter::GetAlternativeIntegerRepresentation(CIntegerParameter& parameter) {
    const GenApi::INode* const node = Node() ? Node()->GetNode() : nullptr;
    GenApi::INode* const alias = node ? node->GetAlias() : nullptr;
    if (alias) {
        parameter.Attach(alias);
    } else {
        parameter.Release();
    }
}

} // namespace Zelmo
