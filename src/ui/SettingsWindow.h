// The settings window: whether window layouts are remembered as defaults,
// which sets deliver their events, how remembered sets open at start, and
// the list of remembered sets with "Forget selected". It edits
// CalvorinSettings directly; nothing reaches the settings store before the
// application quits. There is at most one.
#pragma once

#include <QWidget>

#include <cstdint>

#include "calvorin/SupportDefs.h"
#include "core/MessageTarget.h"

class QCheckBox;
class QComboBox;
class QPushButton;
class SelectedSetsView;

constexpr uint32_t RememberDefaultsMsg = 59;
constexpr uint32_t DeliveryModeMsg = 60;        // int32 "Mode"
constexpr uint32_t OpenRememberedModeMsg = 61;  // int32 "Mode"
constexpr uint32_t RememberedSetsChangedMsg = 62;
constexpr uint32_t ForgetSelectedMsg = 63;
constexpr uint32_t Time24HourMsg = 64;

class SettingsWindow : public QWidget, public MessageTarget {
    Q_OBJECT

public:
    // Builds the controls from the current settings at frame and shows
    // the window. The caller holds CalvorinSettings::Protect and makes
    // the window CalvorinSettings::Window.
    explicit SettingsWindow(Rect frame);
    ~SettingsWindow() override;

    // The application's "Settings…": under the settings lock, brings the
    // open window to the front or makes one at SettingsWindowFrame.
    static SettingsWindow* Open();
    // Closes the open window, if any, so that its frame is taken into the
    // settings (per "Remember window defaults") before they are written.
    static void CloseOpen();

    // From any thread.
    void PostMessage(const Message& message) override;
    using MessageTarget::PostMessage;
    void MessageReceived(const Message& message);

    QCheckBox* RememberDefaultsBox() const { return fRememberDefaults; }
    QCheckBox* Time24HourBox() const { return fTime24Hour; }
    QComboBox* DeliveryMenu() const { return fDelivery; }
    QComboBox* OpenRememberedMenu() const { return fOpenRemembered; }
    QPushButton* ForgetButton() const { return fForget; }
    SelectedSetsView* SetsView() const { return fSets; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void Unregister();

    QCheckBox* fRememberDefaults;
    QCheckBox* fTime24Hour;
    QComboBox* fDelivery;
    QComboBox* fOpenRemembered;
    QPushButton* fForget;
    SelectedSetsView* fSets;
    bool fRegistered = true;
};
