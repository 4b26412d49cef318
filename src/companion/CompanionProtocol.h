// The messages between Calvorin and its companion CalvorinBackground, and
// the two programs' signatures.
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"

constexpr const char* kCalvorinSignature = "application/x-vnd.QZ-Calvorin";
constexpr const char* kCompanionSignature = "application/x-vnd.QZ-CalvorinBackground";
constexpr const char* kCompanionFileName = "CalvorinBackground";
constexpr const char* kCalvorinFileName = "calvorin";

// To the companion: the next wake-up time in "When" (int32 seconds since
// the epoch), or, without "When", no wake-up time at all.
constexpr uint32_t kNextEventMsg = MakeTypeCode('S', 'e', 't', 'E');
constexpr const char* kWhenField = "When";
// To the application, at the wake-up time: deliver due events now.
constexpr uint32_t kDeliverEventsMsg = MakeTypeCode('D', 'e', 'l', 'E');
// The standard quit request.
constexpr uint32_t kQuitRequestedMsg = MakeTypeCode('_', 'Q', 'R', 'Q');
// To the companion: report your state. The reply (same code) holds "When"
// when a wake-up time is held, and "pid" (int32).
constexpr uint32_t kCompanionStatusMsg = MakeTypeCode('S', 't', 'a', 't');
constexpr const char* kPidField = "pid";
