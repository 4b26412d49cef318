// The icon chooser of one event: no icon, one of the eleven standard icons,
// one of the user's own icons, or a picture from a file, which becomes the
// event's own icon and can be kept among the user's icons.
#pragma once

#include <QDialog>

class Event;
class QButtonGroup;
class QFileDialog;
class QGridLayout;
class QLabel;
class QPushButton;
class QToolButton;

class IconPanel : public QDialog {
    Q_OBJECT

public:
    // Button ids: 0..10 the standard icons, these for the others.
    static constexpr int kNoIconId = 50;
    static constexpr int kFirstUserIconId = 100;

    IconPanel(Event* event, QWidget* parent = nullptr);
    ~IconPanel() override;

    // Marks the event's icon and shows the user's icons as they are now.
    void Refresh();
    // The id of the marked button, or -1 when none is (an icon of the
    // event's own that is not among the user's).
    int CheckedId() const;
    QToolButton* Button(int id) const;
    int CountUserIconButtons() const { return fUserButtonCount; }

    void ChooseNoIcon();
    void ChooseStandardIcon(int number);
    void ChooseUserIcon(int index);
    // Makes the picture in the file the event's own icon; a file that is
    // not a readable picture is reported and changes nothing.
    bool ImportImageFile(const QString& path);
    // Keeps the event's own icon among the user's icons (once).
    void AddToUserIcons();
    void RemoveUserIcon(int index);
    // The dialog of "Import picture…", made on first use.
    QFileDialog* ImportDialog();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QToolButton* MakeButton(int id, const QPixmap& picture, const QString& tip);
    void RebuildUserIcons();
    void ButtonClicked(int id);
    void RememberLocation();

    Event* fEvent;
    QButtonGroup* fGroup;
    QGridLayout* fUserGrid;
    QLabel* fNoUserIcons;
    QPushButton* fImportButton;
    QPushButton* fAddButton;
    QPushButton* fRemoveButton;
    QFileDialog* fImportDialog = nullptr;
    int fUserButtonCount = 0;
    bool fShown = false;
};
