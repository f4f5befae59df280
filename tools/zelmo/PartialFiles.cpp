// SPDX-License-Identifier: Apache-2.0
#include "PartialFiles.h"

#include "OutputFile.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace tool {
namespace {

/// Who is to read or write a path owns its slot: a handler that takes one keeps it, as the process ends.
enum SlotState : int { Slot_Free, Slot_Owned, Slot_Live };

struct Slot {
    std::atomic<int> state{Slot_Free};
    char path[PATH_MAX];
};
Slot g_slots[64];

std::size_t TakeSlot(const std::string& path) {
    if (path.size() >= sizeof(Slot::path)) {
        throw HostError("Cannot write '" + path + "': the path is too long");
    }
    for (std::size_t i = 0; i < std::size(g_slots); ++i) {
        int expected = Slot_Free;
        if (g_slots[i].state.compare_exchange_strong(expected, Slot_Owned)) {
            std::memcpy(g_slots[i].path, path.c_str(), path.size() + 1);
            g_slots[i].state = Slot_Live;
            return i;
        }
    }
    throw HostError("Cannot write '" + path + "': too many files are being written at a time");
}

std::string TemporaryNameFor(const std::string& path) {
    static std::atomic<unsigned> counter{0};
    const std::filesystem::path target(path);
    const std::string name =
        "." + target.filename().string() + "." + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".part";
    return (target.parent_path() / name).string();
}

int OpenNew(const std::string& path) {
    return open(path.c_str(), O_WRONLY | O_CLOEXEC | O_CREAT | O_EXCL, 0666);
}

/// Where a link leads: renaming to the link's own name would replace the link.
std::string TargetOf(const std::string& path) {
    std::error_code error;
    const bool isLink = std::filesystem::is_symlink(path, error);
    const auto target = isLink ? std::filesystem::canonical(path, error).string() : path;
    return error ? path : target;
}

void WriteSpecial(const std::string& path, int descriptor, const std::uint8_t* data, std::size_t size) {
    OutputFile file(descriptor >= 0 ? fcntl(descriptor, F_DUPFD_CLOEXEC, 0) : open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.IsOpen() || !file.Write(data, size) || !file.Close()) {
        throw CannotWrite(path, errno);
    }
}

} // namespace

PartialFiles::Entry::Entry(const std::string& path) : m_slot(TakeSlot(path)) {}

PartialFiles::Entry::~Entry() {
    if (m_isHeld) {
        unlink(g_slots[m_slot].path);
        Release();
    }
}

void PartialFiles::Entry::Release() noexcept {
    m_isHeld = false; // from now on the slot may be another's
    int expected = Slot_Live;
    g_slots[m_slot].state.compare_exchange_strong(expected, Slot_Free);
}

void PartialFiles::RemoveAllFromSignalHandler() noexcept {
    for (Slot& slot : g_slots) {
        int expected = Slot_Live;
        if (slot.state.compare_exchange_strong(expected, Slot_Owned)) {
            unlink(slot.path);
        }
    }
}

void WriteFileWhole(const std::string& path, const std::uint8_t* data, std::size_t size) {
    const int descriptor = FindDescriptor(path);
    if (descriptor >= 0 || IsSpecialFile(path)) {
        return WriteSpecial(path, descriptor, data, size);
    }
    const std::string target = TargetOf(path);
    const std::string temporary = TemporaryNameFor(target);
    PartialFiles::Entry partial(temporary);
    OutputFile file(OpenNew(temporary));
    if (!file.IsOpen() || !file.Write(data, size) || !file.Close() || rename(temporary.c_str(), target.c_str()) != 0) {
        throw CannotWrite(path, errno);
    }
    partial.Release();
}

void CheckFolderOf(const std::string& path) {
    std::string folder = std::filesystem::path(path).parent_path().string();
    if (folder.empty()) {
        folder = ".";
    }
    const std::string what = "Cannot write images to folder '" + folder + "': ";
    std::error_code error;
    const auto status = std::filesystem::status(folder, error);
    if (status.type() == std::filesystem::file_type::not_found && error.value() != ENOTDIR) {
        throw HostError(what + "it does not exist. Make it with: mkdir -p '" + folder + "'");
    }
    if (status.type() != std::filesystem::file_type::directory) {
        throw HostError(what + (error ? error.message() : "it is not a folder") + ". Choose another one with -o");
    }
    const std::string probe = TemporaryNameFor(path);
    PartialFiles::Entry partial(probe);
    if (!OutputFile(OpenNew(probe)).IsOpen()) {
        throw HostError(what + std::strerror(errno) + ". Choose another one with -o");
    }
}

} // namespace tool
