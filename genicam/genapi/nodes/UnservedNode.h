// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/IntegerBase.h"
#include "genicam/genapi/nodes/MapCore.h"
#include "genicam/genapi/nodes/RegisterNodes.h"
#include "genicam/genapi/nodes/StringBase.h"

#include <GenApi/IRegister.h>

namespace GenApi {

/// The kinds of nodes that serve buses of the past: with the interface of their kind, but never implemented.
template <typename Base, typename T, typename Given = T>
class UnservedOf : public Base {
public:
    using Base::Base;

protected:
    EAccessMode OwnMode() override { return NI; }
    T Evaluate(ReadMode) override { return T(); } // not reached, as reading needs a node that is implemented
    void Store(Given, bool) override { this->RequireAvailable(); }
};

/// Text that stands for bytes; there are none.
class UnservedBytes : public BytesBase {
public:
    using BytesBase::BytesBase;

protected:
    EAccessMode OwnMode() override { return NI; }
    std::string FormatValue(ReadMode) override {
        RequireReadable();
        return {};
    }
    void WriteFormatted(std::string_view, bool) override { RequireAvailable(); }
};

/// Adds IRegister, which has no bytes either.
template <typename Base>
class UnservedRegisterOf final : public Base, public IRegister {
public:
    using Base::Base;

    void Set(const uint8_t*, int64_t, bool) override { Refuse("Set"); }
    void Get(uint8_t*, int64_t, bool, bool) override { Refuse("Get"); }
    int64_t GetLength() override { return Refuse("GetLength"); }
    int64_t GetAddress() override { return Refuse("GetAddress"); }

private:
    int64_t Refuse(const char* method) {
        const Call call(*this, method);
        this->RequireAvailable();
        return 0;
    }
};

using UnservedInteger = UnservedOf<IntegerBase, std::int64_t>;
using UnservedString = UnservedOf<StringBase, std::string, const std::string&>;

} // namespace GenApi
