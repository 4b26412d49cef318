#include "core/AlertPort.h"

#include <atomic>
#include <cstdio>
#include <string>

namespace {

std::atomic<AlertPort*> sInstalledPort{nullptr};

int DefaultButton(const AlertRequest& request)
{
    return request.buttons.empty() ? 0 : int(request.buttons.size()) - 1;
}

}  // namespace

AlertPort& GetAlertPort()
{
    static ConsoleAlertPort sConsolePort;
    AlertPort* port = sInstalledPort.load();
    return port != nullptr ? *port : sConsolePort;
}

void SetAlertPort(AlertPort* port)
{
    sInstalledPort.store(port);
}

int ConsoleAlertPort::Go(const AlertRequest& request)
{
    // One write, so that alerts from several threads do not interleave.
    // An alert without a title (the delivery alert) is its text alone.
    std::string line =
        (request.title.empty() ? std::string() : request.title + ": ") + request.text + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
    return DefaultButton(request);
}

int ScriptedAlertPort::Go(const AlertRequest& request)
{
    std::lock_guard<std::mutex> lock(fLock);
    fShown.push_back(request);
    if (!fAnswers.empty()) {
        int answer = fAnswers.front();
        fAnswers.pop_front();
        return answer;
    }
    return DefaultButton(request);
}

void ScriptedAlertPort::Answer(int button)
{
    std::lock_guard<std::mutex> lock(fLock);
    fAnswers.push_back(button);
}

std::vector<AlertRequest> ScriptedAlertPort::Shown() const
{
    std::lock_guard<std::mutex> lock(fLock);
    return fShown;
}

size_t ScriptedAlertPort::CountShown() const
{
    std::lock_guard<std::mutex> lock(fLock);
    return fShown.size();
}

void ScriptedAlertPort::Clear()
{
    std::lock_guard<std::mutex> lock(fLock);
    fShown.clear();
    fAnswers.clear();
}
