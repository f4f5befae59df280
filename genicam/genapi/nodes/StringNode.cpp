// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/DeviceLog.h"
#include "genicam/genapi/nodes/NodeError.h"
#include "genicam/genapi/nodes/StringBase.h"

namespace GenApi {

void StringBase::SetValue(const gcstring& Value, bool Verify) {
    Core().Change(*this, "SetValue", [&] { WriteText(std::string(Value.view()), Verify); });
}

IString& StringBase::operator=(const gcstring& Value) {
    SetValue(Value);
    return *this;
}

gcstring StringBase::GetValue(bool Verify, bool IgnoreCache) {
    const Call call(*this, "GetValue");
    return gcstring(ReadText({Verify, IgnoreCache}));
}

int64_t StringBase::GetMaxLength() {
    const Call call(*this, "GetMaxLength");
    RequireAvailable();
    return MaxTextLength();
}

std::string StringBase::ReadText(ReadMode mode) {
    RequireReadable();
    if (HasCached(Cached_Value) && mode.MayUseCache()) {
        return m_value;
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Reading);
    const Find find(*this);
    std::string value = Evaluate(mode);
    if (mode.verify) {
        CheckErrorNodes();
    }
    if (KeepsOwnValue() && KeepsValue() && find.IsUndisturbed()) {
        m_value = value;
        MarkCached(Cached_Value);
    }
    DeviceLog::TellRead(*this, value);
    return value;
}

void StringBase::WriteText(const std::string& value, bool verify) {
    DropCached(Cached_Value);
    if (verify) {
        RequireWritable();
    }
    WriteScope scope(*this);
    const Find find(*this);
    Store(value, verify);
    if (verify) {
        CheckErrorNodes();
    }
    if (KeepsOwnValue() && Caching() == WriteThrough && find.IsUndisturbed()) {
        m_value = value;
        MarkCached(Cached_Value);
        MarkCached(Cached_Protected);
    }
    DeviceLog::TellWritten(*this, value);
    scope.Succeed();
}

void StringNode::BindProperty(const Property& property) {
    if (property.kind == PropertyKind::Value) {
        m_text = Description().TextOf(property.payload);
    } else if (property.kind == PropertyKind::pValue) {
        m_target = Target(property);
    }
}

void StringNode::Store(const std::string& value, bool verify) {
    if (m_target != nullptr) {
        m_target->WriteText(value, verify);
    } else {
        m_text = value;
    }
}

std::int64_t StringNode::MaxTextLength() {
    if (m_target == nullptr) {
        return NodeBase::MaxTextLength();
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Asking);
    return m_target->MaxTextLength();
}

} // namespace GenApi
