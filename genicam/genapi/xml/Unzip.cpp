#include "genicam/genapi/xml/Unzip.h"

#include <Base/GCException.h>

#include <zip.h>

#include <memory>

namespace GenApi {

namespace {

constexpr std::size_t maxUnpackedBytes = std::size_t(64) << 20;

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
        throw RUNTIME_EXCEPTION("Cannot unpack the camera description: %s.", zip_error_strerror(&error.error));
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

} // namespace

bool IsZip(std::string_view bytes) noexcept {
    return bytes.starts_with("PK\x03\x04");
}

std::string UnzipFirstEntry(std::string_view bytes) {
    const auto archive = OpenArchive(WithoutPadding(bytes));
    if (zip_get_num_entries(archive.get(), 0) < 1) {
        throw RUNTIME_EXCEPTION("Cannot unpack the camera description: the archive has no entry.");
    }
    const std::unique_ptr<zip_file_t, FileCloser> file(zip_fopen_index(archive.get(), 0, 0));
    if (!file) {
        throw RUNTIME_EXCEPTION("Cannot unpack the camera description: %s.", zip_strerror(archive.get()));
    }
    // what the archive says of the size is not trusted: a few bytes can unpack to gigabytes
    std::string text;
    char block[65536];
    for (zip_int64_t count; (count = zip_fread(file.get(), block, sizeof(block))) != 0;) {
        if (count < 0) {
            throw RUNTIME_EXCEPTION("Cannot unpack the camera description: %s.", zip_file_strerror(file.get()));
        }
        if (text.size() + static_cast<std::size_t>(count) > maxUnpackedBytes) {
            throw RUNTIME_EXCEPTION("Cannot unpack the camera description: it has more than %zu bytes.",
                                    maxUnpackedBytes);
        }
        text.append(block, static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace GenApi
