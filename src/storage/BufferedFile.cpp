#include "calvorin/BufferedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <string>

namespace {

// Whence values of Seek: 0 from start, 1 from the current position, 2 from end.
int ToPosixWhence(uint32_t whence)
{
    switch (whence) {
        case 0: return SEEK_SET;
        case 1: return SEEK_CUR;
        case 2: return SEEK_END;
        default: return -1;
    }
}

}  // namespace

BufferedFile::BufferedFile(const char* path, uint32_t openMode, int32_t bufferSize)
{
    fOpenMode = openMode;
    fStatus = Open(path, openMode);
    AllocAndInitBuffer(bufferSize);
}

BufferedFile::BufferedFile(const char* directory, const char* leaf, uint32_t openMode,
                           int32_t bufferSize)
{
    fOpenMode = openMode;
    fStatus = BufferedFile::SetTo(directory, leaf, openMode);
    AllocAndInitBuffer(bufferSize);
}

BufferedFile::~BufferedFile()
{
    // Pending bytes are deliberately not written: a writer that wants its
    // bytes in the file calls FlushBuffer() first.
    delete[] fBuffer;
    if (fFd >= 0)
        ::close(fFd);
}

status_t BufferedFile::Open(const char* path, uint32_t openMode)
{
    if (fFd >= 0) {
        ::close(fFd);
        fFd = -1;
    }
    if (path == nullptr || path[0] == '\0')
        return B_BAD_VALUE;

    int flags = O_CLOEXEC;
    switch (openMode & 3) {
        case B_READ_ONLY: flags |= O_RDONLY; break;
        case B_WRITE_ONLY: flags |= O_WRONLY; break;
        case B_READ_WRITE: flags |= O_RDWR; break;
        default: return B_BAD_VALUE;
    }
    if (openMode & B_CREATE_FILE)
        flags |= O_CREAT;
    if (openMode & B_ERASE_FILE)
        flags |= O_TRUNC;

    int fd;
    do {
        fd = ::open(path, flags, 0644);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        switch (errno) {
            case ENOENT:
                return B_NAME_NOT_FOUND;
            case EACCES:
            case EPERM:
            case EROFS:
                return B_PERMISSION_DENIED;
            default:
                return B_FILE_ERROR;
        }
    }

    // A folder opens read-only on Linux but is no file to read from.
    struct stat info;
    if (::fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        ::close(fd);
        return B_FILE_ERROR;
    }
    if ((openMode & B_OPEN_AT_END) && ::lseek(fd, 0, SEEK_END) < 0) {
        ::close(fd);
        return B_FILE_ERROR;
    }
    fFd = fd;
    return B_OK;
}

void BufferedFile::AllocAndInitBuffer(int32_t size)
{
    delete[] fBuffer;
    fBuffer = nullptr;
    if (fStatus != B_OK)
        return;
    if (size < 1) {
        fStatus = B_BAD_VALUE;
        return;
    }
    fBuffer = new (std::nothrow) uint8_t[size];
    if (fBuffer == nullptr) {
        fStatus = B_NO_MEMORY;
        return;
    }
    fBufferSize = size;
    fFill = 0;
    fPosition = 0;
    fWritePending = false;
}

status_t BufferedFile::InitCheck() const
{
    return fStatus;
}

bool BufferedFile::IsReadable() const
{
    uint32_t access = fOpenMode & 3;
    return fFd >= 0 && (access == B_READ_ONLY || access == B_READ_WRITE);
}

bool BufferedFile::IsWritable() const
{
    uint32_t access = fOpenMode & 3;
    return fFd >= 0 && (access == B_WRITE_ONLY || access == B_READ_WRITE);
}

ssize_t BufferedFile::RawRead(void* data, size_t size)
{
    if (fFd < 0)
        return -1;
    size_t done = 0;
    while (done < size) {
        ssize_t got = ::read(fFd, static_cast<uint8_t*>(data) + done, size - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return done > 0 ? ssize_t(done) : -1;
        if (got == 0)
            break;
        done += size_t(got);
    }
    return ssize_t(done);
}

ssize_t BufferedFile::RawWrite(const void* data, size_t size)
{
    if (fFd < 0)
        return -1;
    size_t done = 0;
    while (done < size) {
        ssize_t put = ::write(fFd, static_cast<const uint8_t*>(data) + done, size - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return done > 0 ? ssize_t(done) : -1;
        if (put == 0)
            break;
        done += size_t(put);
    }
    return ssize_t(done);
}

off_t BufferedFile::RawSeek(off_t position, int whence)
{
    if (fFd < 0)
        return -1;
    return ::lseek(fFd, position, whence);
}

// Brings the file's position and contents in line with the logical position:
// pending bytes are written out, unread read-ahead is given back by seeking
// backwards. On failure the buffer is left as it was.
status_t BufferedFile::Synchronise()
{
    if (fWritePending) {
        if (RawWrite(fBuffer, size_t(fPosition)) < fPosition)
            return B_FILE_ERROR;
        fPosition = 0;
        fWritePending = false;
    } else if (fPosition != 0 || fFill != 0) {
        if (RawSeek(off_t(fPosition) - fFill, SEEK_CUR) < 0)
            return B_FILE_ERROR;
        fPosition = 0;
        fFill = 0;
    }
    return B_OK;
}

status_t BufferedFile::FlushBuffer()
{
    return Synchronise();
}

int32_t BufferedFile::BufferedWrite(const void* data, uint32_t size)
{
    if (!IsWritable() || fBuffer == nullptr)
        return 0;

    // Writing after reading: the file has to be where the reader stopped,
    // not at the end of the read-ahead.
    if (!fWritePending && (fPosition != 0 || fFill != 0)) {
        if (RawSeek(off_t(fPosition) - fFill, SEEK_CUR) < 0)
            return 0;
        fPosition = 0;
        fFill = 0;
    }

    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    for (uint32_t copied = 0; copied < size;) {
        fBuffer[fPosition++] = bytes[copied++];
        if (fPosition == fBufferSize) {
            ssize_t took = RawWrite(fBuffer, size_t(fBufferSize));
            if (took < fBufferSize) {
                // The file is full or failing: what it did not take is lost.
                fWritePending = false;
                fPosition = 0;
                int64_t accepted = int64_t(copied) + (took < 0 ? 0 : took) - fBufferSize;
                return accepted > 0 ? int32_t(accepted) : 0;
            }
            fPosition = 0;
        }
    }
    if (fPosition > 0)
        fWritePending = true;
    return int32_t(size);
}

int32_t BufferedFile::BufferedRead(void* data, uint32_t size)
{
    if (!IsReadable() || fBuffer == nullptr)
        return 0;

    if (fWritePending) {
        if (RawWrite(fBuffer, size_t(fPosition)) < fPosition)
            return 0;
        fPosition = 0;
        fWritePending = false;
    }

    uint8_t* out = static_cast<uint8_t*>(data);
    uint32_t delivered = 0;
    while (delivered < size) {
        if (fPosition == fFill) {
            ssize_t got = RawRead(fBuffer, size_t(fBufferSize));
            fPosition = 0;
            fFill = got < 0 ? 0 : int32_t(got);
            if (got < 1)
                return int32_t(delivered);
        }
        out[delivered++] = fBuffer[fPosition++];
        if (fPosition == fFill) {
            bool wholeBuffer = fFill == fBufferSize;
            fPosition = 0;
            fFill = 0;
            // A short read-ahead was the end of the file.
            if (!wholeBuffer)
                return int32_t(delivered);
        }
    }
    return int32_t(size);
}

int32_t BufferedFile::BufferedReadLine(void* data, uint32_t size)
{
    if (size == 0)
        return 0;

    char* line = static_cast<char*>(data);
    uint32_t stored = 0;
    int32_t consumed = 0;
    while (stored < size - 1) {
        char c;
        if (BufferedRead(&c, 1) < 1)
            break;
        consumed++;
        if (c == '\n' || c == '\0')
            break;
        if (c == '\r') {
            // The line feed of a CR LF pair is taken along only if it is
            // already in the buffer; a carriage return that ended the buffer
            // leaves its line feed for the next call (an empty line).
            char next;
            if (BufferedPreview(&next, 1) == 1 && next == '\n') {
                BufferedRead(&next, 1);
                consumed++;
            }
            break;
        }
        line[stored++] = c;
    }
    line[stored] = '\0';
    return consumed;
}

int32_t BufferedFile::BufferedPreview(void* data, uint32_t size)
{
    if (fBuffer == nullptr || size > uint32_t(fBufferSize))
        return 0;

    int32_t unread = fFill - fPosition;
    if (unread < int32_t(size) && fPosition > 0 && !fWritePending && IsReadable()) {
        std::memmove(fBuffer, fBuffer + fPosition, size_t(unread));
        fPosition = 0;
        fFill = unread;
        ssize_t got = RawRead(fBuffer + fFill, size_t(fBufferSize - fFill));
        if (got > 0)
            fFill += int32_t(got);
    }

    // Before anything was read the buffer holds nothing to show.
    int32_t available = fWritePending ? 0 : fFill - fPosition;
    int32_t count = available < int32_t(size) ? available : int32_t(size);
    if (count <= 0)
        return 0;
    std::memcpy(data, fBuffer + fPosition, size_t(count));
    return count;
}

ssize_t BufferedFile::Read(void* data, size_t size)
{
    if (Synchronise() != B_OK)
        return 0;
    ssize_t got;
    do {
        got = ::read(fFd, data, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

ssize_t BufferedFile::Write(const void* data, size_t size)
{
    if (Synchronise() != B_OK)
        return 0;
    return RawWrite(data, size);
}

ssize_t BufferedFile::ReadAt(off_t position, void* data, size_t size)
{
    if (Synchronise() != B_OK)
        return 0;
    ssize_t got;
    do {
        got = ::pread(fFd, data, size, position);
    } while (got < 0 && errno == EINTR);
    return got;
}

ssize_t BufferedFile::WriteAt(off_t position, const void* data, size_t size)
{
    if (Synchronise() != B_OK)
        return 0;
    ssize_t put;
    do {
        put = ::pwrite(fFd, data, size, position);
    } while (put < 0 && errno == EINTR);
    return put;
}

off_t BufferedFile::Seek(off_t position, uint32_t whence)
{
    if (Synchronise() != B_OK)
        return 0;
    int posixWhence = ToPosixWhence(whence);
    if (posixWhence < 0)
        return -1;
    return RawSeek(position, posixWhence);
}

status_t BufferedFile::SetSize(off_t size)
{
    if (Synchronise() != B_OK)
        return B_FILE_ERROR;
    if (fFd < 0 || size < 0 || ::ftruncate(fFd, size) != 0)
        return B_FILE_ERROR;
    return B_OK;
}

status_t BufferedFile::SetTo(const char* path, uint32_t openMode)
{
    if (Synchronise() != B_OK)
        return B_FILE_ERROR;
    fOpenMode = openMode;
    fStatus = Open(path, openMode);
    return fStatus;
}

status_t BufferedFile::SetTo(const char* directory, const char* leaf, uint32_t openMode)
{
    // A missing leaf gives an empty path, which the open refuses.
    std::string path;
    if (leaf != nullptr && leaf[0] != '\0') {
        if (directory != nullptr && directory[0] != '\0' && leaf[0] != '/') {
            path = directory;
            if (path.back() != '/')
                path += '/';
        }
        path += leaf;
    }
    return SetTo(path.c_str(), openMode);
}
