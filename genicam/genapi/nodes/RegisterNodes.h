// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/FloatBase.h"
#include "genicam/genapi/nodes/IntegerBase.h"
#include "genicam/genapi/nodes/RegisterPart.h"
#include "genicam/genapi/nodes/StringBase.h"

#include <GenApi/IRegister.h>

namespace GenApi {

/// Makes a node of one value type a register: adds IRegister and the rules of place, mode and caching.
/// The bytes are what is cached; values are decoded from them.
template <typename Base>
class RegisterOf : public Base, public IRegister {
public:
    using Base::Base;

    void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override;
    void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) override;
    int64_t GetLength() override;
    int64_t GetAddress() override;

    ECachingMode GetCachingMode() const override { return m_register.Caching(); } ///< as declared
    bool IsValueCached() override;

protected:
    void BindProperty(const Property& property) override;
    EAccessMode OwnMode() override { return m_register.Mode(); }
    bool IsOwnModeCacheable() override { return m_register.IsModeCacheable(); }
    /// For those above: what the device may move by itself must be looked for at each read.
    ECachingMode ComputeCaching() override { return IsPlaceCacheable() ? m_register.Caching() : NoCache; }
    void DropRaw() noexcept override { m_register.DropRaw(); }
    virtual std::int64_t MinLength() const noexcept { return 0; }
    virtual std::int64_t MaxLength() const noexcept { return RegisterPart::kMaxLength; }

    RegisterPart& Located(); ///< with address and length found
    /// The bytes, if a read may have them without more ado; else null.
    const RawCache::Entry* Kept() const noexcept { return this->HasCached(Cached_Place) ? m_register.Kept() : nullptr; }
    bool IsPlaceCacheable() { return m_register.IsPlaceCacheable(); }
    void WriteBytes(std::span<const std::uint8_t> bytes); ///< where it was located last

private:
    void SetBytes(const std::uint8_t* bytes, std::int64_t length, bool verify);

    RegisterPart m_register;
};

/// IntReg, MaskedIntReg and the entries of structures.
class IntegerRegisterNode final : public RegisterOf<IntegerBase> {
public:
    using RegisterOf::RegisterOf;

protected:
    void BindProperty(const Property& property) override;
    std::int64_t Evaluate(ReadMode mode) override;
    bool ReadKept(std::int64_t& value) override;
    void Store(std::int64_t value, bool verify) override;
    bool KeepsOwnValue() override { return false; }
    std::int64_t NaturalMin() override;
    std::int64_t NaturalMax() override;
    bool ComputeLimitsCacheable() override { return IsPlaceCacheable(); }
    std::int64_t MinLength() const noexcept override { return 1; }
    std::int64_t MaxLength() const noexcept override { return 8; }

private:
    struct Bits {
        unsigned int low;
        unsigned int count;
    };
    Bits BitsOf(std::int64_t length); ///< counted from the least significant bit
    std::uint64_t Decode(std::span<const std::uint8_t> bytes) const noexcept;
    std::int64_t ValueOf(std::span<const std::uint8_t> bytes);
    void Encode(std::uint64_t raw, std::span<std::uint8_t> bytes) const noexcept;
    bool Fits(std::int64_t value, unsigned int bits) const noexcept;

    EEndianess m_endianess = LittleEndian;
    ESign m_sign = Unsigned;
    std::int64_t m_lsb = -1; // as in the file; -1: the whole register
    std::int64_t m_msb = -1;
    std::uint64_t m_decodedStamp = 0; // of the bytes whose value is in m_decoded
    std::int64_t m_decoded = 0;
};

/// FloatReg.
class FloatRegisterNode final : public RegisterOf<FloatBase> {
public:
    using RegisterOf::RegisterOf;

protected:
    void BindProperty(const Property& property) override;
    double Evaluate(ReadMode mode) override;
    bool ReadKept(double& value) override;
    void Store(double value, bool verify) override;
    bool KeepsOwnValue() override { return false; }
    double NaturalMin() override;
    double NaturalMax() override;
    bool ComputeLimitsCacheable() override { return IsPlaceCacheable(); }
    std::int64_t MinLength() const noexcept override { return 4; }
    std::int64_t MaxLength() const noexcept override { return 8; }

private:
    double ValueOf(std::span<const std::uint8_t> bytes) const noexcept;
    RegisterPart& LocatedFloat(); ///< @throws GenICam::RuntimeException unless 4 or 8 bytes long

    EEndianess m_endianess = LittleEndian;
};

/// StringReg.
class StringRegisterNode final : public RegisterOf<StringBase> {
public:
    using RegisterOf::RegisterOf;

    std::int64_t MaxTextLength() override;

protected:
    std::string Evaluate(ReadMode mode) override;
    void Store(const std::string& value, bool verify) override;
    bool KeepsOwnValue() override { return false; }
};

/// Base of Register: bytes as text.
class BytesBase : public ValueNode {
public:
    using ValueNode::ValueNode;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIRegister; }

protected:
    void BindProperty(const Property&) override {}
};

/// Register.
class RegisterNode final : public RegisterOf<BytesBase> {
public:
    using RegisterOf::RegisterOf;

protected:
    std::string FormatValue(ReadMode mode) override;
    void WriteFormatted(std::string_view text, bool verify) override;
};

} // namespace GenApi
