// SPDX-License-Identifier: Apache-2.0
#include "control/Description.h"

#include "common/Descriptor.h"
#include "control/Connection.h"
#include "control/DeviceUrl.h"
#include "net/UdpSocket.h"

#include <Base/GCException.h>
#include <GenApi/DescriptionUrl.h>
#include <gigevision/Registers.h>
#include <zelmo/Utilities.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

namespace Gige {

namespace {

using PluginKit::CDescriptor;
namespace Register = GigEVision::Register;

constexpr std::int64_t kSecondNs = 1'000'000'000;
constexpr std::int64_t kLongestNs = 60 * kSecondNs;
constexpr std::int64_t kLongestStopNs = 5 * kSecondNs; // without progress
constexpr std::size_t kBlockBytes = 512;
constexpr std::size_t kUrlBytes = 512;
constexpr std::size_t kManifestHeaderBytes = 8, kManifestEntryBytes = 8;

/// What was tried, and the time that is left.
class CSearch {
public:
    CSearch(CConnection& connection, const std::function<void(const CDescription&)>& use, std::int64_t untilNs)
        : m_connection(connection), m_use(use), m_endNs(std::min(m_beginNs + kLongestNs, untilNs)) {}

    bool TryUrlAt(std::uint32_t address, const char* what);
    bool TryManifest();
    CDescription& Found() { return m_found; }
    const std::string& Causes() const { return m_causes; }

private:
    void Read(GigEVision::MutableBytes bytes, std::uint32_t address);
    std::string ReadUrl(std::uint32_t address);
    std::string FetchMemory(const CDeviceUrl& url);
    std::vector<std::uint32_t> ReadManifest();
    bool IsTimeUp() const { return MonotonicNs() >= m_endNs; }
    [[noreturn]] void FailForTime() const;
    void AddCause(const std::string& what, const std::string& cause);

    CConnection& m_connection;
    const std::function<void(const CDescription&)>& m_use;
    const std::int64_t m_beginNs = MonotonicNs(), m_endNs;
    CDescription m_found;
    std::string m_causes;
};

/// What a device says may hold anything; other characters are percent-coded in URLs.
std::string Printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char one) { return one < ' ' || one > '~'; }, '?');
    return text;
}

std::string ReadFile(const CDescriptor& file, std::size_t bytes) {
    std::string text(bytes, '\0');
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t got = read(file.Number(), &text[done], bytes - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    text.resize(done); // it may have become shorter meanwhile
    return text;
}

/// A device names a file, never a path: what it could name otherwise is none of its business.
std::string FetchFile(const std::string& name) {
    const std::string path = std::string(Zelmo::getZelmoFolderPath(Zelmo::FolderType_CameraDescriptions)) + "/" + name;
    const CDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Number(), &status) != 0) {
        throw RUNTIME_EXCEPTION("The file '" + path + "', where it would have to be, cannot be read: " +
                                std::system_category().message(errno) + ".");
    }
    if (!S_ISREG(status.st_mode)) {
        throw RUNTIME_EXCEPTION("'" + path + "' is no regular file.");
    }
    if (status.st_size <= 0 || static_cast<std::uint64_t>(status.st_size) > GenApi::CDescriptionUrl::MaxBytes) {
        throw RUNTIME_EXCEPTION("The file '" + path + "' has " + std::to_string(status.st_size) + " bytes; 1 to " +
                                std::to_string(GenApi::CDescriptionUrl::MaxBytes) + " are taken.");
    }
    return ReadFile(file, static_cast<std::size_t>(status.st_size));
}

bool CSearch::TryUrlAt(std::uint32_t address, const char* what) {
    if (!m_causes.empty() && IsTimeUp()) {
        return false;
    }
    std::string text;
    try {
        text = ReadUrl(address);
        const CDeviceUrl url = ParseDeviceUrl(text);
        m_found = {text, url.fileName.empty() ? FetchMemory(url) : FetchFile(url.fileName)};
        if (m_use) {
            m_use(m_found);
        }
        return true;
    } catch (const GenICam::BadAllocException&) {
        throw; // says nothing about the description
    } catch (const GenICam::GenericException& e) {
        AddCause(std::string(what) + " '" + text + "'", e.GetDescription());
        return false;
    }
}

// Only if both URLs fail: few devices have one.
bool CSearch::TryManifest() {
    if (!m_connection.Capabilities().Has(GigEVision::GvcpCapability::kManifest)) {
        return false;
    }
    try {
        const std::vector<std::uint32_t> addresses = ReadManifest();
        return std::any_of(addresses.begin(), addresses.end(),
                           [&](std::uint32_t address) { return TryUrlAt(address, "A URL of its manifest"); });
    } catch (const GenICam::GenericException& e) {
        AddCause("Its manifest", e.GetDescription());
        return false;
    }
}

/// Addresses of URLs. Numbers of entries have 6 bits.
std::vector<std::uint32_t> CSearch::ReadManifest() {
    std::array<std::uint8_t, kManifestHeaderBytes> header{};
    Read(header, Register::kManifest);
    std::vector<std::uint8_t> entries((header[0] >> 2) * kManifestEntryBytes);
    Read(entries, Register::kManifest + kManifestHeaderBytes);
    std::vector<std::uint32_t> addresses;
    for (std::size_t at = 0; at < entries.size(); at += kManifestEntryBytes) {
        addresses.push_back(GigEVision::GetBigEndian<std::uint32_t>(&entries[at + 4]));
    }
    return addresses;
}

std::string CSearch::ReadUrl(std::uint32_t address) {
    std::array<std::uint8_t, kUrlBytes> text;
    Read(text, address);
    return Printable({text.begin(), std::find(text.begin(), text.end(), std::uint8_t{0})});
}

std::string CSearch::FetchMemory(const CDeviceUrl& url) {
    std::string bytes; // grows with what comes, as its length is the device's word
    while (bytes.size() < url.bytes) {
        std::array<std::uint8_t, kBlockBytes> block;
        const std::size_t count = std::min(block.size(), url.bytes - bytes.size());
        Read(GigEVision::MutableBytes(block).first(count), url.address + static_cast<std::uint32_t>(bytes.size()));
        bytes.append(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count));
    }
    return bytes;
}

void CSearch::Read(GigEVision::MutableBytes bytes, std::uint32_t address) {
    if (IsTimeUp()) {
        FailForTime();
    }
    try {
        m_connection.ReadMemory(address, bytes, std::min(m_endNs, MonotonicNs() + kLongestStopNs));
    } catch (const GenICam::GenericException&) {
        if (IsTimeUp()) { // the camera may have been about to answer
            FailForTime();
        }
        throw;
    }
}

void CSearch::FailForTime() const {
    throw RUNTIME_EXCEPTION("Reading it takes more than the %lld s that there are for it.",
                            static_cast<long long>((m_endNs - m_beginNs + kSecondNs / 2) / kSecondNs));
}

void CSearch::AddCause(const std::string& what, const std::string& cause) {
    m_causes += (m_causes.empty() ? "" : " ") + what + ": " + cause;
}

} // namespace

CDescription ReadDescription(CConnection& connection, const std::function<void(const CDescription&)>& use,
                             std::int64_t untilNs) {
    CSearch search(connection, use, untilNs);
    if (search.TryUrlAt(Register::kFirstUrl, "The first URL") ||
        search.TryUrlAt(Register::kSecondUrl, "The second URL") || search.TryManifest()) {
        return std::move(search.Found());
    }
    throw RUNTIME_EXCEPTION("Cannot get the description of the camera at " +
                            PluginKit::AddressText(connection.Route().device.address) + ". " + search.Causes());
}

} // namespace Gige
