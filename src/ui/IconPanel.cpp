#include "ui/IconPanel.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "calvorin/Event.h"
#include "calvorin/IconBitmap.h"
#include "core/CalvorinSettings.h"
#include "core/ErrorReporting.h"
#include "core/StandardIcons.h"
#include "handlers/EventLock.h"
#include "ui/IconImport.h"
#include "ui/IconPalette.h"
#include "ui/StandardIconArt.h"

namespace {

constexpr int kColumns = 6;

QPixmap NoIconPicture()
{
    QPixmap picture(32, 32);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(152, 152, 152), 2));
    painter.drawEllipse(QRectF(5, 5, 22, 22));
    painter.drawLine(QPointF(9, 23), QPointF(23, 9));
    return picture;
}

QLabel* SectionTitle(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    return label;
}

}  // namespace

IconPanel::IconPanel(Event* event, QWidget* parent) : QDialog(parent), fEvent(event)
{
    setObjectName("IconPanel");
    setWindowTitle(tr("Event icon"));
    setWindowFlag(Qt::Tool);
    setModal(false);

    fGroup = new QButtonGroup(this);
    fGroup->setExclusive(false);  // an icon of the event's own marks no button

    auto* standardGrid = new QGridLayout;
    standardGrid->setSpacing(2);
    standardGrid->addWidget(MakeButton(kNoIconId, NoIconPicture(), tr("No icon")), 0, 0);
    for (int number = 0; number < kNumberOfStandardIcons; ++number) {
        const IconBitmap* large = GetStandardIcon(number, true);
        const QPixmap picture = large != nullptr ? IconPalette::ToPixmap(*large) : QPixmap();
        const int cell = number + 1;
        standardGrid->addWidget(MakeButton(number, picture, tr(StandardIconArt::Name(number))),
                                cell / kColumns, cell % kColumns);
    }

    fUserGrid = new QGridLayout;
    fUserGrid->setSpacing(2);
    fNoUserIcons = new QLabel(tr("You have no icons of your own yet. Import a picture and "
                                 "add it to your icons."),
                              this);
    fNoUserIcons->setWordWrap(true);
    fNoUserIcons->setForegroundRole(QPalette::PlaceholderText);

    fImportButton = new QPushButton(tr("Import picture\u2026"), this);
    fImportButton->setObjectName("ImportButton");
    fAddButton = new QPushButton(tr("Add to my icons"), this);
    fAddButton->setObjectName("AddButton");
    fRemoveButton = new QPushButton(tr("Remove from my icons"), this);
    fRemoveButton->setObjectName("RemoveButton");
    auto* close = new QDialogButtonBox(QDialogButtonBox::Close, this);

    auto* actions = new QHBoxLayout;
    actions->addWidget(fImportButton);
    actions->addWidget(fAddButton);
    actions->addWidget(fRemoveButton);
    actions->addStretch();

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(SectionTitle(tr("Standard icons"), this));
    layout->addLayout(standardGrid);
    layout->addSpacing(6);
    layout->addWidget(SectionTitle(tr("My icons"), this));
    layout->addLayout(fUserGrid);
    layout->addWidget(fNoUserIcons);
    layout->addSpacing(6);
    layout->addLayout(actions);
    layout->addWidget(close);

    connect(fGroup, &QButtonGroup::idClicked, this, &IconPanel::ButtonClicked);
    connect(fImportButton, &QPushButton::clicked, this, [this] {
        QFileDialog* dialog = ImportDialog();
        dialog->show();
        dialog->raise();
    });
    connect(fAddButton, &QPushButton::clicked, this, &IconPanel::AddToUserIcons);
    connect(fRemoveButton, &QPushButton::clicked, this, [this] {
        const int id = CheckedId();
        if (id >= kFirstUserIconId)
            RemoveUserIcon(id - kFirstUserIconId);
    });
    connect(close, &QDialogButtonBox::rejected, this, &QDialog::close);

    {
        Autolock settings(CalvorinSettings::Protect);
        move(int(CalvorinSettings::IconPanelLocation.x), int(CalvorinSettings::IconPanelLocation.y));
    }
    Refresh();
}

IconPanel::~IconPanel() = default;

QToolButton* IconPanel::MakeButton(int id, const QPixmap& picture, const QString& tip)
{
    auto* button = new QToolButton(this);
    button->setObjectName(QStringLiteral("Icon%1").arg(id));
    button->setCheckable(true);
    button->setAutoRaise(true);
    button->setIcon(QIcon(picture));
    button->setIconSize(QSize(32, 32));
    button->setFixedSize(42, 42);
    button->setToolTip(tip);
    fGroup->addButton(button, id);
    return button;
}

QToolButton* IconPanel::Button(int id) const
{
    return qobject_cast<QToolButton*>(fGroup->button(id));
}

int IconPanel::CheckedId() const
{
    for (QAbstractButton* button : fGroup->buttons()) {
        if (button->isChecked())
            return fGroup->id(button);
    }
    return -1;
}

void IconPanel::RebuildUserIcons()
{
    for (int index = 0; index < fUserButtonCount; ++index) {
        // The button may be the one whose click led here: it goes later.
        if (QAbstractButton* button = fGroup->button(kFirstUserIconId + index)) {
            fGroup->removeButton(button);
            fUserGrid->removeWidget(button);
            button->hide();
            button->deleteLater();
        }
    }
    fUserButtonCount = 0;
    // The caller holds the settings lock.
    const size_t count = std::min(CalvorinSettings::UserLargeIcons.size(),
                                  CalvorinSettings::UserMiniIcons.size());
    for (size_t index = 0; index < count; ++index) {
        const IconBitmap* large = CalvorinSettings::UserLargeIcons[index];
        if (large == nullptr)
            continue;
        QToolButton* button = MakeButton(kFirstUserIconId + int(index), IconPalette::ToPixmap(*large),
                                         tr("My icon %1").arg(index + 1));
        fUserGrid->addWidget(button, int(index) / kColumns, int(index) % kColumns);
        ++fUserButtonCount;
    }
    fNoUserIcons->setVisible(fUserButtonCount == 0);
}

void IconPanel::Refresh()
{
    // Settings first, then the set: the program's lock order.
    Autolock settings(CalvorinSettings::Protect);
    RebuildUserIcons();
    int checked = -1;
    bool ownIcon = false;
    {
        EventLock lock(fEvent);
        const IconBitmap* large = nullptr;
        const IconBitmap* mini = nullptr;
        const int32_t number = fEvent->GetIcon(&large, &mini);
        if (number == -1) {
            checked = kNoIconId;
        } else if (number >= 0 && number < kNumberOfStandardIcons) {
            checked = number;
        } else if (number == -2 && large != nullptr && mini != nullptr) {
            ownIcon = true;
            const int32_t user = CalvorinSettings::WhichUserIcon(large, mini);
            if (user >= 0)
                checked = kFirstUserIconId + user;
        }
    }
    for (QAbstractButton* button : fGroup->buttons())
        button->setChecked(fGroup->id(button) == checked);
    fAddButton->setEnabled(ownIcon && checked < kFirstUserIconId);
    fRemoveButton->setEnabled(checked >= kFirstUserIconId);
}

void IconPanel::ButtonClicked(int id)
{
    if (id == kNoIconId)
        ChooseNoIcon();
    else if (id >= kFirstUserIconId)
        ChooseUserIcon(id - kFirstUserIconId);
    else
        ChooseStandardIcon(id);
}

void IconPanel::ChooseNoIcon()
{
    {
        EventLock lock(fEvent);
        fEvent->SetIcon(-1, nullptr, nullptr);
    }
    Refresh();
}

void IconPanel::ChooseStandardIcon(int number)
{
    if (number < 0 || number >= kNumberOfStandardIcons)
        return;
    {
        EventLock lock(fEvent);
        fEvent->SetIcon(number, nullptr, nullptr);
    }
    Refresh();
}

void IconPanel::ChooseUserIcon(int index)
{
    IconBitmap* large = nullptr;
    IconBitmap* mini = nullptr;
    {
        Autolock settings(CalvorinSettings::Protect);
        if (index < 0 || size_t(index) >= CalvorinSettings::UserLargeIcons.size() ||
            size_t(index) >= CalvorinSettings::UserMiniIcons.size())
            return;
        // The event gets copies: the user's icons stay the settings' own.
        large = new IconBitmap(*CalvorinSettings::UserLargeIcons[size_t(index)]);
        mini = new IconBitmap(*CalvorinSettings::UserMiniIcons[size_t(index)]);
    }
    {
        EventLock lock(fEvent);
        fEvent->SetIcon(-2, large, mini);
    }
    Refresh();
}

bool IconPanel::ImportImageFile(const QString& path)
{
    IconBitmap* large = nullptr;
    IconBitmap* mini = nullptr;
    QString error;
    if (!IconImport::ReadFile(path, &large, &mini, &error)) {
        const QByteArray text = error.toUtf8();
        ReportError(text.constData());
        return false;
    }
    {
        EventLock lock(fEvent);
        fEvent->SetIcon(-2, large, mini);
    }
    Refresh();
    return true;
}

void IconPanel::AddToUserIcons()
{
    Autolock settings(CalvorinSettings::Protect);
    IconBitmap* large = nullptr;
    IconBitmap* mini = nullptr;
    {
        EventLock lock(fEvent);
        const IconBitmap* ownLarge = nullptr;
        const IconBitmap* ownMini = nullptr;
        if (fEvent->GetIcon(&ownLarge, &ownMini) != -2 || ownLarge == nullptr || ownMini == nullptr)
            return;
        if (CalvorinSettings::WhichUserIcon(ownLarge, ownMini) >= 0)
            return;
        large = new IconBitmap(*ownLarge);
        mini = new IconBitmap(*ownMini);
    }
    CalvorinSettings::UserLargeIcons.push_back(large);
    CalvorinSettings::UserMiniIcons.push_back(mini);
    CalvorinSettings::NumberOfUserIcons = int32_t(CalvorinSettings::UserLargeIcons.size());
    Refresh();
}

void IconPanel::RemoveUserIcon(int index)
{
    {
        Autolock settings(CalvorinSettings::Protect);
        auto& larges = CalvorinSettings::UserLargeIcons;
        auto& minis = CalvorinSettings::UserMiniIcons;
        if (index < 0 || size_t(index) >= larges.size() || size_t(index) >= minis.size())
            return;
        delete larges[size_t(index)];
        delete minis[size_t(index)];
        larges.erase(larges.begin() + index);
        minis.erase(minis.begin() + index);
        CalvorinSettings::NumberOfUserIcons = int32_t(larges.size());
    }
    Refresh();
}

QFileDialog* IconPanel::ImportDialog()
{
    if (fImportDialog == nullptr) {
        fImportDialog = new QFileDialog(this, tr("Import a picture as the event's icon"));
        fImportDialog->setObjectName("ImportDialog");
        fImportDialog->setFileMode(QFileDialog::ExistingFile);
        QStringList patterns;
        for (const QByteArray& format : QImageReader::supportedImageFormats())
            patterns << QStringLiteral("*.") + QString::fromLatin1(format);
        fImportDialog->setNameFilters({tr("Pictures (%1)").arg(patterns.join(QLatin1Char(' '))),
                                       tr("All files (*)")});
        connect(fImportDialog, &QFileDialog::fileSelected, this, &IconPanel::ImportImageFile);
    }
    return fImportDialog;
}

void IconPanel::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!fShown) {
        fShown = true;
        Autolock settings(CalvorinSettings::Protect);
        ++CalvorinSettings::OpenIconPanel;
    }
    Refresh();
}

void IconPanel::hideEvent(QHideEvent* event)
{
    QDialog::hideEvent(event);
    RememberLocation();
}

void IconPanel::RememberLocation()
{
    if (!fShown)
        return;
    fShown = false;
    // The settings come before a set in the lock order; a caller that holds
    // the event's set keeps the old location.
    Locker* setLock = fEvent->GetProtectionSemaphore();
    if (setLock != nullptr && setLock->IsLocked())
        return;
    Autolock settings(CalvorinSettings::Protect);
    --CalvorinSettings::OpenIconPanel;
    CalvorinSettings::IconPanelLocation = Point{float(pos().x()), float(pos().y())};
}
