// The switch between the two ways the next-occurrence computation steps
// through years and months, so that tests can hold one against the other.
#pragma once

// On (the default), Event::UpdateEventTime skips in calendar arithmetic the
// year and month steps whose candidates lie well before the time it steps
// past, and takes only the last ones with mktime; off, it takes every step
// with mktime. For tests; the program never turns it off.
void SetScheduleSkipAhead(bool on);
