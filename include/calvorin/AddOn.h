// What a Calvorin add-on exports, and what Calvorin exports to add-ons.
//
// An add-on is a shared library in one of the add-on folders that exports,
// unmangled:
//   const char* InitializeAddOn();      the handler's name (kept alive), or null to refuse
//   EventAddOnData* NewAddOnData(Event*, EndianIndependentFile*, bool* ok);
//   void CleanUpAddOn();                optional, called before unloading
// NewAddOnData makes the handler's data for an event: with a null file the
// defaults, otherwise exactly the record that the data's SaveData wrote
// (a 32-bit count and that many bytes); *ok false means the record was
// written by a newer version of the add-on.
#pragma once

#include "calvorin/EndianIndependentFile.h"
#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "calvorin/SupportDefs.h"

typedef const char* (*InitializeAddOnFunction)();
typedef EventAddOnData* (*NewAddOnDataFunction)(Event* event, EndianIndependentFile* file, bool* ok);
typedef void (*CleanUpAddOnFunction)();

// The delivery alert every handler uses to tell the user of an event. The
// texts are joined in order; returns the index of the button chosen.
int DeliverEventMessage(Event* event, bool missed, const char* text1, const char* text2,
                        const char* text3, const char* text4, const char* text5,
                        const char* button0, const char* button1);

// An add-on's own settings, kept in Calvorin's settings store. Prefix names
// with something of your own. data points into the store (do not free).
status_t ReadAddOnSetting(const char* name, const void*& data, long& length, unsigned long& type);
status_t WriteAddOnSetting(const char* name, const void* data, unsigned long length,
                           unsigned long type);
