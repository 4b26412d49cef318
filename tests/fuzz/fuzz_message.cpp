// Any bytes given to Message::Unflatten: a refused input leaves the message
// empty, an accepted one flattens back to exactly the same bytes, and every
// value in it (nested messages included) can be looked up.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/Message.h"

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

void VisitValues(const Message& message, int depth)
{
    Check(depth <= 32);
    for (int32_t i = 0; i < message.CountNames(); i++) {
        const char* name = nullptr;
        uint32_t type = 0;
        int32_t count = 0;
        Check(message.GetInfo(i, &name, &type, &count) == B_OK);
        Check(count > 0 && message.HasField(name));
        for (int32_t index = 0; index < count; index++) {
            const void* data = nullptr;
            size_t size = 0;
            Check(message.FindData(name, type, &data, &size, index) == B_OK);
            switch (type) {
                case B_STRING_TYPE: {
                    const char* text = nullptr;
                    Check(message.FindString(name, &text, index) == B_OK);
                    Check(std::strlen(text) + 1 == size);
                    break;
                }
                case B_RECT_TYPE: {
                    Rect rect;
                    Check(message.FindRect(name, &rect, index) == B_OK);
                    break;
                }
                case B_MESSAGE_TYPE: {
                    Message inner;
                    Check(message.FindMessage(name, &inner, index) == B_OK);
                    std::vector<uint8_t> flat = inner.Flatten();
                    Check(flat.size() == size && std::memcmp(flat.data(), data, size) == 0);
                    VisitValues(inner, depth + 1);
                    break;
                }
                default:
                    break;
            }
        }
        // Asking for the wrong type is refused, not misread.
        int8_t small;
        if (type != B_INT8_TYPE)
            Check(message.FindInt8(name, &small) == B_BAD_VALUE);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Message message(7);
    message.AddInt32("before", 1);
    if (message.Unflatten(data, size) != B_OK) {
        Check(message.what == 0 && message.CountNames() == 0);
        return 0;
    }
    std::vector<uint8_t> flat = message.Flatten();
    Check(flat.size() == size && std::memcmp(flat.data(), data, size) == 0);
    VisitValues(message, 0);
    return 0;
}
