#include "core/SettingsPersistence.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "calvorin/AddOn.h"
#include "core/CalvorinSettings.h"
#include "core/ErrorReporting.h"

status_t SettingsPersistence::sInitResult = B_ERROR;
status_t SettingsPersistence::sLoadResult = B_ERROR;
PREFHandle SettingsPersistence::sHandle = nullptr;
PREFData SettingsPersistence::sSet = nullptr;

namespace {

// Add-ons may read and write their items from any thread.
std::mutex sAddOnLock;

// The item's bytes when it exists with this type and, with size non-zero,
// exactly this size.
const void* Item(PREFData set, const char* key, uint32_t type, size_t size, size_t* sizeOut = nullptr)
{
    const void* data = nullptr;
    size_t stored = 0;
    uint32_t storedType = 0;
    if (PREFGetData(set, key, &data, &stored, &storedType) != B_OK || storedType != type)
        return nullptr;
    if (size != 0 && stored != size)
        return nullptr;
    if (sizeOut != nullptr)
        *sizeOut = stored;
    return data;
}

template <typename T>
void ReadValue(PREFData set, const char* key, uint32_t type, T* target)
{
    if (const void* data = Item(set, key, type, sizeof(T)))
        std::memcpy(target, data, sizeof(T));
}

void ReadBool(PREFData set, const char* key, bool* target)
{
    if (const void* data = Item(set, key, kBoolType, 1))
        *target = *static_cast<const uint8_t*>(data) != 0;
}

void ReadBools(PREFData set, const char* key, bool* target, size_t count)
{
    if (const void* data = Item(set, key, kBoolType, count)) {
        const uint8_t* bytes = static_cast<const uint8_t*>(data);
        for (size_t i = 0; i < count; ++i)
            target[i] = bytes[i] != 0;
    }
}

template <typename T>
void ReadArray(PREFData set, const char* key, uint32_t type, T* target, size_t count)
{
    if (const void* data = Item(set, key, type, sizeof(T) * count))
        std::memcpy(target, data, sizeof(T) * count);
}

bool ReadRect(PREFData set, const char* key, Rect* target)
{
    const void* data = Item(set, key, kRectType, 16);
    if (data == nullptr)
        return false;
    float values[4];
    std::memcpy(values, data, sizeof(values));
    *target = Rect{values[0], values[1], values[2], values[3]};
    return true;
}

// "SetsToUse": count names back to back, each ending in a zero byte.
void ReadRememberedSets(PREFData set)
{
    int32_t count = 0;
    ReadValue(set, "NumberOfSetsToUse", kLongType, &count);
    if (count <= 0)
        return;
    size_t size = 0;
    const char* bytes = static_cast<const char*>(Item(set, "SetsToUse", kByteType, 0, &size));
    if (bytes == nullptr || size == 0)
        return;
    size_t at = 0;
    for (int32_t i = 0; i < count && at < size; ++i) {
        const void* end = std::memchr(bytes + at, '\0', size - at);
        size_t length = end != nullptr ? size_t(static_cast<const char*>(end) - (bytes + at))
                                       : size - at;
        if (length > 0)
            CalvorinSettings::SetFileNames.emplace_back(bytes + at, length);
        at += length + 1;
    }
}

void ReadUserIcons(PREFData set)
{
    int32_t count = CalvorinSettings::NumberOfUserIcons;
    if (count <= 0)
        return;
    size_t expected = kUserIconBytes * size_t(count);
    const uint8_t* bytes = static_cast<const uint8_t*>(Item(set, "UserIcons", kByteType, expected));
    if (bytes == nullptr)
        return;
    for (int32_t i = 0; i < count; ++i) {
        const uint8_t* icon = bytes + kUserIconBytes * size_t(i);
        CalvorinSettings::UserMiniIcons.push_back(
            new IconBitmap(IconBitmap::kMiniSize, IconBitmap::kMiniSize, icon));
        CalvorinSettings::UserLargeIcons.push_back(
            new IconBitmap(IconBitmap::kLargeSize, IconBitmap::kLargeSize, icon + 256));
    }
}

class Writer {
public:
    explicit Writer(PREFData set) : fSet(set) {}

    void Data(const char* key, const void* data, size_t size, uint32_t type)
    {
        if (PREFSetData(fSet, key, data, size, type) != B_OK)
            fOk = false;
    }
    void Long(const char* key, int32_t value) { Data(key, &value, sizeof(value), kLongType); }
    void Bool(const char* key, bool value)
    {
        uint8_t byte = value ? 1 : 0;
        Data(key, &byte, 1, kBoolType);
    }
    void RectItem(const char* key, Rect rect)
    {
        float values[4] = {rect.left, rect.top, rect.right, rect.bottom};
        Data(key, values, sizeof(values), kRectType);
    }
    // A missing item is what a delete wants; only other failures count.
    void Delete(const char* key)
    {
        status_t result = PREFDelete(fSet, key);
        if (result != B_OK && result != B_NAME_NOT_FOUND)
            fOk = false;
    }
    void Save()
    {
        if (PREFSaveSet(fSet) != B_OK)
            fOk = false;
    }
    bool Ok() const { return fOk; }

private:
    PREFData fSet;
    bool fOk = true;
};

}  // namespace

status_t SettingsPersistence::OpenStore()
{
    CloseStore();
    sInitResult = PREFInit(kSettingsApplication, &sHandle);
    if (sHandle != nullptr)
        sLoadResult = PREFLoadSet(sHandle, kSettingsSetName, true, &sSet);
    else
        sLoadResult = B_ERROR;
    return sInitResult;
}

void SettingsPersistence::CloseStore()
{
    if (sSet != nullptr)
        PREFDisposeSet(sSet);
    if (sHandle != nullptr)
        PREFShutdown(sHandle);
    sSet = nullptr;
    sHandle = nullptr;
}

void SettingsPersistence::InitSettings()
{
    if (sInitResult != B_OK && sInitResult != B_PREF_STORE_REPLACED) {
        if (const char* problem = PREFInitProblemText())
            std::fprintf(stderr, "calvorin: %s\n", problem);
        HandleErrorAndExit("InitSettings: Libprefs failed to initialize");
    }
    if (sLoadResult != B_OK || sSet == nullptr)
        HandleErrorAndExit("InitSettings: Libprefs failed to initialize settings");
    // A damaged store was moved aside and an empty one made: the user hears
    // of it once, and the defaults stay.
    if (sInitResult == B_PREF_STORE_REPLACED) {
        const char* problem = PREFInitProblemText();
        ReportError(problem != nullptr ? problem
                                       : "The settings could not be read; the defaults are used.");
        sInitResult = B_OK;
    }
    ReadSettings(sSet);
}

void SettingsPersistence::ReadSettings(PREFData set)
{
    using S = CalvorinSettings;
    ReadRememberedSets(set);

    ReadValue(set, "SelectedSetHandling", kLongType, &S::SelectedSetHandling);
    ReadValue(set, "WhichEventsToDeliver", kLongType, &S::WhichEventsToDeliver);
    ReadBool(set, "Time24Hour", &S::Time24Hour);
    ReadBool(set, "RememberWindowSetupAsDefault", &S::RememberWindowSetupAsDefault);

    if (S::RememberWindowSetupAsDefault) {
        Rect frame;
        if (ReadRect(set, "SetWindowFrame", &frame))
            S::SetWindowPosition.SetCurrentDefault(frame);
        ReadArray(set, "ColumnOrder", kLongType, S::ColumnOrder, 6);
        ReadBools(set, "ColumnShown", S::ColumnShown, 6);
        ReadArray(set, "ColumnWidth", kFloatType, S::ColumnWidth, 6);
        ReadValue(set, "ViewMode", kLongType, &S::ViewMode);
        ReadValue(set, "NumberOfKeys", kLongType, &S::NumberOfKeys);
        ReadArray(set, "SortKeys", kLongType, S::SortKeys, 5);
        ReadArray(set, "SortModes", kLongType, S::SortModes, 5);
        if (ReadRect(set, "EventWindowFrame", &frame))
            S::EventWindowPosition.SetCurrentDefault(frame);
    }

    if (const void* data = Item(set, "IconPanelLocation", kPointType, 8)) {
        float values[2];
        std::memcpy(values, data, sizeof(values));
        S::IconPanelLocation = Point{values[0], values[1]};
    }
    ReadValue(set, "NumberOfUserIcons", kLongType, &S::NumberOfUserIcons);
    ReadUserIcons(set);

    ReadRect(set, "SettingsWindowFrame", &S::SettingsWindowFrame);
}

bool SettingsPersistence::WriteSettings()
{
    return WriteSettings(sSet);
}

bool SettingsPersistence::WriteSettings(PREFData set)
{
    using S = CalvorinSettings;
    Writer out(set);

    // The remembered names, each with its zero byte, back to back.
    std::string names;
    for (const std::string& name : S::SetFileNames) {
        names += name;
        names += '\0';
    }
    out.Long("NumberOfSetsToUse", int32_t(S::SetFileNames.size()));
    S::SetFileNames.clear();
    if (!names.empty())
        out.Data("SetsToUse", names.data(), names.size(), kByteType);
    else
        out.Delete("SetsToUse");

    out.Long("SelectedSetHandling", S::SelectedSetHandling);
    out.Long("WhichEventsToDeliver", S::WhichEventsToDeliver);
    out.Bool("Time24Hour", S::Time24Hour);
    out.Bool("RememberWindowSetupAsDefault", S::RememberWindowSetupAsDefault);

    if (S::RememberWindowSetupAsDefault) {
        out.RectItem("SetWindowFrame", S::SetWindowPosition.GetCurrentDefault());
        out.Data("ColumnOrder", S::ColumnOrder, sizeof(S::ColumnOrder), kLongType);
        uint8_t shown[6];
        for (int i = 0; i < 6; ++i)
            shown[i] = S::ColumnShown[i] ? 1 : 0;
        out.Data("ColumnShown", shown, sizeof(shown), kBoolType);
        out.Data("ColumnWidth", S::ColumnWidth, sizeof(S::ColumnWidth), kFloatType);
        out.Long("ViewMode", S::ViewMode);
        out.Long("NumberOfKeys", S::NumberOfKeys);
        out.Data("SortKeys", S::SortKeys, sizeof(S::SortKeys), kLongType);
        out.Data("SortModes", S::SortModes, sizeof(S::SortModes), kLongType);
        out.RectItem("EventWindowFrame", S::EventWindowPosition.GetCurrentDefault());
        out.RectItem("SettingsWindowFrame", S::SettingsWindowFrame);
    } else {
        // The sort items stay as they are.
        for (const char* key : {"SetWindowFrame", "GroupActiveEventsFirst", "AscendingOrder",
                                "ColumnOrder", "ColumnShown", "ColumnWidth", "ViewMode",
                                "EventWindowFrame", "SettingsWindowFrame"})
            out.Delete(key);
    }

    float location[2] = {S::IconPanelLocation.x, S::IconPanelLocation.y};
    out.Data("IconPanelLocation", location, sizeof(location), kPointType);
    out.Long("NumberOfUserIcons", S::NumberOfUserIcons);
    std::vector<uint8_t> icons;
    size_t count = std::min(S::UserMiniIcons.size(), S::UserLargeIcons.size());
    if (S::NumberOfUserIcons >= 0)
        count = std::min(count, size_t(S::NumberOfUserIcons));
    else
        count = 0;
    for (size_t i = 0; i < count; ++i) {
        const IconBitmap* mini = S::UserMiniIcons[i];
        const IconBitmap* large = S::UserLargeIcons[i];
        size_t at = icons.size();
        icons.resize(at + kUserIconBytes, IconBitmap::kTransparent);
        std::memcpy(icons.data() + at, mini->Bits(), std::min<size_t>(256, mini->BitsLength()));
        std::memcpy(icons.data() + at + 256, large->Bits(),
                    std::min<size_t>(1024, large->BitsLength()));
    }
    for (IconBitmap* icon : S::UserMiniIcons)
        delete icon;
    for (IconBitmap* icon : S::UserLargeIcons)
        delete icon;
    S::UserMiniIcons.clear();
    S::UserLargeIcons.clear();
    if (!icons.empty())
        out.Data("UserIcons", icons.data(), icons.size(), kByteType);
    else
        out.Delete("UserIcons");

    out.Save();
    if (!out.Ok())
        ReportError("WriteSettings: Failed to save settings");
    return out.Ok();
}

status_t ReadAddOnSetting(const char* name, const void*& data, long& length, unsigned long& type)
{
    std::lock_guard<std::mutex> lock(sAddOnLock);
    size_t size = 0;
    uint32_t storedType = 0;
    const void* stored = nullptr;
    status_t result = PREFGetData(SettingsPersistence::Set(), name, &stored, &size, &storedType);
    if (result == B_OK) {
        data = stored;
        length = long(size);
        type = storedType;
    }
    return result;
}

status_t WriteAddOnSetting(const char* name, const void* data, unsigned long length,
                           unsigned long type)
{
    std::lock_guard<std::mutex> lock(sAddOnLock);
    return PREFSetData(SettingsPersistence::Set(), name, data, size_t(length), uint32_t(type));
}
