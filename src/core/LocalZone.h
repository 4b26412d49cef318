// Names the system's time zone in TZ when TZ is unset, so that the C library
// reads the zone file once instead of checking /etc/localtime on every
// local-time conversion.
#pragma once

#include <string>

// The zone name /etc/localtime links to ("Europe/Berlin"), else the one in
// /etc/timezone, else ":/etc/localtime".
std::string SystemTimeZoneName();
// If TZ is unset, sets it to SystemTimeZoneName(); then calls tzset().
void PinLocalTimeZone();
