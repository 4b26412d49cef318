// The buffered file: writes reach the file when the buffer is full or
// flushed, reads cross buffer boundaries, the unbuffered operations see the
// logical position, lines and previews, and files that cannot be used.
#include "calvorin/BufferedFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "StorageTestSupport.h"

namespace {

using Bytes = std::vector<uint8_t>;

class BufferedFileTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(fDir.Valid()); }

    std::string Path(const char* leaf = "data") const { return fDir.File(leaf); }
    // Writes the bytes to the file "data" and opens it.
    BufferedFile& Open(const Bytes& bytes, uint32_t mode, int32_t bufferSize)
    {
        WriteWholeFile(Path(), bytes);
        fFile.emplace(Path().c_str(), mode, bufferSize);
        EXPECT_EQ(fFile->InitCheck(), B_OK);
        return *fFile;
    }
    BufferedFile& Open(const std::string& text, uint32_t mode, int32_t bufferSize)
    {
        return Open(Bytes(text.begin(), text.end()), mode, bufferSize);
    }

    ScratchDir fDir;
    std::optional<BufferedFile> fFile;
};

TEST_F(BufferedFileTest, WritesReachTheFileWhenTheBufferIsFullOrFlushed)
{
    const Bytes bytes = PatternBytes(3500);
    {
        BufferedFile file(Path().c_str(), B_WRITE_ONLY | B_CREATE_FILE, 1024);
        ASSERT_EQ(file.InitCheck(), B_OK);
        for (size_t i = 0; i < 1000; i += 10)
            ASSERT_EQ(file.BufferedWrite(&bytes[i], 10), 10);
        EXPECT_EQ(FileSizeOnDisk(Path()), 0);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
        EXPECT_EQ(FileSizeOnDisk(Path()), 1000);
        ASSERT_EQ(file.FlushBuffer(), B_OK);  // nothing pending: nothing changes
        EXPECT_EQ(FileSizeOnDisk(Path()), 1000);
        ASSERT_EQ(file.BufferedWrite(&bytes[1000], 1024), 1024);  // a full buffer at once
        EXPECT_EQ(FileSizeOnDisk(Path()), 2024);
        ASSERT_EQ(file.BufferedWrite(&bytes[2024], 1476), 1476);
        EXPECT_EQ(FileSizeOnDisk(Path()), 3048);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    EXPECT_EQ(ReadWholeFile(Path()), bytes);

    // Destroyed without a flush, the pending bytes are lost.
    {
        BufferedFile file(Path("lost").c_str(), B_WRITE_ONLY | B_CREATE_FILE, 1024);
        ASSERT_EQ(file.BufferedWrite(bytes.data(), 1000), 1000);
    }
    EXPECT_EQ(FileSizeOnDisk(Path("lost")), 0);
}

TEST_F(BufferedFileTest, ReadsCrossBufferBoundariesAndStopAtTheEnd)
{
    // Lengths short of a buffer, of whole buffers, and across many.
    for (size_t length : {100, 128, 3000}) {
        SCOPED_TRACE(length);
        const Bytes bytes = PatternBytes(length);
        BufferedFile& file = Open(bytes, B_READ_ONLY, 64);
        Bytes got;
        uint8_t chunk[7];
        int32_t n;
        while ((n = file.BufferedRead(chunk, sizeof chunk)) > 0)
            got.insert(got.end(), chunk, chunk + n);
        EXPECT_EQ(got, bytes);
        EXPECT_EQ(file.BufferedRead(chunk, sizeof chunk), 0);
    }
    // One read asking for more than a file of whole buffers holds.
    Bytes all(200);
    BufferedFile& exact = Open(PatternBytes(128), B_READ_ONLY, 64);
    EXPECT_EQ(exact.BufferedRead(all.data(), 200), 128);
    EXPECT_EQ(Bytes(all.begin(), all.begin() + 128), PatternBytes(128));
    EXPECT_EQ(exact.BufferedRead(all.data(), 200), 0);
}

TEST_F(BufferedFileTest, WriteAfterReadLandsWhereTheReaderStopped)
{
    const Bytes bytes = PatternBytes(2000);
    BufferedFile& file = Open(bytes, B_READ_WRITE, 1024);
    uint8_t head[10];
    ASSERT_EQ(file.BufferedRead(head, 10), 10);
    ASSERT_EQ(file.BufferedWrite("XXXXX", 5), 5);
    // Reading on picks up right after the written bytes.
    uint8_t next;
    ASSERT_EQ(file.BufferedRead(&next, 1), 1);
    EXPECT_EQ(next, bytes[15]);
    ASSERT_EQ(file.FlushBuffer(), B_OK);
    Bytes expected = bytes;
    std::memcpy(&expected[10], "XXXXX", 5);
    EXPECT_EQ(ReadWholeFile(Path()), expected);
}

TEST_F(BufferedFileTest, UnbufferedOperationsSeeTheLogicalPosition)
{
    const Bytes bytes = PatternBytes(2000);
    BufferedFile& file = Open(bytes, B_READ_WRITE, 1024);
    uint8_t head[10];
    ASSERT_EQ(file.BufferedRead(head, 10), 10);
    // The read-ahead is given back before the seek.
    EXPECT_EQ(file.Seek(0, 1), 10);
    uint8_t plain[3];
    ASSERT_EQ(file.Read(plain, 3), 3);
    EXPECT_EQ(plain[0], bytes[10]);

    EXPECT_EQ(file.Seek(1500, 0), 1500);
    uint8_t byte;
    ASSERT_EQ(file.BufferedRead(&byte, 1), 1);
    EXPECT_EQ(byte, bytes[1500]);

    // Pending bytes reach the file before an unbuffered write follows them.
    ASSERT_EQ(file.Seek(0, 0), 0);
    ASSERT_EQ(file.BufferedWrite("abc", 3), 3);
    ASSERT_EQ(file.Write("def", 3), 3);
    EXPECT_EQ(file.Seek(0, 2), 2000);
    uint8_t at[6];
    ASSERT_EQ(file.ReadAt(0, at, 6), 6);
    EXPECT_EQ(std::memcmp(at, "abcdef", 6), 0);

    ASSERT_EQ(file.BufferedWrite("zz", 2), 2);
    ASSERT_EQ(file.SetSize(100), B_OK);
    EXPECT_EQ(FileSizeOnDisk(Path()), 100);
}

TEST_F(BufferedFileTest, FilesThatCannotBeUsedTransferNothing)
{
    char c;
    BufferedFile& reader = Open(std::string("content"), B_READ_ONLY, 16);
    EXPECT_TRUE(reader.IsReadable());
    EXPECT_FALSE(reader.IsWritable());
    EXPECT_EQ(reader.BufferedWrite("x", 1), 0);
    BufferedFile writer(Path("other").c_str(), B_WRITE_ONLY | B_CREATE_FILE, 16);
    EXPECT_FALSE(writer.IsReadable());
    EXPECT_EQ(writer.BufferedRead(&c, 1), 0);

    BufferedFile missing(Path("missing").c_str(), B_READ_ONLY, 16);
    EXPECT_EQ(missing.InitCheck(), B_NAME_NOT_FOUND);
    EXPECT_EQ(missing.BufferedRead(&c, 1), 0);
    EXPECT_EQ(missing.BufferedPreview(&c, 1), 0);
    BufferedFile noCreate(Path("missing").c_str(), B_WRITE_ONLY, 16);
    EXPECT_EQ(noCreate.InitCheck(), B_NAME_NOT_FOUND);
    EXPECT_EQ(noCreate.BufferedWrite("x", 1), 0);
    EXPECT_FALSE(std::filesystem::exists(Path("missing")));

    EXPECT_NE(BufferedFile(fDir.Path().c_str(), B_READ_ONLY, 16).InitCheck(), B_OK);  // a folder
    EXPECT_NE(BufferedFile(Path().c_str(), 3, 16).InitCheck(), B_OK);                  // a bad mode
    EXPECT_NE(BufferedFile(Path().c_str(), B_READ_ONLY, 0).InitCheck(), B_OK);         // no buffer

    // An unwritable folder is reported as such (permissions do not bind root).
    if (geteuid() != 0) {
        std::filesystem::create_directory(Path("locked"));
        chmod(Path("locked").c_str(), 0500);
        BufferedFile file((Path("locked") + "/new").c_str(), B_WRITE_ONLY | B_CREATE_FILE, 16);
        EXPECT_EQ(file.InitCheck(), B_PERMISSION_DENIED);
        chmod(Path("locked").c_str(), 0700);
    }
}

TEST_F(BufferedFileTest, OpenModesAndTargets)
{
    {
        BufferedFile& file = Open(std::string("old contents"), B_WRITE_ONLY | B_OPEN_AT_END, 16);
        ASSERT_EQ(file.BufferedWrite("+", 1), 1);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
        fFile.reset();
    }
    EXPECT_EQ(ReadWholeFile(Path()).size(), 13u);
    EXPECT_EQ(BufferedFile(Path().c_str(), B_WRITE_ONLY | B_ERASE_FILE, 16).InitCheck(), B_OK);
    EXPECT_EQ(FileSizeOnDisk(Path()), 0);

    mode_t old = umask(022);
    EXPECT_EQ(BufferedFile(Path("new").c_str(), B_WRITE_ONLY | B_CREATE_FILE, 16).InitCheck(), B_OK);
    umask(old);
    struct stat info;
    ASSERT_EQ(stat(Path("new").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);

    // A folder and a leaf; re-targeting writes out what was pending.
    {
        BufferedFile file(fDir.Path().c_str(), "first", B_WRITE_ONLY | B_CREATE_FILE, 16);
        ASSERT_EQ(file.InitCheck(), B_OK);
        ASSERT_EQ(file.BufferedWrite("one", 3), 3);
        ASSERT_EQ(file.SetTo(fDir.Path().c_str(), "second", B_WRITE_ONLY | B_CREATE_FILE), B_OK);
        ASSERT_EQ(file.BufferedWrite("two", 3), 3);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
        EXPECT_NE(file.SetTo(fDir.Path().c_str(), nullptr, B_READ_ONLY), B_OK);
        EXPECT_NE(file.InitCheck(), B_OK);
    }
    EXPECT_EQ(ReadWholeFile(Path("first")), Bytes({'o', 'n', 'e'}));
    EXPECT_EQ(ReadWholeFile(Path("second")), Bytes({'t', 'w', 'o'}));
}

TEST_F(BufferedFileTest, ReadLineSplitsAtLineEnds)
{
    // {contents, file buffer, line buffer, the lines as {count, text}}. A
    // lone carriage return ends a line; the last line needs no terminator; a
    // long line is cut to the line buffer. With a 4-byte buffer the carriage
    // return is the last buffered byte, so the line feed after it is not
    // seen and comes back as an empty line.
    const struct {
        std::string contents;
        int32_t bufferSize;
        uint32_t lineSize;
        std::vector<std::pair<int32_t, std::string>> lines;
    } cases[] = {
        {std::string("a\r\nb\ncd\0e\rf", 11), 64, 16,
         {{3, "a"}, {2, "b"}, {3, "cd"}, {2, "e"}, {1, "f"}, {0, ""}}},
        {"abcdefgh\n", 64, 4, {{3, "abc"}, {3, "def"}, {3, "gh"}}},
        {"abc\r\nd", 4, 16, {{4, "abc"}, {1, ""}, {1, "d"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.contents);
        BufferedFile& file = Open(c.contents, B_READ_ONLY, c.bufferSize);
        for (const auto& [count, text] : c.lines) {
            char line[16];
            EXPECT_EQ(file.BufferedReadLine(line, c.lineSize), count);
            EXPECT_EQ(std::string(line), text);
        }
        char line[1];
        EXPECT_EQ(file.BufferedReadLine(line, 0), 0);
    }
}

TEST_F(BufferedFileTest, PreviewShowsBytesWithoutConsumingThem)
{
    BufferedFile& file = Open(std::string("0123456789ABCDEF"), B_READ_ONLY, 8);
    char peek[9] = {};
    // Nothing has been read yet, so there is nothing to show.
    EXPECT_EQ(file.BufferedPreview(peek, 4), 0);
    EXPECT_EQ(file.BufferedPreview(peek, 9), 0);

    char got[16] = {};
    ASSERT_EQ(file.BufferedRead(got, 2), 2);
    ASSERT_EQ(file.BufferedPreview(peek, 3), 3);
    EXPECT_EQ(std::string(peek, 3), "234");
    // Fewer unread bytes than asked: the buffer is refilled behind them.
    ASSERT_EQ(file.BufferedRead(got, 4), 4);
    ASSERT_EQ(file.BufferedPreview(peek, 5), 5);
    EXPECT_EQ(std::string(peek, 5), "6789A");
    ASSERT_EQ(file.BufferedRead(got, 16), 10);
    EXPECT_EQ(std::string(got, 10), "6789ABCDEF");
}

}  // namespace
