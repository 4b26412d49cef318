// Writes the seed inputs for fuzz_message into the folder given as the only
// argument: a few small, valid flattened messages of every kind.
#include <cstdio>
#include <string>
#include <vector>

#include "core/Message.h"

namespace {

bool WriteSeed(const std::string& folder, const char* name, const Message& message)
{
    std::vector<uint8_t> flat = message.Flatten();
    std::string path = folder + "/" + name;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    bool ok = std::fwrite(flat.data(), 1, flat.size(), file) == flat.size();
    return std::fclose(file) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_message_seeds FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];

    Message empty(0);

    Message setE(MakeTypeCode('S', 'e', 't', 'E'));
    setE.AddInt32("When", 1700000000);

    Message scalars(1);
    scalars.AddInt8("int8", -3);
    scalars.AddInt32("int32", 123456);
    scalars.AddInt64("int64", -5000000000);
    scalars.AddBool("bool", true);
    scalars.AddFloat("float", 0.5f);
    scalars.AddPointer("pointer", nullptr);

    Message texts(2);
    texts.AddString("Name", "Dentist");
    texts.AddString("Name", "");
    texts.AddRect("Frame", Rect{10, 20, 410, 320});
    const uint8_t raw[] = {0, 1, 2, 3, 0xFF};
    texts.AddData("data", B_RAW_TYPE, raw, sizeof raw);
    texts.AddData("type", B_MIME_TYPE, "text/plain", 11);

    Message transfer(MakeTypeCode('C', 'E', 'v', 't'));
    transfer.AddMessage("Calvorin Event", texts);
    transfer.AddMessage("Calvorin Event", setE);
    transfer.AddString("refs", "/tmp/a.calvorin");

    // Nested as deep as a message may be.
    Message deep(0);
    for (int level = 1; level <= 16; level++) {
        Message outer{uint32_t(level)};
        outer.AddMessage("m", deep);
        deep = outer;
    }

    bool ok = WriteSeed(folder, "empty", empty) && WriteSeed(folder, "set-wake-up", setE) &&
              WriteSeed(folder, "numbers", scalars) && WriteSeed(folder, "texts", texts) &&
              WriteSeed(folder, "nested", transfer) && WriteSeed(folder, "deepest", deep);
    if (!ok) {
        std::perror(folder.c_str());
        return 1;
    }
    return 0;
}
