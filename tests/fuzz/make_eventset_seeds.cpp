// Writes the seed inputs for fuzz_eventset into the folder given as the only
// argument: a few small event set files of every version and byte order,
// with each built-in handler, an unknown handler and a custom icon, plus
// copies cut short in the middle of an event and in the layout.
#include <cstdio>
#include <string>
#include <vector>

#include "../unit/EventSetBytes.h"

namespace {

bool WriteSeed(const std::string& folder, const std::string& name, const std::vector<uint8_t>& bytes)
{
    std::string path = folder + "/" + name;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    bool ok = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && ok;
}

SetBytes Empty(bool big)
{
    SetBytes out(big);
    AppendHeader(out, "1.2", 0);
    AppendLayout(out);
    return out;
}

// One event of each built-in handler that has data, in the given version.
SetBytes Handlers(bool big, const std::string& version)
{
    int index = version == "1.0" ? 0 : version == "1.1" ? 1 : 2;
    SetBytes out(big);
    AppendHeader(out, version, 4);
    EventRecord message;
    message.comment = "";
    AppendEvent(out, message, index);
    AppendMessageBlock(out, "Bring the forms");
    EventRecord command;
    command.name = "Backup";
    command.handlerName = "Command";
    AppendEvent(out, command, index);
    AppendVerifiedText(out, 1, "tar czf /tmp/b.tgz .");
    EventRecord file;
    file.name = "Notes";
    file.handlerName = "Act on file";
    AppendEvent(out, file, index);
    AppendVerifiedText(out, 0, nullptr);
    EventRecord nothing;
    nothing.name = "Quiet";
    nothing.handlerName = "Do nothing";
    nothing.nextEventTime = 0;
    nothing.status = 3;
    AppendEvent(out, nothing, index);
    AppendBlock(out, 0, {});
    AppendLayout(out);
    return out;
}

SetBytes UnknownAndIcon(bool big)
{
    SetBytes out(big);
    AppendHeader(out, "1.2", 2);
    EventRecord card;
    card.name = "Birthday";
    card.handlerName = "Greeting card";
    AppendEvent(out, card);
    AppendBlock(out, 5, {1, 2, 3, 0, 0xff});
    EventRecord icon;
    icon.iconNumber = -2;
    icon.largeIcon.assign(1024, 0);
    icon.miniIcon.assign(256, 0);
    for (int i = 0; i < 1024; ++i)
        icon.largeIcon[size_t(i)] = uint8_t(i % 29);
    for (int i = 0; i < 256; ++i)
        icon.miniIcon[size_t(i)] = uint8_t(i % 13);
    AppendEvent(out, icon);
    AppendMessageBlock(out, "");
    AppendLayout(out);
    return out;
}

std::vector<uint8_t> Cut(const SetBytes& bytes, size_t length)
{
    return std::vector<uint8_t>(bytes.Bytes().begin(), bytes.Bytes().begin() + long(length));
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_eventset_seeds FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];

    SetBytes handlers = Handlers(false, "1.2");
    SetBytes unknown = UnknownAndIcon(false);
    SetBytes future(false);
    AppendHeader(future, "1.3", 0);
    AppendLayout(future);

    bool ok = WriteSeed(folder, "empty", Empty(false).Bytes()) &&
              WriteSeed(folder, "empty-big-endian", Empty(true).Bytes()) &&
              WriteSeed(folder, "handlers", handlers.Bytes()) &&
              WriteSeed(folder, "handlers-1.0-big-endian", Handlers(true, "1.0").Bytes()) &&
              WriteSeed(folder, "handlers-1.1", Handlers(false, "1.1").Bytes()) &&
              WriteSeed(folder, "unknown-handler-and-icon", unknown.Bytes()) &&
              WriteSeed(folder, "unknown-version", future.Bytes()) &&
              // Cut in the middle of the second event, and in the layout.
              WriteSeed(folder, "cut-in-event", Cut(handlers, handlers.Size() / 2)) &&
              WriteSeed(folder, "cut-in-layout", Cut(handlers, handlers.Size() - 30)) &&
              WriteSeed(folder, "cut-in-icon", Cut(unknown, unknown.Size() - 600));
    if (!ok) {
        std::perror(folder.c_str());
        return 1;
    }
    return 0;
}
