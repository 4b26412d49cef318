#include "ui/SetFilePanel.h"

#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QVBoxLayout>

SetFilePanel::SetFilePanel(QWidget* parent)
    : QFileDialog(parent, QStringLiteral("Save event set")), fRemember(new QCheckBox(this))
{
    setObjectName(QStringLiteral("SetFilePanel"));
    // Qt's own dialog: the desktop's could not carry the check box.
    setOption(QFileDialog::DontUseNativeDialog, true);
    setAcceptMode(QFileDialog::AcceptSave);
    setFileMode(QFileDialog::AnyFile);
    setNameFilters({QStringLiteral("Event sets (*.calvorin)"), QStringLiteral("All files (*)")});
    setDefaultSuffix(QString::fromLatin1(kExtension));
    setWindowModality(Qt::WindowModal);

    fRemember->setText(QStringLiteral("Remember for delivery"));
    fRemember->setObjectName(QStringLiteral("Remember"));
    fRemember->setToolTip(
        QStringLiteral("Keep delivering this set's events while its window is closed"));
    // The dialog lays itself out in a grid; the box goes below everything,
    // lined up with the file name field.
    if (auto* grid = qobject_cast<QGridLayout*>(layout()))
        grid->addWidget(fRemember, grid->rowCount(), 1, 1, grid->columnCount() - 1);
    else if (auto* box = qobject_cast<QBoxLayout*>(layout()))
        box->addWidget(fRemember);
}

void SetFilePanel::PrepareFor(const QString& fileName, bool untitled, bool remembered)
{
    if (untitled) {
        // A set never saved starts in the home folder, later ones where
        // the last one went.
        if (!fFolderChosen || !directory().exists())
            setDirectory(QDir::home());
        selectFile(QString());
    } else {
        const QFileInfo info(fileName);
        setDirectory(info.absolutePath());
        selectFile(info.fileName());
    }
    fFolderChosen = true;
    fRemember->setChecked(remembered);
}

bool SetFilePanel::IsRememberChecked() const
{
    return fRemember->isChecked();
}

QString SetFilePanel::NameWithExtension(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    // A leading dot names a hidden file; it is no extension.
    if (dot > 0 && dot < name.size() - 1)
        return name;
    if (dot == name.size() - 1 && dot > 0)
        return name + QString::fromLatin1(kExtension);
    return name + QLatin1Char('.') + QString::fromLatin1(kExtension);
}
