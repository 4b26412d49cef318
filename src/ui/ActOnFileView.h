// The "Act on file" handler's edit view: the chosen file, a button that
// opens the file dialog, and whether to ask the user before acting.
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"
#include "ui/VerifiedTextEditView.h"

class ActOnFileDataHandler;
class QFileDialog;
class QLabel;
class QPushButton;

class ActOnFileView : public VerifiedTextEditView {
    Q_OBJECT

public:
    static constexpr uint32_t kSelectFileMsg = 0x42;

    ActOnFileView(ActOnFileDataHandler* data, QWidget* parent = nullptr);

    static QWidget* Make(ActOnFileDataHandler* data, Rect frame);

    // 0x42 shows the file dialog; 0x43 stores the check box (without
    // marking the event modified).
    void MessageReceived(uint32_t what) override;
    // The dialog's answer: stores the path as chosen (links are not
    // followed), marks the event modified and shows the new line. An empty
    // path changes nothing.
    void FileChosen(const QString& path);
    // "File: " and the path, or "File: <none selected>".
    QString FileLine() const;
    QFileDialog* FileDialog() const { return fDialog; }

private:
    void ShowFileLine();

    ActOnFileDataHandler* fData;
    QLabel* fFileLine;
    QPushButton* fSelectButton;
    QFileDialog* fDialog = nullptr;
};
