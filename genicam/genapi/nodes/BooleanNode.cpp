// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/BooleanNode.h"

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/DeviceLog.h"
#include "genicam/genapi/nodes/NodeError.h"

namespace GenApi {

void BooleanNode::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::Value:
        m_own = Description().IntegerOf(property);
        break;
    case PropertyKind::pValue:
        m_target = Target(property);
        break;
    case PropertyKind::OnValue:
        m_on = Description().IntegerOf(property);
        break;
    case PropertyKind::OffValue:
        m_off = Description().IntegerOf(property);
        break;
    default:
        break;
    }
}

void BooleanNode::SetValue(bool Value, bool Verify) {
    Core().Change(*this, "SetValue", [&] { WriteTruth(Value, Verify); });
}

bool BooleanNode::GetValue(bool Verify, bool IgnoreCache) const {
    const Call call(*this, "GetValue");
    return const_cast<BooleanNode*>(this)->ReadTruth({Verify, IgnoreCache});
}

bool BooleanNode::ReadTruth(ReadMode mode) {
    RequireReadable();
    if (HasCached(Cached_Value) && mode.MayUseCache()) {
        return m_value;
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Reading);
    const Find find(*this);
    const bool value = (m_target != nullptr ? m_target->ReadInteger(mode) : m_own) == m_on;
    if (mode.verify) {
        CheckErrorNodes();
    }
    if (KeepsValue() && find.IsUndisturbed()) {
        m_value = value;
        MarkCached(Cached_Value);
    }
    DeviceLog::TellRead(*this, value);
    return value;
}

void BooleanNode::WriteTruth(bool value, bool verify) {
    DropCached(Cached_Value);
    if (verify) {
        RequireWritable();
    }
    WriteScope scope(*this);
    const Find find(*this);
    if (m_target != nullptr) {
        m_target->WriteInteger(value ? m_on : m_off, verify);
    } else {
        m_own = value ? m_on : m_off;
    }
    if (verify) {
        CheckErrorNodes();
    }
    if (Caching() == WriteThrough && find.IsUndisturbed()) {
        m_value = value;
        MarkCached(Cached_Value);
        MarkCached(Cached_Protected);
    }
    DeviceLog::TellWritten(*this, value);
    scope.Succeed();
}

std::string BooleanNode::FormatValue(ReadMode mode) {
    return FormatBoolean(ReadTruth(mode));
}

void BooleanNode::WriteFormatted(std::string_view text, bool verify) {
    const auto value = ParseBoolean(text);
    if (!value) {
        FailConversion(text, "bool");
    }
    WriteTruth(*value, verify);
}

} // namespace GenApi
