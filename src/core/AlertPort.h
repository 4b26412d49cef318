// How the program asks the user something in an alert: a title, a text and
// one or more buttons; the answer is the index of the button chosen. The
// application shows real dialogs, calvorinctl writes to stderr, tests script
// the answers.
#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

enum class AlertKind { Information, Warning, Stop };

struct AlertRequest {
    std::string title;
    std::string text;
    std::vector<std::string> buttons;  // in order; the last one is the default
    std::vector<char> shortcuts;       // per button, 0 for none
    AlertKind kind = AlertKind::Information;
};

class AlertPort {
public:
    virtual ~AlertPort() = default;
    // Shows the alert and waits for the answer (a button index).
    virtual int Go(const AlertRequest& request) = 0;
};

// The alert port in use (a ConsoleAlertPort unless another was installed).
AlertPort& GetAlertPort();
// Installs a port (not owned); nullptr goes back to the console port.
void SetAlertPort(AlertPort* port);

// Writes the alert to stderr as one line, "Title: text", and answers with the
// default (last) button.
class ConsoleAlertPort : public AlertPort {
public:
    int Go(const AlertRequest& request) override;
};

// Records every alert and answers from a script (then with the default).
class ScriptedAlertPort : public AlertPort {
public:
    int Go(const AlertRequest& request) override;
    void Answer(int button);                 // queue one answer
    std::vector<AlertRequest> Shown() const;  // every alert so far
    size_t CountShown() const;
    void Clear();

private:
    mutable std::mutex fLock;
    std::deque<int> fAnswers;
    std::vector<AlertRequest> fShown;
};

// Installs a port for the lifetime of a scope (tests).
class ScopedAlertPort {
public:
    explicit ScopedAlertPort(AlertPort* port) { SetAlertPort(port); }
    ~ScopedAlertPort() { SetAlertPort(nullptr); }
};
