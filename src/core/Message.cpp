#include "core/Message.h"

#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>
#include <unordered_set>

// The flattened form, all numbers little-endian 32-bit:
//   magic "CMsg", version, what, field count,
//   per field: name length, name bytes (no terminator), type code,
//              value count (at least 1),
//              per value: byte length, bytes.
// Values are kept in this wire form inside the message as well, so that a
// message read from outside flattens back to exactly the same bytes.

struct Message::Field {
    std::string name;
    uint32_t type = 0;
    std::vector<std::vector<uint8_t>> values;
};

namespace {

constexpr uint32_t kFlatMagic = 0x67734D43;  // "CMsg" in file order
constexpr uint32_t kFlatVersion = 1;
// Nested messages deeper than this are refused, so that reading hostile
// bytes cannot exhaust the stack.
constexpr int kMaxNestingDepth = 16;
// Smallest field: name length, type, count and one value length.
constexpr size_t kMinFieldSize = 16;

void PutU32(std::vector<uint8_t>& out, uint32_t value)
{
    for (int i = 0; i < 4; i++)
        out.push_back(uint8_t(value >> (8 * i)));
}

uint64_t GetLE(const uint8_t* bytes, size_t size)
{
    uint64_t value = 0;
    for (size_t i = 0; i < size; i++)
        value |= uint64_t(bytes[i]) << (8 * i);
    return value;
}

void SetLE(uint8_t* bytes, uint64_t value, size_t size)
{
    for (size_t i = 0; i < size; i++)
        bytes[i] = uint8_t(value >> (8 * i));
}

uint32_t FloatBits(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float BitsFloat(uint32_t bits)
{
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Byte length of one value of a type that has a fixed length, else 0.
size_t FixedSize(uint32_t type)
{
    switch (type) {
        case B_INT8_TYPE:
        case B_BOOL_TYPE:
            return 1;
        case B_INT32_TYPE:
        case B_FLOAT_TYPE:
            return 4;
        case B_INT64_TYPE:
        case B_POINTER_TYPE:
        case B_POINT_TYPE:
            return 8;
        case B_RECT_TYPE:
            return 16;
        default:
            return 0;
    }
}

class FlatReader {
public:
    FlatReader(const uint8_t* data, size_t size) : fData(data), fLeft(size) {}

    bool U32(uint32_t* value)
    {
        if (fLeft < 4)
            return false;
        *value = uint32_t(GetLE(fData, 4));
        fData += 4;
        fLeft -= 4;
        return true;
    }

    bool Bytes(size_t size, const uint8_t** bytes)
    {
        if (size > fLeft)
            return false;
        *bytes = fData;
        fData += size;
        fLeft -= size;
        return true;
    }

    size_t Left() const { return fLeft; }

private:
    const uint8_t* fData;
    size_t fLeft;
};

// Receives the parts of a flattened message as they are checked.
class FlatSink {
public:
    virtual ~FlatSink() = default;
    virtual void What(uint32_t what) = 0;
    virtual void Field(std::string_view name, uint32_t type, uint32_t count) = 0;
    virtual void Value(const uint8_t* bytes, size_t size) = 0;
};

bool ParseFlat(const uint8_t* data, size_t size, int depth, FlatSink* sink);

bool IsValidValue(uint32_t type, const uint8_t* bytes, size_t size, int depth)
{
    if (size_t fixed = FixedSize(type))
        return size == fixed;
    if (type == B_STRING_TYPE)
        return size >= 1 && std::memchr(bytes, 0, size) == bytes + size - 1;
    if (type == B_MESSAGE_TYPE)
        return ParseFlat(bytes, size, depth + 1, nullptr);
    return true;
}

// Checks a flattened message completely (nested ones included) and hands
// its parts to the sink, if there is one. Every count and length is
// checked against the bytes that are left before anything is reserved.
bool ParseFlat(const uint8_t* data, size_t size, int depth, FlatSink* sink)
{
    if (data == nullptr || depth > kMaxNestingDepth)
        return false;
    FlatReader reader(data, size);
    uint32_t magic, version, what, fieldCount;
    if (!reader.U32(&magic) || magic != kFlatMagic || !reader.U32(&version) ||
        version != kFlatVersion || !reader.U32(&what) || !reader.U32(&fieldCount))
        return false;
    if (fieldCount > reader.Left() / kMinFieldSize)
        return false;
    if (sink != nullptr)
        sink->What(what);

    std::unordered_set<std::string_view> names;
    names.reserve(fieldCount);
    for (uint32_t i = 0; i < fieldCount; i++) {
        uint32_t nameLength, type, valueCount;
        const uint8_t* name;
        if (!reader.U32(&nameLength) || !reader.Bytes(nameLength, &name))
            return false;
        std::string_view nameView(reinterpret_cast<const char*>(name), nameLength);
        // Names end at their first 0 in the interface, and a name appears once.
        if (nameView.find('\0') != std::string_view::npos || !names.insert(nameView).second)
            return false;
        if (!reader.U32(&type) || !reader.U32(&valueCount))
            return false;
        if (valueCount == 0 || valueCount > reader.Left() / 4)
            return false;
        if (sink != nullptr)
            sink->Field(nameView, type, valueCount);
        for (uint32_t j = 0; j < valueCount; j++) {
            uint32_t length;
            const uint8_t* bytes;
            if (!reader.U32(&length) || !reader.Bytes(length, &bytes) ||
                !IsValidValue(type, bytes, length, depth))
                return false;
            if (sink != nullptr)
                sink->Value(bytes, length);
        }
    }
    // Nothing may follow the last field.
    return reader.Left() == 0;
}

// The typed Add, Find and Get operations share these. A fixed-size value is
// kept as its bits, little-endian, in FixedSize(type) bytes.
status_t AddBits(Message& message, const char* name, uint32_t type, uint64_t bits)
{
    uint8_t bytes[8];
    const size_t size = FixedSize(type);
    SetLE(bytes, bits, size);
    return message.AddData(name, type, bytes, size);
}

// Finds value `index` under name with the type and stores decode(bytes).
template <typename T, typename Decode>
status_t FindDecoded(const Message& message, const char* name, uint32_t type, int32_t index,
                     T* value, Decode decode)
{
    const void* data;
    size_t size;
    status_t status = message.FindData(name, type, &data, &size, index);
    if (status == B_OK)
        *value = decode(static_cast<const uint8_t*>(data));
    return status;
}

// The first value under name, or the fallback when there is none of the type.
template <typename T>
T FirstOr(const Message& message, status_t (Message::*find)(const char*, T*, int32_t) const,
          const char* name, std::type_identity_t<T> fallback)
{
    T value;
    return (message.*find)(name, &value, 0) == B_OK ? value : fallback;
}

}  // namespace

Message::Message(uint32_t what) : what(what) {}
Message::Message(const Message& other) = default;
Message& Message::operator=(const Message& other) = default;
Message::Message(Message&&) noexcept = default;
Message& Message::operator=(Message&&) noexcept = default;
Message::~Message() = default;

Message::Field* Message::FindField(const char* name)
{
    if (name == nullptr)
        return nullptr;
    for (Field& field : fFields)
        if (field.name == name)
            return &field;
    return nullptr;
}

const Message::Field* Message::FindField(const char* name) const
{
    return const_cast<Message*>(this)->FindField(name);
}

status_t Message::AddValue(const char* name, uint32_t type, const void* data, size_t size)
{
    if (name == nullptr || (data == nullptr && size > 0) ||
        size > std::numeric_limits<uint32_t>::max())
        return B_BAD_VALUE;
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    static const uint8_t kNothing = 0;
    if (bytes == nullptr)
        bytes = &kNothing;
    // A nested message counts from depth 1; the check also bounds nesting.
    if (!IsValidValue(type, bytes, size, 0))
        return B_BAD_VALUE;

    Field* field = FindField(name);
    if (field == nullptr) {
        fFields.push_back(Field{name, type, {}});
        field = &fFields.back();
    } else if (field->type != type) {
        return B_BAD_VALUE;
    }
    field->values.emplace_back(bytes, bytes + size);
    return B_OK;
}

status_t Message::FindValue(const char* name, uint32_t type, int32_t index, const void** data,
                            size_t* size) const
{
    if (name == nullptr)
        return B_BAD_VALUE;
    const Field* field = FindField(name);
    if (field == nullptr)
        return B_NAME_NOT_FOUND;
    if (field->type != type || index < 0 || size_t(index) >= field->values.size())
        return B_BAD_VALUE;
    const std::vector<uint8_t>& value = field->values[size_t(index)];
    *data = value.data();
    *size = value.size();
    return B_OK;
}

status_t Message::AddInt8(const char* name, int8_t value)
{
    return AddBits(*this, name, B_INT8_TYPE, uint8_t(value));
}

status_t Message::AddInt32(const char* name, int32_t value)
{
    return AddBits(*this, name, B_INT32_TYPE, uint32_t(value));
}

status_t Message::AddInt64(const char* name, int64_t value)
{
    return AddBits(*this, name, B_INT64_TYPE, uint64_t(value));
}

status_t Message::AddBool(const char* name, bool value)
{
    return AddBits(*this, name, B_BOOL_TYPE, value ? 1 : 0);
}

status_t Message::AddFloat(const char* name, float value)
{
    return AddBits(*this, name, B_FLOAT_TYPE, FloatBits(value));
}

status_t Message::AddString(const char* name, const char* value)
{
    if (value == nullptr)
        value = "";
    return AddValue(name, B_STRING_TYPE, value, std::strlen(value) + 1);
}

status_t Message::AddRect(const char* name, Rect value)
{
    const float sides[4] = {value.left, value.top, value.right, value.bottom};
    uint8_t bytes[16];
    for (int i = 0; i < 4; i++)
        SetLE(bytes + 4 * i, FloatBits(sides[i]), 4);
    return AddValue(name, B_RECT_TYPE, bytes, sizeof bytes);
}

status_t Message::AddPointer(const char* name, const void* value)
{
    return AddBits(*this, name, B_POINTER_TYPE, uint64_t(reinterpret_cast<uintptr_t>(value)));
}

status_t Message::AddMessage(const char* name, const Message& value)
{
    std::vector<uint8_t> flat = value.Flatten();
    return AddValue(name, B_MESSAGE_TYPE, flat.data(), flat.size());
}

status_t Message::AddData(const char* name, uint32_t type, const void* data, size_t size)
{
    return AddValue(name, type, data, size);
}

status_t Message::FindInt8(const char* name, int8_t* value, int32_t index) const
{
    return FindDecoded(*this, name, B_INT8_TYPE, index, value,
                     [](const uint8_t* bytes) { return int8_t(bytes[0]); });
}

status_t Message::FindInt32(const char* name, int32_t* value, int32_t index) const
{
    return FindDecoded(*this, name, B_INT32_TYPE, index, value,
                     [](const uint8_t* bytes) { return int32_t(uint32_t(GetLE(bytes, 4))); });
}

status_t Message::FindInt64(const char* name, int64_t* value, int32_t index) const
{
    return FindDecoded(*this, name, B_INT64_TYPE, index, value,
                     [](const uint8_t* bytes) { return int64_t(GetLE(bytes, 8)); });
}

status_t Message::FindBool(const char* name, bool* value, int32_t index) const
{
    return FindDecoded(*this, name, B_BOOL_TYPE, index, value,
                     [](const uint8_t* bytes) { return bytes[0] != 0; });
}

status_t Message::FindFloat(const char* name, float* value, int32_t index) const
{
    return FindDecoded(*this, name, B_FLOAT_TYPE, index, value,
                     [](const uint8_t* bytes) { return BitsFloat(uint32_t(GetLE(bytes, 4))); });
}

status_t Message::FindString(const char* name, const char** value, int32_t index) const
{
    return FindDecoded(*this, name, B_STRING_TYPE, index, value,
                     [](const uint8_t* bytes) { return reinterpret_cast<const char*>(bytes); });
}

status_t Message::FindRect(const char* name, Rect* value, int32_t index) const
{
    return FindDecoded(*this, name, B_RECT_TYPE, index, value, [](const uint8_t* bytes) {
        Rect rect;
        float* sides[4] = {&rect.left, &rect.top, &rect.right, &rect.bottom};
        for (int i = 0; i < 4; i++)
            *sides[i] = BitsFloat(uint32_t(GetLE(bytes + 4 * i, 4)));
        return rect;
    });
}

status_t Message::FindPointer(const char* name, void** value, int32_t index) const
{
    return FindDecoded(*this, name, B_POINTER_TYPE, index, value, [](const uint8_t* bytes) {
        return reinterpret_cast<void*>(uintptr_t(GetLE(bytes, 8)));
    });
}

status_t Message::FindMessage(const char* name, Message* value, int32_t index) const
{
    const void* data;
    size_t size;
    status_t status = FindValue(name, B_MESSAGE_TYPE, index, &data, &size);
    if (status != B_OK)
        return status;
    Message found;
    status = found.Unflatten(data, size);
    if (status == B_OK)
        *value = std::move(found);
    return status;
}

status_t Message::FindData(const char* name, uint32_t type, const void** data, size_t* size,
                           int32_t index) const
{
    return FindValue(name, type, index, data, size);
}

int8_t Message::GetInt8(const char* name, int8_t fallback) const
{
    return FirstOr(*this, &Message::FindInt8, name, fallback);
}

int32_t Message::GetInt32(const char* name, int32_t fallback) const
{
    return FirstOr(*this, &Message::FindInt32, name, fallback);
}

int64_t Message::GetInt64(const char* name, int64_t fallback) const
{
    return FirstOr(*this, &Message::FindInt64, name, fallback);
}

bool Message::GetBool(const char* name, bool fallback) const
{
    return FirstOr(*this, &Message::FindBool, name, fallback);
}

float Message::GetFloat(const char* name, float fallback) const
{
    return FirstOr(*this, &Message::FindFloat, name, fallback);
}

const char* Message::GetString(const char* name, const char* fallback) const
{
    return FirstOr(*this, &Message::FindString, name, fallback);
}

Rect Message::GetRect(const char* name, Rect fallback) const
{
    return FirstOr(*this, &Message::FindRect, name, fallback);
}

void* Message::GetPointer(const char* name) const
{
    return FirstOr(*this, &Message::FindPointer, name, nullptr);
}

bool Message::HasField(const char* name) const
{
    return FindField(name) != nullptr;
}

status_t Message::GetInfo(const char* name, uint32_t* type, int32_t* count) const
{
    const Field* field = FindField(name);
    if (field == nullptr)
        return B_NAME_NOT_FOUND;
    if (type != nullptr)
        *type = field->type;
    if (count != nullptr)
        *count = int32_t(field->values.size());
    return B_OK;
}

status_t Message::GetInfo(int32_t index, const char** name, uint32_t* type, int32_t* count) const
{
    if (index < 0 || size_t(index) >= fFields.size())
        return B_BAD_VALUE;
    const Field& field = fFields[size_t(index)];
    if (name != nullptr)
        *name = field.name.c_str();
    if (type != nullptr)
        *type = field.type;
    if (count != nullptr)
        *count = int32_t(field.values.size());
    return B_OK;
}

int32_t Message::CountNames() const
{
    return int32_t(fFields.size());
}

status_t Message::RemoveName(const char* name)
{
    Field* field = FindField(name);
    if (field == nullptr)
        return B_NAME_NOT_FOUND;
    fFields.erase(fFields.begin() + (field - fFields.data()));
    return B_OK;
}

void Message::MakeEmpty()
{
    fFields.clear();
}

std::vector<uint8_t> Message::Flatten() const
{
    std::vector<uint8_t> out;
    PutU32(out, kFlatMagic);
    PutU32(out, kFlatVersion);
    PutU32(out, what);
    PutU32(out, uint32_t(fFields.size()));
    for (const Field& field : fFields) {
        PutU32(out, uint32_t(field.name.size()));
        out.insert(out.end(), field.name.begin(), field.name.end());
        PutU32(out, field.type);
        PutU32(out, uint32_t(field.values.size()));
        for (const std::vector<uint8_t>& value : field.values) {
            PutU32(out, uint32_t(value.size()));
            out.insert(out.end(), value.begin(), value.end());
        }
    }
    return out;
}

status_t Message::Unflatten(const void* data, size_t size)
{
    // Collects the checked parts; the message changes only when all of
    // them passed.
    class Collector : public FlatSink {
    public:
        void What(uint32_t what) override { fWhat = what; }
        void Field(std::string_view name, uint32_t type, uint32_t count) override
        {
            fFields.push_back(Message::Field{std::string(name), type, {}});
            fFields.back().values.reserve(count);
        }
        void Value(const uint8_t* bytes, size_t size) override
        {
            fFields.back().values.emplace_back(bytes, bytes + size);
        }

        uint32_t fWhat = 0;
        std::vector<Message::Field> fFields;
    };

    Collector collector;
    if (!ParseFlat(static_cast<const uint8_t*>(data), size, 0, &collector)) {
        what = 0;
        fFields.clear();
        return B_BAD_VALUE;
    }
    what = collector.fWhat;
    fFields = std::move(collector.fFields);
    return B_OK;
}
