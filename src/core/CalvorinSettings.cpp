#include "core/CalvorinSettings.h"

#include <algorithm>
#include <cstring>

#include "core/MessageTarget.h"

std::vector<std::string> CalvorinSettings::SetFileNames;
int32_t CalvorinSettings::SelectedSetHandling = kOpenIfNoOthers;
int32_t CalvorinSettings::WhichEventsToDeliver = kOpenAndRememberedSets;
bool CalvorinSettings::Time24Hour = false;
bool CalvorinSettings::RememberWindowSetupAsDefault = true;
int32_t CalvorinSettings::ColumnOrder[6] = {0, 1, 2, 3, 4, 5};
bool CalvorinSettings::ColumnShown[6] = {true, true, true, false, true, true};
float CalvorinSettings::ColumnWidth[6] = {35, 190, 150, 150, 60, 115};
int32_t CalvorinSettings::NumberOfKeys = 1;
int32_t CalvorinSettings::SortKeys[5] = {2, 0, 0, 0, 0};
int32_t CalvorinSettings::SortModes[5] = {0, 2, 2, 2, 2};
int32_t CalvorinSettings::ViewMode = 0;
WindowPositionSet CalvorinSettings::SetWindowPosition(Rect{16, 33, 569, 357});
WindowPositionSet CalvorinSettings::EventWindowPosition(Rect{40, 60, 407, 450});
Rect CalvorinSettings::SettingsWindowFrame{60, 50, 342, 350};
Point CalvorinSettings::IconPanelLocation{100, 80};
int32_t CalvorinSettings::NumberOfUserIcons = 0;
std::vector<IconBitmap*> CalvorinSettings::UserLargeIcons;
std::vector<IconBitmap*> CalvorinSettings::UserMiniIcons;
int32_t CalvorinSettings::OpenIconPanel = 0;
MessageTarget* CalvorinSettings::Window = nullptr;
Locker CalvorinSettings::Protect("CalvorinSettings");

void CalvorinSettings::ResetToDefaults()
{
    SetFileNames.clear();
    SelectedSetHandling = kOpenIfNoOthers;
    WhichEventsToDeliver = kOpenAndRememberedSets;
    Time24Hour = false;
    RememberWindowSetupAsDefault = true;
    const int32_t order[6] = {0, 1, 2, 3, 4, 5};
    const bool shown[6] = {true, true, true, false, true, true};
    const float widths[6] = {35, 190, 150, 150, 60, 115};
    std::copy(order, order + 6, ColumnOrder);
    std::copy(shown, shown + 6, ColumnShown);
    std::copy(widths, widths + 6, ColumnWidth);
    NumberOfKeys = 1;
    const int32_t keys[5] = {2, 0, 0, 0, 0};
    const int32_t modes[5] = {0, 2, 2, 2, 2};
    std::copy(keys, keys + 5, SortKeys);
    std::copy(modes, modes + 5, SortModes);
    ViewMode = 0;
    SetWindowPosition = WindowPositionSet(Rect{16, 33, 569, 357});
    EventWindowPosition = WindowPositionSet(Rect{40, 60, 407, 450});
    SettingsWindowFrame = Rect{60, 50, 342, 350};
    IconPanelLocation = Point{100, 80};
    NumberOfUserIcons = 0;
    for (IconBitmap* icon : UserLargeIcons)
        delete icon;
    for (IconBitmap* icon : UserMiniIcons)
        delete icon;
    UserLargeIcons.clear();
    UserMiniIcons.clear();
    OpenIconPanel = 0;
    Window = nullptr;
}

void CalvorinSettings::RememberSet(const char* path)
{
    if (path == nullptr || IsFileRemembered(path))
        return;
    SetFileNames.emplace_back(path);
    if (Window != nullptr)
        Window->PostMessage(kSettingsRememberedSetsChanged);
}

void CalvorinSettings::ForgetSet(const char* path)
{
    if (path == nullptr)
        return;
    auto it = std::find(SetFileNames.begin(), SetFileNames.end(), path);
    if (it == SetFileNames.end())
        return;
    SetFileNames.erase(it);
    if (Window != nullptr)
        Window->PostMessage(kSettingsRememberedSetsChanged);
}

bool CalvorinSettings::IsFileRemembered(const char* path)
{
    return path != nullptr &&
           std::find(SetFileNames.begin(), SetFileNames.end(), path) != SetFileNames.end();
}

int32_t CalvorinSettings::WhichUserIcon(const IconBitmap* large, const IconBitmap* mini)
{
    if (large == nullptr || mini == nullptr)
        return -1;
    size_t count = std::min(UserLargeIcons.size(), UserMiniIcons.size());
    for (size_t i = 0; i < count; ++i) {
        const IconBitmap* m = UserMiniIcons[i];
        const IconBitmap* l = UserLargeIcons[i];
        if (m->BitsLength() == mini->BitsLength() &&
            std::memcmp(m->Bits(), mini->Bits(), m->BitsLength()) == 0 &&
            l->BitsLength() == large->BitsLength() &&
            std::memcmp(l->Bits(), large->Bits(), l->BitsLength()) == 0)
            return int32_t(i);
    }
    return -1;
}
