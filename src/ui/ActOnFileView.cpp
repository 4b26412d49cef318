#include "ui/ActOnFileView.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "calvorin/Event.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/EventLock.h"

ActOnFileView::ActOnFileView(ActOnFileDataHandler* data, QWidget* parent)
    : VerifiedTextEditView(data, parent), fData(data)
{
    setObjectName("ActOnFileView");
    fFileLine = new QLabel(this);
    fFileLine->setObjectName("FileLine");
    fFileLine->setTextInteractionFlags(Qt::TextSelectableByMouse);
    fFileLine->setWordWrap(true);
    fSelectButton = new QPushButton(tr("Select file"), this);
    fSelectButton->setObjectName("SelectFile");
    MakeVerifyBox(tr("Verify with user before acting on file"));
    ShowFileLine();

    auto* buttonRow = new QHBoxLayout;
    buttonRow->addWidget(fSelectButton);
    buttonRow->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(fFileLine);
    layout->addLayout(buttonRow);
    layout->addWidget(fVerifyBox);
    layout->addStretch();

    connect(fSelectButton, &QPushButton::clicked, this, [this] { MessageReceived(kSelectFileMsg); });
}

QWidget* ActOnFileView::Make(ActOnFileDataHandler* data, Rect)
{
    return new ActOnFileView(data);
}

QString ActOnFileView::FileLine() const
{
    return fFileLine->text();
}

void ActOnFileView::ShowFileLine()
{
    QString path;
    {
        EventLock lock(fData->GetAttachedTo());
        const char* name = fData->GetFileName();
        path = QString::fromUtf8(name != nullptr ? name : "");
    }
    fFileLine->setText(tr("File: ") + (path.isEmpty() ? tr("<none selected>") : path));
}

void ActOnFileView::MessageReceived(uint32_t what)
{
    switch (what) {
        case kSelectFileMsg: {
            if (fDialog == nullptr) {
                fDialog = new QFileDialog(this, tr("Select a file to act on"));
                fDialog->setObjectName("ActOnFileDialog");
                fDialog->setFileMode(QFileDialog::ExistingFile);
                fDialog->setOption(QFileDialog::DontResolveSymlinks);
                fDialog->setWindowModality(Qt::NonModal);
                connect(fDialog, &QFileDialog::fileSelected, this, &ActOnFileView::FileChosen);
            }
            // Open where the current file is, when there is one that can be found.
            QString folder;
            {
                EventLock lock(fData->GetAttachedTo());
                if (const char* name = fData->GetFileName())
                    folder = QFileInfo(QString::fromUtf8(name)).absolutePath();
            }
            fDialog->setDirectory(!folder.isEmpty() && QDir(folder).exists() ? folder : QDir::homePath());
            fDialog->show();
            fDialog->raise();
            return;
        }
        case kVerifyChangedMsg:
            StoreVerify();
            return;
        default:
            return;
    }
}

void ActOnFileView::FileChosen(const QString& path)
{
    if (path.isEmpty())
        return;
    const QByteArray bytes = QDir::cleanPath(path).toUtf8();
    fData->SetFileName(bytes.constData());
    ShowFileLine();
}
