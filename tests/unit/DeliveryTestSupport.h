// Stand-ins for the delivery tests: a companion launcher that always
// succeeds, and an alert port that lets a test act while the alert waits
// (as the user would in the windows meanwhile), then answers with the
// default button.
#pragma once

#include <functional>

#include "core/AlertPort.h"
#include "core/CompanionLauncher.h"

class QuietLauncher : public CompanionLauncher {
public:
    status_t LaunchBySignature(const Message*) override { return B_OK; }
    status_t LaunchByFile(const Message*) override { return B_OK; }
};

class ActingAlertPort : public AlertPort {
public:
    int Go(const AlertRequest& request) override
    {
        ++shown;
        if (whileWaiting)
            whileWaiting();
        return int(request.buttons.size()) - 1;
    }

    std::function<void()> whileWaiting;
    int shown = 0;
};
