// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/ICommand.h>
#include <zelmo/Export.h>
#include <zelmo/TypedParameter.h>

namespace Zelmo {

/// What command parameters offer beside the interface of a command node.
struct ZELMO_API ICommandEx : virtual public GenApi::ICommand, virtual public IValueEx {
    /// @return false, with nothing done, without a node and when it cannot be executed now.
    virtual bool TryExecute() = 0;
};

class ZELMO_API CCommandParameter;
extern template class CTypedParameter<CCommandParameter, ICommandEx, GenApi::ICommand>;

/// Something the device does when told: a view of one node. See CParameter.
class ZELMO_API CCommandParameter : public CTypedParameter<CCommandParameter, ICommandEx, GenApi::ICommand> {
public:
    using CTypedParameter::CTypedParameter;

    void Execute(bool verify = true) override;
    void operator()() override;
    bool IsDone(bool verify = true) override;

    bool TryExecute() override;

private:
    friend CTypedParameter;
    static constexpr char ClassName[] = "CCommandParameter";
};

} // namespace Zelmo
