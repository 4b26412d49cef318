// Shared set-up of the event editor's widget tests: the built-in handlers,
// the editor installed, local time in UTC, and a set with one event whose
// editor window is open.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QLineEdit>
#include <QTest>

#include <cstdlib>
#include <ctime>

#include "calvorin/Event.h"
#include "core/CalvorinSettings.h"
#include "core/EventSet.h"
#include "core/OpenSets.h"
#include "core/TimeText.h"
#include "handlers/HandlerRegistry.h"
#include "ui/EventWindow.h"
#include "ui/InstallEventEditor.h"

// Once per test program.
inline void InitEditorTests()
{
    setenv("TZ", "UTC", 1);
    tzset();
    InitSafeTime();
    if (NumberOfEventHandlers < kFirstAddOnHandler || Function_NewAddOnData == nullptr)
        LoadBuiltInHandlers();
    CalvorinSettings::ResetToDefaults();
    InstallEventEditor();
}

// Runs what the windows posted to themselves, and deletes closed windows.
inline void Settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

// The local (UTC) time of a calendar date; month 1..12.
inline int32_t At(int year, int month, int day, int hour = 0, int minute = 0)
{
    struct tm cal = {};
    cal.tm_year = year - 1900;
    cal.tm_mon = month - 1;
    cal.tm_mday = day;
    cal.tm_hour = hour;
    cal.tm_min = minute;
    cal.tm_isdst = -1;
    return int32_t(mktime(&cal));
}

// An untitled set holding one new event, whose editor window is open.
class EditorSetup {
public:
    EditorSetup()
    {
        set = new EventSet(nullptr, false, nullptr, nullptr);
        Autolock lock(set);
        set->AddEvent(nullptr);
        event = set->EventAt(0);
        event->OpenWindow();
        window = dynamic_cast<EventWindow*>(event->GetWindow());
        set->ClearModified();
    }
    ~EditorSetup()
    {
        if (event->GetWindow() != nullptr)
            event->GetWindow()->Quit();
        Settle();
        Autolock sets(OpenSets::Protect);
        set->Lock();
        delete set;
    }
    EditorSetup(const EditorSetup&) = delete;
    // Closes the window (if open) and opens a new one on the event.
    void Reopen()
    {
        if (event->GetWindow() != nullptr)
            event->GetWindow()->Quit();
        Settle();
        Autolock lock(set);
        event->OpenWindow();
        window = dynamic_cast<EventWindow*>(event->GetWindow());
    }
    EditorSetup& operator=(const EditorSetup&) = delete;

    // A control of the window by its object name.
    template <typename T>
    T* Find(const char* name) const
    {
        T* widget = window->findChild<T*>(QString::fromLatin1(name));
        if (widget == nullptr)
            qFatal("no control named %s", name);
        return widget;
    }

    EventSet* set = nullptr;
    Event* event = nullptr;
    EventWindow* window = nullptr;
};

// What a user does with the controls.
inline void Choose(QComboBox* menu, int data)
{
    const int index = menu->findData(data);
    QVERIFY2(index >= 0, "no such menu item");
    menu->setCurrentIndex(index);
    emit menu->activated(index);
}

inline void TypeAndCommit(QLineEdit* field, const QString& text)
{
    field->setFocus();
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Return);
}
