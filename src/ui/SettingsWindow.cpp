#include "ui/SettingsWindow.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMetaObject>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>

#include "calvorin/Locker.h"
#include "core/CalvorinSettings.h"
#include "core/OpenSets.h"
#include "ui/SelectedSetsView.h"

namespace {

const char* const kDeliveryChoices[] = {"Open sets only", "Open sets and remembered sets",
                                        "Remembered sets only", "Remembered sets unless open",
                                        "Do not deliver events"};
const char* const kOpenChoices[] = {"Always", "If no other sets are opened", "Don't open"};

QComboBox* PopUpMenu(const char* const* items, int count, int32_t marked, QWidget* parent)
{
    auto* menu = new QComboBox(parent);
    for (int i = 0; i < count; ++i)
        menu->addItem(QString::fromUtf8(items[i]));
    // As wide as the longest item.
    menu->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    menu->setCurrentIndex(marked >= 0 && marked < count ? int(marked) : -1);
    return menu;
}

}  // namespace

SettingsWindow::SettingsWindow(Rect frame) : QWidget(nullptr, Qt::Window)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("SettingsWindow"));
    setWindowTitle(QStringLiteral("Calvorin settings"));

    fRememberDefaults = new QCheckBox(QStringLiteral("Remember window defaults"), this);
    fRememberDefaults->setToolTip(QStringLiteral(
        "Keep the layout of event lists and the window positions for new windows"));
    fRememberDefaults->setChecked(CalvorinSettings::RememberWindowSetupAsDefault);

    fTime24Hour = new QCheckBox(QStringLiteral("Use 24-hour clock"), this);
    fTime24Hour->setToolTip(QStringLiteral("Show times as 15:05 instead of 03:05 PM"));
    fTime24Hour->setChecked(CalvorinSettings::Time24Hour);

    fDelivery = PopUpMenu(kDeliveryChoices, 5, CalvorinSettings::WhichEventsToDeliver, this);
    fOpenRemembered = PopUpMenu(kOpenChoices, 3, CalvorinSettings::SelectedSetHandling, this);

    fForget = new QPushButton(QStringLiteral("Forget selected"), this);
    fForget->setEnabled(false);
    fSets = new SelectedSetsView(fForget, this);
    fSets->setMinimumHeight(80);

    // The two pop-up fields share one label width, the wider label's.
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->addRow(QStringLiteral("Deliver events from:"), fDelivery);
    form->addRow(QStringLiteral("Open remembered sets:"), fOpenRemembered);

    auto* setsHeader = new QHBoxLayout;
    auto* setsLabel = new QLabel(QStringLiteral("Remembered sets:"), this);
    setsLabel->setBuddy(fSets);
    setsHeader->addWidget(setsLabel);
    setsHeader->addStretch(1);
    setsHeader->addWidget(fForget);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(fRememberDefaults);
    layout->addWidget(fTime24Hour);
    layout->addLayout(form);
    layout->addSpacing(6);
    layout->addLayout(setsHeader);
    layout->addWidget(fSets, 1);

    connect(fRememberDefaults, &QCheckBox::toggled, this,
            [this]() { MessageReceived(Message(RememberDefaultsMsg)); });
    connect(fTime24Hour, &QCheckBox::toggled, this,
            [this]() { MessageReceived(Message(Time24HourMsg)); });
    connect(fDelivery, &QComboBox::activated, this, [this](int index) {
        Message message(DeliveryModeMsg);
        message.AddInt32("Mode", index);
        MessageReceived(message);
    });
    connect(fOpenRemembered, &QComboBox::activated, this, [this](int index) {
        Message message(OpenRememberedModeMsg);
        message.AddInt32("Mode", index);
        MessageReceived(message);
    });
    connect(fForget, &QPushButton::clicked, this, [this]() { MessageReceived(Message(ForgetSelectedMsg)); });
    // The usual ways to close a small window.
    for (const QKeySequence& key : {QKeySequence(Qt::CTRL | Qt::Key_W), QKeySequence(Qt::Key_Escape)})
        connect(new QShortcut(key, this), &QShortcut::activated, this, &QWidget::close);

    fSets->UpdateListContents();

    // Never smaller than the controls need.
    setMinimumSize(layout->minimumSize().expandedTo(QSize(layout->sizeHint().width(), 0)));
    if (frame.IsValid()) {
        const QSize size = QSize(int(frame.Width()) + 1, int(frame.Height()) + 1).expandedTo(minimumSize());
        setGeometry(QRect(QPoint(int(frame.left), int(frame.top)), size));
    } else {
        resize(sizeHint().expandedTo(minimumSize()));
    }
    show();
}

SettingsWindow::~SettingsWindow()
{
    Unregister();
}

SettingsWindow* SettingsWindow::Open()
{
    Autolock lock(CalvorinSettings::Protect);
    if (auto* open = dynamic_cast<SettingsWindow*>(CalvorinSettings::Window)) {
        if (open->isMinimized())
            open->showNormal();
        open->raise();
        open->activateWindow();
        return open;
    }
    auto* window = new SettingsWindow(CalvorinSettings::SettingsWindowFrame);
    CalvorinSettings::Window = window;
    return window;
}

void SettingsWindow::CloseOpen()
{
    SettingsWindow* open;
    {
        Autolock lock(CalvorinSettings::Protect);
        open = dynamic_cast<SettingsWindow*>(CalvorinSettings::Window);
    }
    if (open != nullptr)
        open->close();
}

void SettingsWindow::PostMessage(const Message& message)
{
    QMetaObject::invokeMethod(
        this, [this, message]() { MessageReceived(message); }, Qt::QueuedConnection);
}

void SettingsWindow::MessageReceived(const Message& message)
{
    int32_t mode = 0;
    switch (message.what) {
        case RememberDefaultsMsg: {
            Autolock lock(CalvorinSettings::Protect);
            CalvorinSettings::RememberWindowSetupAsDefault = fRememberDefaults->isChecked();
            break;
        }
        case Time24HourMsg: {
            {
                Autolock lock(CalvorinSettings::Protect);
                CalvorinSettings::Time24Hour = fTime24Hour->isChecked();
            }
            // The settings lock is let go first: it comes before the sets'.
            OpenSets::RefreshEventTexts();
            break;
        }
        case DeliveryModeMsg:
            // A single 32-bit store; the new choice counts from the next
            // recomputation of the delivery time.
            if (message.FindInt32("Mode", &mode) == B_OK)
                CalvorinSettings::WhichEventsToDeliver = mode;
            break;
        case OpenRememberedModeMsg:
            if (message.FindInt32("Mode", &mode) == B_OK)
                CalvorinSettings::SelectedSetHandling = mode;
            break;
        case RememberedSetsChangedMsg: {
            Autolock lock(CalvorinSettings::Protect);
            fSets->UpdateListContents();
            break;
        }
        case ForgetSelectedMsg: {
            Autolock lock(CalvorinSettings::Protect);
            fSets->ForgetSelected();
            break;
        }
        default:
            break;
    }
}

void SettingsWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    if (event->isAccepted())
        Unregister();
}

void SettingsWindow::Unregister()
{
    if (!fRegistered)
        return;
    fRegistered = false;
    Autolock lock(CalvorinSettings::Protect);
    if (CalvorinSettings::Window == this)
        CalvorinSettings::Window = nullptr;
    if (CalvorinSettings::RememberWindowSetupAsDefault) {
        const QRect frame = geometry();
        CalvorinSettings::SettingsWindowFrame = Rect{float(frame.left()), float(frame.top()),
                                                     float(frame.right()), float(frame.bottom())};
    }
}
