// The settings window: its controls start from the settings and change
// them, the remembered list follows changes made elsewhere, "Forget
// selected" forgets and is enabled only while there is something to
// forget, and the window's frame is kept only when layouts are remembered.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <memory>

#include "UiTestSupport.h"
#include "ui/SelectedSetsView.h"
#include "ui/SettingsWindow.h"

namespace {

std::vector<std::string> Remembered()
{
    Autolock lock(CalvorinSettings::Protect);
    return CalvorinSettings::SetFileNames;
}

void Remember(const char* path)
{
    Autolock lock(CalvorinSettings::Protect);
    CalvorinSettings::RememberSet(path);
}

QStringList Items(QComboBox* menu)
{
    QStringList items;
    for (int i = 0; i < menu->count(); ++i)
        items << menu->itemText(i);
    return items;
}

}  // namespace

class SettingsWindowTest : public QObject {
    Q_OBJECT

private slots:
    void init() { fEnvironment = std::make_unique<UiTestEnvironment>(); }

    void cleanup()
    {
        if (auto* window = dynamic_cast<SettingsWindow*>(CalvorinSettings::Window))
            window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        fEnvironment.reset();
    }

    void ControlsStartFromTheSettings()
    {
        {
            Autolock lock(CalvorinSettings::Protect);
            CalvorinSettings::WhichEventsToDeliver = kRememberedUnlessOpen;
            CalvorinSettings::SelectedSetHandling = kDontOpen;
            CalvorinSettings::RememberWindowSetupAsDefault = false;
        }
        SettingsWindow* window = SettingsWindow::Open();
        QCOMPARE(window->windowTitle(), QString("Calvorin settings"));
        QCOMPARE(CalvorinSettings::Window, static_cast<MessageTarget*>(window));
        QCOMPARE(window->RememberDefaultsBox()->text(), QString("Remember window defaults"));
        QVERIFY(!window->RememberDefaultsBox()->isChecked());
        QCOMPARE(Items(window->DeliveryMenu()),
                 QStringList({"Open sets only", "Open sets and remembered sets", "Remembered sets only",
                              "Remembered sets unless open", "Do not deliver events"}));
        QCOMPARE(window->DeliveryMenu()->currentIndex(), 3);
        QCOMPARE(Items(window->OpenRememberedMenu()),
                 QStringList({"Always", "If no other sets are opened", "Don't open"}));
        QCOMPARE(window->OpenRememberedMenu()->currentIndex(), 2);
        QStringList labels;
        for (QLabel* label : window->findChildren<QLabel*>())
            labels << label->text();
        for (const char* text : {"Deliver events from:", "Open remembered sets:", "Remembered sets:"})
            QVERIFY2(labels.contains(text), text);
        QCOMPARE(window->ForgetButton()->text(), QString("Forget selected"));

        // The two pop-up menus start at one place, after the wider label.
        QCOMPARE(window->DeliveryMenu()->x(), window->OpenRememberedMenu()->x());
        // No smaller than its controls.
        window->resize(10, 10);
        QVERIFY(window->width() >= window->DeliveryMenu()->sizeHint().width());
        QVERIFY(window->height() >= window->minimumSizeHint().height());

        // Opening again brings the same window to the front.
        QCOMPARE(SettingsWindow::Open(), window);
    }

    void ControlsChangeTheSettings()
    {
        SettingsWindow* window = SettingsWindow::Open();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTest::mouseClick(window->RememberDefaultsBox(), Qt::LeftButton);
        QVERIFY(!CalvorinSettings::RememberWindowSetupAsDefault);
        QTest::mouseClick(window->RememberDefaultsBox(), Qt::LeftButton);
        QVERIFY(CalvorinSettings::RememberWindowSetupAsDefault);

        // Chosen from the keyboard as from the mouse.
        window->DeliveryMenu()->setFocus();
        QTest::keyClick(window->DeliveryMenu(), Qt::Key_Down);
        QCOMPARE(CalvorinSettings::WhichEventsToDeliver, int32_t(kRememberedSetsOnly));
        QTest::keyClick(window->OpenRememberedMenu(), Qt::Key_Up);
        QCOMPARE(CalvorinSettings::SelectedSetHandling, int32_t(kOpenAlways));

        // The codes alone, as other windows may send them; without a mode
        // they change nothing.
        Message delivery(DeliveryModeMsg);
        delivery.AddInt32("Mode", kDoNotDeliver);
        window->MessageReceived(delivery);
        QCOMPARE(CalvorinSettings::WhichEventsToDeliver, int32_t(kDoNotDeliver));
        window->MessageReceived(Message(DeliveryModeMsg));
        window->MessageReceived(Message(OpenRememberedModeMsg));
        QCOMPARE(CalvorinSettings::WhichEventsToDeliver, int32_t(kDoNotDeliver));
        QCOMPARE(CalvorinSettings::SelectedSetHandling, int32_t(kOpenAlways));
    }

    void TheClockFormatRewritesTheTimesShown()
    {
        EventSet* set = NewLoadedSet(false);
        // 15:05 on a day far enough ahead that the event stays pending.
        Event* event = AddNamedEvent(set, "Dentist", CurrentTime() + 30 * 86400);
        {
            Autolock lock(set);
            event->SetTimeToApply(15 * 3600 + 5 * 60);
        }
        SettingsWindow* window = SettingsWindow::Open();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(!window->Time24HourBox()->isChecked());
        auto shown = [&]() {
            Autolock lock(set);
            return std::string(event->GetColumnText(kEventTimeColumn));
        };
        QVERIFY(shown().find("03:05 PM") != std::string::npos);

        // Clicked on its box: the label is narrower than the row.
        QCheckBox* box = window->Time24HourBox();
        const QPoint onTheBox(6, box->height() / 2);
        QTest::mouseClick(box, Qt::LeftButton, {}, onTheBox);
        QVERIFY(CalvorinSettings::Time24Hour);
        QVERIFY(shown().find("15:05") != std::string::npos);
        QVERIFY(shown().find("PM") == std::string::npos);

        QTest::mouseClick(box, Qt::LeftButton, {}, onTheBox);
        QVERIFY(!CalvorinSettings::Time24Hour);
        QVERIFY(shown().find("03:05 PM") != std::string::npos);
    }

    void RememberingElsewhereFillsTheListAndEnablesForget()
    {
        SettingsWindow* window = SettingsWindow::Open();
        QCOMPARE(window->SetsView()->count(), 0);
        QVERIFY(!window->ForgetButton()->isEnabled());

        // As the event set window's "Remember for delivery" does.
        Remember("/home/ann/Work.calvorin");
        Settle();
        QCOMPARE(window->SetsView()->Paths(), QStringList({"/home/ann/Work.calvorin"}));
        QVERIFY(window->ForgetButton()->isEnabled());

        Remember("/home/ann/Home.calvorin");
        Remember("/home/ann/Work.calvorin");  // already there: nothing new
        Settle();
        QCOMPARE(window->SetsView()->Paths(), QStringList({"/home/ann/Work.calvorin", "/home/ann/Home.calvorin"}));

        // Forgotten elsewhere: the list follows, keeping the order.
        {
            Autolock lock(CalvorinSettings::Protect);
            CalvorinSettings::ForgetSet("/home/ann/Work.calvorin");
        }
        Settle();
        QCOMPARE(window->SetsView()->Paths(), QStringList({"/home/ann/Home.calvorin"}));
    }

    void ForgetSelectedForgetsEverySelectedPath()
    {
        for (const char* path : {"/sets/a.calvorin", "/sets/b.calvorin", "/sets/c.calvorin"})
            Remember(path);
        SettingsWindow* window = SettingsWindow::Open();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        SelectedSetsView* list = window->SetsView();
        QCOMPARE(list->count(), 3);

        // Two paths chosen with the mouse, the second with Ctrl.
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                          list->visualItemRect(list->item(0)).center());
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          list->visualItemRect(list->item(2)).center());
        QCOMPARE(list->selectedItems().size(), 2);
        QTest::mouseClick(window->ForgetButton(), Qt::LeftButton);
        QCOMPARE(list->Paths(), QStringList({"/sets/b.calvorin"}));
        QCOMPARE(Remembered(), std::vector<std::string>({"/sets/b.calvorin"}));
        QVERIFY(window->ForgetButton()->isEnabled());

        list->item(0)->setSelected(true);
        QTest::mouseClick(window->ForgetButton(), Qt::LeftButton);
        QCOMPARE(list->count(), 0);
        QVERIFY(Remembered().empty());
        QVERIFY(!window->ForgetButton()->isEnabled());
    }

    void TheListMendsItselfAfterChangesInTheMiddle()
    {
        for (const char* path : {"/a", "/b", "/c", "/d"})
            Remember(path);
        SettingsWindow* window = SettingsWindow::Open();
        {
            Autolock lock(CalvorinSettings::Protect);
            CalvorinSettings::SetFileNames = {"/a", "/c", "/x", "/d", "/e"};
            window->SetsView()->UpdateListContents();
        }
        QCOMPARE(window->SetsView()->Paths(), QStringList({"/a", "/c", "/x", "/d", "/e"}));
    }

    void TheFrameIsKeptOnlyWhenLayoutsAreRemembered()
    {
        const Rect initial = CalvorinSettings::SettingsWindowFrame;
        {
            SettingsWindow* window = SettingsWindow::Open();
            QCOMPARE(window->geometry().topLeft(), QPoint(int(initial.left), int(initial.top)));
            window->RememberDefaultsBox()->setChecked(false);
            window->setGeometry(300, 200, 500, 420);
            window->close();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        QVERIFY(CalvorinSettings::Window == nullptr);
        QCOMPARE(CalvorinSettings::SettingsWindowFrame, initial);

        // The next window opens where the last one was not moved to.
        SettingsWindow* window = SettingsWindow::Open();
        QCOMPARE(window->geometry().topLeft(), QPoint(int(initial.left), int(initial.top)));
        window->RememberDefaultsBox()->setChecked(true);
        window->setGeometry(300, 200, 500, 420);
        window->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(CalvorinSettings::SettingsWindowFrame, (Rect{300, 200, 799, 619}));

        window = SettingsWindow::Open();
        QCOMPARE(window->geometry(), QRect(300, 200, 500, 420));

        // Closed by the application as it quits: the frame is taken too.
        window->setGeometry(320, 210, 500, 420);
        SettingsWindow::CloseOpen();
        QVERIFY(CalvorinSettings::Window == nullptr);
        QCOMPARE(CalvorinSettings::SettingsWindowFrame, (Rect{320, 210, 819, 629}));
        SettingsWindow::CloseOpen();  // none open: nothing happens
    }

private:
    std::unique_ptr<UiTestEnvironment> fEnvironment;
};

QTEST_MAIN(SettingsWindowTest)
#include "SettingsWindowTest.moc"
