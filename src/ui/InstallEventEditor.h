// Puts the event editor in place at start-up: the editor window factory,
// the built-in handlers' edit views and how they are taken down, and the
// standard icons.
#pragma once

// Call once, after the application object exists and before any set opens.
void InstallEventEditor();
