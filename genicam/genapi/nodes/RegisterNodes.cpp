// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/RegisterNodes.h"

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/nodes/DeviceLog.h"
#include "genicam/genapi/nodes/NodeError.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cinttypes>
#include <cmath>
#include <cstring>

namespace GenApi {

extern template class RegisterOf<IntegerBase>;
extern template class RegisterOf<FloatBase>;
extern template class RegisterOf<StringBase>;
extern template class RegisterOf<BytesBase>;

void IntegerRegisterNode::BindProperty(const Property& property) {
    switch (property.kind) {
    case PropertyKind::Endianess:
        m_endianess = static_cast<EEndianess>(property.payload);
        break;
    case PropertyKind::Sign:
        m_sign = static_cast<ESign>(property.payload);
        break;
    case PropertyKind::Bit:
        m_lsb = m_msb = Description().IntegerOf(property);
        break;
    case PropertyKind::LSB:
        m_lsb = Description().IntegerOf(property);
        break;
    case PropertyKind::MSB:
        m_msb = Description().IntegerOf(property);
        break;
    default:
        RegisterOf::BindProperty(property);
        break;
    }
}

/// With big endian, bit 0 is the most significant one.
IntegerRegisterNode::Bits IntegerRegisterNode::BitsOf(std::int64_t length) {
    const std::int64_t bits = 8 * length;
    if (Kind() == NodeKind::IntReg) {
        return {0, static_cast<unsigned int>(bits)};
    }
    if (m_lsb < 0 || m_lsb >= bits || m_msb < 0 || m_msb >= bits) {
        throw NODE_EXCEPTION(RuntimeException, *this)("The bits %" PRId64 " to %" PRId64
                                                      " are not all inside the register of %" PRId64 " bits.",
                                                      m_lsb, m_msb, bits);
    }
    const bool mirrored = m_endianess == BigEndian;
    const std::int64_t one = mirrored ? bits - 1 - m_lsb : m_lsb;
    const std::int64_t other = mirrored ? bits - 1 - m_msb : m_msb;
    const auto [low, high] = std::minmax(one, other);
    return {static_cast<unsigned int>(low), static_cast<unsigned int>(high - low + 1)};
}

std::uint64_t IntegerRegisterNode::Decode(std::span<const std::uint8_t> bytes) const noexcept {
    std::uint64_t raw = 0;
    if (m_endianess == BigEndian) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            raw = (raw << 8) | bytes[i];
        }
    } else {
        for (std::size_t i = bytes.size(); i > 0; --i) {
            raw = (raw << 8) | bytes[i - 1];
        }
    }
    return raw;
}

void IntegerRegisterNode::Encode(std::uint64_t raw, std::span<std::uint8_t> bytes) const noexcept {
    for (std::size_t i = 0; i < bytes.size(); ++i, raw >>= 8) {
        bytes[m_endianess == BigEndian ? bytes.size() - 1 - i : i] = static_cast<std::uint8_t>(raw);
    }
}

namespace {

constexpr std::uint64_t LowMask(unsigned int bits) noexcept {
    return bits >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << bits) - 1;
}

} // namespace

std::int64_t IntegerRegisterNode::ValueOf(std::span<const std::uint8_t> bytes) {
    const Bits bits = BitsOf(static_cast<std::int64_t>(bytes.size()));
    const std::uint64_t raw = (Decode(bytes) >> bits.low) & LowMask(bits.count);
    const bool isNegative = m_sign == Signed && ((raw >> (bits.count - 1)) & 1) != 0;
    return static_cast<std::int64_t>(isNegative ? raw | ~LowMask(bits.count) : raw);
}

std::int64_t IntegerRegisterNode::Evaluate(ReadMode mode) {
    RegisterPart& place = Located();
    BitsOf(place.Length()); // nothing is read where they do not lie inside
    return ValueOf(place.Read(mode));
}

bool IntegerRegisterNode::ReadKept(std::int64_t& value) {
    const RawCache::Entry* const kept = Kept();
    if (kept == nullptr) {
        return false;
    }
    if (m_decodedStamp != kept->stamp) {
        m_decoded = ValueOf(kept->bytes);
        m_decodedStamp = kept->stamp;
    }
    value = m_decoded;
    return true;
}

bool IntegerRegisterNode::Fits(std::int64_t value, unsigned int bits) const noexcept {
    if (bits >= 64) {
        return true;
    }
    const auto max = static_cast<std::int64_t>(LowMask(m_sign == Signed ? bits - 1 : bits));
    return value <= max && value >= (m_sign == Signed ? -max - 1 : 0);
}

void IntegerRegisterNode::Store(std::int64_t value, bool) {
    RegisterPart& place = Located();
    const Bits bits = BitsOf(place.Length());
    if (!Fits(value, bits.count)) {
        throw NODE_EXCEPTION(OutOfRangeException, *this)("Value = %" PRId64 " does not fit into %u bits.", value,
                                                         bits.count);
    }
    const auto length = static_cast<std::size_t>(place.Length());
    const std::uint64_t mask = LowMask(bits.count) << bits.low;
    std::uint64_t raw = 0;
    // the register's own mode decides: what is imposed on the field says nothing of the bits beside it
    if (bits.count < 8 * length && IsReadable(OwnMode())) {
        raw = Decode(place.Read(ReadMode()));
    }
    raw = (raw & ~mask) | ((static_cast<std::uint64_t>(value) << bits.low) & mask);
    std::uint8_t bytes[8];
    Encode(raw, {bytes, length});
    WriteBytes({bytes, length});
}

std::int64_t IntegerRegisterNode::NaturalMin() {
    const unsigned int bits = BitsOf(Located().Length()).count;
    return m_sign == Signed ? static_cast<std::int64_t>(~LowMask(bits - 1)) : 0;
}

std::int64_t IntegerRegisterNode::NaturalMax() {
    const unsigned int bits = BitsOf(Located().Length()).count;
    return static_cast<std::int64_t>(LowMask(m_sign == Signed || bits >= 64 ? bits - 1 : bits));
}

void FloatRegisterNode::BindProperty(const Property& property) {
    if (property.kind == PropertyKind::Endianess) {
        m_endianess = static_cast<EEndianess>(property.payload);
    } else {
        RegisterOf::BindProperty(property);
    }
}

RegisterPart& FloatRegisterNode::LocatedFloat() {
    RegisterPart& place = Located();
    if (place.Length() != 4 && place.Length() != 8) {
        throw NODE_EXCEPTION(RuntimeException, *this)(
            "The register has a length of %" PRId64 " bytes, 4 or 8 are allowed.", place.Length());
    }
    return place;
}

double FloatRegisterNode::ValueOf(std::span<const std::uint8_t> raw) const noexcept {
    std::uint8_t bytes[8];
    const bool swap = m_endianess == BigEndian;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        bytes[i] = raw[swap ? raw.size() - 1 - i : i];
    }
    if (raw.size() == 4) {
        float value;
        std::memcpy(&value, bytes, sizeof(value));
        return static_cast<double>(value);
    }
    double value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

double FloatRegisterNode::Evaluate(ReadMode mode) {
    return ValueOf(LocatedFloat().Read(mode));
}

bool FloatRegisterNode::ReadKept(double& value) {
    const RawCache::Entry* const kept = Kept();
    if (kept == nullptr || (kept->bytes.size() != 4 && kept->bytes.size() != 8)) {
        return false;
    }
    value = ValueOf(kept->bytes);
    return true;
}

void FloatRegisterNode::Store(double value, bool) {
    const auto length = static_cast<std::size_t>(LocatedFloat().Length());
    std::uint8_t bytes[8];
    if (length == 4) {
        if (std::isfinite(value) && std::fabs(value) > static_cast<double>(FLT_MAX)) {
            throw NODE_EXCEPTION(OutOfRangeException, *this)("Value %g does not fit into 4 bytes.", value);
        }
        const auto narrow = static_cast<float>(value);
        std::memcpy(bytes, &narrow, sizeof(narrow));
    } else {
        std::memcpy(bytes, &value, sizeof(value));
    }
    if (m_endianess == BigEndian) {
        std::reverse(bytes, bytes + length);
    }
    WriteBytes({bytes, length});
}

double FloatRegisterNode::NaturalMin() {
    return -NaturalMax();
}

double FloatRegisterNode::NaturalMax() {
    return LocatedFloat().Length() == 4 ? static_cast<double>(FLT_MAX) : DBL_MAX;
}

std::string StringRegisterNode::Evaluate(ReadMode mode) {
    const auto bytes = Located().Read(mode);
    return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t(0)));
}

void StringRegisterNode::Store(const std::string& value, bool) {
    const auto length = static_cast<std::size_t>(Located().Length());
    if (value.size() > length) {
        throw NODE_EXCEPTION(OutOfRangeException, *this)("A text of %zu bytes does not fit into a register of %zu.",
                                                         value.size(), length);
    }
    std::vector<std::uint8_t> bytes(length);
    std::copy(value.begin(), value.end(), bytes.begin());
    WriteBytes(bytes);
}

std::int64_t StringRegisterNode::MaxTextLength() {
    return IsWritable(Mode()) ? Located().Length() : static_cast<std::int64_t>(ReadText(ReadMode()).size());
}

std::string RegisterNode::FormatValue(ReadMode mode) {
    RequireReadable();
    const EvaluationGuard guard(*this, EvaluationGuard::Reading);
    std::string text = FormatBytes(Located().Read(mode));
    DeviceLog::TellRead(*this, text);
    if (mode.verify) {
        CheckErrorNodes();
    }
    return text;
}

void RegisterNode::WriteFormatted(std::string_view text, bool verify) {
    if (verify) {
        RequireWritable();
    }
    const auto bytes = ParseBytes(text);
    if (!bytes) {
        FailConversion(text, "bytes");
    }
    if (bytes->size() != static_cast<std::size_t>(Located().Length())) {
        throw NODE_EXCEPTION(OutOfRangeException, *this)("The text gives %zu bytes, the register has %" PRId64 ".",
                                                         bytes->size(), Located().Length());
    }
    WriteScope scope(*this);
    WriteBytes(*bytes);
    if (verify) {
        CheckErrorNodes();
    }
    DeviceLog::TellWritten(*this, std::span<const std::uint8_t>(*bytes));
    scope.Succeed();
}

} // namespace GenApi
