// Builds event set files byte by byte for the set tests, independently of
// the writer under test: numbers in either byte order, strings with their
// terminating zero, event records in the "1.0" or later field order, handler
// blocks and the set's layout tail.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

class SetBytes {
public:
    explicit SetBytes(bool bigEndian = false) : fBig(bigEndian) { fBytes.push_back(bigEndian ? 1 : 0); }

    SetBytes& Byte(uint8_t value)
    {
        fBytes.push_back(value);
        return *this;
    }
    SetBytes& Int32(int32_t value) { return Number(uint32_t(value)); }
    SetBytes& UInt32(uint32_t value) { return Number(value); }
    SetBytes& Float(float value)
    {
        uint32_t bits;
        std::memcpy(&bits, &value, 4);
        return Number(bits);
    }
    SetBytes& Text(const std::string& text)
    {
        fBytes.insert(fBytes.end(), text.begin(), text.end());
        fBytes.push_back(0);
        return *this;
    }
    SetBytes& Raw(const std::vector<uint8_t>& bytes)
    {
        fBytes.insert(fBytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    SetBytes& Repeat(uint8_t value, size_t count)
    {
        fBytes.insert(fBytes.end(), count, value);
        return *this;
    }

    const std::vector<uint8_t>& Bytes() const { return fBytes; }
    size_t Size() const { return fBytes.size(); }
    bool BigEndian() const { return fBig; }

private:
    SetBytes& Number(uint32_t value)
    {
        for (int i = 0; i < 4; ++i) {
            int shift = fBig ? 24 - 8 * i : 8 * i;
            fBytes.push_back(uint8_t(value >> shift));
        }
        return *this;
    }

    bool fBig;
    std::vector<uint8_t> fBytes;
};

// One event record's fields, with plausible values that differ from the
// defaults of a new event so that a reader which skips a field is caught.
struct EventRecord {
    std::string name = "Dentist";
    int32_t nextEventTime = 1700000000;
    int32_t actualEventTime = 1700003600;
    uint8_t active = 1;
    int32_t status = 1;
    uint8_t deletable = 1;
    int32_t periodType = 3;
    int32_t multiple = 4;
    int32_t timeType = 2;
    int32_t rememberType = 0;
    int32_t selectEventTime = 1699990000;
    int8_t dayOfMonth = 17;
    int8_t weekOfMonth = 2;
    int8_t dayOfWeek = 5;
    int8_t month = 10;
    int32_t multiStartTime = 1600000000;
    uint8_t applyTime = 1;
    int32_t secondsIntoDay = 34200;
    int32_t subIntType = 4;
    uint8_t applyStop = 1;
    int32_t stopTime = 72000;
    uint8_t applyPrewarn = 1;
    int32_t prewarnTime = 3;
    int32_t prewarnType = 2;
    uint8_t applyPrewarnRepeat = 1;
    int32_t prewarnRepeatTime = 7;
    int32_t prewarnRepeatType = 3;
    std::string prewarnMessage = "Soon";
    uint8_t applyNag = 1;
    int32_t nagRepeatTime = 5;
    int32_t nagRepeatType = 4;
    std::string nagMessage = "Go now";
    uint8_t deliverIfMissed = 0;
    uint8_t deleteOnceDelivered = 1;
    std::string comment = "Bring the forms";
    int32_t iconNumber = 3;
    std::vector<uint8_t> largeIcon;  // 1024 bytes when iconNumber is -2
    std::vector<uint8_t> miniIcon;   // 256 bytes when iconNumber is -2
    float frame[4] = {100, 120, 500, 480};
    uint8_t windowOpen = 0;
    int32_t shownTab = 2;
    std::string handlerName = "Message";
    std::vector<uint8_t> handlerBlock;  // everything after the name; see Block helpers
};

// versionIndex 0 ("1.0") keeps the deletable byte after the window-open byte.
inline void AppendEvent(SetBytes& out, const EventRecord& e, int versionIndex = 2)
{
    out.Text(e.name).Int32(e.nextEventTime).Int32(e.actualEventTime).Byte(e.active).Int32(e.status);
    if (versionIndex != 0)
        out.Byte(e.deletable);
    out.Int32(e.periodType).Int32(e.multiple).Int32(e.timeType).Int32(e.rememberType);
    out.Int32(e.selectEventTime);
    out.Byte(uint8_t(e.dayOfMonth)).Byte(uint8_t(e.weekOfMonth)).Byte(uint8_t(e.dayOfWeek));
    out.Byte(uint8_t(e.month));
    out.Int32(e.multiStartTime).Byte(e.applyTime).Int32(e.secondsIntoDay).Int32(e.subIntType);
    out.Byte(e.applyStop).Int32(e.stopTime);
    out.Byte(e.applyPrewarn).Int32(e.prewarnTime).Int32(e.prewarnType);
    out.Byte(e.applyPrewarnRepeat).Int32(e.prewarnRepeatTime).Int32(e.prewarnRepeatType);
    out.Text(e.prewarnMessage);
    out.Byte(e.applyNag).Int32(e.nagRepeatTime).Int32(e.nagRepeatType).Text(e.nagMessage);
    out.Byte(e.deliverIfMissed).Byte(e.deleteOnceDelivered).Text(e.comment).Int32(e.iconNumber);
    if (e.iconNumber == -2)
        out.Raw(e.largeIcon).Raw(e.miniIcon);
    for (float f : e.frame)
        out.Float(f);
    out.Byte(e.windowOpen);
    if (versionIndex == 0)
        out.Byte(e.deletable);
    out.Int32(e.shownTab).Text(e.handlerName);
}

// A handler block: a 32-bit count in the file's order, then the bytes.
inline void AppendBlock(SetBytes& out, uint32_t count, const std::vector<uint8_t>& bytes)
{
    out.UInt32(count).Raw(bytes);
}

inline std::vector<uint8_t> TextBytes(const std::string& text)
{
    std::vector<uint8_t> bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

// The Message handler's block for a text (count includes the zero).
inline void AppendMessageBlock(SetBytes& out, const std::string& message)
{
    AppendBlock(out, uint32_t(message.size() + 1), TextBytes(message));
}

// The Command / Act on file record: count (text length + 2, or 0 for none),
// the verify byte, then the text with its zero.
inline void AppendVerifiedText(SetBytes& out, uint8_t verify, const char* text)
{
    if (text == nullptr) {
        out.UInt32(0).Byte(verify);
        return;
    }
    out.UInt32(uint32_t(std::strlen(text) + 2)).Byte(verify).Raw(TextBytes(text));
}

// The layout tail of a set with the layout that new sets get as shipped.
struct LayoutRecord {
    float frame[4] = {16, 33, 569, 357};
    int32_t order[6] = {0, 1, 2, 3, 4, 5};
    uint8_t shown[6] = {1, 1, 1, 0, 1, 1};
    float widths[6] = {35, 190, 150, 150, 60, 115};
    int32_t numberOfKeys = 1;
    int32_t keys[5] = {2, 0, 0, 0, 0};
    int32_t modes[5] = {0, 0, 0, 0, 0};
    int32_t viewMode = 0;
};

inline void AppendLayout(SetBytes& out, const LayoutRecord& l = LayoutRecord())
{
    for (float f : l.frame)
        out.Float(f);
    for (int32_t v : l.order)
        out.Int32(v);
    for (uint8_t v : l.shown)
        out.Byte(v);
    for (float v : l.widths)
        out.Float(v);
    out.Int32(l.numberOfKeys);
    for (int32_t v : l.keys)
        out.Int32(v);
    for (int32_t v : l.modes)
        out.Int32(v);
    out.Int32(l.viewMode);
}

inline void AppendHeader(SetBytes& out, const std::string& version, int32_t count)
{
    out.Text(version).Int32(count);
}
