// The event list on its own: its columns and rows, sorting by header
// clicks with the keys kept in the set, the column layout kept in the set
// and restored from a saved file, the keys it turns into messages, and the
// icons it draws.
#include <QHeaderView>
#include <QTest>

#include <memory>

#include "UiTestSupport.h"
#include "core/StandardIcons.h"
#include "ui/EventListHeader.h"
#include "ui/EventListModel.h"
#include "ui/EventListView.h"
#include "ui/IconPalette.h"

namespace {

constexpr int32_t kDay = 86400;
constexpr int32_t kNow = 1700000000;

// A set without a window, shown by a list of its own.
struct ListFixture {
    explicit ListFixture(const char* path = nullptr) : set(LoadSet(path, false))
    {
        view = std::make_unique<EventListView>(set, &window);
        view->resize(700, 300);
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
    }
    ~ListFixture()
    {
        view.reset();
        Autolock setsLock(OpenSets::Protect);
        set->Lock();
        delete set;
    }

    QStringList Names() const
    {
        QStringList names;
        for (int row = 0; row < view->Model()->rowCount(); ++row)
            names << view->Model()->index(row, kNameColumn).data().toString();
        return names;
    }
    // Clicks the header of a column, with shift for a further key.
    void ClickHeader(int column, bool shift = false)
    {
        QHeaderView* header = view->header();
        const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
        QTest::mouseClick(header->viewport(), Qt::LeftButton,
                          shift ? Qt::ShiftModifier : Qt::NoModifier, QPoint(x, header->height() / 2));
    }
    // Drags the right edge of a column's header by dx, as a user resizes it.
    void DragEdge(int column, int dx)
    {
        QHeaderView* header = view->header();
        const int edge = header->sectionViewportPosition(column) + header->sectionSize(column) - 1;
        const int y = header->height() / 2;
        QTest::mousePress(header->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(edge, y));
        QTest::mouseMove(header->viewport(), QPoint(edge + dx / 2, y));
        QTest::mouseMove(header->viewport(), QPoint(edge + dx, y));
        QTest::mouseRelease(header->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(edge + dx, y));
    }
    void SelectRow(int row)
    {
        view->SelectEvent(view->Model()->EventAt(row));
    }

    RecordingTarget window;
    EventSet* set;
    std::unique_ptr<EventListView> view;
};

// Keys, modes and count as the set keeps them.
struct StoredSorting {
    int32_t count;
    std::vector<int32_t> keys;
    std::vector<CLVSortMode> modes;
};

StoredSorting SortingOf(EventSet* set)
{
    int32_t keys[5];
    CLVSortMode modes[5];
    Autolock lock(set);
    const int32_t count = set->Sorting(keys, modes);
    return {count, std::vector<int32_t>(keys, keys + count), std::vector<CLVSortMode>(modes, modes + count)};
}

}  // namespace

class EventListTest : public QObject {
    Q_OBJECT

private slots:
    void init() { fEnvironment = std::make_unique<UiTestEnvironment>(); }
    void cleanup() { fEnvironment.reset(); }

    void EmptySetShowsOnlyTheHeaders()
    {
        ListFixture list;
        QCOMPARE(list.view->Model()->rowCount(), 0);
        QCOMPARE(list.view->Model()->columnCount(), 6);
        const QStringList titles = {"", "Name", "Event time", "Next message time", "Handler", "Status"};
        for (int column = 0; column < 6; ++column)
            QCOMPARE(list.view->Model()->headerData(column, Qt::Horizontal).toString(), titles[column]);
        QVERIFY(list.view->GetSelectedEvent() == nullptr);

        // An invocation with nothing selected still names the event: none.
        list.view->Invoke();
        const std::vector<Message> posted = list.window.Messages();
        QCOMPARE(posted.size(), size_t(1));
        QCOMPARE(posted[0].what, kEditEventMsg);
        QVERIFY(posted[0].HasField("Event"));
        QVERIFY(posted[0].GetPointer("Event") == nullptr);
    }

    void ColumnsStartFromTheSetsLayout()
    {
        ListFixture list;
        QHeaderView* header = list.view->header();
        // The defaults of a new set: "Next message time" hidden, the icon
        // column fixed at 20 whatever width the set gives it.
        QVERIFY(header->isSectionHidden(kNextMessageTimeColumn));
        QCOMPARE(header->sectionSize(kIconColumn), 20);
        QCOMPARE(header->sectionResizeMode(kIconColumn), QHeaderView::Fixed);
        QCOMPARE(header->sectionSize(kNameColumn), 190);
        // A width too small for the title (saved with another font) shows
        // the whole title, and the set keeps its width.
        auto* labels = static_cast<EventListHeader*>(header);
        QCOMPARE(header->sectionSize(kHandlerColumn), std::max(60, labels->TitleWidth(kHandlerColumn)));
        {
            Autolock lock(list.set);
            list.set->SetColumnWidth(kStatusColumn, 5);
        }
        list.view = std::make_unique<EventListView>(list.set, &list.window);
        header = list.view->header();
        // Status texts have a fixed form: the column shows them whole.
        QVERIFY(header->sectionSize(kStatusColumn) >
                list.view->fontMetrics().horizontalAdvance("Waiting for prewarning"));
        for (int column = 0; column < 6; ++column)
            QCOMPARE(header->visualIndex(column), column);
        Autolock lock(list.set);
        QCOMPARE(list.set->GetColumnWidth(kStatusColumn), 5.0f);
    }

    void RowsShowTheEventsColumnTexts()
    {
        ListFixture list;
        Event* dentist = AddNamedEvent(list.set, "Dentist", kNow + 2 * kDay);
        Event* backup = AddNamedEvent(list.set, "Backup", kNow + kDay, kCommandHandler);
        {
            Autolock lock(list.set);
            backup->SetActive(false);
        }
        list.view->AddEvent(dentist);
        list.view->AddEvent(backup);
        list.view->SortEvents();

        EventListModel* model = list.view->Model();
        QCOMPARE(model->rowCount(), 2);
        const int row = model->RowOf(backup);
        QVERIFY(row >= 0);
        QCOMPARE(model->index(row, kNameColumn).data().toString(), QString("Backup"));
        QCOMPARE(model->index(row, kHandlerColumn).data().toString(), QString("Command"));
        QCOMPARE(model->index(row, kStatusColumn).data().toString(), QString("Inactive"));
        QCOMPARE(model->index(row, kEventTimeColumn).data().toString(),
                 QString::fromUtf8(backup->GetColumnText(kEventTimeColumn)));
        QCOMPARE(model->index(model->RowOf(dentist), kStatusColumn).data().toString(),
                 QString("Waiting for event"));
        // The icon column has a picture and no text.
        QVERIFY(model->index(row, kIconColumn).data(Qt::DisplayRole).isNull());

        // A changed event is shown changed.
        {
            Autolock lock(list.set);
            backup->SetName("Backup disks");
        }
        list.view->EventModified(backup);
        QCOMPARE(model->index(model->RowOf(backup), kNameColumn).data().toString(), QString("Backup disks"));

        list.view->RemoveEvent(backup);
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(model->RowOf(backup), -1);
    }

    void HeaderClicksSortAndAreKeptInTheSet()
    {
        ListFixture list;
        AddNamedEvent(list.set, "carol", kNow + 3 * kDay, kCommandHandler);
        AddNamedEvent(list.set, "Alice", kNow + 1 * kDay, kMessageHandler);
        AddNamedEvent(list.set, "bob", kNow + 4 * kDay, kCommandHandler);
        AddNamedEvent(list.set, "Dave", kNow + 2 * kDay, kMessageHandler);
        {
            Autolock lock(list.set);
            list.set->ClearModified();
        }
        list.view->Model()->Reload();
        list.view->SortEvents();
        // A new set sorts by event time.
        QCOMPARE(list.Names(), QStringList({"Alice", "Dave", "carol", "bob"}));

        // A click makes the column the only key; names compare without case.
        list.ClickHeader(kNameColumn);
        QCOMPARE(list.Names(), QStringList({"Alice", "bob", "carol", "Dave"}));
        StoredSorting stored = SortingOf(list.set);
        QCOMPARE(stored.count, 1);
        QCOMPARE(stored.keys, std::vector<int32_t>({kNameColumn}));
        QCOMPARE(stored.modes, std::vector<CLVSortMode>({Ascending}));

        // Clicking the key again turns it round.
        list.ClickHeader(kNameColumn);
        QCOMPARE(list.Names(), QStringList({"Dave", "carol", "bob", "Alice"}));
        QCOMPARE(SortingOf(list.set).modes, std::vector<CLVSortMode>({Descending}));

        // A plain click on another column starts over with that one key;
        // a shift-click adds a second key, and again turns that one round.
        list.ClickHeader(kHandlerColumn);
        list.ClickHeader(kEventTimeColumn, true);
        QCOMPARE(list.Names(), QStringList({"carol", "bob", "Alice", "Dave"}));
        list.ClickHeader(kEventTimeColumn, true);
        QCOMPARE(list.Names(), QStringList({"bob", "carol", "Dave", "Alice"}));
        stored = SortingOf(list.set);
        QCOMPARE(stored.count, 2);
        QCOMPARE(stored.keys, std::vector<int32_t>({kHandlerColumn, kEventTimeColumn}));
        QCOMPARE(stored.modes, std::vector<CLVSortMode>({Ascending, Descending}));

        // A plain click on the primary key turns it round and keeps the rest.
        list.ClickHeader(kHandlerColumn);
        QCOMPARE(list.Names(), QStringList({"Dave", "Alice", "bob", "carol"}));
        QCOMPARE(SortingOf(list.set).count, 2);

        // The icon column is no key.
        list.ClickHeader(kIconColumn, true);
        QCOMPARE(SortingOf(list.set).count, 2);

        // None of this is a change to the events.
        Autolock lock(list.set);
        QVERIFY(!list.set->HasBeenModified());
    }

    void AtMostFiveSortKeys()
    {
        ListFixture list;
        list.view->header()->showSection(kNextMessageTimeColumn);
        list.ClickHeader(kNameColumn);
        for (int column : {kEventTimeColumn, kNextMessageTimeColumn, kHandlerColumn, kStatusColumn})
            list.ClickHeader(column, true);
        StoredSorting stored = SortingOf(list.set);
        QCOMPARE(stored.count, 5);
        QCOMPARE(stored.keys, std::vector<int32_t>({1, 2, 3, 4, 5}));

        // The set's keys come back when a list is made for it again.
        list.view = std::make_unique<EventListView>(list.set, &list.window);
        int32_t keys[5];
        CLVSortMode modes[5];
        QCOMPARE(list.view->Sorting(keys, modes), 5);
        QCOMPARE(std::vector<int32_t>(keys, keys + 5), std::vector<int32_t>({1, 2, 3, 4, 5}));
    }

    void RowsWithEqualKeysKeepTheirOrder()
    {
        ListFixture list;
        // Same handler everywhere: a sort by handler alone changes nothing.
        for (const char* name : {"one", "two", "three", "four"})
            AddNamedEvent(list.set, name, kNow + kDay);
        list.view->Model()->Reload();
        const QStringList before = list.Names();
        list.ClickHeader(kHandlerColumn);
        QCOMPARE(list.Names(), before);
        list.ClickHeader(kHandlerColumn);
        QCOMPARE(list.Names(), before);
    }

    void SortingKeepsTheSelection()
    {
        ListFixture list;
        AddNamedEvent(list.set, "b", kNow + kDay);
        Event* a = AddNamedEvent(list.set, "a", kNow + 2 * kDay);
        list.view->Model()->Reload();
        list.view->SelectEvent(a);
        list.ClickHeader(kNameColumn);
        QCOMPARE(list.view->GetSelectedEvent(), a);
        QCOMPARE(list.view->currentIndex().row(), 0);
    }

    void LayoutChangesAreKeptAndComeBackFromTheFile()
    {
        const std::string path = fEnvironment->Path("Layout.calvorin");
        {
            ListFixture list;
            AddNamedEvent(list.set, "Dentist", kNow + kDay);
            QHeaderView* header = list.view->header();
            // Status to the front of the named columns, Name wider, Handler hidden.
            header->moveSection(header->visualIndex(kStatusColumn), 1);
            list.DragEdge(kNameColumn, 60);
            list.view->SetColumnShown(kHandlerColumn, false);
            {
                Autolock lock(list.set);
                list.set->SetColumnShown(kHandlerColumn, false);
                const int32_t* order = list.set->GetColumnOrder();
                QCOMPARE(std::vector<int32_t>(order, order + 6), std::vector<int32_t>({0, 5, 1, 2, 3, 4}));
                QCOMPARE(list.set->GetColumnWidth(kNameColumn), 250.0f);
                // Hiding a column does not forget its width.
                QCOMPARE(list.set->GetColumnWidth(kHandlerColumn), 60.0f);
                list.ClickHeader(kStatusColumn);
                list.set->SetFileName(path.c_str());
                QVERIFY(list.set->SaveData());
            }
        }

        ListFixture reopened(path.c_str());
        QHeaderView* header = reopened.view->header();
        QCOMPARE(header->visualIndex(kStatusColumn), 1);
        QCOMPARE(header->visualIndex(kNameColumn), 2);
        QCOMPARE(header->sectionSize(kNameColumn), 250);
        QVERIFY(header->isSectionHidden(kHandlerColumn));
        QCOMPARE(SortingOf(reopened.set).keys, std::vector<int32_t>({kStatusColumn}));

        // Shown again, the column has its old width.
        reopened.view->SetColumnShown(kHandlerColumn, true);
        QVERIFY(!header->isSectionHidden(kHandlerColumn));
        // (It is the last column now, so it may have grown to fill the row.)
        QVERIFY(header->sectionSize(kHandlerColumn) >=
                std::max(60, reopened.view->Header()->TitleWidth(kHandlerColumn)));
        Autolock lock(reopened.set);
        QVERIFY(!reopened.set->HasBeenModified());
    }

    void OnlyTheUsersResizingIsKept()
    {
        ListFixture list;
        QHeaderView* header = list.view->header();
        // The last column fills the width that is left, whatever it is.
        list.view->resize(1200, 300);
        Settle();
        QVERIFY(header->sectionViewportPosition(kStatusColumn) + header->sectionSize(kStatusColumn) >= 1100);
        list.view->SetColumnShown(kNextMessageTimeColumn, true);
        list.view->SetColumnShown(kNextMessageTimeColumn, false);
        {
            Autolock lock(list.set);
            QCOMPARE(list.set->GetColumnWidth(kStatusColumn), 115.0f);
            QCOMPARE(list.set->GetColumnWidth(kNextMessageTimeColumn), 150.0f);
        }
        const int before = header->sectionSize(kEventTimeColumn);
        list.DragEdge(kEventTimeColumn, 40);
        QCOMPARE(header->sectionSize(kEventTimeColumn), before + 40);
        Autolock lock(list.set);
        QCOMPARE(list.set->GetColumnWidth(kEventTimeColumn), float(before + 40));
    }

    void ABadColumnOrderInTheSetLeavesTheNaturalOrder()
    {
        ListFixture list;
        const ColumnOrderArray twice = {0, 1, 1, 2, 3, 4};
        {
            Autolock lock(list.set);
            list.set->SetColumnOrder(twice);
        }
        list.view = std::make_unique<EventListView>(list.set, &list.window);
        for (int column = 0; column < 6; ++column)
            QCOMPARE(list.view->header()->visualIndex(column), column);
    }

    void OnlyBackspaceAndDeleteAskToDelete()
    {
        ListFixture list;
        AddNamedEvent(list.set, "one", kNow + kDay);
        AddNamedEvent(list.set, "two", kNow + 2 * kDay);
        list.view->Model()->Reload();
        list.view->setFocus();
        list.SelectRow(0);
        list.window.Clear();

        QTest::keyClick(list.view.get(), Qt::Key_A);
        QTest::keyClick(list.view.get(), Qt::Key_Backspace, Qt::ControlModifier);
        QTest::keyClick(list.view.get(), Qt::Key_Space);
        QCOMPARE(list.window.Count(kDeleteEventMsg), 0);

        QTest::keyClick(list.view.get(), Qt::Key_Backspace);
        QCOMPARE(list.window.Count(kDeleteEventMsg), 1);
        QTest::keyClick(list.view.get(), Qt::Key_Delete);
        QCOMPARE(list.window.Count(kDeleteEventMsg), 2);
        // The list itself deletes nothing.
        QCOMPARE(list.view->Model()->rowCount(), 2);

        // Other keys keep their usual meaning: Down moves the selection.
        list.window.Clear();
        QTest::keyClick(list.view.get(), Qt::Key_Down);
        QCOMPARE(list.view->GetSelectedEvent(), list.view->Model()->EventAt(1));
        QVERIFY(list.window.Count(kListSelectionChangedMsg) >= 1);
    }

    void EnterAndDoubleClickInvokeTheSelectedEvent()
    {
        ListFixture list;
        Event* event = AddNamedEvent(list.set, "Dentist", kNow + kDay);
        list.view->Model()->Reload();
        list.SelectRow(0);
        list.window.Clear();

        QTest::keyClick(list.view.get(), Qt::Key_Return);
        const QRect cell = list.view->visualRect(list.view->Model()->index(0, kNameColumn));
        // A double click is the second press of two at the same place.
        QTest::mouseClick(list.view->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        QTest::mouseDClick(list.view->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());

        std::vector<void*> invoked;
        for (const Message& message : list.window.Messages()) {
            if (message.what == kEditEventMsg)
                invoked.push_back(message.GetPointer("Event"));
        }
        QCOMPARE(invoked, std::vector<void*>({event, event}));
    }

    void SelectionChangesAreReported()
    {
        ListFixture list;
        AddNamedEvent(list.set, "Dentist", kNow + kDay);
        list.view->Model()->Reload();
        list.window.Clear();
        const QRect cell = list.view->visualRect(list.view->Model()->index(0, kNameColumn));
        QTest::mouseClick(list.view->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        QCOMPARE(list.window.Count(kListSelectionChangedMsg), 1);
        QVERIFY(list.view->GetSelectedEvent() != nullptr);
        list.view->clearSelection();
        QCOMPARE(list.window.Count(kListSelectionChangedMsg), 2);
        QVERIFY(list.view->GetSelectedEvent() == nullptr);
    }

    void IconColumnDrawsTheEventsMiniIcon()
    {
        ListFixture list;
        Event* custom = AddNamedEvent(list.set, "custom", kNow + kDay);
        Event* standard = AddNamedEvent(list.set, "standard", kNow + 2 * kDay);
        Event* none = AddNamedEvent(list.set, "none", kNow + 3 * kDay);
        {
            Autolock lock(list.set);
            std::vector<uint8_t> mini(256, IconPalette::kTransparentIndex);
            mini[0] = 42;
            mini[17] = 0;
            custom->SetIcon(-2, new IconBitmap(32, 32), new IconBitmap(16, 16, mini.data()));
            standard->SetIcon(3, nullptr, nullptr);
            none->SetIcon(-1, nullptr, nullptr);
        }
        list.view->Model()->Reload();
        EventListModel* model = list.view->Model();
        auto iconOf = [model](Event* event) {
            return model->index(model->RowOf(event), kIconColumn).data(Qt::DecorationRole).value<QPixmap>();
        };

        const QImage image = iconOf(custom).toImage();
        QCOMPARE(image.size(), QSize(16, 16));
        QCOMPARE(image.pixel(0, 0), IconPalette::ColorAt(42));
        QCOMPARE(image.pixel(1, 1), IconPalette::ColorAt(0));
        QCOMPARE(qAlpha(image.pixel(5, 5)), 0);

        // Without installed standard icons a placeholder stands in.
        QVERIFY(!iconOf(standard).isNull());
        QVERIFY(iconOf(none).isNull());

        // Installed standard icons are drawn as they are.
        std::vector<uint8_t> bits(256, 200);
        IconBitmap mini(16, 16, bits.data());
        IconBitmap large(32, 32);
        std::vector<const IconBitmap*> minis(kNumberOfStandardIcons, &mini);
        std::vector<const IconBitmap*> larges(kNumberOfStandardIcons, &large);
        SetStandardIcons(larges.data(), minis.data());
        QCOMPARE(iconOf(standard).toImage().pixel(8, 8), IconPalette::ColorAt(200));
        SetStandardIcons(nullptr, nullptr);

        // The icon is painted in the row without trouble.
        QVERIFY(!list.view->grab().isNull());
    }

    void AnEventGoingOnAnotherThreadIsNoLongerRead()
    {
        ListFixture list;
        Event* going = AddNamedEvent(list.set, "going", kNow + kDay);
        AddNamedEvent(list.set, "staying", kNow + 2 * kDay);
        list.view->Model()->Reload();
        EventListModel* model = list.view->Model();
        model->MarkGoing(going);
        QVERIFY(model->index(model->RowOf(going), kNameColumn).data().isNull());
        model->DropGoingEvents();
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(list.Names(), QStringList({"staying"}));
    }

private:
    std::unique_ptr<UiTestEnvironment> fEnvironment;
};

QTEST_MAIN(EventListTest)
#include "EventListTest.moc"
