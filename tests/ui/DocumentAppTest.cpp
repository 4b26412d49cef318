// The application base and the alert port: windows and the handlers' work
// hold the application, and only the release of the last hold (from any
// thread) asks it to quit, once; a quit request closes the document
// windows and is refused while one stays. Alerts show their buttons in the
// order given with the last one the default, answer with the button
// clicked, come to the GUI thread from other threads, and leave the other
// windows usable.
#include <QApplication>
#include <QCloseEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "calvorin/EventAddOnData.h"
#include "ui/DocumentApp.h"
#include "ui/QtAlertPort.h"

namespace {

class TestApp : public DocumentApp {
public:
    TestApp(int& argc, char** argv) : DocumentApp(argc, argv, "application/x-vnd.QZ-CalvorinTest") {}
    void PostQuitRequest() override { quitRequests.fetch_add(1); }
    std::atomic<int> quitRequests{0};
};

TestApp* App()
{
    return static_cast<TestApp*>(DocumentApp::Instance());
}

// A document window that holds the application while it is open, and may
// refuse to close (unsaved changes the user keeps).
class DocumentWindow : public QWidget {
public:
    explicit DocumentWindow(bool refuses = false) : fRefuses(refuses)
    {
        setProperty("calvorinDocumentWindow", true);
        App()->RegisterWindow();
        show();
    }
    ~DocumentWindow() override
    {
        if (fOpen)
            App()->UnregisterWindow();
    }

protected:
    void closeEvent(QCloseEvent* event) override
    {
        if (fRefuses) {
            event->ignore();
            return;
        }
        event->accept();
        if (fOpen) {
            fOpen = false;
            App()->UnregisterWindow();
        }
    }

private:
    bool fRefuses;
    bool fOpen = true;
};

// The alert box on screen, if any.
QMessageBox* ShownAlert()
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->objectName() == QLatin1String("CalvorinAlert") && widget->isVisible())
            return qobject_cast<QMessageBox*>(widget);
    }
    return nullptr;
}

// Once the box is up, looks at it (check) and clicks button index.
void AnswerWhenShown(int index, std::function<void(QMessageBox*)> check = nullptr)
{
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, timer, [timer, index, check]() {
        QMessageBox* box = ShownAlert();
        if (box == nullptr)
            return;
        timer->stop();
        timer->deleteLater();
        if (check)
            check(box);
        QTest::mouseClick(box->buttons().at(index), Qt::LeftButton);
    });
    timer->start(10);
}

AlertRequest Request(std::vector<std::string> buttons, std::vector<char> shortcuts = {})
{
    AlertRequest request;
    request.title = "Calvorin nag";
    request.text = "The event \"Dentist\" occurred today.";
    request.buttons = std::move(buttons);
    request.shortcuts = std::move(shortcuts);
    request.kind = AlertKind::Information;
    return request;
}

}  // namespace

class DocumentAppTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        App()->quitRequests = 0;
        QCOMPARE(App()->CountRegWindProcHolds(), 0);
    }

    void windowsAndHandlerWorkHoldTheApplication()
    {
        App()->RegisterWindow();
        EventAddOnData::ProcessHold();  // a command runs
        QCOMPARE(App()->CountRegWindProcHolds(), 2);
        // The command ends while the window is open: nothing happens.
        EventAddOnData::ProcessDone();
        QCOMPARE(App()->quitRequests.load(), 0);
        App()->UnregisterWindow();
        QCOMPARE(App()->quitRequests.load(), 1);

        // The window goes first, the command later: the command's end asks.
        App()->RegisterWindow();
        EventAddOnData::ProcessHold();
        App()->UnregisterWindow();
        QCOMPARE(App()->quitRequests.load(), 1);
        EventAddOnData::ProcessDone();
        QCOMPARE(App()->quitRequests.load(), 2);
        QCOMPARE(App()->CountRegWindProcHolds(), 0);
    }

    void theLastReleaseFromManyThreadsAsksOnce()
    {
        constexpr int kThreads = 8;
        constexpr int kEach = 500;
        for (int i = 0; i < kThreads * kEach; ++i)
            App()->ProcessHold();
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([] {
                for (int i = 0; i < kEach; ++i)
                    App()->ProcessDone();
            });
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(App()->CountRegWindProcHolds(), 0);
        QCOMPARE(App()->quitRequests.load(), 1);
    }

    void aQuitRequestClosesDocumentWindowsAndWaitsForTheOnesThatStay()
    {
        auto* plain = new DocumentWindow;
        auto* keeps = new DocumentWindow(true);
        QWidget other;  // not a document: left alone
        other.show();
        QVERIFY(!App()->QuitRequested());
        QVERIFY(App()->IsQuitInProgress());
        QVERIFY(!plain->isVisible());
        QVERIFY(keeps->isVisible());
        QVERIFY(other.isVisible());
        QCOMPARE(App()->CountRegWindProcHolds(), 1);
        // A new window calls the quit off.
        auto* fresh = new DocumentWindow;
        QVERIFY(!App()->IsQuitInProgress());
        delete fresh;
        delete keeps;
        QVERIFY(App()->QuitRequested());
        delete plain;
        QCOMPARE(App()->quitRequests.load(), 1);  // the last window's release
    }

    void alertButtonsKeepTheirOrderAndTheLastIsTheDefault()
    {
        QtAlertPort port(false);
        // What the box showed, looked at after it is gone.
        QStringList labels;
        bool inOrder = false;
        bool lastIsDefault = false;
        QKeySequence shortcut;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QString title;
        QString text;
        AnswerWhenShown(0, [&](QMessageBox* box) {
            const QList<QAbstractButton*> buttons = box->buttons();
            for (QAbstractButton* button : buttons)
                labels << button->text();
            if (buttons.size() == 2) {
                inOrder = buttons[0]->mapToGlobal(QPoint()).x() < buttons[1]->mapToGlobal(QPoint()).x();
                lastIsDefault = box->defaultButton() == buttons[1];
                shortcut = buttons[0]->shortcut();
            }
            icon = box->icon();
            title = box->windowTitle();
            text = box->text();
        });
        QCOMPARE(port.Go(Request({"No more nagging", "OK"}, {'n', 0})), 0);
        QCOMPARE(labels, QStringList({"No more nagging", "OK"}));
        QVERIFY(inOrder);
        QVERIFY(lastIsDefault);
        QCOMPARE(shortcut, QKeySequence("n"));
        QCOMPARE(icon, QMessageBox::Information);
        QCOMPARE(title, QString("Calvorin nag"));
        QCOMPARE(text, QString("The event \"Dentist\" occurred today."));

        AnswerWhenShown(1);
        QCOMPARE(port.Go(Request({"No more nagging", "OK"}, {'n', 0})), 1);
    }

    void aWaitingAlertLeavesTheOtherWindowsUsable()
    {
        QtAlertPort port(false);
        QWidget window;
        window.show();
        bool usable = false;
        AnswerWhenShown(0, [&usable, &window](QMessageBox* box) {
            usable = QApplication::activeModalWidget() == nullptr &&
                     box->windowModality() == Qt::NonModal && window.isEnabled();
        });
        port.Go(Request({"Continue"}));
        QVERIFY(usable);
    }

    void anAlertFromAnotherThreadIsShownOnTheGuiThread()
    {
        QtAlertPort port(false);
        bool onGuiThread = false;
        AnswerWhenShown(1, [&onGuiThread](QMessageBox* box) {
            onGuiThread = box->thread() == QCoreApplication::instance()->thread();
        });
        std::atomic<int> answer{-1};
        std::thread worker([&port, &answer] { answer = port.Go(Request({"Cancel", "Run", "OK"})); });
        QTRY_VERIFY_WITH_TIMEOUT(answer.load() != -1, 10000);
        worker.join();
        QCOMPARE(answer.load(), 1);
        QVERIFY(onGuiThread);
    }

    void withoutADisplayAlertsAnswerTheDefaultAtOnce()
    {
        // The tests run on the offscreen platform: no box is shown.
        QtAlertPort port;
        QCOMPARE(port.Go(Request({"No more prewarnings", "OK"})), 1);
        QCOMPARE(ShownAlert(), static_cast<QMessageBox*>(nullptr));
    }
};

int main(int argc, char** argv)
{
    TestApp app(argc, argv);
    DocumentAppTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "DocumentAppTest.moc"
