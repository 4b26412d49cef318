// The eleven standard event icons (numbers 0..10), large and mini. The user
// interface installs the images; until then there are none.
#pragma once

#include "calvorin/IconBitmap.h"

constexpr int kNumberOfStandardIcons = 11;

// Installs the standard icons (not owned; they must outlive every event).
// Either array may be null to remove that size.
void SetStandardIcons(const IconBitmap* const* large, const IconBitmap* const* mini);
// The standard icon of that number, or null (no such number, or none installed).
const IconBitmap* GetStandardIcon(int number, bool large);
