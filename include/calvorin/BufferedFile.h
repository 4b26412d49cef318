// A plain file with one memory buffer in front of it, so that the many small
// reads and writes of the event set format become buffer-sized transfers.
// The destructor does not flush: writers call FlushBuffer() first.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "calvorin/SupportDefs.h"

class BufferedFile {
public:
    BufferedFile(const char* path, uint32_t openMode, int32_t bufferSize);
    BufferedFile(const char* directory, const char* leaf, uint32_t openMode, int32_t bufferSize);
    virtual ~BufferedFile();

    BufferedFile(const BufferedFile&) = delete;
    BufferedFile& operator=(const BufferedFile&) = delete;

    status_t InitCheck() const;

    int32_t BufferedWrite(const void* data, uint32_t size);
    int32_t BufferedRead(void* data, uint32_t size);
    int32_t BufferedReadLine(void* data, uint32_t size);
    int32_t BufferedPreview(void* data, uint32_t size);
    status_t FlushBuffer();

    // Unbuffered operations; each first brings the file in line with the buffer.
    virtual ssize_t Read(void* data, size_t size);
    virtual ssize_t Write(const void* data, size_t size);
    virtual ssize_t ReadAt(off_t position, void* data, size_t size);
    virtual ssize_t WriteAt(off_t position, const void* data, size_t size);
    virtual off_t Seek(off_t position, uint32_t whence);
    virtual status_t SetSize(off_t size);
    virtual status_t SetTo(const char* path, uint32_t openMode);
    virtual status_t SetTo(const char* directory, const char* leaf, uint32_t openMode);

    bool IsReadable() const;
    bool IsWritable() const;
    // The underlying descriptor (-1 when not open), e.g. for fsync or xattrs.
    int FileDescriptor() const { return fFd; }

protected:
    void AllocAndInitBuffer(int32_t size);
    // Raw file access for subclasses, bypassing buffer synchronisation.
    ssize_t RawRead(void* data, size_t size);
    ssize_t RawWrite(const void* data, size_t size);
    off_t RawSeek(off_t position, int whence);
    status_t Synchronise();

    int32_t fBufferSize = 0;
    uint8_t* fBuffer = nullptr;
    int32_t fFill = 0;
    int32_t fPosition = 0;
    uint32_t fOpenMode = 0;
    status_t fStatus = B_ERROR;
    bool fWritePending = false;
    int fFd = -1;

private:
    status_t Open(const char* path, uint32_t openMode);
};
