#include "calvorin/EndianIndependentFile.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "StorageTestSupport.h"

namespace {

using Bytes = std::vector<uint8_t>;

static_assert(std::endian::native == std::endian::little,
              "these tests describe files as a little-endian host sees them");

class EndianIndependentFileTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(fDir.Valid()); }

    std::string Path(const char* leaf = "set") const { return fDir.File(leaf); }

    ScratchDir fDir;
};

TEST_F(EndianIndependentFileTest, NewAndErasedFilesRecordTheHostOrder)
{
    WriteWholeFile(Path("erased"), Bytes{0x01, 0x00, 0x00, 0x00, 0x05});
    // A new file written only, and an erased big-endian one; opened by
    // folder and leaf.
    const std::pair<const char*, uint32_t> cases[] = {{"set", B_WRITE_ONLY | B_CREATE_FILE},
                                                      {"erased", B_READ_WRITE | B_ERASE_FILE}};
    for (const auto& [leaf, mode] : cases) {
        EndianIndependentFile file(fDir.Path().c_str(), leaf, mode, 64);
        ASSERT_EQ(file.InitCheck(), B_OK);
        EXPECT_FALSE(file.IsBigEndian());
        EXPECT_TRUE(file.IsNativeEndian());
        ASSERT_TRUE(file.WriteValue(int32_t(5)));
        ASSERT_EQ(file.WriteString("x"), B_OK);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
        EXPECT_EQ(ReadWholeFile(Path(leaf)), (Bytes{0x00, 0x05, 0x00, 0x00, 0x00, 'x', 0x00}));
    }
}

TEST_F(EndianIndependentFileTest, ReadsABigEndianFile)
{
    WriteWholeFile(Path(), Bytes{
        0x01,                                            // flag: big-endian
        0x00, 0x00, 0x00, 0x05,                          // int32 5
        0xFF, 0xFE,                                      // int16 -2
        0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02,  // int64 2^32 + 2
        0x3F, 0xC0, 0x00, 0x00,                          // float 1.5
        0x7A,                                            // int8
    });
    EndianIndependentFile file(Path().c_str(), B_READ_ONLY, 1024);
    ASSERT_EQ(file.InitCheck(), B_OK);
    EXPECT_TRUE(file.IsBigEndian());
    EXPECT_FALSE(file.IsNativeEndian());

    int32_t i32 = 0;
    int16_t i16 = 0;
    int64_t i64 = 0;
    float f = 0;
    int8_t i8 = 0;
    ASSERT_TRUE(file.ReadValue(&i32) && file.ReadValue(&i16) && file.ReadValue(&i64));
    ASSERT_EQ(file.ReadNumber(&f, 4, 1), 1);
    ASSERT_TRUE(file.ReadValue(&i8));
    EXPECT_EQ(std::vector<int64_t>({i32, i16, i64, i8}),
              std::vector<int64_t>({5, -2, (int64_t(1) << 32) + 2, 0x7A}));
    EXPECT_EQ(f, 1.5f);
    EXPECT_FALSE(file.ReadValue(&i8));
}

TEST_F(EndianIndependentFileTest, WritingToABigEndianFileSwapsAndRestoresTheCallersData)
{
    WriteWholeFile(Path(), Bytes{0x01});
    {
        // An existing file opened read-write keeps the order it was written in.
        EndianIndependentFile file(Path().c_str(), B_READ_WRITE, 1024);
        ASSERT_EQ(file.InitCheck(), B_OK);
        ASSERT_TRUE(file.IsBigEndian());
        int32_t values[2] = {0x01020304, -1 & ~0xFF};
        ASSERT_EQ(file.WriteNumber(values, 4, 2), 2);
        EXPECT_EQ(values[0], 0x01020304);
        EXPECT_EQ(values[1], -1 & ~0xFF);
        ASSERT_EQ(file.WriteRaw("\x01\x02", 2), 2);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    EXPECT_EQ(ReadWholeFile(Path()), (Bytes{0x01, 0x01, 0x02, 0x03, 0x04, 0xFF,
                                                           0xFF, 0xFF, 0x00, 0x01, 0x02}));
}

TEST_F(EndianIndependentFileTest, NumbersRoundTripInHostOrder)
{
    int8_t i8 = -7;
    int16_t i16 = 0x1234;
    int32_t i32 = -123456789;
    int64_t i64 = 0x0102030405060708;
    uint32_t many[3] = {1, 2, 3};
    {
        EndianIndependentFile file(Path().c_str(), B_WRITE_ONLY | B_CREATE_FILE | B_ERASE_FILE, 16);
        ASSERT_TRUE(file.WriteValue(i8) && file.WriteValue(i16) && file.WriteValue(i32) &&
                    file.WriteValue(i64));
        ASSERT_EQ(file.WriteNumber(many, 4, 3), 3);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    Bytes bytes = ReadWholeFile(Path());
    ASSERT_EQ(bytes.size(), 1u + 1 + 2 + 4 + 8 + 12);
    EXPECT_EQ(bytes[0], 0x00);
    EXPECT_EQ(bytes[2], 0x34);  // least significant byte first

    EndianIndependentFile file(Path().c_str(), B_READ_ONLY, 16);
    int8_t r8;
    int16_t r16;
    int32_t r32;
    int64_t r64;
    uint32_t rmany[3];
    ASSERT_TRUE(file.ReadValue(&r8) && file.ReadValue(&r16) && file.ReadValue(&r32) && file.ReadValue(&r64));
    ASSERT_EQ(file.ReadNumber(rmany, 4, 3), 3);
    EXPECT_EQ(std::vector<int64_t>({r8, r16, r32, r64}), std::vector<int64_t>({i8, i16, i32, i64}));
    EXPECT_EQ(std::memcmp(rmany, many, sizeof many), 0);
}

TEST_F(EndianIndependentFileTest, PartlyReadNumberIsNotCounted)
{
    WriteWholeFile(Path(), Bytes{0x01, 0, 0, 0, 9, 0xAA, 0xBB});
    EndianIndependentFile file(Path().c_str(), B_READ_ONLY, 1024);
    int32_t values[2] = {0, 0};
    EXPECT_EQ(file.ReadNumber(values, 4, 2), 1);
    EXPECT_EQ(values[0], 9);
    // The two bytes of the cut-off number arrive as they are in the file.
    uint8_t rest[2];
    std::memcpy(rest, &values[1], 2);
    EXPECT_EQ(rest[0], 0xAA);
    EXPECT_EQ(rest[1], 0xBB);
}

TEST_F(EndianIndependentFileTest, OnlyNumberSizesAreAccepted)
{
    EndianIndependentFile file(Path().c_str(), B_READ_WRITE | B_CREATE_FILE, 64);
    uint8_t three[3] = {1, 2, 3};
    EXPECT_EQ(file.WriteNumber(three, 3, 1), 0);
    EXPECT_EQ(file.WriteNumber(three, 1, -1), 0);
    ASSERT_EQ(file.FlushBuffer(), B_OK);
    EXPECT_EQ(FileSizeOnDisk(Path()), 1);
    EXPECT_EQ(file.ReadNumber(three, 3, 1), 0);
    EXPECT_EQ(file.ReadNumber(three, 16, 1), 0);
}

TEST_F(EndianIndependentFileTest, FlagByteMustBeReadableOrWritable)
{
    WriteWholeFile(Path("empty"), Bytes{});
    EndianIndependentFile empty(Path("empty").c_str(), B_READ_ONLY, 1024);
    EXPECT_EQ(empty.InitCheck(), B_FILE_ERROR);

    EndianIndependentFile missing(Path("missing").c_str(), B_READ_ONLY, 1024);
    EXPECT_NE(missing.InitCheck(), B_OK);

    // An empty file opened read-write gets a flag byte.
    EndianIndependentFile readWrite(Path("empty").c_str(), B_READ_WRITE, 1024);
    EXPECT_EQ(readWrite.InitCheck(), B_OK);
    EXPECT_FALSE(readWrite.IsBigEndian());
}

TEST_F(EndianIndependentFileTest, StringsEndInAZeroByte)
{
    {
        EndianIndependentFile file(Path().c_str(), B_WRITE_ONLY | B_CREATE_FILE, 1024);
        ASSERT_EQ(file.WriteString(nullptr), B_OK);
        ASSERT_EQ(file.WriteString("Dentist"), B_OK);
        ASSERT_EQ(file.WriteString("0123456789"), B_OK);
        ASSERT_EQ(file.WriteRaw("tail", 4), 4);
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    Bytes bytes = ReadWholeFile(Path());
    ASSERT_EQ(bytes.size(), 1u + 1 + 8 + 11 + 4);
    EXPECT_EQ(bytes[1], 0);

    EndianIndependentFile file(Path().c_str(), B_READ_ONLY, 1024);
    char buffer[16];
    ASSERT_EQ(file.ReadString(buffer, sizeof buffer), B_OK);
    EXPECT_STREQ(buffer, "");
    ASSERT_EQ(file.ReadString(buffer, sizeof buffer), B_OK);
    EXPECT_STREQ(buffer, "Dentist");

    // Too long for the buffer: cut off, and the rest stays in the file.
    char small[5];
    EXPECT_EQ(file.ReadString(small, sizeof small), B_ERROR);
    EXPECT_STREQ(small, "0123");
    ASSERT_EQ(file.ReadString(buffer, sizeof buffer), B_OK);
    EXPECT_STREQ(buffer, "56789");

    // A string cut off by the end of the file.
    EXPECT_EQ(file.ReadString(buffer, sizeof buffer), B_FILE_ERROR);
    EXPECT_STREQ(buffer, "tail");
}

TEST_F(EndianIndependentFileTest, PositionsStartAfterTheFlagByte)
{
    WriteWholeFile(Path(), Bytes{0x00, 'a', 'b', 'c', 'd', 'e', 'f'});
    EndianIndependentFile file(Path().c_str(), B_READ_WRITE, 1024);
    ASSERT_EQ(file.InitCheck(), B_OK);

    char c;
    ASSERT_EQ(file.ReadRaw(&c, 1), 1);
    ASSERT_EQ(file.ReadRaw(&c, 1), 1);
    EXPECT_EQ(file.Seek(0, 0), 0);
    ASSERT_EQ(file.ReadRaw(&c, 1), 1);
    EXPECT_EQ(c, 'a');

    // The shift by one applies to every whence: from the current position
    // the seek goes one byte further than asked.
    EXPECT_EQ(file.Seek(0, 1), 2);
    ASSERT_EQ(file.ReadRaw(&c, 1), 1);
    EXPECT_EQ(c, 'c');
    EXPECT_EQ(file.Seek(-2, 2), 5);

    char at[2];
    ASSERT_EQ(file.ReadAt(3, at, 2), 2);
    EXPECT_EQ(std::memcmp(at, "de", 2), 0);
    ASSERT_EQ(file.WriteAt(0, "A", 1), 1);
    ASSERT_EQ(file.SetSize(3), B_OK);
    EXPECT_EQ(ReadWholeFile(Path()), (Bytes{0x00, 'A', 'b', 'c'}));

    // In a new file, the start is just after the flag too.
    EndianIndependentFile fresh(Path("fresh").c_str(), B_READ_WRITE | B_CREATE_FILE, 1024);
    ASSERT_TRUE(fresh.WriteValue(int32_t(42)));
    EXPECT_EQ(fresh.Seek(0, 0), 0);
    int32_t value = 0;
    ASSERT_TRUE(fresh.ReadValue(&value));
    EXPECT_EQ(value, 42);
}

}  // namespace
