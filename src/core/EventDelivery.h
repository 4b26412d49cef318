// The text of the prewarning and nag alerts that an event shows before and
// after it occurs (the rest of delivery is part of Event).
#pragma once

// Builds "The event "NAME" will occur at 3:05 PM today.\n\nMESSAGE" (kind 0,
// a prewarning) or "... occurred on Friday, January 5,  2001.\n\n" (kind 1,
// a nag). The time of day, always on the 12-hour clock, appears only when
// withTime is set; "today" means the same day number (eventTime / 86400) as
// now. name and message may be null. The caller frees the result with
// delete[].
char* GetNagOrPrewarnMessage(char kind, const char* name, long eventTime, bool withTime,
                             const char* message);
