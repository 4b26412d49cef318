#include "ui/QtAlertPort.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

#include <vector>

namespace {

QMessageBox::Icon IconFor(AlertKind kind)
{
    switch (kind) {
        case AlertKind::Information: return QMessageBox::Information;
        case AlertKind::Warning: return QMessageBox::Warning;
        case AlertKind::Stop: return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

}  // namespace

int QtAlertPort::Go(const AlertRequest& request)
{
    // Without an application, or without a screen to show a box on, the
    // alert goes to stderr and is answered with its default button.
    QCoreApplication* app = QCoreApplication::instance();
    if (app == nullptr ||
        (fConsoleWithoutDisplay && QGuiApplication::platformName() == QLatin1String("offscreen")))
        return ConsoleAlertPort().Go(request);
    if (QThread::currentThread() == app->thread())
        return Show(request);
    // A worker thread waits while the GUI thread shows the box.
    int answer = 0;
    QMetaObject::invokeMethod(
        app, [&answer, &request]() { answer = Show(request); }, Qt::BlockingQueuedConnection);
    return answer;
}

int QtAlertPort::Show(const AlertRequest& request)
{
    QMessageBox box;
    box.setObjectName(QStringLiteral("CalvorinAlert"));
    box.setWindowTitle(QString::fromStdString(request.title));
    box.setText(QString::fromStdString(request.text));
    box.setIcon(IconFor(request.kind));
    // Not application-modal: the user can go on working in the windows
    // while a reminder waits for an answer.
    box.setWindowModality(Qt::NonModal);

    std::vector<QPushButton*> buttons;
    std::vector<std::string> labels = request.buttons;
    if (labels.empty())
        labels.push_back("OK");
    for (size_t i = 0; i < labels.size(); ++i) {
        // One role for all keeps them in the order given.
        QPushButton* button =
            box.addButton(QString::fromStdString(labels[i]), QMessageBox::ActionRole);
        char key = i < request.shortcuts.size() ? request.shortcuts[i] : 0;
        if (key != 0)
            button->setShortcut(QKeySequence(QString(QChar(key))));
        buttons.push_back(button);
    }
    box.setDefaultButton(buttons.back());
    box.setEscapeButton(buttons.back());

    QEventLoop loop;
    QObject::connect(&box, &QMessageBox::finished, &loop, &QEventLoop::quit);
    box.show();
    box.raise();
    box.activateWindow();
    loop.exec();

    QAbstractButton* clicked = box.clickedButton();
    for (size_t i = 0; i < buttons.size(); ++i) {
        if (buttons[i] == clicked)
            return int(i);
    }
    return int(buttons.size()) - 1;
}
