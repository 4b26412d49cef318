// The settings from the command line: "remember FILE" and "forget FILE"
// change the list of sets loaded for delivery, "remembered" lists it,
// "settings" prints every setting. Calvorin keeps the settings in memory
// while it runs and writes them when it quits, so these refuse while it
// runs; while one of them works, a Calvorin that starts waits for it.
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <nlohmann/json.hpp>

#include "calvorin/Locker.h"
#include "cli/CliCommand.h"
#include "companion/CompanionProtocol.h"
#include "core/CalvorinSettings.h"
#include "core/SettingsPersistence.h"
#include "core/StartupArguments.h"
#include "platform/RosterListener.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

const char* const kHandlingLabels[] = {"Always", "If no other sets are opened", "Don't open"};
const char* const kDeliveryLabels[] = {"Open sets only", "Open sets and remembered sets",
                                       "Remembered sets only", "Remembered sets unless open",
                                       "Do not deliver events"};
const char* const kViewLabels[] = {"List", "Calendar", "Week"};

const char* Label(const char* const* labels, int count, int32_t value)
{
    return value >= 0 && value < count ? labels[value] : "unknown";
}

// Holds Calvorin's signature and the open settings for one command.
class SettingsSession {
public:
    ~SettingsSession()
    {
        SettingsPersistence::CloseStore();
        fListener.Stop();
    }

    // 0 when the settings are read; otherwise the exit status (explained).
    int Open()
    {
        status_t held = fListener.Start(kCalvorinSignature);
        if (held == B_ALREADY_RUNNING) {
            std::fprintf(stderr, "calvorinctl: Calvorin is running and keeps the settings until "
                                 "it quits; quit it first (for example with \"calvorin --quit\")\n");
            return kFailure;
        }
        if (held != B_OK) {
            std::fprintf(stderr, "calvorinctl: cannot tell whether Calvorin runs: the folder of "
                                 "its socket is missing, not private or not writable\n");
            return kFailure;
        }
        status_t opened = SettingsPersistence::OpenStore();
        const char* problem = PREFInitProblemText();
        if ((opened != B_OK && opened != B_PREF_STORE_REPLACED) ||
            SettingsPersistence::Set() == nullptr) {
            std::fprintf(stderr, "calvorinctl: the settings cannot be opened: %s\n",
                         problem != nullptr ? problem : "the settings store failed");
            return kFailure;
        }
        if (opened == B_PREF_STORE_REPLACED && problem != nullptr)
            std::fprintf(stderr, "calvorinctl: %s\n", problem);
        CalvorinSettings::ResetToDefaults();
        SettingsPersistence::ReadSettings(SettingsPersistence::Set());
        return 0;
    }

    // Writes everything back; false (reported) on failure.
    bool Save() { return SettingsPersistence::WriteSettings(); }

private:
    RosterListener fListener;
};

// The file argument as Calvorin keeps it: a full, normal path.
bool FileArgument(const char* command, const std::vector<std::string>& args, std::string* path)
{
    if (args.size() != 1 || !StartupArguments::NormalisedPath(args[0], path)) {
        std::fprintf(stderr, "calvorinctl: %s needs one event set file (see calvorinctl --help)\n",
                     command);
        return false;
    }
    return true;
}

int RunRemember(const CliOptions&, const std::vector<std::string>& args)
{
    std::string path;
    if (!FileArgument("remember", args, &path))
        return kUsageError;
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        std::fprintf(stderr, "calvorinctl: %s: no such event set file\n", path.c_str());
        return kFailure;
    }
    SettingsSession session;
    if (int status = session.Open())
        return status;
    Autolock lock(CalvorinSettings::Protect);
    if (CalvorinSettings::IsFileRemembered(path.c_str())) {
        std::printf("Already remembered: %s\n", path.c_str());
        return 0;
    }
    CalvorinSettings::RememberSet(path.c_str());
    if (!session.Save())
        return kFailure;
    std::printf("Remembered: %s\n", path.c_str());
    return 0;
}

int RunForget(const CliOptions&, const std::vector<std::string>& args)
{
    std::string path;
    if (!FileArgument("forget", args, &path))
        return kUsageError;
    SettingsSession session;
    if (int status = session.Open())
        return status;
    Autolock lock(CalvorinSettings::Protect);
    // The name as given, when that is how it was remembered.
    if (!CalvorinSettings::IsFileRemembered(path.c_str()) &&
        CalvorinSettings::IsFileRemembered(args[0].c_str()))
        path = args[0];
    if (!CalvorinSettings::IsFileRemembered(path.c_str())) {
        std::fprintf(stderr, "calvorinctl: %s is not remembered\n", path.c_str());
        return kFailure;
    }
    CalvorinSettings::ForgetSet(path.c_str());
    if (!session.Save())
        return kFailure;
    std::printf("Forgotten: %s\n", path.c_str());
    return 0;
}

int RunRemembered(const CliOptions& options, const std::vector<std::string>& args)
{
    if (!args.empty()) {
        std::fprintf(stderr, "calvorinctl: remembered takes no arguments\n");
        return kUsageError;
    }
    SettingsSession session;
    if (int status = session.Open())
        return status;
    Autolock lock(CalvorinSettings::Protect);
    if (options.json) {
        std::printf("%s\n", nlohmann::json(CalvorinSettings::SetFileNames).dump(2).c_str());
        return 0;
    }
    for (const std::string& name : CalvorinSettings::SetFileNames)
        std::printf("%s\n", name.c_str());
    return 0;
}

std::string Numbers(const int32_t* values, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i ? " " : "") + std::to_string(values[i]);
    return text;
}

std::string Floats(const float* values, int count)
{
    std::string text;
    char buffer[32];
    for (int i = 0; i < count; ++i) {
        std::snprintf(buffer, sizeof(buffer), "%s%g", i ? " " : "", double(values[i]));
        text += buffer;
    }
    return text;
}

std::string Flags(const bool* values, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += std::string(i ? " " : "") + (values[i] ? "yes" : "no");
    return text;
}

std::string Frame(Rect rect)
{
    const float values[4] = {rect.left, rect.top, rect.right, rect.bottom};
    return Floats(values, 4);
}

int RunSettings(const CliOptions& options, const std::vector<std::string>& args)
{
    if (!args.empty()) {
        std::fprintf(stderr, "calvorinctl: settings takes no arguments\n");
        return kUsageError;
    }
    SettingsSession session;
    if (int status = session.Open())
        return status;
    using S = CalvorinSettings;
    Autolock lock(S::Protect);
    const Rect setFrame = S::SetWindowPosition.GetCurrentDefault();
    const Rect eventFrame = S::EventWindowPosition.GetCurrentDefault();

    if (options.json) {
        auto rect = [](Rect r) { return nlohmann::json{r.left, r.top, r.right, r.bottom}; };
        nlohmann::json out;
        out["SetFileNames"] = S::SetFileNames;
        out["SelectedSetHandling"] = S::SelectedSetHandling;
        out["WhichEventsToDeliver"] = S::WhichEventsToDeliver;
        out["Time24Hour"] = S::Time24Hour;
        out["RememberWindowSetupAsDefault"] = S::RememberWindowSetupAsDefault;
        out["ColumnOrder"] = std::vector<int32_t>(S::ColumnOrder, S::ColumnOrder + 6);
        out["ColumnShown"] = std::vector<bool>(S::ColumnShown, S::ColumnShown + 6);
        out["ColumnWidth"] = std::vector<float>(S::ColumnWidth, S::ColumnWidth + 6);
        out["NumberOfKeys"] = S::NumberOfKeys;
        out["SortKeys"] = std::vector<int32_t>(S::SortKeys, S::SortKeys + 5);
        out["SortModes"] = std::vector<int32_t>(S::SortModes, S::SortModes + 5);
        out["ViewMode"] = S::ViewMode;
        out["SetWindowFrame"] = rect(setFrame);
        out["EventWindowFrame"] = rect(eventFrame);
        out["SettingsWindowFrame"] = rect(S::SettingsWindowFrame);
        out["IconPanelLocation"] = {S::IconPanelLocation.x, S::IconPanelLocation.y};
        out["NumberOfUserIcons"] = S::NumberOfUserIcons;
        std::printf("%s\n", out.dump(2).c_str());
        return 0;
    }
    std::printf("SetFileNames: %zu\n", S::SetFileNames.size());
    for (const std::string& name : S::SetFileNames)
        std::printf("  %s\n", name.c_str());
    std::printf("SelectedSetHandling: %d (%s)\n", int(S::SelectedSetHandling),
                Label(kHandlingLabels, 3, S::SelectedSetHandling));
    std::printf("WhichEventsToDeliver: %d (%s)\n", int(S::WhichEventsToDeliver),
                Label(kDeliveryLabels, 5, S::WhichEventsToDeliver));
    std::printf("Time24Hour: %s\n", S::Time24Hour ? "yes" : "no");
    std::printf("RememberWindowSetupAsDefault: %s\n", S::RememberWindowSetupAsDefault ? "yes" : "no");
    std::printf("ColumnOrder: %s\n", Numbers(S::ColumnOrder, 6).c_str());
    std::printf("ColumnShown: %s\n", Flags(S::ColumnShown, 6).c_str());
    std::printf("ColumnWidth: %s\n", Floats(S::ColumnWidth, 6).c_str());
    std::printf("NumberOfKeys: %d\n", int(S::NumberOfKeys));
    std::printf("SortKeys: %s\n", Numbers(S::SortKeys, 5).c_str());
    std::printf("SortModes: %s\n", Numbers(S::SortModes, 5).c_str());
    std::printf("ViewMode: %d (%s)\n", int(S::ViewMode), Label(kViewLabels, 3, S::ViewMode));
    std::printf("SetWindowFrame: %s\n", Frame(setFrame).c_str());
    std::printf("EventWindowFrame: %s\n", Frame(eventFrame).c_str());
    std::printf("SettingsWindowFrame: %s\n", Frame(S::SettingsWindowFrame).c_str());
    const float location[2] = {S::IconPanelLocation.x, S::IconPanelLocation.y};
    std::printf("IconPanelLocation: %s\n", Floats(location, 2).c_str());
    std::printf("NumberOfUserIcons: %d\n", int(S::NumberOfUserIcons));
    return 0;
}

CliCommandRegistrar sRemember({"remember", "remember FILE",
                               "remember an event set for delivery (loaded at every start)",
                               RunRemember});
CliCommandRegistrar sForget({"forget", "forget FILE", "stop remembering an event set",
                             RunForget});
CliCommandRegistrar sRemembered({"remembered", "remembered",
                                 "list the event sets remembered for delivery", RunRemembered});
CliCommandRegistrar sSettings({"settings", "settings", "print Calvorin's settings", RunSettings});

}  // namespace
