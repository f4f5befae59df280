// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/CommandNode.h"

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/DeviceLog.h"
#include "genicam/genapi/nodes/NodeError.h"

namespace GenApi {

void CommandNode::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::pValue:
        m_target = Target(property);
        break;
    case PropertyKind::CommandValue:
        m_commandValue = Description().IntegerOf(property);
        break;
    case PropertyKind::pCommandValue:
        m_commandValueNode = Target(property);
        break;
    default:
        break;
    }
}

std::int64_t CommandNode::CommandValue() {
    return m_commandValueNode != nullptr ? m_commandValueNode->ReadInteger(ReadMode()) : m_commandValue;
}

void CommandNode::Execute(bool Verify) {
    Core().Change(*this, "Execute", [&] { Start(Verify); });
}

void CommandNode::Start(bool verify) {
    if (verify) {
        RequireWritable();
    }
    const std::int64_t value = CommandValue();
    WriteScope scope(*this);
    if (m_target != nullptr) {
        m_target->WriteInteger(value, verify);
    }
    m_isBusy = true;
    if (verify) {
        CheckErrorNodes();
    }
    DeviceLog::TellWritten(*this, value);
    scope.Succeed();
}

bool CommandNode::IsDone(bool Verify) {
    bool isDone = false;
    Core().Change(*this, "IsDone", [&] {
        isDone = LookIfDone();
        if (Verify) {
            CheckErrorNodes();
        }
    });
    return isDone;
}

bool CommandNode::LookIfDone() {
    if (!IsImplemented(Mode())) {
        throw NODE_EXCEPTION(AccessException, *this)("Node is not implemented.");
    }
    const bool canTell = m_target != nullptr && IsReadable(m_target->Mode());
    if (canTell && m_target->ReadInteger({false, true}) == CommandValue()) {
        return false;
    }
    if (m_isBusy) {
        m_isBusy = false;
        Core().InvalidateAffected(*this);
    }
    return true;
}

gcstring CommandNode::ToString(bool, bool) {
    gcstring text;
    Core().Change(*this, "ToString", [&] { text = gcstring(FormatValue(ReadMode())); });
    return text;
}

void CommandNode::WriteFormatted(std::string_view text, bool verify) {
    const auto truth = ParseBoolean(text);
    const auto value = ParseInteger(text);
    if ((truth && *truth) || (value && *value == CommandValue())) {
        Start(verify);
    } else if (!truth) {
        FailConversion(text, "command");
    }
}

void CommandNode::OnPollingTime() {
    if (m_isBusy && IsImplemented(Mode())) {
        LookIfDone();
    }
}

} // namespace GenApi
