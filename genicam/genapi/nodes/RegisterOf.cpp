// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/RegisterNodes.h"

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/DeviceLog.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

namespace GenApi {

template <typename Base>
void RegisterOf<Base>::BindProperty(const Property& property) {
    m_register.BindProperty(*this, property);
    this->MarkHasRaw();
    Base::BindProperty(property);
}

template <typename Base>
RegisterPart& RegisterOf<Base>::Located() {
    if (!this->HasCached(Cached_Place)) {
        const NodeBase::Find find(*this);
        m_register.Locate(*this, MinLength(), MaxLength());
        if (!find.IsUndisturbed()) {
            this->DropCached(Cached_Place); // somebody has found it meanwhile, and this find took its place
        } else if (m_register.IsPlaceCacheable()) {
            this->MarkCached(Cached_Place);
        }
    }
    return m_register;
}

template <typename Base>
void RegisterOf<Base>::WriteBytes(std::span<const std::uint8_t> bytes) {
    if (m_register.Write(bytes)) { // not located again: the place could then be longer than the bytes
        this->MarkCached(Cached_Protected);
    }
}

template <typename Base>
bool RegisterOf<Base>::IsValueCached() {
    return Located().IsCached();
}

template <typename Base>
void RegisterOf<Base>::Set(const uint8_t* pBuffer, int64_t Length, bool Verify) {
    this->Core().Change(*this, "Set", [&] { SetBytes(pBuffer, Length, Verify); });
}

template <typename Base>
void RegisterOf<Base>::SetBytes(const std::uint8_t* bytes, std::int64_t length, bool verify) {
    if (verify) {
        this->RequireWritable();
    }
    const std::int64_t full = Located().Length();
    if (length < 0 || length > full || (bytes == nullptr && length > 0)) {
        throw NODE_EXCEPTION(OutOfRangeException,
                             *this)("Cannot write %" PRId64 " bytes to a register of %" PRId64 " bytes.", length, full);
    }
    std::vector<std::uint8_t> padded(static_cast<std::size_t>(full));
    std::copy_n(bytes, length, padded.begin());
    WriteScope scope(*this);
    WriteBytes(padded);
    if (verify) {
        this->CheckErrorNodes();
    }
    DeviceLog::TellWritten(*this, std::span<const std::uint8_t>(padded));
    scope.Succeed();
}

template <typename Base>
void RegisterOf<Base>::Get(uint8_t* pBuffer, int64_t Length, bool Verify, bool IgnoreCache) {
    const Call call(*this, "Get");
    this->RequireReadable();
    const std::int64_t full = Located().Length();
    if (Length < 0 || Length > full || (pBuffer == nullptr && Length > 0)) {
        throw NODE_EXCEPTION(OutOfRangeException,
                             *this)("Cannot read %" PRId64 " bytes of a register of %" PRId64 " bytes.", Length, full);
    }
    const EvaluationGuard guard(*this, EvaluationGuard::Reading);
    const auto bytes = m_register.Read({Verify, IgnoreCache});
    DeviceLog::TellRead(*this, bytes);
    std::copy_n(bytes.begin(), std::min(static_cast<std::size_t>(Length), bytes.size()), pBuffer);
    if (Verify) {
        this->CheckErrorNodes();
    }
}

template <typename Base>
int64_t RegisterOf<Base>::GetLength() {
    const Call call(*this, "GetLength");
    this->RequireAvailable();
    return Located().Length();
}

template <typename Base>
int64_t RegisterOf<Base>::GetAddress() {
    const Call call(*this, "GetAddress");
    this->RequireAvailable();
    return Located().Address();
}

template class RegisterOf<IntegerBase>;
template class RegisterOf<FloatBase>;
template class RegisterOf<StringBase>;
template class RegisterOf<BytesBase>;

} // namespace GenApi
