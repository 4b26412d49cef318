// Puts the event editor in place at start-up: the editor window factory,
// the built-in handlers' edit views and how they are taken down, the
// standard icons, and the reopening of editors with their set's window.
#pragma once

class EventSet;

// Call once, after the application object exists, after the event set
// window factory is installed and before any set opens. From then on a set
// window that opens also opens the editors that were open when the set was
// saved (the events' ShouldWindowOpen).
void InstallEventEditor();

// Opens the editor of every event of the set that is to open with it; the
// caller holds the set's lock.
void OpenSavedEventWindows(EventSet* set);
