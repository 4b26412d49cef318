// The standard icons and the icon panel: choosing an icon, importing a
// picture as the event's own palette icon (which survives saving and
// reading the set), and keeping it among the user's icons.
#include <QImage>
#include <QPainter>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <set>

#include "EditorTestSupport.h"
#include "calvorin/IconBitmap.h"
#include "core/AlertPort.h"
#include "core/StandardIcons.h"
#include "ui/IconImport.h"
#include "ui/IconPalette.h"
#include "ui/IconPanel.h"
#include "ui/StandardIconArt.h"

namespace {

IconPanel* OpenPanel(EditorSetup& s)
{
    s.Find<QToolButton>("IconButton")->click();
    IconPanel* panel = s.window->GetIconPanel();
    return panel;
}

// Left half pure red, right half transparent, 64 x 64.
QString WriteHalfRedPicture(const QTemporaryDir& folder)
{
    QImage picture(64, 64, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.fillRect(0, 0, 32, 64, QColor(255, 0, 0));
    painter.end();
    const QString path = folder.filePath("half-red.png");
    picture.save(path);
    return path;
}

}  // namespace

class IconPanelTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        InitEditorTests();
        QVERIFY(fFolder.isValid());
    }
    void init()
    {
        Autolock settings(CalvorinSettings::Protect);
        for (IconBitmap* icon : CalvorinSettings::UserLargeIcons)
            delete icon;
        for (IconBitmap* icon : CalvorinSettings::UserMiniIcons)
            delete icon;
        CalvorinSettings::UserLargeIcons.clear();
        CalvorinSettings::UserMiniIcons.clear();
        CalvorinSettings::NumberOfUserIcons = 0;
    }

    void standardIconsAreDistinctPaletteIcons()
    {
        std::set<std::vector<uint8_t>> seen;
        for (int number = 0; number < kNumberOfStandardIcons; ++number) {
            for (bool large : {true, false}) {
                const IconBitmap* icon = GetStandardIcon(number, large);
                QVERIFY(icon != nullptr);
                const int size = large ? IconBitmap::kLargeSize : IconBitmap::kMiniSize;
                QCOMPARE(icon->Width(), size);
                QCOMPARE(icon->Height(), size);
                std::vector<uint8_t> bits(icon->Bits(), icon->Bits() + icon->BitsLength());
                const auto opaque = std::count_if(bits.begin(), bits.end(),
                                                  [](uint8_t b) { return b != IconBitmap::kTransparent; });
                // Drawn, with a transparent surround: neither empty nor a block.
                QVERIFY2(opaque > size * size / 5 && opaque < size * size, StandardIconArt::Name(number));
                QVERIFY(bits.front() == IconBitmap::kTransparent);
                QVERIFY(seen.insert(bits).second);
            }
        }
    }

    void panelChoosesStandardAndNoIcon()
    {
        EditorSetup s;
        IconPanel* panel = OpenPanel(s);
        QVERIFY(panel->isVisible());
        QCOMPARE(panel->CheckedId(), 0);
        panel->Button(7)->click();
        QCOMPARE(s.event->GetIconNumber(), 7);
        QCOMPARE(panel->CheckedId(), 7);
        panel->Button(IconPanel::kNoIconId)->click();
        QCOMPARE(s.event->GetIconNumber(), -1);
        QCOMPARE(panel->CheckedId(), int(IconPanel::kNoIconId));
        QVERIFY(!panel->findChild<QPushButton*>("AddButton")->isEnabled());
    }

    void importedPictureRoundTripsThroughASavedSet()
    {
        const QString picture = WriteHalfRedPicture(fFolder);
        const QString setFile = fFolder.filePath("icons.calvorin");
        std::vector<uint8_t> large;
        std::vector<uint8_t> mini;
        {
            EditorSetup s;
            IconPanel* panel = OpenPanel(s);
            QVERIFY(panel->ImportImageFile(picture));
            const IconBitmap* bigIcon = nullptr;
            const IconBitmap* smallIcon = nullptr;
            QCOMPARE(s.event->GetIcon(&bigIcon, &smallIcon), -2);
            const uint8_t red = IconPalette::NearestIndex(qRgb(255, 0, 0));
            QCOMPARE(IconPalette::ColorAt(red), qRgba(255, 0, 0, 255));
            // Left half red, right half transparent, in both sizes.
            for (const IconBitmap* icon : {bigIcon, smallIcon}) {
                const int size = icon->Width();
                QCOMPARE(icon->Bits()[(size / 2) * size + 1], red);
                QCOMPARE(icon->Bits()[(size / 2) * size + size - 2], IconBitmap::kTransparent);
            }
            large.assign(bigIcon->Bits(), bigIcon->Bits() + bigIcon->BitsLength());
            mini.assign(smallIcon->Bits(), smallIcon->Bits() + smallIcon->BitsLength());
            QCOMPARE(panel->CheckedId(), -1);
            QVERIFY(panel->findChild<QPushButton*>("AddButton")->isEnabled());

            Autolock lock(s.set);
            s.set->SetFileName(setFile.toUtf8().constData());
            QVERIFY(s.set->SaveData());
        }
        ConstructorResult result = kReadComplete;
        bool ok = false;
        auto* loaded = new EventSet(setFile.toUtf8().constData(), false, &result, &ok);
        QCOMPARE(int(result), int(kReadComplete));
        QVERIFY(ok);
        {
            Autolock lock(loaded);
            const IconBitmap* bigIcon = nullptr;
            const IconBitmap* smallIcon = nullptr;
            QCOMPARE(loaded->EventAt(0)->GetIcon(&bigIcon, &smallIcon), -2);
            QCOMPARE(std::vector<uint8_t>(bigIcon->Bits(), bigIcon->Bits() + bigIcon->BitsLength()), large);
            QCOMPARE(std::vector<uint8_t>(smallIcon->Bits(), smallIcon->Bits() + smallIcon->BitsLength()),
                     mini);
        }
        Autolock sets(OpenSets::Protect);
        loaded->Lock();
        delete loaded;
    }

    void pictureIsFittedKeepingItsProportions()
    {
        QImage wide(64, 32, QImage::Format_ARGB32);
        wide.fill(QColor(0, 0, 255));
        IconBitmap* large = nullptr;
        IconBitmap* mini = nullptr;
        QVERIFY(IconImport::MakeIcons(wide, &large, &mini));
        // 32 x 16 of blue in the middle rows, transparent above and below.
        QCOMPARE(large->Bits()[0], IconBitmap::kTransparent);
        QCOMPARE(large->Bits()[16 * 32], IconPalette::NearestIndex(qRgb(0, 0, 255)));
        QCOMPARE(large->Bits()[31 * 32 + 31], IconBitmap::kTransparent);
        delete large;
        delete mini;
        QVERIFY(!IconImport::MakeIcons(QImage(), &large, &mini));
    }

    void unreadablePictureIsReportedAndChangesNothing()
    {
        const QString path = fFolder.filePath("not-a-picture.png");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("this is text, not a picture");
        file.close();

        ScriptedAlertPort alerts;
        ScopedAlertPort installed(&alerts);
        EditorSetup s;
        IconPanel* panel = OpenPanel(s);
        QVERIFY(!panel->ImportImageFile(path));
        QCOMPARE(s.event->GetIconNumber(), 0);
        QCOMPARE(alerts.CountShown(), size_t(1));
        QVERIFY(QString::fromStdString(alerts.Shown()[0].text).contains(path));
    }

    void ownIconJoinsTheUsersIcons()
    {
        const QString picture = WriteHalfRedPicture(fFolder);
        EditorSetup first;
        IconPanel* panel = OpenPanel(first);
        QVERIFY(panel->ImportImageFile(picture));
        panel->findChild<QPushButton*>("AddButton")->click();
        QCOMPARE(CalvorinSettings::UserLargeIcons.size(), size_t(1));
        QCOMPARE(CalvorinSettings::NumberOfUserIcons, 1);
        QCOMPARE(panel->CountUserIconButtons(), 1);
        QCOMPARE(panel->CheckedId(), int(IconPanel::kFirstUserIconId));
        // Once only.
        panel->AddToUserIcons();
        QCOMPARE(CalvorinSettings::UserLargeIcons.size(), size_t(1));

        // Another event takes a copy of the user's icon.
        EditorSetup second;
        IconPanel* other = OpenPanel(second);
        QCOMPARE(other->CountUserIconButtons(), 1);
        other->Button(IconPanel::kFirstUserIconId)->click();
        const IconBitmap* large = nullptr;
        const IconBitmap* mini = nullptr;
        QCOMPARE(second.event->GetIcon(&large, &mini), -2);
        QVERIFY(large != CalvorinSettings::UserLargeIcons[0]);
        QVERIFY(*large == *CalvorinSettings::UserLargeIcons[0]);

        other->findChild<QPushButton*>("RemoveButton")->click();
        QCOMPARE(CalvorinSettings::UserLargeIcons.size(), size_t(0));
        QCOMPARE(other->CountUserIconButtons(), 0);
        // The event keeps its own copy.
        QCOMPARE(second.event->GetIconNumber(), -2);
    }

private:
    QTemporaryDir fFolder;
};

QTEST_MAIN(IconPanelTest)
#include "IconPanelTest.moc"
