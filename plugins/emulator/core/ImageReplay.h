// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageFormat.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace CamEmu {

class CImageReplay;
using CImageReplayPtr = std::shared_ptr<const CImageReplay>;

/// Memory that the images of one replay may take, as the camera sends them.
inline constexpr std::size_t kMaxReplayBytes = std::size_t{1} << 30;

/// Images out of files, ready to be sent: those of a folder in the order of their names, or the one of a file. An image
/// stands at the upper left corner of the sensor and is repeated over it like a tile; the camera's window is cut out.
/// Threads: any; nothing changes after Load.
class CImageReplay {
public:
    /// Reads all images of @p path, the files *.png of a folder or one file, and converts them to @p format. Gives back
    /// @p previous, which may be null, when that is of the same files, unchanged since, and of the same format.
    /// @throws std::runtime_error that names the file or folder and the cause, std::bad_alloc.
    static CImageReplayPtr Load(const std::string& path, const CImageFormat& format, const CImageReplayPtr& previous);

    const std::string& Path() const { return m_path; }
    const CImageFormat& Format() const { return m_format; }

    /// The bytes of one image, as many as the format's payload. After the last image comes the first one.
    std::span<const std::uint8_t> Image(std::uint64_t number) const {
        const std::size_t size = m_format.PayloadSize();
        return {m_bytes.data() + number % m_files.size() * size, size};
    }

private:
    struct CFile {
        std::string path;
        std::uintmax_t sizeBytes;
        std::filesystem::file_time_type written;

        bool operator==(const CFile&) const = default;
    };

    CImageReplay(const std::string& path, const CImageFormat& format) : m_path(path), m_format(format) {}
    void FindFiles();
    void AddFile(const std::filesystem::path& path);
    void CheckSize() const;
    void ReadFiles();

    const std::string m_path;
    const CImageFormat m_format;
    std::vector<CFile> m_files; // never empty after Load
    std::vector<std::uint8_t> m_bytes;
};

} // namespace CamEmu
