// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/xml/Unzip.h"

#include <Base/GCException.h>

#include <zip.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace GenApi {

namespace {

constexpr std::size_t kMaxUnpackedBytes = std::size_t(64) << 20;
constexpr std::size_t kMaxArchiveBytes = kMaxUnpackedBytes;
constexpr zip_int64_t kMaxEntries = 64;
constexpr std::size_t kMaxRatio = 200; // descriptions shrink to a tenth, their most uniform passages to a hundredth
constexpr std::size_t kRatioFloorBytes = std::size_t(1) << 20; // what is smaller does no harm

[[noreturn]] void Fail(const std::string& reason) {
    throw RUNTIME_EXCEPTION("Cannot unpack the camera description: " + reason + ".");
}

struct ArchiveCloser {
    void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
};
struct FileCloser {
    void operator()(zip_file_t* file) const noexcept { zip_fclose(file); }
};

struct Error {
    Error() { zip_error_init(&error); }
    ~Error() { zip_error_fini(&error); }
    zip_error_t error;
};

std::unique_ptr<zip_t, ArchiveCloser> OpenArchive(std::string_view bytes) {
    Error error;
    zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error.error);
    zip_t* archive = source != nullptr ? zip_open_from_source(source, ZIP_RDONLY, &error.error) : nullptr;
    if (archive == nullptr) {
        zip_source_free(source); // the archive owns it only once it is open
        Fail(zip_error_strerror(&error.error));
    }
    return std::unique_ptr<zip_t, ArchiveCloser>(archive);
}

/// Without what follows the archive in the memory of a device. @return all bytes if they do not show where it ends.
std::string_view WithoutPadding(std::string_view bytes) noexcept {
    constexpr std::size_t recordBytes = 22; // the last record; at its end, the length of the comment behind it
    const std::size_t end = bytes.rfind("PK\x05\x06");
    if (end == std::string_view::npos || bytes.size() - end < recordBytes) {
        return bytes;
    }
    const auto low = static_cast<unsigned char>(bytes[end + recordBytes - 2]);
    const auto high = static_cast<unsigned char>(bytes[end + recordBytes - 1]);
    return bytes.substr(0, end + recordBytes + low + (static_cast<std::size_t>(high) << 8));
}

bool IsXml(std::string_view name) noexcept {
    constexpr std::string_view extension = ".xml";
    return name.size() >= extension.size() &&
           std::equal(extension.begin(), extension.end(), name.end() - extension.size(),
                      [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b + 32 : b); });
}

std::string_view EntryName(zip_t& archive, zip_int64_t entry) {
    const char* const name = zip_get_name(&archive, static_cast<zip_uint64_t>(entry), ZIP_FL_ENC_RAW);
    return name != nullptr ? name : "";
}

/// Folders are entries, too, and some archivers add a file with attributes, "._Camera.xml", for each file.
bool IsFile(std::string_view entry) noexcept {
    const std::string_view name = entry.substr(entry.rfind('/') + 1);
    return !name.empty() && !name.starts_with("._");
}

/// What the archive holds.
std::vector<zip_int64_t> FilesOf(zip_t& archive) {
    const zip_int64_t count = zip_get_num_entries(&archive, 0);
    if (count > kMaxEntries) {
        Fail("the archive has " + std::to_string(count) + " entries, " + std::to_string(kMaxEntries) + " are allowed");
    }
    std::vector<zip_int64_t> files;
    for (zip_int64_t entry = 0; entry < count; ++entry) {
        if (IsFile(EntryName(archive, entry))) {
            files.push_back(entry);
        }
    }
    return files;
}

zip_uint64_t FindDescription(zip_t& archive) {
    std::vector<zip_int64_t> files = FilesOf(archive);
    if (files.size() > 1) {
        std::erase_if(files, [&archive](zip_int64_t entry) { return !IsXml(EntryName(archive, entry)); });
    }
    if (files.size() > 1) {
        Fail("the archive holds '" + std::string(EntryName(archive, files[0])) + "' and '" +
             std::string(EntryName(archive, files[1])) + "', one description is needed");
    }
    if (files.empty()) {
        Fail("the archive has no entry that is a description");
    }
    return static_cast<zip_uint64_t>(files.front());
}

/// What the archive says of the size is not trusted: a few bytes can unpack to gigabytes.
std::string Unpack(zip_file_t& file, std::size_t archiveBytes) {
    std::string text;
    char block[65536];
    for (zip_int64_t count; (count = zip_fread(&file, block, sizeof(block))) != 0;) {
        if (count < 0) {
            Fail(zip_file_strerror(&file));
        }
        text.append(block, static_cast<std::size_t>(count));
        if (text.size() > kMaxUnpackedBytes) {
            Fail("it has more than " + std::to_string(kMaxUnpackedBytes) + " bytes");
        }
        if (text.size() > kRatioFloorBytes && text.size() / kMaxRatio > archiveBytes) {
            Fail("it has more than " + std::to_string(kMaxRatio) + " times the bytes of the archive");
        }
    }
    return text;
}

} // namespace

bool IsZip(std::string_view bytes) noexcept {
    return bytes.starts_with("PK\x03\x04") || bytes.starts_with("PK\x05\x06"); // the latter is an empty one
}

std::string UnzipDescription(std::string_view bytes) {
    if (bytes.size() > kMaxArchiveBytes) {
        Fail("the archive has more than " + std::to_string(kMaxArchiveBytes) + " bytes");
    }
    bytes = WithoutPadding(bytes);
    const auto archive = OpenArchive(bytes);
    const std::unique_ptr<zip_file_t, FileCloser> file(zip_fopen_index(archive.get(), FindDescription(*archive), 0));
    if (!file) {
        Fail(zip_strerror(archive.get()));
    }
    return Unpack(*file, bytes.size());
}

} // namespace GenApi
