#include "calvorin/BufferedFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "StorageTestSupport.h"

namespace {

class BufferedFileTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(fDir.Valid()); }

    std::string Path(const char* leaf = "data") const { return fDir.File(leaf); }

    ScratchDir fDir;
};

TEST_F(BufferedFileTest, SmallWritesStayInTheBufferUntilFlushed)
{
    std::vector<uint8_t> bytes = PatternBytes(1000);
    {
        BufferedFile file(Path().c_str(), B_WRITE_ONLY | B_CREATE_FILE, 1024);
        ASSERT_EQ(file.InitCheck(), B_OK);
        for (size_t i = 0; i < bytes.size(); i += 10)
            ASSERT_EQ(file.BufferedWrite(&bytes[i], 10), 10);
        EXPECT_EQ(FileSizeOnDisk(Path()), 0);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
        EXPECT_EQ(FileSizeOnDisk(Path()), 1000);
    }
    EXPECT_EQ(ReadWholeFile(Path()), bytes);
}

TEST_F(BufferedFileTest, DestroyingWithoutFlushLosesPendingBytes)
{
    {
        BufferedFile file(Path().c_str(), B_WRITE_ONLY | B_CREATE_FILE, 1024);
        std::vector<uint8_t> bytes = PatternBytes(1000);
        ASSERT_EQ(file.BufferedWrite(bytes.data(), 1000), 1000);
    }
    EXPECT_EQ(FileSizeOnDisk(Path()), 0);
}

TEST_F(BufferedFileTest, FullBufferIsWrittenAtOnce)
{
    std::vector<uint8_t> bytes = PatternBytes(2500);
    {
        BufferedFile file(Path().c_str(), B_WRITE_ONLY | B_CREATE_FILE, 1024);
        ASSERT_EQ(file.BufferedWrite(bytes.data(), 1024), 1024);
        EXPECT_EQ(FileSizeOnDisk(Path()), 1024);
        // Nothing pending: flushing changes nothing.
        ASSERT_EQ(file.FlushBuffer(), B_OK);
        EXPECT_EQ(FileSizeOnDisk(Path()), 1024);

        ASSERT_EQ(file.BufferedWrite(bytes.data() + 1024, 1476), 1476);
        EXPECT_EQ(FileSizeOnDisk(Path()), 2048);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    EXPECT_EQ(ReadWholeFile(Path()), bytes);
}

TEST_F(BufferedFileTest, ReadingAShortFileStopsAtItsEnd)
{
    std::vector<uint8_t> bytes = PatternBytes(100);
    WriteWholeFile(Path(), bytes);
    BufferedFile file(Path().c_str(), B_READ_ONLY, 1024);
    ASSERT_EQ(file.InitCheck(), B_OK);

    std::vector<uint8_t> got(500, 0xEE);
    EXPECT_EQ(file.BufferedRead(got.data(), 500), 100);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), got.begin()));
    EXPECT_EQ(file.BufferedRead(got.data(), 500), 0);
}

TEST_F(BufferedFileTest, ReadsAcrossBufferBoundaries)
{
    std::vector<uint8_t> bytes = PatternBytes(3000);
    WriteWholeFile(Path(), bytes);
    BufferedFile file(Path().c_str(), B_READ_ONLY, 64);

    std::vector<uint8_t> got;
    uint8_t chunk[7];
    int32_t n;
    while ((n = file.BufferedRead(chunk, sizeof chunk)) > 0)
        got.insert(got.end(), chunk, chunk + n);
    EXPECT_EQ(got, bytes);

    // A file whose length is a whole number of buffers ends the same way.
    std::vector<uint8_t> exact = PatternBytes(128);
    WriteWholeFile(Path("exact"), exact);
    BufferedFile exactFile(Path("exact").c_str(), B_READ_ONLY, 64);
    std::vector<uint8_t> all(200);
    EXPECT_EQ(exactFile.BufferedRead(all.data(), 200), 128);
    EXPECT_EQ(exactFile.BufferedRead(all.data(), 200), 0);
}

TEST_F(BufferedFileTest, WriteAfterReadLandsWhereTheReaderStopped)
{
    std::vector<uint8_t> bytes = PatternBytes(2000);
    WriteWholeFile(Path(), bytes);
    {
        BufferedFile file(Path().c_str(), B_READ_WRITE, 1024);
        uint8_t head[10];
        ASSERT_EQ(file.BufferedRead(head, 10), 10);
        ASSERT_EQ(file.BufferedWrite("XXXXX", 5), 5);
        // Reading on picks up right after the written bytes.
        uint8_t next;
        ASSERT_EQ(file.BufferedRead(&next, 1), 1);
        EXPECT_EQ(next, bytes[15]);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    std::vector<uint8_t> expected = bytes;
    std::memcpy(&expected[10], "XXXXX", 5);
    EXPECT_EQ(ReadWholeFile(Path()), expected);
}

TEST_F(BufferedFileTest, UnbufferedOperationsSeeTheLogicalPosition)
{
    std::vector<uint8_t> bytes = PatternBytes(2000);
    WriteWholeFile(Path(), bytes);
    BufferedFile file(Path().c_str(), B_READ_WRITE, 1024);

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

TEST_F(BufferedFileTest, AccessModeLimitsBufferedTransfers)
{
    WriteWholeFile(Path(), std::string("content"));
    BufferedFile reader(Path().c_str(), B_READ_ONLY, 16);
    EXPECT_TRUE(reader.IsReadable());
    EXPECT_FALSE(reader.IsWritable());
    EXPECT_EQ(reader.BufferedWrite("x", 1), 0);

    BufferedFile writer(Path("other").c_str(), B_WRITE_ONLY | B_CREATE_FILE, 16);
    EXPECT_FALSE(writer.IsReadable());
    char c;
    EXPECT_EQ(writer.BufferedRead(&c, 1), 0);
}

TEST_F(BufferedFileTest, FailedOpenLeavesAnUnusableObject)
{
    BufferedFile missing(Path("missing").c_str(), B_READ_ONLY, 16);
    EXPECT_EQ(missing.InitCheck(), B_NAME_NOT_FOUND);
    char c;
    EXPECT_EQ(missing.BufferedRead(&c, 1), 0);
    EXPECT_EQ(missing.BufferedPreview(&c, 1), 0);

    BufferedFile noCreate(Path("missing").c_str(), B_WRITE_ONLY, 16);
    EXPECT_EQ(noCreate.InitCheck(), B_NAME_NOT_FOUND);
    EXPECT_EQ(noCreate.BufferedWrite("x", 1), 0);
    EXPECT_FALSE(std::filesystem::exists(Path("missing")));

    BufferedFile folder(fDir.Path().c_str(), B_READ_ONLY, 16);
    EXPECT_NE(folder.InitCheck(), B_OK);

    WriteWholeFile(Path(), std::string("x"));
    BufferedFile badMode(Path().c_str(), 3, 16);
    EXPECT_NE(badMode.InitCheck(), B_OK);
    BufferedFile noBuffer(Path().c_str(), B_READ_ONLY, 0);
    EXPECT_NE(noBuffer.InitCheck(), B_OK);
}

TEST_F(BufferedFileTest, UnwritableFolderIsReportedAsSuch)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions do not apply to root";
    std::filesystem::create_directory(Path("locked"));
    chmod(Path("locked").c_str(), 0500);
    BufferedFile file((Path("locked") + "/new").c_str(), B_WRITE_ONLY | B_CREATE_FILE, 16);
    EXPECT_EQ(file.InitCheck(), B_PERMISSION_DENIED);
    chmod(Path("locked").c_str(), 0700);
}

TEST_F(BufferedFileTest, CreateEraseAndOpenAtEnd)
{
    WriteWholeFile(Path(), std::string("old contents"));
    {
        BufferedFile file(Path().c_str(), B_WRITE_ONLY | B_OPEN_AT_END, 16);
        ASSERT_EQ(file.BufferedWrite("+", 1), 1);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    EXPECT_EQ(ReadWholeFile(Path()).size(), 13u);
    {
        BufferedFile file(Path().c_str(), B_WRITE_ONLY | B_ERASE_FILE, 16);
        ASSERT_EQ(file.InitCheck(), B_OK);
    }
    EXPECT_EQ(FileSizeOnDisk(Path()), 0);

    mode_t old = umask(022);
    {
        BufferedFile file(Path("new").c_str(), B_WRITE_ONLY | B_CREATE_FILE, 16);
        ASSERT_EQ(file.InitCheck(), B_OK);
    }
    umask(old);
    struct stat info;
    ASSERT_EQ(stat(Path("new").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
}

TEST_F(BufferedFileTest, DirectoryAndLeafFormAndSetTo)
{
    {
        BufferedFile file(fDir.Path().c_str(), "first", B_WRITE_ONLY | B_CREATE_FILE, 16);
        ASSERT_EQ(file.InitCheck(), B_OK);
        ASSERT_EQ(file.BufferedWrite("one", 3), 3);
        // Re-targeting writes out what was pending for the first file.
        ASSERT_EQ(file.SetTo(fDir.Path().c_str(), "second", B_WRITE_ONLY | B_CREATE_FILE), B_OK);
        ASSERT_EQ(file.BufferedWrite("two", 3), 3);
        ASSERT_EQ(file.FlushBuffer(), B_OK);

        EXPECT_NE(file.SetTo(fDir.Path().c_str(), nullptr, B_READ_ONLY), B_OK);
        EXPECT_NE(file.InitCheck(), B_OK);
    }
    EXPECT_EQ(ReadWholeFile(Path("first")), std::vector<uint8_t>({'o', 'n', 'e'}));
    EXPECT_EQ(ReadWholeFile(Path("second")), std::vector<uint8_t>({'t', 'w', 'o'}));
}

TEST_F(BufferedFileTest, ReadLineSplitsAtLineEnds)
{
    WriteWholeFile(Path(), std::vector<uint8_t>{'a', '\r', '\n', 'b', '\n', 'c', 'd', '\0', 'e', '\r', 'f'});
    BufferedFile file(Path().c_str(), B_READ_ONLY, 64);
    char line[16];

    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 3);
    EXPECT_STREQ(line, "a");
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 2);
    EXPECT_STREQ(line, "b");
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 3);
    EXPECT_STREQ(line, "cd");
    // A lone carriage return ends a line too.
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 2);
    EXPECT_STREQ(line, "e");
    // The last line has no terminator.
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 1);
    EXPECT_STREQ(line, "f");
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 0);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(file.BufferedReadLine(line, 0), 0);
}

TEST_F(BufferedFileTest, ReadLineCutsLongLinesToTheBuffer)
{
    WriteWholeFile(Path(), std::string("abcdefgh\n"));
    BufferedFile file(Path().c_str(), B_READ_ONLY, 64);
    char line[4];
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 3);
    EXPECT_STREQ(line, "abc");
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 3);
    EXPECT_STREQ(line, "def");
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 3);
    EXPECT_STREQ(line, "gh");
}

TEST_F(BufferedFileTest, CarriageReturnEndingTheBufferMissesItsLineFeed)
{
    // With a 4-byte buffer the carriage return is the last buffered byte, so
    // the line feed after it is not seen and comes back as an empty line.
    WriteWholeFile(Path(), std::string("abc\r\nd"));
    BufferedFile file(Path().c_str(), B_READ_ONLY, 4);
    char line[16];
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 4);
    EXPECT_STREQ(line, "abc");
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 1);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(file.BufferedReadLine(line, sizeof line), 1);
    EXPECT_STREQ(line, "d");
}

TEST_F(BufferedFileTest, PreviewShowsBytesWithoutConsumingThem)
{
    WriteWholeFile(Path(), std::string("0123456789ABCDEF"));
    BufferedFile file(Path().c_str(), B_READ_ONLY, 8);
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
