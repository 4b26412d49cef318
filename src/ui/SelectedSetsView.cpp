#include "ui/SelectedSetsView.h"

#include <QAbstractButton>

#include <algorithm>
#include <string>
#include <vector>

#include "core/CalvorinSettings.h"

SelectedSetsView::SelectedSetsView(QAbstractButton* forgetButton, QWidget* parent)
    : QListWidget(parent), fForgetButton(forgetButton)
{
    setObjectName(QStringLiteral("SelectedSetsView"));
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    // Long paths scroll sideways rather than lose their middle.
    setTextElideMode(Qt::ElideNone);
    setWordWrap(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setUniformItemSizes(true);
}

void SelectedSetsView::UpdateListContents()
{
    const std::vector<std::string>& names = CalvorinSettings::SetFileNames;
    setUpdatesEnabled(false);
    // Items that no longer match the name at their place go; what stays is
    // the part of the list that already agrees with the names.
    int row = 0;
    while (row < count()) {
        if (size_t(row) >= names.size()) {
            delete takeItem(row);
            continue;
        }
        if (item(row)->text() != QString::fromStdString(names[size_t(row)])) {
            delete takeItem(row);
            continue;
        }
        ++row;
    }
    for (size_t i = size_t(count()); i < names.size(); ++i) {
        auto* entry = new QListWidgetItem(QString::fromStdString(names[i]), this);
        entry->setToolTip(entry->text());
    }
    const bool any = !names.empty();
    if (fForgetButton->isEnabled() != any)
        fForgetButton->setEnabled(any);
    setUpdatesEnabled(true);
}

void SelectedSetsView::ForgetSelected()
{
    std::vector<std::string>& names = CalvorinSettings::SetFileNames;
    setUpdatesEnabled(false);
    const QList<QListWidgetItem*> chosen = selectedItems();
    for (QListWidgetItem* entry : chosen) {
        const std::string path = entry->text().toStdString();
        auto it = std::find(names.begin(), names.end(), path);
        if (it != names.end())
            names.erase(it);
        delete takeItem(row(entry));
    }
    UpdateListContents();
    setUpdatesEnabled(true);
}

QStringList SelectedSetsView::Paths() const
{
    QStringList paths;
    for (int i = 0; i < count(); ++i)
        paths << item(i)->text();
    return paths;
}
