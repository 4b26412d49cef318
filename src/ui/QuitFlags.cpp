#include "ui/QuitFlags.h"

bool QuitProcess = false;
bool FullQuitProcess = false;
