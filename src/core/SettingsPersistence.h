// Moves CalvorinSettings between memory and the settings store: the store
// is opened once per process, read once at start and written once at the
// end, with every key's type code and size checked on the way in.
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"
#include "prefs/Prefs.h"

// The store's application and set names.
constexpr const char* kSettingsApplication = "x-vnd.QZ-Calvorin";
constexpr const char* kSettingsSetName = "CalvorinSettings";

// The type codes of the stored items.
constexpr uint32_t kLongType = MakeTypeCode('L', 'O', 'N', 'G');
constexpr uint32_t kByteType = MakeTypeCode('B', 'Y', 'T', 'E');
constexpr uint32_t kBoolType = MakeTypeCode('B', 'O', 'O', 'L');
constexpr uint32_t kRectType = MakeTypeCode('R', 'E', 'C', 'T');
constexpr uint32_t kFloatType = MakeTypeCode('F', 'L', 'O', 'T');
constexpr uint32_t kPointType = MakeTypeCode('B', 'P', 'N', 'T');

// The bytes of one user icon in "UserIcons": the 16 x 16 icon, then the
// 32 x 32 one.
constexpr size_t kUserIconBytes = 256 + 1024;

class SettingsPersistence {
public:
    // Opens the store of "x-vnd.QZ-Calvorin" and loads its set
    // "CalvorinSettings" (made when missing). Both results are kept for
    // InitSettings. Returns the PREFInit result.
    static status_t OpenStore();
    // Disposes of the set and closes the store (unsaved changes are lost).
    static void CloseStore();
    static status_t InitResult() { return sInitResult; }
    static status_t LoadResult() { return sLoadResult; }
    // The open set, or null.
    static PREFData Set() { return sSet; }

    // Fills CalvorinSettings from the open store. A store that could not be
    // opened or whose set could not be loaded ends the program; a damaged
    // store that was replaced by an empty one is reported once and the
    // defaults stay. The caller holds CalvorinSettings::Protect.
    static void InitSettings();
    // Writes every setting to the open store and saves it; one recoverable
    // alert when anything fails. Consumes the remembered names and the
    // user icons. The caller holds CalvorinSettings::Protect.
    static bool WriteSettings();

    // The same on a given set. ReadSettings takes an item only when it
    // exists with the expected type and, where fixed, the expected size;
    // everything else keeps its current value. WriteSettings reports the
    // failure itself and returns false.
    static void ReadSettings(PREFData set);
    static bool WriteSettings(PREFData set);

private:
    static status_t sInitResult;
    static status_t sLoadResult;
    static PREFHandle sHandle;
    static PREFData sSet;
};
