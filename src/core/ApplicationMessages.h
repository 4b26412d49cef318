// The application's own command codes and the message that hands it
// documents to open ("refs": one path per value).
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"

constexpr uint32_t NewEventSetMsg = 1;    // open a new untitled set with a window
constexpr uint32_t OpenEventSetMsg = 2;   // show the open dialog
constexpr uint32_t OpenSettingsMsg = 3;   // show the settings window
constexpr uint32_t FullQuitMsg = 4;       // quit, and stop the companion too
constexpr uint32_t HelpMsg = 5;           // open the help document
constexpr uint32_t DeliveryDoneMsg = 6;   // one delivery step is done
constexpr uint32_t SetsChangedMsg = 7;    // the sets changed: hand over the next time

// Documents to open: "refs" holds the full paths as values of the
// entry-reference type; with "background" true they are loaded without
// windows (a "calvorin -background FILE" handed over to the running one).
constexpr uint32_t B_REFS_RECEIVED = MakeTypeCode('_', 'R', 'R', 'C');
constexpr uint32_t B_REF_TYPE = MakeTypeCode('R', 'R', 'E', 'F');
constexpr const char* kRefsField = "refs";
constexpr const char* kBackgroundField = "background";
// The running instance's answer to a hand-over: the message was taken.
constexpr uint32_t kHandOverTakenMsg = MakeTypeCode('_', 'A', 'C', 'K');
