// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>
#include <Base/GCString.h>

#include <GenApi/IPort.h>
#include <GenApi/Types.h>

namespace GenApi {

/// The URL by which a device or a transport layer says where its description is, and the way to fetch it. The scheme's
/// letter case does not matter:
///
///     Local:[///]<name>;<address>;<length>[?SchemaVersion=x.y.z]   in the device's memory; both numbers hexadecimal
///     File:[///]<path>[?SchemaVersion=x.y.z]                       on the host; percent-coded, may hold $(VARIABLE)
///     http://..., https://...                                     at its maker's; never fetched
///
///     const CDescriptionUrl url("Local:Camera.zip;C0000;2A5F");
///     CNodeMapFactory factory(url.Fetch(&port)); // text or archive is told by the content
///
/// A value. Threads: different objects at the same time.
class GENICAM_API CDescriptionUrl {
public:
    enum EScheme { Scheme_Local, Scheme_File, Scheme_Http };

    /// The most that is read from a device or a file.
    static constexpr uint64_t MaxBytes = uint64_t(64) << 20;

    /// Takes the URL apart; nothing is read. What follows a NUL, as in registers of a fixed length, is left out.
    /// @throws GenICam::InvalidArgumentException naming the URL, for another scheme, numbers that are none, a length of
    /// zero or of more than MaxBytes, and a range beyond the last address.
    explicit CDescriptionUrl(const gcstring& Url);

    EScheme GetScheme() const noexcept { return m_scheme; }
    const gcstring& GetUrl() const noexcept { return m_url; }
    const gcstring& GetFileName() const noexcept { return m_fileName; } ///< Local: the name; File: the path, decoded.
    uint64_t GetAddress() const noexcept { return m_address; }          ///< In bytes; Local only, else 0.
    uint64_t GetLength() const noexcept { return m_length; }            ///< In bytes; Local only, else 0.
    const gcstring& GetSchemaVersion() const noexcept { return m_schemaVersion; } ///< Empty if the URL names none.

    /// Reads what the URL leads to: through @p pPort, block after block, exactly the bytes that it names; or the file,
    /// whose variables are replaced now.
    /// @param pPort the device's memory; may be null for another scheme than Local
    /// @throws GenICam::RuntimeException         naming the URL: http, a missing port, file or variable
    /// @throws what the port throws, unchanged
    gcstring Fetch(IPort* pPort = nullptr) const;

    /// What the bytes are, whatever the name of the file says: an archive or text.
    static EContentType_t GetContentType(const gcstring& Bytes) noexcept;

private:
    void ParseLocal(const gcstring& Rest);
    void ParseFile(const gcstring& Rest);
    gcstring FetchFile() const;

    gcstring m_url;
    EScheme m_scheme = Scheme_Local;
    gcstring m_fileName;
    gcstring m_schemaVersion;
    uint64_t m_address = 0;
    uint64_t m_length = 0;
};

} // namespace GenApi
