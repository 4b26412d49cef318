// The process-wide user settings (static members only), guarded by Protect:
// remembered sets, delivery choice, clock format, default window layout and
// the user's own icons. Read from the settings store at start and written
// back at quit by the application.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "calvorin/IconBitmap.h"
#include "calvorin/Locker.h"
#include "calvorin/SupportDefs.h"
#include "core/WindowPositionSet.h"

class MessageTarget;

// How remembered sets are opened at start.
enum SelectedSetHandlingMode : int32_t { kOpenAlways = 0, kOpenIfNoOthers = 1, kDontOpen = 2 };
// Which sets take part in delivery.
enum WhichEventsMode : int32_t {
    kOpenSetsOnly = 0,
    kOpenAndRememberedSets = 1,
    kRememberedSetsOnly = 2,
    kRememberedUnlessOpen = 3,
    kDoNotDeliver = 4,
};

constexpr uint32_t kSettingsRememberedSetsChanged = 62;

class CalvorinSettings {
public:
    static std::vector<std::string> SetFileNames;
    static int32_t SelectedSetHandling;
    static int32_t WhichEventsToDeliver;
    static bool Time24Hour;
    static bool RememberWindowSetupAsDefault;
    static int32_t ColumnOrder[6];
    static bool ColumnShown[6];
    static float ColumnWidth[6];
    static int32_t NumberOfKeys;
    static int32_t SortKeys[5];
    static int32_t SortModes[5];
    static int32_t ViewMode;
    static WindowPositionSet SetWindowPosition;
    static WindowPositionSet EventWindowPosition;
    static Rect SettingsWindowFrame;
    static Point IconPanelLocation;
    static int32_t NumberOfUserIcons;
    static std::vector<IconBitmap*> UserLargeIcons;
    static std::vector<IconBitmap*> UserMiniIcons;
    static int32_t OpenIconPanel;
    static MessageTarget* Window;  // the open settings window, if any
    static Locker Protect;

    // Puts every member back to its built-in default (frees the icons).
    static void ResetToDefaults();

    // The caller holds Protect for these.
    static void RememberSet(const char* path);
    static void ForgetSet(const char* path);
    static bool IsFileRemembered(const char* path);
    static int32_t WhichUserIcon(const IconBitmap* large, const IconBitmap* mini);
};
