// SPDX-License-Identifier: Apache-2.0
#include "ImageReplay.h"

#include "PngFile.h"

#include <algorithm>
#include <stdexcept>
#include <strings.h>

namespace CamEmu {

namespace fs = std::filesystem;

namespace {

bool IsImageName(const fs::path& path) {
    return strcasecmp(path.extension().c_str(), ".png") == 0 && path.filename().native().front() != '.';
}

void ConvertImage(const CColourImage& image, const CImageFormat& format, std::uint8_t* bytes) {
    std::vector<CColour> colours(format.width);
    std::vector<std::uint16_t> samples(std::size_t{format.width} * format.pixels->SamplesPerPixel());
    for (std::uint32_t y = 0; y < format.height; ++y) {
        const CColour* const line = image.Line((format.offsetY + y) % image.height);
        for (std::uint32_t x = 0; x < format.width; ++x) {
            colours[x] = line[(format.offsetX + x) % image.width];
        }
        PutLine(*format.pixels, colours, y, samples.data());
        EncodeSamples(*format.pixels, samples, bytes + y * format.BytesPerLine());
    }
}

} // namespace

CImageReplayPtr CImageReplay::Load(const std::string& path, const CImageFormat& format,
                                   const CImageReplayPtr& previous) {
    const std::shared_ptr<CImageReplay> replay(new CImageReplay(path, format));
    try {
        replay->FindFiles();
    } catch (const fs::filesystem_error& e) {
        throw std::runtime_error("ImageFilename '" + path + "' cannot be read: " + e.code().message());
    }
    if (previous && previous->m_format == format && previous->m_files == replay->m_files) {
        return previous;
    }
    replay->CheckSize();
    replay->ReadFiles();
    return replay;
}

void CImageReplay::FindFiles() {
    if (m_path.empty()) {
        throw std::runtime_error("ImageFilename is empty: it must name a folder of PNG files, or a PNG file.");
    }
    if (!fs::is_directory(m_path)) {
        if (fs::exists(m_path) && !fs::is_regular_file(m_path)) {
            throw std::runtime_error("ImageFilename '" + m_path + "' is neither a folder nor a file.");
        }
        return AddFile(m_path);
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(m_path)) {
        if (IsImageName(entry.path()) && entry.is_regular_file()) {
            AddFile(entry.path());
        }
    }
    if (m_files.empty()) {
        throw std::runtime_error("the folder '" + m_path + "', which ImageFilename names, holds no .png file.");
    }
    std::sort(m_files.begin(), m_files.end(), [](const CFile& a, const CFile& b) { return a.path < b.path; });
}

void CImageReplay::AddFile(const fs::path& path) {
    m_files.push_back({path.native(), fs::file_size(path), fs::last_write_time(path)});
}

void CImageReplay::CheckSize() const {
    if (m_files.size() > kMaxReplayBytes / m_format.PayloadSize()) {
        throw std::runtime_error("ImageFilename '" + m_path + "' holds " + std::to_string(m_files.size()) +
                                 " images of " + std::to_string(m_format.PayloadSize()) +
                                 " bytes under the present Width, Height and PixelFormat, more than the " +
                                 std::to_string(kMaxReplayBytes) + " bytes that a replay may take.");
    }
}

void CImageReplay::ReadFiles() {
    const std::size_t size = m_format.PayloadSize();
    m_bytes.resize(m_files.size() * size);
    CColourImage image;
    std::uint8_t* bytes = m_bytes.data();
    for (const CFile& file : m_files) {
        ReadPng(file.path, image);
        ConvertImage(image, m_format, bytes);
        bytes += size;
    }
}

} // namespace CamEmu
