// A small key-value message: a 32-bit "what" code plus typed, named fields
// (several values per name allowed). It carries commands between parts of
// the program, events on the clipboard, and requests over the companion's
// sockets (Flatten/Unflatten). Unflatten accepts any bytes safely.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "calvorin/SupportDefs.h"

class Message {
public:
    explicit Message(uint32_t what = 0);
    Message(const Message& other);
    Message& operator=(const Message& other);
    Message(Message&&) noexcept;
    Message& operator=(Message&&) noexcept;
    ~Message();

    uint32_t what;

    // Adding a value appends it to the values already under that name; a
    // name keeps the type it was first added with (B_BAD_VALUE otherwise).
    status_t AddInt8(const char* name, int8_t value);
    status_t AddInt32(const char* name, int32_t value);
    status_t AddInt64(const char* name, int64_t value);
    status_t AddBool(const char* name, bool value);
    status_t AddFloat(const char* name, float value);
    status_t AddString(const char* name, const char* value);  // null adds ""
    status_t AddRect(const char* name, Rect value);
    status_t AddPointer(const char* name, const void* value);
    status_t AddMessage(const char* name, const Message& value);
    status_t AddData(const char* name, uint32_t type, const void* data, size_t size);

    // Finders return B_OK, or B_NAME_NOT_FOUND / B_BAD_VALUE (wrong type or index).
    status_t FindInt8(const char* name, int8_t* value, int32_t index = 0) const;
    status_t FindInt32(const char* name, int32_t* value, int32_t index = 0) const;
    status_t FindInt64(const char* name, int64_t* value, int32_t index = 0) const;
    status_t FindBool(const char* name, bool* value, int32_t index = 0) const;
    status_t FindFloat(const char* name, float* value, int32_t index = 0) const;
    status_t FindString(const char* name, const char** value, int32_t index = 0) const;
    status_t FindRect(const char* name, Rect* value, int32_t index = 0) const;
    status_t FindPointer(const char* name, void** value, int32_t index = 0) const;
    status_t FindMessage(const char* name, Message* value, int32_t index = 0) const;
    status_t FindData(const char* name, uint32_t type, const void** data, size_t* size,
                      int32_t index = 0) const;

    // Simple look-ups: 0, false, null or an invalid rect when missing.
    int8_t GetInt8(const char* name, int8_t fallback = 0) const;
    int32_t GetInt32(const char* name, int32_t fallback = 0) const;
    int64_t GetInt64(const char* name, int64_t fallback = 0) const;
    bool GetBool(const char* name, bool fallback = false) const;
    float GetFloat(const char* name, float fallback = 0.0f) const;
    const char* GetString(const char* name, const char* fallback = nullptr) const;
    Rect GetRect(const char* name, Rect fallback = Rect()) const;
    void* GetPointer(const char* name) const;

    bool HasField(const char* name) const;
    // Type code and number of values under a name; B_NAME_NOT_FOUND if absent.
    status_t GetInfo(const char* name, uint32_t* type, int32_t* count) const;
    // The same for the field at an index (in the order the names were
    // added), with its name; B_BAD_VALUE past the last field.
    status_t GetInfo(int32_t index, const char** name, uint32_t* type, int32_t* count) const;
    int32_t CountNames() const;
    status_t RemoveName(const char* name);
    void MakeEmpty();

    // The wire form: a private, versioned, length-checked layout.
    std::vector<uint8_t> Flatten() const;
    // Replaces this message with the flattened one; B_BAD_VALUE for bytes
    // that are not a whole, well-formed message (the message is then empty).
    status_t Unflatten(const void* data, size_t size);

private:
    struct Field;
    std::vector<Field> fFields;
    Field* FindField(const char* name);
    const Field* FindField(const char* name) const;
    status_t AddValue(const char* name, uint32_t type, const void* data, size_t size);
    status_t FindValue(const char* name, uint32_t type, int32_t index, const void** data,
                       size_t* size) const;
};
