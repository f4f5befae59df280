// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/LibraryFile.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

namespace Zelmo {
namespace {

using FileHeader = ElfW(Ehdr);
using SegmentHeader = ElfW(Phdr);

/// A file that is open for reading, if it could be opened.
class CReadOnlyFile {
public:
    // Not blocking: opening a pipe for which nobody writes would wait forever.
    explicit CReadOnlyFile(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~CReadOnlyFile() {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }
    CReadOnlyFile(const CReadOnlyFile&) = delete;
    CReadOnlyFile& operator=(const CReadOnlyFile&) = delete;

    bool GetStatus(struct stat& status) const { return m_fd >= 0 && fstat(m_fd, &status) == 0; }

    template <class T>
    bool ReadAt(std::uint64_t offset, T& value) const {
        return offset <= static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()) &&
               pread(m_fd, &value, sizeof value, static_cast<off_t>(offset)) == static_cast<ssize_t>(sizeof value);
    }

private:
    int m_fd;
};

/// The end of a part of the file; a sum that does not fit, which only a damaged header gives, is the largest number.
std::uint64_t EndOf(std::uint64_t offset, std::uint64_t sizeBytes) {
    const std::uint64_t end = offset + sizeBytes;
    return end < offset ? std::numeric_limits<std::uint64_t>::max() : end;
}

/// A header that this machine's loader reads on; what is none it refuses by itself, with the reason.
bool IsNative(const FileHeader& header) {
    constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    constexpr unsigned char kOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == kClass &&
           header.e_ident[EI_DATA] == kOrder && header.e_phentsize == sizeof(SegmentHeader);
}

/// How long the file must be to hold all that its headers tell of. The sections, at the very end, are never loaded, but
/// a file without them was cut as well.
std::uint64_t NeededSize(const CReadOnlyFile& file, const FileHeader& header) {
    std::uint64_t needed = std::max(EndOf(header.e_phoff, std::uint64_t{header.e_phnum} * sizeof(SegmentHeader)),
                                    EndOf(header.e_shoff, std::uint64_t{header.e_shnum} * header.e_shentsize));
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        SegmentHeader segment{};
        if (!file.ReadAt(header.e_phoff + i * sizeof segment, segment)) {
            break; // behind the end of the file: counted above
        }
        if (segment.p_type != PT_NULL) {
            needed = std::max(needed, EndOf(segment.p_offset, segment.p_filesz));
        }
    }
    return needed;
}

} // namespace

std::string FindFileDamage(const std::string& path) {
    const CReadOnlyFile file(path);
    struct stat status {};
    if (!file.GetStatus(status)) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is not a regular file";
    }
    FileHeader header{};
    if (!file.ReadAt(0, header) || !IsNative(header)) {
        return {};
    }
    const std::uint64_t needed = NeededSize(file, header);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (needed <= size) {
        return {};
    }
    return "the file is cut short: its headers tell of " + std::to_string(needed) + " bytes, it has " +
           std::to_string(size);
}

void KeepLibraryLoaded(const std::type_info& type) noexcept {
    Dl_info info{};
    if (dladdr(&type, &info) != 0 && info.dli_fname != nullptr) {
        if (void* const library = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE)) {
            dlclose(library); // the mark stays
        }
    }
}

} // namespace Zelmo
