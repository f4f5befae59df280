// SPDX-License-Identifier: Apache-2.0
#include <GenApi/DescriptionUrl.h>

#include "genicam/genapi/model/TextForms.h"
#include "genicam/genapi/xml/ReadFile.h"
#include "genicam/genapi/xml/Unzip.h"

#include <Base/GCException.h>
#include <Base/GCUtilities.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace GenApi {

namespace {

constexpr std::string_view kVersionKey = "schemaversion=";
constexpr std::size_t kBlockBytes = std::size_t(64) << 10; // a device that ends early costs no more than this

bool StartsWith(std::string_view text, std::string_view lowerCase) noexcept {
    return text.size() >= lowerCase.size() &&
           std::equal(lowerCase.begin(), lowerCase.end(), text.begin(),
                      [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b + 32 : b); });
}

/// Takes what stands before @p mark off the front of the text, and the mark; all if there is none.
std::string_view TakeUntil(std::string_view& text, char mark) {
    const std::size_t end = std::min(text.find(mark), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

std::optional<std::uint64_t> ParseHex(std::string_view text) {
    text = TrimSpace(text);
    if (StartsWith(text, "0x")) {
        text.remove_prefix(2);
    }
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

[[noreturn]] void Refuse(const gcstring& url, const std::string& reason) {
    throw INVALID_ARGUMENT_EXCEPTION("'" + std::string(url.view()) + "' is no URL of a camera description: " + reason +
                                     ".");
}

[[noreturn]] void Fail(const gcstring& url, const std::string& reason) {
    throw RUNTIME_EXCEPTION("Cannot fetch the camera description from '" + std::string(url.view()) + "': " + reason +
                            ".");
}

} // namespace

CDescriptionUrl::CDescriptionUrl(const gcstring& Url) {
    const std::string_view given = Url.view();
    std::string_view rest = TrimSpace(given.substr(0, given.find('\0')));
    m_url = gcstring(rest);
    if (StartsWith(rest, "http://") || StartsWith(rest, "https://")) {
        m_scheme = Scheme_Http;
        return;
    }
    const std::string_view scheme = TakeUntil(rest, ':');
    std::string_view place = TakeUntil(rest, '?');
    if (StartsWith(rest, kVersionKey)) {
        m_schemaVersion = gcstring(rest.substr(kVersionKey.size()));
    }
    if (place.substr(0, 3) == "///") {
        place.remove_prefix(2); // an absolute path keeps one
    }
    if (StartsWith(scheme, "local") && scheme.size() == 5) {
        ParseLocal(gcstring(place));
    } else if (StartsWith(scheme, "file") && scheme.size() == 4) {
        ParseFile(gcstring(place));
    } else {
        Refuse(m_url, "it begins neither with 'Local:' nor with 'File:', 'http://' or 'https://'");
    }
}

void CDescriptionUrl::ParseLocal(const gcstring& Rest) {
    m_scheme = Scheme_Local;
    std::string_view place = Rest.view();
    place.remove_prefix(std::min(place.find_first_not_of('/'), place.size()));
    m_fileName = gcstring(TakeUntil(place, ';'));
    const auto address = ParseHex(TakeUntil(place, ';'));
    const auto length = ParseHex(TakeUntil(place, ';'));
    if (!address || !length) {
        Refuse(m_url, "'Local:<name>;<address>;<length>' with hexadecimal numbers is needed");
    }
    if (*length == 0 || *length > MaxBytes) {
        Refuse(m_url,
               "a length of " + std::to_string(*length) + " bytes, 1 to " + std::to_string(MaxBytes) + " are allowed");
    }
    if (*address > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) - *length) {
        Refuse(m_url, "it lies beyond the last address");
    }
    m_address = *address;
    m_length = *length;
}

void CDescriptionUrl::ParseFile(const gcstring& Rest) {
    m_scheme = Scheme_File;
    m_fileName = GenICam::UrlDecode(Rest);
    if (m_fileName.empty() || m_fileName.view().find('\0') != std::string_view::npos) {
        Refuse(m_url, "it names no file");
    }
}

gcstring CDescriptionUrl::Fetch(IPort* pPort) const {
    if (m_scheme == Scheme_Http) {
        Fail(m_url, "nothing is loaded from the network; download it and name the file");
    }
    if (m_scheme == Scheme_File) {
        return FetchFile();
    }
    if (pPort == nullptr) {
        Fail(m_url, "it is in the device's memory, and there is no port to read it through");
    }
    std::string bytes;
    while (bytes.size() < m_length) {
        const std::size_t begin = bytes.size();
        const std::size_t count = std::min<std::size_t>(kBlockBytes, static_cast<std::size_t>(m_length) - begin);
        bytes.resize(begin + count);
        pPort->Read(bytes.data() + begin, static_cast<int64_t>(m_address + begin), static_cast<int64_t>(count));
    }
    return gcstring(std::move(bytes));
}

gcstring CDescriptionUrl::FetchFile() const {
    try {
        gcstring path = m_fileName;
        GenICam::ReplaceEnvironmentVariables(path);
        return gcstring(ReadFile(std::string(path.view())));
    } catch (const GenICam::RuntimeException& failure) {
        throw RUNTIME_EXCEPTION("Cannot fetch the camera description from '" + std::string(m_url.view()) +
                                "': " + failure.GetDescription());
    }
}

EContentType_t CDescriptionUrl::GetContentType(const gcstring& Bytes) noexcept {
    return IsZip(Bytes.view()) ? ContentType_ZippedXml : ContentType_Xml;
}

} // namespace GenApi
