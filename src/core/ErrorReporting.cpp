#include "core/ErrorReporting.h"

#include <cstdlib>
#include <cstring>

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
    // Ends the process directly: no sets are saved, no settings written.
    // The status is 0 even here.
    std::exit(0);
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
