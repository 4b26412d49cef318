#include "core/ErrorReporting.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/AlertPort.h"

namespace {

void ShowAlert(const char* title, const char* text, const char* button, AlertKind kind)
{
    AlertRequest request;
    request.title = title;
    request.text = text != nullptr ? text : "";
    request.buttons = {button};
    request.shortcuts = {0};
    request.kind = kind;
    GetAlertPort().Go(request);
}

}  // namespace

void ReportError(const char* text)
{
    ShowAlert("Calvorin recoverable error", text, "Continue", AlertKind::Warning);
}

void ReportCompoundError(const char* a, const char* b, const char* c)
{
    size_t lengthA = std::strlen(a);
    size_t lengthB = std::strlen(b);
    size_t lengthC = std::strlen(c);
    char* text = new char[lengthA + lengthB + lengthC + 1];
    std::memcpy(text, a, lengthA);
    std::memcpy(text + lengthA, b, lengthB);
    std::memcpy(text + lengthA + lengthB, c, lengthC + 1);
    ShowAlert("Calvorin recoverable error", text, "Continue", AlertKind::Warning);
    delete[] text;
}

void HandleErrorAndExit(const char* text)
{
    ShowAlert("Calvorin error", text, "Quit", AlertKind::Warning);
    // The text goes to stderr too, for whoever started the program; the
    // console port has already written it there.
    if (dynamic_cast<ConsoleAlertPort*>(&GetAlertPort()) == nullptr) {
        std::string line = std::string("Calvorin error: ") + (text != nullptr ? text : "") + "\n";
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
    // Ends the process directly, with failure: no sets are saved, no
    // settings written, and no other thread's clean-up runs.
    std::fflush(nullptr);
    std::_Exit(1);
}

void InformUser(const char* text)
{
    ShowAlert("Calvorin", text, "OK", AlertKind::Information);
}

void SetNewString(const char* source, char** target)
{
    // Copied before the old string goes, so a string may be set to itself.
    char* copy = GetCopyString(source);
    delete[] *target;
    *target = copy;
}

char* GetCopyString(const char* source)
{
    if (source == nullptr || source[0] == '\0')
        return nullptr;
    size_t length = std::strlen(source);
    char* copy = new char[length + 1];
    std::memcpy(copy, source, length + 1);
    return copy;
}
