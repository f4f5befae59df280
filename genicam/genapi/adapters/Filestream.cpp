// SPDX-License-Identifier: Apache-2.0
#include <GenApi/Filestream.h>

#include <Base/GCException.h>
#include <Log/CLog.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>

namespace GenApi {

namespace {

GenICam::Logger& Logger() {
    static auto& logger = GenICam::CLog::GetLogger("GenApi.FileStream");
    return logger;
}

const char* OpenModeName(std::ios_base::openmode mode) {
    if ((mode & std::ios_base::in) == 0) {
        return "Write";
    }
    return (mode & std::ios_base::out) == 0 ? "Read" : "ReadWrite";
}

} // namespace

/// An operation on one file, perhaps several times, under the lock of the node map: what was selected stays so.
class FileProtocolAdapter::Session {
public:
    Session(FileProtocolAdapter& adapter, const gcstring& fileName, const char* operation)
        : m_adapter(adapter), m_fileName(fileName), m_operation(operation), m_lock(adapter.Map().GetLock()) {
        adapter.m_file->FromString(fileName);
        adapter.m_operation->FromString(operation);
    }

    /// @return the result, which for transfers is the number of bytes.
    int64_t Run() {
        m_adapter.m_execute->Execute();
        WaitUntilDone();
        const gcstring status = m_adapter.m_status->ToString(false, true);
        const int64_t result = m_adapter.m_result->GetValue(false, true);
        if (status != "Success") {
            Fail(status, result);
        }
        return result;
    }

    /// Transfers @p length bytes at @p offset; the device may do fewer.
    int64_t Transfer(int64_t offset, int64_t length) {
        m_adapter.m_offset->SetValue(offset);
        m_adapter.m_length->SetValue(length);
        return Run();
    }

    [[noreturn]] void Fail(const gcstring& status, int64_t result) const {
        throw RUNTIME_EXCEPTION("%s of file '%s' failed: FileOperationStatus is '%s', FileOperationResult is %lld",
                                m_operation, m_fileName.c_str(), status.c_str(), static_cast<long long>(result));
    }

    void CheckRange(int64_t offset, std::streamsize length) const {
        if (offset < 0 || length < 0) {
            throw INVALID_ARGUMENT_EXCEPTION("%s of file '%s' cannot transfer %lld bytes at offset %lld", m_operation,
                                             m_fileName.c_str(), static_cast<long long>(length),
                                             static_cast<long long>(offset));
        }
    }

private:
    void WaitUntilDone() {
        using namespace std::chrono;
        const auto end = steady_clock::now() + milliseconds(m_adapter.m_timeoutMs);
        for (auto pause = 1ms; !m_adapter.m_execute->IsDone(); pause = std::min(2 * pause, 20ms)) {
            if (steady_clock::now() >= end) {
                throw TIMEOUT_EXCEPTION("%s of file '%s' did not end within %u ms", m_operation, m_fileName.c_str(),
                                        m_adapter.m_timeoutMs.load());
            }
            std::this_thread::sleep_for(pause);
        }
    }

    FileProtocolAdapter& m_adapter;
    const gcstring& m_fileName;
    const char* m_operation;
    GenICam::AutoLock m_lock;
};

bool FileProtocolAdapter::attach(INodeMap* pNodeMap) {
    m_nodeMap = nullptr;
    if (!pNodeMap) {
        return true;
    }
    const char* missing = nullptr;
    const auto find = [&](auto& pointer, const char* name) {
        pointer = pNodeMap->GetNode(name);
        if (!pointer.IsValid()) {
            missing = name;
        }
    };
    find(m_size, "FileSize");
    missing = nullptr; // that one may be
    find(m_file, "FileSelector");
    find(m_operation, "FileOperationSelector");
    find(m_openMode, "FileOpenMode");
    find(m_buffer, "FileAccessBuffer");
    find(m_offset, "FileAccessOffset");
    find(m_length, "FileAccessLength");
    find(m_execute, "FileOperationExecute");
    find(m_status, "FileOperationStatus");
    find(m_result, "FileOperationResult");
    if (missing) {
        GenICam::CLog::Log(Logger(), GenICam::LogPriority_Warn, "'%s' gives no access to files: it has no feature %s",
                           pNodeMap->GetDeviceName().c_str(), missing);
    } else {
        m_nodeMap = pNodeMap;
    }
    return m_nodeMap != nullptr;
}

INodeMap& FileProtocolAdapter::Map() const {
    if (!m_nodeMap) {
        throw ACCESS_EXCEPTION("No device is attached whose files could be accessed");
    }
    return *m_nodeMap;
}

void FileProtocolAdapter::openFile(const gcstring& fileName, std::ios_base::openmode mode) {
    Session session(*this, fileName, "Open");
    m_openMode->FromString(OpenModeName(mode));
    session.Run();
}

void FileProtocolAdapter::closeFile(const gcstring& fileName) {
    Session(*this, fileName, "Close").Run();
}

void FileProtocolAdapter::deleteFile(const gcstring& fileName) {
    Session(*this, fileName, "Delete").Run();
}

std::streamsize FileProtocolAdapter::read(char* pBuffer, int64_t offset, std::streamsize length,
                                          const gcstring& fileName) {
    Session session(*this, fileName, "Read");
    session.CheckRange(offset, length);
    if (const int64_t size = ReadSize(); size >= 0) {
        length = std::min(length, size - offset); // devices fail when asked for what is behind the end
    }
    const int64_t block = getBufSize();
    const int64_t inc = m_length->GetInc();
    std::streamsize done = 0;
    while (done < length) {
        const int64_t wanted = std::min(length - done, block);
        const int64_t onGrid = std::min((wanted + inc - 1) / inc * inc, block);
        const int64_t count = std::min(session.Transfer(offset + done, onGrid), wanted);
        if (count <= 0) {
            break;
        }
        m_buffer->Get(reinterpret_cast<uint8_t*>(pBuffer + done), count, false, true);
        done += count;
    }
    return done;
}

void FileProtocolAdapter::write(const char* pBuffer, int64_t offset, std::streamsize length, const gcstring& fileName) {
    Session session(*this, fileName, "Write");
    session.CheckRange(offset, length);
    const int64_t block = getBufSize();
    for (std::streamsize done = 0; done < length;) {
        const int64_t wanted = std::min(length - done, block);
        m_buffer->Set(reinterpret_cast<const uint8_t*>(pBuffer + done), wanted);
        const int64_t count = session.Transfer(offset + done, wanted);
        if (count <= 0 || count > wanted) {
            session.Fail("Success", count); // it would never end, or nobody knows what was written
        }
        done += count;
    }
}

std::streamsize FileProtocolAdapter::getBufSize() const {
    const GenICam::AutoLock lock(Map().GetLock());
    const int64_t limit = std::min(m_buffer->GetLength(), m_length->GetMax());
    const int64_t inc = m_length->GetInc();
    if (inc <= 0 || limit < inc) {
        throw RUNTIME_EXCEPTION("FileAccessBuffer and FileAccessLength let no byte of a file pass");
    }
    return limit / inc * inc;
}

int64_t FileProtocolAdapter::getFileSize(const gcstring& fileName) {
    const GenICam::AutoLock lock(Map().GetLock());
    m_file->FromString(fileName);
    return ReadSize();
}

/// Of the file that is selected; -1 where the device does not tell.
int64_t FileProtocolAdapter::ReadSize() const {
    return IsReadable(m_size) ? m_size->GetValue(false, true) : -1;
}

DevFileStreamBuf::~DevFileStreamBuf() {
    try {
        close();
    } catch (const std::exception& failure) {
        GenICam::CLog::Log(Logger(), GenICam::LogPriority_Error, "Cannot close a file properly: %s", failure.what());
    } catch (...) {
        GenICam::CLog::Log(Logger(), GenICam::LogPriority_Error, "Cannot close a file properly");
    }
}

void DevFileStreamBuf::open(FileProtocolAdapter* pAdapter, const gcstring& fileName, std::ios_base::openmode mode) {
    if (is_open()) {
        throw LOGICAL_ERROR_EXCEPTION("Cannot open '%s': '%s' is still open", fileName.c_str(), m_fileName.c_str());
    }
    if (!pAdapter) {
        throw INVALID_ARGUMENT_EXCEPTION("Cannot open '%s' without an adapter", fileName.c_str());
    }
    m_fileName = fileName;
    const bool atEnd = (mode & (std::ios_base::ate | std::ios_base::app)) != 0;
    pAdapter->openFile(fileName, mode);
    m_adapter = pAdapter; // from here on it is to be closed
    try {
        m_block.resize(static_cast<std::size_t>(pAdapter->getBufSize()));
        if ((mode & std::ios_base::out) != 0) {
            setp(m_block.data(), m_block.data() + m_block.size());
        }
        Place(atEnd ? std::max<int64_t>(pAdapter->getFileSize(fileName), 0) : 0);
    } catch (...) {
        close();
        throw;
    }
}

void DevFileStreamBuf::close() {
    if (!is_open()) {
        return;
    }
    std::exception_ptr failure;
    const auto attempt = [&](auto step) {
        try {
            step();
        } catch (...) {
            if (!failure) {
                failure = std::current_exception();
            }
        }
    };
    attempt([this] { WriteOut(); });
    attempt([this] { m_adapter->closeFile(m_fileName); });
    m_adapter = nullptr;
    setp(nullptr, nullptr);
    setg(nullptr, nullptr, nullptr);
    if (failure) {
        std::rethrow_exception(failure);
    }
}

DevFileStreamBuf::int_type DevFileStreamBuf::underflow() {
    if (!is_open() || IsWriting()) {
        return traits_type::eof();
    }
    Place(m_position + (egptr() - eback()));
    const auto count =
        m_adapter->read(m_block.data(), m_position, static_cast<std::streamsize>(m_block.size()), m_fileName);
    setg(m_block.data(), m_block.data(), m_block.data() + count);
    return count > 0 ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

DevFileStreamBuf::int_type DevFileStreamBuf::overflow(int_type byte) {
    if (!is_open() || !IsWriting()) {
        return traits_type::eof();
    }
    WriteOut();
    if (!traits_type::eq_int_type(byte, traits_type::eof())) {
        sputc(traits_type::to_char_type(byte));
    }
    return traits_type::not_eof(byte);
}

int DevFileStreamBuf::sync() {
    WriteOut();
    return 0;
}

DevFileStreamBuf::pos_type DevFileStreamBuf::seekoff(off_type offset, std::ios_base::seekdir from,
                                                     std::ios_base::openmode) {
    if (!is_open()) {
        return pos_type(off_type(-1));
    }
    WriteOut();
    const int64_t here = m_position + (gptr() - eback());
    const int64_t origin = from == std::ios_base::cur   ? here
                           : from == std::ios_base::end ? m_adapter->getFileSize(m_fileName)
                                                        : 0;
    int64_t target = 0;
    if (origin < 0 || __builtin_add_overflow(origin, offset, &target) || target < 0) {
        return pos_type(off_type(-1));
    }
    if (target != here) { // else what is buffered stays
        Place(target);
    }
    return target;
}

DevFileStreamBuf::pos_type DevFileStreamBuf::seekpos(pos_type position, std::ios_base::openmode which) {
    return seekoff(off_type(position), std::ios_base::beg, which);
}

/// Hands what was written so far to the device; after a failure it is still there.
void DevFileStreamBuf::WriteOut() {
    if (!IsWriting() || pptr() == pbase()) {
        return;
    }
    m_adapter->write(pbase(), m_position, pptr() - pbase(), m_fileName);
    Place(m_position + (pptr() - pbase()));
}

/// Goes on at @p position with nothing buffered.
void DevFileStreamBuf::Place(int64_t position) {
    m_position = position;
    if (IsWriting()) {
        setp(m_block.data(), m_block.data() + m_block.size());
    } else {
        setg(m_block.data(), m_block.data(), m_block.data());
    }
}

} // namespace GenApi
