#include "core/Message.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kWhat = MakeTypeCode('S', 'e', 't', 'E');

// One message with a value of every kind, two of them with several values.
Message EveryKind()
{
    Message inner(42);
    inner.AddString("Name", "Dentist");
    inner.AddInt32("When", 1700000000);

    static int target;
    const uint8_t raw[] = {0, 1, 2, 0, 255};
    Message message(kWhat);
    message.AddInt8("int8", -5);
    message.AddInt32("int32", -123456);
    message.AddInt32("int32", 7);
    message.AddInt64("int64", -(int64_t(1) << 40));
    message.AddBool("bool", true);
    message.AddFloat("float", 2.75f);
    message.AddString("string", "Calvorin Event");
    message.AddString("string", "");
    message.AddRect("rect", Rect{10, 20, 310.5f, 220});
    message.AddPointer("pointer", &target);
    message.AddData("data", B_RAW_TYPE, raw, sizeof raw);
    message.AddMessage("message", inner);
    return message;
}

// A flattened message with one field "m" that holds the given flattened
// message, built by hand so that nesting deeper than the API allows can be
// tried.
std::vector<uint8_t> WrapFlat(const std::vector<uint8_t>& innerFlat)
{
    Message outer(1);
    std::vector<uint8_t> flat = outer.Flatten();
    flat[12] = 1;  // field count
    auto put = [&flat](uint32_t value) {
        for (int i = 0; i < 4; i++)
            flat.push_back(uint8_t(value >> (8 * i)));
    };
    put(1);
    flat.push_back('m');
    put(B_MESSAGE_TYPE);
    put(1);
    put(uint32_t(innerFlat.size()));
    flat.insert(flat.end(), innerFlat.begin(), innerFlat.end());
    return flat;
}

void ExpectEmpty(const Message& message)
{
    EXPECT_EQ(message.what, 0u);
    EXPECT_EQ(message.CountNames(), 0);
}

TEST(MessageTest, EveryKindSurvivesFlattening)
{
    Message original = EveryKind();
    std::vector<uint8_t> flat = original.Flatten();

    Message copy(99);
    copy.AddBool("left over", true);
    ASSERT_EQ(copy.Unflatten(flat.data(), flat.size()), B_OK);
    EXPECT_EQ(copy.what, kWhat);
    EXPECT_EQ(copy.CountNames(), 10);
    EXPECT_FALSE(copy.HasField("left over"));

    EXPECT_EQ(copy.GetInt8("int8"), -5);
    int32_t i32;
    ASSERT_EQ(copy.FindInt32("int32", &i32, 1), B_OK);
    EXPECT_EQ(i32, 7);
    EXPECT_EQ(copy.GetInt32("int32"), -123456);
    EXPECT_EQ(copy.GetInt64("int64"), -(int64_t(1) << 40));
    EXPECT_TRUE(copy.GetBool("bool"));
    EXPECT_EQ(copy.GetFloat("float"), 2.75f);
    EXPECT_STREQ(copy.GetString("string"), "Calvorin Event");
    const char* empty = nullptr;
    ASSERT_EQ(copy.FindString("string", &empty, 1), B_OK);
    EXPECT_STREQ(empty, "");
    EXPECT_EQ(copy.GetRect("rect"), (Rect{10, 20, 310.5f, 220}));
    EXPECT_EQ(copy.GetPointer("pointer"), original.GetPointer("pointer"));
    EXPECT_NE(copy.GetPointer("pointer"), nullptr);

    const void* data;
    size_t size;
    ASSERT_EQ(copy.FindData("data", B_RAW_TYPE, &data, &size), B_OK);
    ASSERT_EQ(size, 5u);
    EXPECT_EQ(std::memcmp(data, "\0\1\2\0\377", 5), 0);

    Message inner;
    ASSERT_EQ(copy.FindMessage("message", &inner), B_OK);
    EXPECT_EQ(inner.what, 42u);
    EXPECT_STREQ(inner.GetString("Name"), "Dentist");
    EXPECT_EQ(inner.GetInt32("When"), 1700000000);

    // Fields keep their order, so the copy flattens to the same bytes.
    EXPECT_EQ(copy.Flatten(), flat);
}

TEST(MessageTest, FlatLayoutIsLittleEndianWithMagicAndLengths)
{
    Message message(0x01020304);
    message.AddInt32("b", 5);
    message.AddBool("a", false);
    std::vector<uint8_t> expected = {
        'C', 'M', 's', 'g', 1, 0, 0, 0, 4, 3, 2, 1, 2, 0, 0, 0,  // magic, version, what, fields
        1, 0, 0, 0, 'b', 'G', 'N', 'O', 'L', 1, 0, 0, 0,          // "b", int32, one value
        4, 0, 0, 0, 5, 0, 0, 0,                                   //   4 bytes: 5
        1, 0, 0, 0, 'a', 'L', 'O', 'O', 'B', 1, 0, 0, 0,          // "a", bool, one value
        1, 0, 0, 0, 0,                                            //   1 byte: false
    };
    EXPECT_EQ(message.Flatten(), expected);
}

TEST(MessageTest, NameHoldsOneTypeAndSeveralValuesInTheOrderOfTheFirst)
{
    Message message;
    ASSERT_EQ(message.AddString("Zeta", "z"), B_OK);
    for (int32_t value : {1, 2, 3})
        ASSERT_EQ(message.AddInt32("Time", value), B_OK);
    EXPECT_EQ(message.AddString("Time", "noon"), B_BAD_VALUE);
    EXPECT_EQ(message.AddInt8("Time", 4), B_BAD_VALUE);
    message.AddString("Zeta", "again");
    message.AddBool("mid", true);

    uint32_t type = 0;
    int32_t count = 0;
    ASSERT_EQ(message.GetInfo("Time", &type, &count), B_OK);
    EXPECT_EQ(type, B_INT32_TYPE);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(message.GetInfo("Other", &type, &count), B_NAME_NOT_FOUND);
    const char* expected[] = {"Zeta", "Time", "mid"};
    for (int32_t i = 0; i < 3; i++) {
        const char* name = nullptr;
        ASSERT_EQ(message.GetInfo(i, &name, nullptr, nullptr), B_OK);
        EXPECT_STREQ(name, expected[i]);
    }
    ASSERT_EQ(message.GetInfo(0, nullptr, &type, &count), B_OK);
    EXPECT_EQ(type, B_STRING_TYPE);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(message.GetInfo(3, nullptr, nullptr, nullptr), B_BAD_VALUE);
    EXPECT_EQ(message.GetInfo(-1, nullptr, nullptr, nullptr), B_BAD_VALUE);
    // A name removed and added again goes to the end.
    ASSERT_EQ(message.RemoveName("Zeta"), B_OK);
    message.AddInt8("Zeta", 1);
    const char* last = nullptr;
    ASSERT_EQ(message.GetInfo(2, &last, &type, nullptr), B_OK);
    EXPECT_STREQ(last, "Zeta");
    EXPECT_EQ(type, B_INT8_TYPE);

    // Out of range, of another type or missing: refused, the fallback given.
    int32_t value = -1;
    ASSERT_EQ(message.FindInt32("Time", &value, 2), B_OK);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(message.FindInt32("Time", &value, 3), B_BAD_VALUE);
    EXPECT_EQ(message.FindInt32("Time", &value, -1), B_BAD_VALUE);
    EXPECT_EQ(value, 3);
    const char* text = "unchanged";
    EXPECT_EQ(message.FindString("Time", &text), B_BAD_VALUE);
    EXPECT_EQ(message.FindString("Missing", &text), B_NAME_NOT_FOUND);
    EXPECT_STREQ(text, "unchanged");
    EXPECT_EQ(message.GetString("Time", "fallback"), std::string("fallback"));
    EXPECT_EQ(message.GetInt32("Missing", -9), -9);
    EXPECT_FALSE(message.GetRect("Missing").IsValid());
    EXPECT_EQ(message.GetPointer("Time"), nullptr);
}

TEST(MessageTest, AddingChecksNamesAndValues)
{
    Message message;
    EXPECT_EQ(message.AddInt32(nullptr, 1), B_BAD_VALUE);
    ASSERT_EQ(message.AddString("Null", nullptr), B_OK);
    EXPECT_STREQ(message.GetString("Null"), "");

    const uint8_t three[3] = {1, 2, 3};
    EXPECT_EQ(message.AddData("x", B_INT32_TYPE, three, 3), B_BAD_VALUE);
    EXPECT_EQ(message.AddData("x", B_STRING_TYPE, "abc", 3), B_BAD_VALUE);
    EXPECT_EQ(message.AddData("x", B_STRING_TYPE, "a\0b", 4), B_BAD_VALUE);
    EXPECT_EQ(message.AddData("x", B_MESSAGE_TYPE, three, 3), B_BAD_VALUE);
    EXPECT_FALSE(message.HasField("x"));

    // Typed data of a fixed-size type is the same as the typed add.
    const uint8_t five[4] = {5, 0, 0, 0};
    ASSERT_EQ(message.AddData("n", B_INT32_TYPE, five, 4), B_OK);
    EXPECT_EQ(message.GetInt32("n"), 5);
    ASSERT_EQ(message.AddData("empty", B_MIME_TYPE, nullptr, 0), B_OK);
    const void* data;
    size_t size = 1;
    ASSERT_EQ(message.FindData("empty", B_MIME_TYPE, &data, &size), B_OK);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(message.FindData("empty", B_RAW_TYPE, &data, &size), B_BAD_VALUE);

    // Copies are independent; a move takes everything; emptying keeps what.
    Message every = EveryKind();
    Message copy = every;
    ASSERT_EQ(every.RemoveName("int32"), B_OK);
    EXPECT_EQ(every.RemoveName("int32"), B_NAME_NOT_FOUND);
    EXPECT_EQ(every.CountNames(), 9);
    Message moved = std::move(copy);
    EXPECT_EQ(moved.CountNames(), 10);
    EXPECT_TRUE(moved.HasField("int32"));
    moved.MakeEmpty();
    EXPECT_EQ(moved.CountNames(), 0);
    EXPECT_EQ(moved.what, kWhat);
}

TEST(MessageTest, NestingIsLimited)
{
    Message chain(0);
    for (int level = 1; level <= 16; level++) {
        Message outer{uint32_t(level)};
        ASSERT_EQ(outer.AddMessage("m", chain), B_OK) << "level " << level;
        chain = std::move(outer);
    }
    Message tooDeep(17);
    EXPECT_EQ(tooDeep.AddMessage("m", chain), B_BAD_VALUE);

    std::vector<uint8_t> flat = chain.Flatten();
    Message read;
    ASSERT_EQ(read.Unflatten(flat.data(), flat.size()), B_OK);
    Message innermost = read;
    for (int level = 16; level >= 1; level--) {
        Message next;
        ASSERT_EQ(innermost.FindMessage("m", &next), B_OK);
        innermost = std::move(next);
    }
    EXPECT_EQ(innermost.what, 0u);

    std::vector<uint8_t> deeper = WrapFlat(flat);
    EXPECT_EQ(read.Unflatten(deeper.data(), deeper.size()), B_BAD_VALUE);
    ExpectEmpty(read);

    // Very deep nesting is refused without going all the way down.
    std::vector<uint8_t> hostile = Message(0).Flatten();
    for (int i = 0; i < 1000; i++)
        hostile = WrapFlat(hostile);
    EXPECT_EQ(read.Unflatten(hostile.data(), hostile.size()), B_BAD_VALUE);
}

TEST(MessageTest, EveryTruncationIsRefused)
{
    std::vector<uint8_t> flat = EveryKind().Flatten();
    for (size_t length = 0; length < flat.size(); length++) {
        Message message = EveryKind();
        ASSERT_EQ(message.Unflatten(flat.data(), length), B_BAD_VALUE) << "length " << length;
        ExpectEmpty(message);
    }
    Message message;
    EXPECT_EQ(message.Unflatten(nullptr, 0), B_BAD_VALUE);

    flat.push_back(0);
    EXPECT_EQ(message.Unflatten(flat.data(), flat.size()), B_BAD_VALUE);
    ExpectEmpty(message);
}

TEST(MessageTest, MalformedHeadersAndFieldsAreRefused)
{
    Message sample(7);
    sample.AddInt32("a", 1);
    sample.AddString("s", "x");
    const std::vector<uint8_t> good = sample.Flatten();
    // Offsets in the layout above: field count 12; field "a": name length 16,
    // name 20, type 21, value count 25, value length 29; field "s" from 37.
    auto refused = [&good](size_t offset, std::vector<uint8_t> bytes) {
        std::vector<uint8_t> bad = good;
        std::copy(bytes.begin(), bytes.end(), bad.begin() + long(offset));
        Message message;
        return message.Unflatten(bad.data(), bad.size()) == B_BAD_VALUE &&
               message.CountNames() == 0;
    };
    Message check;
    ASSERT_EQ(check.Unflatten(good.data(), good.size()), B_OK);

    EXPECT_TRUE(refused(0, {'X'}));                     // magic
    EXPECT_TRUE(refused(4, {2}));                       // version
    EXPECT_TRUE(refused(12, {0xFF, 0xFF, 0xFF, 0xFF}));  // field count
    EXPECT_TRUE(refused(12, {3}));                      // one field too many
    EXPECT_TRUE(refused(12, {1}));                      // a field left over
    EXPECT_TRUE(refused(16, {0xFF, 0xFF, 0xFF, 0x7F}));  // name length
    EXPECT_TRUE(refused(20, {0}));                      // a 0 in a name
    EXPECT_TRUE(refused(21, {'T', 'C', 'E', 'R'}));      // int32 became a rect: wrong size
    EXPECT_TRUE(refused(25, {0}));                      // no values
    EXPECT_TRUE(refused(25, {0xFF, 0xFF, 0xFF, 0xFF}));  // value count
    EXPECT_TRUE(refused(29, {0xFF, 0xFF, 0xFF, 0xFF}));  // value length
    EXPECT_TRUE(refused(41, {'a'}));                    // the same name twice
    EXPECT_TRUE(refused(good.size() - 1, {'y'}));       // string without its 0
}

TEST(MessageTest, SingleByteChangesAreRefusedOrReadExactly)
{
    // Whatever a corrupted message turns into, what is accepted must be a
    // whole message that flattens back to the very same bytes.
    const std::vector<uint8_t> good = EveryKind().Flatten();
    for (size_t offset = 0; offset < good.size(); offset++) {
        for (uint8_t delta : {uint8_t(1), uint8_t(0x80)}) {
            std::vector<uint8_t> bad = good;
            bad[offset] = uint8_t(bad[offset] + delta);
            Message message;
            if (message.Unflatten(bad.data(), bad.size()) == B_OK)
                ASSERT_EQ(message.Flatten(), bad) << "offset " << offset;
            else
                ExpectEmpty(message);
        }
    }
}

}  // namespace
