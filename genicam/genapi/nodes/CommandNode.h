// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/NodeBase.h"

#include <GenApi/ICommand.h>

namespace GenApi {

/// Command: executing writes a value; the command is done when the device has changed it.
class CommandNode final : public ValueNode, public ICommand {
public:
    using ValueNode::ValueNode;

    void Execute(bool Verify = true) override;
    void operator()() override { Execute(); }
    bool IsDone(bool Verify = true) override;
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfICommand; }

    void OnPollingTime() override;

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override { return m_target != nullptr ? m_target->Mode() : WO; }
    bool IsOwnModeCacheable() override { return m_target == nullptr || m_target->IsModeCacheable(); }
    ECachingMode ComputeCaching() override { return m_target != nullptr ? m_target->Caching() : WriteThrough; }
    std::string FormatValue(ReadMode) override { return LookIfDone() ? "0" : "1"; }
    void WriteFormatted(std::string_view text, bool verify) override;

private:
    std::int64_t CommandValue();
    void Start(bool verify);
    bool LookIfDone(); ///< ends the busy state when the device has

    NodeBase* m_target = nullptr;
    NodeBase* m_commandValueNode = nullptr;
    std::int64_t m_commandValue = 0;
    bool m_isBusy = false;
};

} // namespace GenApi
