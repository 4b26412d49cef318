// The two process-wide flags that the application's quit and the event set
// windows share: a quit is under way and waits for the windows (a window
// that saves or discards its set while it is set asks the application to
// quit again), and the quit in progress is a full quit.
#pragma once

extern bool QuitProcess;
extern bool FullQuitProcess;
