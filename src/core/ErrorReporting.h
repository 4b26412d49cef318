// The program's one way of telling the user about problems (alerts through the
// AlertPort; nothing is logged) and its convention for owned strings.
#pragma once

// A problem the program gets over: "Calvorin recoverable error", "Continue".
void ReportError(const char* text);
// The same with the text a + b + c, e.g. a file name between fixed words.
// None of the three may be null.
void ReportCompoundError(const char* a, const char* b, const char* c);
// A problem the program cannot go on after: "Calvorin error", "Quit"; the
// text also goes to stderr, then the process ends at once with exit status
// 1 (nothing is saved).
[[noreturn]] void HandleErrorAndExit(const char* text);
// Plain information: "Calvorin", "OK".
void InformUser(const char* text);

// Owned strings are 0-terminated arrays made with new[] and freed with
// delete[]; null means "none", and an empty text is always stored as null.
// Frees *target, then stores a copy of source there (null for null or "").
void SetNewString(const char* source, char** target);
// A new copy of source that the caller frees, or null for null or "".
char* GetCopyString(const char* source);
