#include "handlers/ActOnFileDataHandler.h"

#include <atomic>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "calvorin/AddOn.h"
#include "calvorin/Event.h"
#include "core/ErrorReporting.h"
#include "handlers/FileLauncher.h"

char DefHandActOnFileName[] = "Act on file";

namespace {

std::atomic<ActOnFileDataHandler::EditViewMaker> gEditViewMaker{nullptr};

// What the file is: an application (an executable that is not a folder) or
// a document, and the display name of the program that runs it.
struct FileKind {
    bool application = false;
    bool nameKnown = false;
    std::string name;
};

FileKind ExamineFile(const char* path, FileLauncher* launcher)
{
    FileKind kind;
    struct stat target;
    if (stat(path, &target) != 0)
        return kind;  // unreadable (a dangling link): a document, application unknown
    if (!S_ISDIR(target.st_mode) && access(path, X_OK) == 0) {
        kind.application = true;
        const char* slash = std::strrchr(path, '/');
        kind.name = slash != nullptr ? slash + 1 : path;
        kind.nameKnown = !kind.name.empty();
    } else if (launcher != nullptr) {
        kind.nameKnown = launcher->FindApplicationFor(path, &kind.name) && !kind.name.empty();
    }
    return kind;
}

// Asks before acting; true when the user chose "OK".
bool UserAgrees(Event* event, bool missed, const char* path, const FileKind& kind)
{
    int answer;
    if (kind.application) {
        answer = DeliverEventMessage(event, missed, "\n\nCalvorin is about to launch the application ",
                                     kind.nameKnown ? kind.name.c_str() : path, ".", nullptr,
                                     nullptr, "Cancel", "OK");
    } else if (kind.nameKnown) {
        answer = DeliverEventMessage(event, missed, "\n\nCalvorin is about to open the file \"", path,
                                     "\" with the application ", kind.name.c_str(), ".", "Cancel",
                                     "OK");
    } else {
        answer = DeliverEventMessage(event, missed, "\n\nCalvorin is about to open the file \"", path,
                                     "\" with its default application.", nullptr, nullptr,
                                     "Cancel", "OK");
    }
    return answer != 0;
}

// The failure texts keep their wording: the double blank after
// "application", "launch the application" for documents too when the user
// was asked first, and the bare "with the application ." when the
// application is unknown.
void ReportLaunchFailure(Event* event, bool missed, bool verify, const char* path,
                         const FileKind& kind)
{
    const char* name = kind.nameKnown ? kind.name.c_str() : nullptr;
    if (verify) {
        ReportCompoundError("Calvorin failed to launch the application ", name != nullptr ? name : "",
                            ".");
    } else if (kind.application) {
        DeliverEventMessage(event, missed, "\n\nCalvorin failed to launch the application  ", name,
                            ".", nullptr, nullptr, "OK", nullptr);
    } else {
        DeliverEventMessage(event, missed, "\n\nCalvorin failed to open the file \"", path,
                            "\" with the application ", name, ".", "OK", nullptr);
    }
}

}  // namespace

ActOnFileDataHandler::ActOnFileDataHandler(Event* attachedTo) : VerifiedTextHandler(attachedTo) {}

void ActOnFileDataHandler::SetEditViewMaker(EditViewMaker maker)
{
    gEditViewMaker.store(maker);
}

QWidget* ActOnFileDataHandler::CreateEditView(Rect frame)
{
    // The view is a widget, made by the maker the UI installed.
    EditViewMaker maker = gEditViewMaker.load();
    return maker != nullptr ? maker(this, frame) : nullptr;
}

void ActOnFileDataHandler::DealWithEvent(bool missed)
{
    Event* event = GetAttachedTo();
    bool verify = false;
    char* path = CopyForDelivery(&verify);
    if (path == nullptr)
        return;

    // The entry itself, not what a link points to, must exist.
    struct stat entry;
    if (lstat(path, &entry) != 0) {
        DeliverEventMessage(event, missed, "\n\nCalvorin was about to act on a file: \"", path,
                            "\".  Calvorin was unable to locate the file.", nullptr, nullptr, "OK",
                            nullptr);
        delete[] path;
        return;
    }

    FileLauncher* launcher = GetFileLauncher();
    FileKind kind = ExamineFile(path, launcher);
    if (!verify || UserAgrees(event, missed, path, kind)) {
        status_t result = B_LAUNCH_FAILED;
        if (launcher != nullptr)
            result = kind.application ? launcher->LaunchExecutable(path) : launcher->OpenDocument(path);
        if (result != B_OK && result != B_ALREADY_RUNNING)
            ReportLaunchFailure(event, missed, verify, path, kind);
    }
    delete[] path;
}

EventAddOnData* DefHandActOnFile_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    return NewVerifiedTextHandler<ActOnFileDataHandler>(event, file, ok);
}
