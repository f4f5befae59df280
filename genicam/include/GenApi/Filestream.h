// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/Pointer.h>

#include <atomic>
#include <cstdint>
#include <ios>
#include <istream>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

namespace GenApi {

/// The files of a device, through its features FileSelector, FileOperationSelector, FileOpenMode, FileAccessBuffer,
/// FileAccessOffset, FileAccessLength, FileOperationExecute, FileOperationStatus, FileOperationResult and FileSize (the
/// last one may be missing). Files are named as the entries of FileSelector; the streams below do the rest.
/// Threads: any, at the same time. Each operation holds the lock of the node map until the device has carried it out.
/// @throws GenICam::RuntimeException  when the device reports a failure; it names file, status and result,
/// @throws GenICam::TimeoutException  when the device does not finish in time,
/// @throws GenICam::AccessException   while not attached, and for a device that cannot do it now,
/// @throws GenICam::InvalidArgumentException for a file that the device does not have, and a negative offset or length.
class GENICAM_API FileProtocolAdapter {
public:
    /// Borrows the node map; null detaches. Not while a file is open.
    /// @return false, and not attached, when a feature is missing; a log line names it.
    bool attach(INodeMap* pNodeMap);
    /// How long an operation may take; 60,000 ms unless set.
    void setTimeout(unsigned int timeoutMs) noexcept { m_timeoutMs = timeoutMs; }

    /// Opens for reading (in), writing (out) or both; the other flags are for streams. Whether a file that is opened
    /// for writing is emptied is for the device to say.
    void openFile(const gcstring& fileName, std::ios_base::openmode mode);
    void closeFile(const gcstring& fileName);
    void deleteFile(const gcstring& fileName);

    /// Reads up to @p length bytes from @p offset on. @return how many; fewer than asked for only at the end.
    std::streamsize read(char* pBuffer, int64_t offset, std::streamsize length, const gcstring& fileName);
    /// Writes all @p length bytes; after a failure the message says how many were taken.
    void write(const char* pBuffer, int64_t offset, std::streamsize length, const gcstring& fileName);

    std::streamsize getBufSize() const; ///< The most bytes that one operation transfers.
    /// In bytes; -1 when the device does not tell.
    int64_t getFileSize(const gcstring& fileName);

private:
    class Session;

    INodeMap& Map() const;
    int64_t ReadSize() const;

    INodeMap* m_nodeMap = nullptr;
    std::atomic<unsigned int> m_timeoutMs = 60000;
    CEnumerationPtr m_file, m_operation, m_openMode, m_status;
    CRegisterPtr m_buffer;
    CIntegerPtr m_offset, m_length, m_result, m_size;
    CCommandPtr m_execute;
};

/// The buffer of a stream over one file of a device, in one direction. It transfers blocks of FileAccessBuffer's
/// length. Failures are raised as FileProtocolAdapter raises them. Threads: one at a time.
class GENICAM_API DevFileStreamBuf : public std::streambuf {
public:
    DevFileStreamBuf() = default;
    DevFileStreamBuf(const DevFileStreamBuf&) = delete;
    DevFileStreamBuf& operator=(const DevFileStreamBuf&) = delete;
    ~DevFileStreamBuf() override; ///< Closes; what fails then is logged.

    /// @p pAdapter is borrowed until the file is closed. @throws GenICam::LogicalErrorException while one is open.
    void open(FileProtocolAdapter* pAdapter, const gcstring& fileName, std::ios_base::openmode mode);
    bool is_open() const noexcept { return m_adapter != nullptr; }
    /// Writes what is left and closes. The file is closed also when that fails; nothing happens without a file.
    void close();

protected:
    int_type underflow() override;
    int_type overflow(int_type byte = traits_type::eof()) override;
    int sync() override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    bool IsWriting() const noexcept { return pbase() != nullptr; }
    void WriteOut();
    void Place(int64_t position);

    FileProtocolAdapter* m_adapter = nullptr; // null while no file is open
    gcstring m_fileName;
    std::vector<char> m_block;
    int64_t m_position = 0; // of the block's first byte in the file
};

/// A stream over one file of a device. A failure sets badbit; with badbit among exceptions() its exception is passed
/// on.
template <class Stream, int Direction>
class DevFileStreamT : public Stream {
public:
    DevFileStreamT() : Stream(nullptr) { this->rdbuf(&m_streamBuf); }
    /// Opens at once.
    DevFileStreamT(FileProtocolAdapter* pAdapter, const gcstring& fileName, std::ios_base::openmode mode = {})
        : DevFileStreamT() {
        open(pAdapter, fileName, mode);
    }

    /// The stream's own direction is added to @p mode; with ate or app it begins at the end of the file.
    void open(FileProtocolAdapter* pAdapter, const gcstring& fileName, std::ios_base::openmode mode = {}) {
        Attempt([&] {
            m_streamBuf.open(pAdapter, fileName, mode | static_cast<std::ios_base::openmode>(Direction));
            this->clear();
        });
    }
    bool is_open() const noexcept { return m_streamBuf.is_open(); }
    /// To be called before the end where it matters whether all arrived: the destructor can only log.
    void close() {
        Attempt([&] { m_streamBuf.close(); });
    }

private:
    template <class Step>
    void Attempt(Step step) {
        try {
            step();
        } catch (...) {
            try {
                this->setstate(std::ios_base::badbit);
            } catch (const std::ios_base::failure&) { // says less than what failed
            }
            if (this->exceptions() & std::ios_base::badbit) {
                throw;
            }
        }
    }

    DevFileStreamBuf m_streamBuf;
};

typedef DevFileStreamT<std::istream, static_cast<int>(std::ios_base::in)> IDevFileStream;
typedef DevFileStreamT<std::ostream, static_cast<int>(std::ios_base::out)> ODevFileStream;

} // namespace GenApi
