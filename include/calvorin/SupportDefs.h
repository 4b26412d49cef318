// Basic types shared by Calvorin and its add-ons: status codes, open modes,
// type codes and the rectangle used for window frames.
#pragma once

#include <cstdint>

typedef int32_t status_t;

constexpr status_t B_OK = 0;
constexpr status_t B_ERROR = -1;
constexpr status_t B_FILE_ERROR = static_cast<status_t>(0x80006000u);
constexpr status_t B_NAME_NOT_FOUND = static_cast<status_t>(0x80006005u);
constexpr status_t B_BAD_VALUE = static_cast<status_t>(0x80000005u);
constexpr status_t B_NO_MEMORY = static_cast<status_t>(0x80000000u);
constexpr status_t B_PERMISSION_DENIED = static_cast<status_t>(0x80000002u);
constexpr status_t B_TIMED_OUT = static_cast<status_t>(0x80000009u);
constexpr status_t B_WOULD_BLOCK = static_cast<status_t>(0x8000000bu);
// Results of launching a program by signature (the Roster).
constexpr status_t B_ALREADY_RUNNING = static_cast<status_t>(0x80003005u);
constexpr status_t B_LAUNCH_FAILED = static_cast<status_t>(0x80003006u);
constexpr status_t B_LAUNCH_FAILED_APP_NOT_FOUND = static_cast<status_t>(0x8000300cu);

// Open modes (the access part is mode & 3).
constexpr uint32_t B_READ_ONLY = 0;
constexpr uint32_t B_WRITE_ONLY = 1;
constexpr uint32_t B_READ_WRITE = 2;
constexpr uint32_t B_CREATE_FILE = 0x200;
constexpr uint32_t B_ERASE_FILE = 0x400;
constexpr uint32_t B_OPEN_AT_END = 0x800;

// Four-character type codes.
constexpr uint32_t MakeTypeCode(char a, char b, char c, char d)
{
    return (uint32_t(uint8_t(a)) << 24) | (uint32_t(uint8_t(b)) << 16) |
           (uint32_t(uint8_t(c)) << 8) | uint32_t(uint8_t(d));
}
constexpr uint32_t B_INT8_TYPE = MakeTypeCode('B', 'Y', 'T', 'E');
constexpr uint32_t B_INT32_TYPE = MakeTypeCode('L', 'O', 'N', 'G');
constexpr uint32_t B_INT64_TYPE = MakeTypeCode('L', 'L', 'N', 'G');
constexpr uint32_t B_BOOL_TYPE = MakeTypeCode('B', 'O', 'O', 'L');
constexpr uint32_t B_FLOAT_TYPE = MakeTypeCode('F', 'L', 'O', 'T');
constexpr uint32_t B_RECT_TYPE = MakeTypeCode('R', 'E', 'C', 'T');
constexpr uint32_t B_POINT_TYPE = MakeTypeCode('B', 'P', 'N', 'T');
constexpr uint32_t B_STRING_TYPE = MakeTypeCode('C', 'S', 'T', 'R');
constexpr uint32_t B_POINTER_TYPE = MakeTypeCode('P', 'N', 'T', 'R');
constexpr uint32_t B_MESSAGE_TYPE = MakeTypeCode('M', 'S', 'G', 'G');
constexpr uint32_t B_MIME_TYPE = MakeTypeCode('M', 'I', 'M', 'E');
constexpr uint32_t B_RAW_TYPE = MakeTypeCode('R', 'A', 'W', 'T');

// A rectangle in screen coordinates (left, top, right, bottom), stored as
// four 32-bit floats in files and messages. An "invalid" rectangle has
// right < left (the default (0, 0, -1, -1)).
struct Rect {
    float left = 0.0f;
    float top = 0.0f;
    float right = -1.0f;
    float bottom = -1.0f;

    bool IsValid() const { return right >= left && bottom >= top; }
    float Width() const { return right - left; }
    float Height() const { return bottom - top; }
    bool operator==(const Rect&) const = default;
};

struct Point {
    float x = 0.0f;
    float y = 0.0f;
    bool operator==(const Point&) const = default;
};
