// Alerts as Qt message boxes: the icon by kind, the buttons in the given
// order with the last one the default, shortcuts where given. Callable from
// any thread; the box always lives on the GUI thread, and while it waits
// the other windows keep working. On the offscreen platform (no display)
// alerts go to stderr instead, answered with their default button.
#pragma once

#include "core/AlertPort.h"

class QtAlertPort : public AlertPort {
public:
    // consoleWithoutDisplay false shows boxes on the offscreen platform
    // too (tests that drive them).
    explicit QtAlertPort(bool consoleWithoutDisplay = true)
        : fConsoleWithoutDisplay(consoleWithoutDisplay) {}

    int Go(const AlertRequest& request) override;

private:
    static int Show(const AlertRequest& request);

    bool fConsoleWithoutDisplay;
};
