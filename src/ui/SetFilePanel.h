// The save dialog of an event set window: Qt's own (not the desktop's)
// file dialog, so that it can carry the "Remember for delivery" check box
// under the file list. Saved sets get the extension ".calvorin" unless the
// user typed one.
#pragma once

#include <QFileDialog>
#include <QString>

class QCheckBox;

class SetFilePanel : public QFileDialog {
    Q_OBJECT

public:
    static constexpr const char* kExtension = "calvorin";

    explicit SetFilePanel(QWidget* parent);

    // Points the dialog at a set's file (a full path; an untitled name
    // starts in the user's home folder with an empty name).
    void PrepareFor(const QString& fileName, bool untitled, bool remembered);

    QCheckBox* RememberBox() const { return fRemember; }
    bool IsRememberChecked() const;

    // name with ".calvorin" appended unless it already has an extension.
    static QString NameWithExtension(const QString& name);

private:
    QCheckBox* fRemember;
    bool fFolderChosen = false;
};
