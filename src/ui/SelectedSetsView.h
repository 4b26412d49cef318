// The list of remembered sets in the settings window: the remembered paths
// in their order, several selectable at once. It enables the window's
// "Forget selected" button only while there is something to forget.
#pragma once

#include <QListWidget>

class QAbstractButton;

class SelectedSetsView : public QListWidget {
    Q_OBJECT

public:
    SelectedSetsView(QAbstractButton* forgetButton, QWidget* parent = nullptr);

    // Brings the list in line with the remembered sets. The caller holds
    // CalvorinSettings::Protect.
    void UpdateListContents();
    // Forgets every selected path. The caller holds CalvorinSettings::Protect.
    void ForgetSelected();

    // The paths shown, in order.
    QStringList Paths() const;

private:
    QAbstractButton* fForgetButton;
};
