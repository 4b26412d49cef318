#include "ui/AboutBox.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>

void AboutBox::Show(QWidget* parent)
{
    auto* about = new QMessageBox(parent);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->setObjectName(QStringLiteral("AboutBox"));
    about->setWindowTitle(QStringLiteral("About Calvorin"));
    const QIcon icon = QApplication::windowIcon();
    if (icon.isNull())
        about->setIcon(QMessageBox::Information);
    else
        about->setIconPixmap(icon.pixmap(64, 64));
    about->setText(QStringLiteral("<h3>Calvorin</h3><p>Version %1</p>").arg(QStringLiteral(CALVORIN_VERSION)));
    about->setInformativeText(
        QStringLiteral("Keeps your appointments in event sets and reminds you of them when they "
                       "fall due.<br><br>Licence: MIT"));
    about->setStandardButtons(QMessageBox::Ok);
    about->setWindowModality(Qt::WindowModal);
    about->open();
}
