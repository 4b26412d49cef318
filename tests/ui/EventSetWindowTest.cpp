// The event set window driven as a user drives it: its menus and their
// state, new, edit and delete event, copy and paste between sets, saving
// with and without the save panel, the save prompt's answers when a
// modified set is closed, the column layout kept with the set, the frame,
// and files dropped on the window.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QFile>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QUrl>

#include <algorithm>
#include <memory>

#include "UiTestSupport.h"
#include "core/ApplicationMessages.h"
#include "core/EventWindowPort.h"
#include "handlers/CommandDataHandler.h"
#include "ui/EventListModel.h"
#include "ui/EventListView.h"
#include "ui/EventSetWindow.h"
#include "ui/QuitFlags.h"
#include "ui/SetFilePanel.h"

namespace {

constexpr int32_t kDay = 86400;
constexpr int32_t kNow = 1700000000;
constexpr uint32_t kQuitRequest = MakeTypeCode('_', 'Q', 'R', 'Q');

// An editor window that only records: enough to see when the set window
// opens and closes editors.
class FakeEditor : public EventWindowPort {
public:
    explicit FakeEditor(Event* event) : fEvent(event) { sOpened.push_back(event); }
    void PostCommand(uint32_t) override {}
    void StatusChanged() override {}
    void InvalidateEventView() override {}
    Rect GetEditFrame() override { return Rect(); }
    void AttachEditView(QWidget*) override {}
    void Activate() override { ++sActivated; }
    void Quit() override
    {
        sClosed.push_back(fEvent);
        fEvent->WindowClosed();
        delete this;
    }

    static EventWindowPort* Make(Event* event) { return new FakeEditor(event); }

    static std::vector<Event*> sOpened;
    static std::vector<Event*> sClosed;
    static int sActivated;

private:
    Event* fEvent;
};
std::vector<Event*> FakeEditor::sOpened;
std::vector<Event*> FakeEditor::sClosed;
int FakeEditor::sActivated = 0;

EventSetWindow* WindowOf(EventSet* set)
{
    Autolock lock(set);
    return dynamic_cast<EventSetWindow*>(set->GetWindow());
}

QString Title(QWidget* window)
{
    return window->windowTitle().remove(QStringLiteral("[*]"));
}

// A menu as text: one line per item, "label  shortcut", "(off)" when
// disabled, "-" for a separator, "label >" for a submenu.
QStringList Describe(QMenu* menu)
{
    QStringList lines;
    for (QAction* action : menu->actions()) {
        if (action->isSeparator()) {
            lines << "-";
            continue;
        }
        QString line = action->text();
        if (action->menu() != nullptr)
            line += " >";
        if (!action->shortcut().isEmpty())
            line += "  " + action->shortcut().toString(QKeySequence::PortableText);
        if (!action->isEnabled())
            line += " (off)";
        if (action->isCheckable() && action->isChecked())
            line += " [x]";
        lines << line;
    }
    return lines;
}

QMenu* MenuNamed(QMenuBar* bar, const QString& title)
{
    for (QAction* action : bar->actions()) {
        if (action->menu() != nullptr && action->text().remove('&') == title)
            return action->menu();
    }
    return nullptr;
}

QMenu* SubMenu(QMenu* menu, const QString& title)
{
    for (QAction* action : menu->actions()) {
        if (action->menu() != nullptr && action->text() == title)
            return action->menu();
    }
    return nullptr;
}

// The prompt's buttons from left to right.
QList<QAbstractButton*> ButtonsInOrder(QMessageBox* box)
{
    QList<QAbstractButton*> buttons = box->buttons();
    std::sort(buttons.begin(), buttons.end(), [](QAbstractButton* a, QAbstractButton* b) {
        return a->mapToGlobal(QPoint()).x() < b->mapToGlobal(QPoint()).x();
    });
    return buttons;
}

QAbstractButton* ButtonNamed(QMessageBox* box, const QString& text)
{
    for (QAbstractButton* button : box->buttons()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

int32_t CountEvents(EventSet* set)
{
    Autolock lock(set);
    return set->CountEvents();
}

bool IsModified(EventSet* set)
{
    Autolock lock(set);
    return set->HasBeenModified();
}

// An event whose fields are all unlike a new event's, with a command.
Event* AddUnusualEvent(EventSet* set)
{
    Autolock lock(set);
    auto* e = new Event(set);
    Event::Raw r = e->RawFields();
    e->SetName("Back up the disks");
    e->SetSelectedHandler(kCommandHandler);
    auto* command = static_cast<CommandDataHandler*>(e->GetAddOnData());
    command->SetCommand("make backup");
    command->SetVerify(true);
    r.NextEventTime() = kNow + 1000;
    r.ActualEventTime() = kNow + 2000;
    r.Active() = false;
    r.Status() = WaitingToNag;
    r.PeriodType() = MultiWeekly;
    r.Multiple() = 3;
    r.Timing() = ByDayOfWeek;
    r.SavedTimingType() = ByDayOfMonth;
    r.EventTime() = kNow - 5000;
    r.DayOfMonth() = 21;
    r.WeekOfMonth() = 4;
    r.DayOfWeek() = 6;
    r.Month() = 11;
    r.MultiStartTime() = kNow - 100000;
    r.ApplyTime() = r.ApplyStop() = r.ApplyPrewarn() = r.ApplyPrewarnRepeat() = r.ApplyNag() = true;
    r.TimeToApply() = 45000;
    r.SubIntType() = Minutes;
    r.StopTime() = 80000;
    r.PrewarnTime() = 9;
    r.PrewarnType() = Weeks;
    r.PrewarnRepeatTime() = 11;
    r.PrewarnRepeatType() = Minutes;
    e->SetPrewarnMessage("Soon");
    r.NagRepeatTime() = 13;
    r.NagRepeatType() = Months;
    e->SetNagMessage("Now!");
    r.DeliverIfMissed() = false;
    r.DeleteOnceDelivered() = true;
    e->SetComment("The blue ones");
    r.ShouldWindowOpen() = false;
    r.WindowFrame() = Rect{10, 20, 330, 440};
    r.TabShown() = 3;
    std::vector<uint8_t> large(1024), mini(256);
    for (size_t i = 0; i < large.size(); ++i)
        large[i] = uint8_t(i * 3);
    for (size_t i = 0; i < mini.size(); ++i)
        mini[i] = uint8_t(i);
    e->SetIcon(-2, new IconBitmap(32, 32, large.data()), new IconBitmap(16, 16, mini.data()));
    r.RefreshColumns();
    set->AddEvent(e);
    return e;
}

}  // namespace

class EventSetWindowTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InstallEventSetWindowFactory(); }

    void init()
    {
        fEnvironment = std::make_unique<UiTestEnvironment>();
        QuitProcess = false;
        FullQuitProcess = false;
        FakeEditor::sOpened.clear();
        FakeEditor::sClosed.clear();
        FakeEditor::sActivated = 0;
        QGuiApplication::clipboard()->clear();
    }

    void cleanup()
    {
        // Whatever is still open closes without asking.
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* window = qobject_cast<EventSetWindow*>(widget);
            if (window == nullptr || window->GetEventSet() == nullptr)
                continue;
            {
                Autolock lock(window->GetEventSet());
                window->GetEventSet()->ClearModified();
            }
            window->close();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        UnloadSetsWithoutWindows();
        SetEventWindowFactory(nullptr);
        fEnvironment.reset();
    }

    void MenusAreThoseOfTheTable()
    {
        EventSetWindow* window = OpenNewWindow();
        QMenuBar* bar = window->GetMenuBar();
        QCOMPARE(bar->objectName(), QString("Menu"));
        QStringList titles;
        for (QAction* action : bar->actions())
            titles << action->text().remove('&');
        QCOMPARE(titles, QStringList({"File", "Edit", "Event", "View"}));

        QCOMPARE(Describe(MenuNamed(bar, "File")),
                 QStringList({"New event set  Ctrl+N", "Open…  Ctrl+O", "-", "Save  Ctrl+S", "Save as…",
                              "Remember for delivery", "-", "Page setup... (off)",
                              "Print event set... (off)", "Print selected event... (off)", "-",
                              "Settings…", "About…", "Help…  Ctrl+H", "-", "Close  Ctrl+W",
                              "Quit to background  Ctrl+Q", "Full quit  Ctrl+Shift+Q"}));
        QCOMPARE(Describe(MenuNamed(bar, "Edit")),
                 QStringList({"Cut  Ctrl+X (off)", "Copy  Ctrl+C (off)", "Paste  Ctrl+V"}));
        QCOMPARE(Describe(MenuNamed(bar, "Event")),
                 QStringList({"New event…  Ctrl+Shift+N", "Edit event…  Ctrl+E (off)", "Delete event (off)"}));
        QMenu* view = MenuNamed(bar, "View");
        QCOMPARE(Describe(view), QStringList({"View mode >", "Display >"}));
        QCOMPARE(Describe(SubMenu(view, "View mode")),
                 QStringList({"List [x]", "Calendar (off)", "Week (off)", "Day (off)"}));
        // A new set shows every column but "Next message time".
        QCOMPARE(Describe(SubMenu(view, "Display")),
                 QStringList({"Event icons [x]", "Event time [x]", "Next message time",
                              "Selected handler [x]", "Event status [x]"}));
    }

    void ApplicationItemsGoToTheApplication()
    {
        EventSetWindow* window = OpenNewWindow();
        RecordingTarget& application = fEnvironment->application;
        application.Clear();
        for (uint32_t what : {NewEventSetMsg, OpenEventSetMsg, OpenSettingsMsg, FullQuitMsg, HelpMsg})
            window->ActionFor(what)->trigger();
        QCOMPARE(application.Codes(),
                 std::vector<uint32_t>({NewEventSetMsg, OpenEventSetMsg, OpenSettingsMsg, FullQuitMsg, HelpMsg}));

        // The same through the keyboard.
        application.Clear();
        QTest::keyClick(window, Qt::Key_N, Qt::ControlModifier);
        QTest::keyClick(window, Qt::Key_Q, Qt::ControlModifier | Qt::ShiftModifier);
        QTest::keyClick(window, Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(application.Codes(), std::vector<uint32_t>({NewEventSetMsg, FullQuitMsg, kQuitRequest}));
        QVERIFY(window->isVisible());
    }

    void SelectionEnablesTheEventItems()
    {
        EventSetWindow* window = OpenNewWindow();
        AddNamedEvent(window->GetEventSet(), "Dentist", kNow + kDay);
        Settle();
        const std::vector<uint32_t> items = {kCutEventMsg, kCopyEventMsg, kEditEventMsg, kDeleteEventMsg};
        auto enabled = [&]() {
            std::vector<bool> states;
            for (uint32_t what : items)
                states.push_back(window->ActionFor(what)->isEnabled());
            return states;
        };
        QCOMPARE(enabled(), std::vector<bool>(4, false));

        EventListView* list = window->GetListView();
        const QRect cell = list->visualRect(list->Model()->index(0, kNameColumn));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        Settle();
        QCOMPARE(enabled(), std::vector<bool>(4, true));
        QVERIFY(window->ActionFor(kPasteEventMsg)->isEnabled());

        list->clearSelection();
        Settle();
        QCOMPARE(enabled(), std::vector<bool>(4, false));

        // A right click on a row selects it and offers the event commands.
        QContextMenuEvent context(QContextMenuEvent::Mouse, cell.center(), list->viewport()->mapToGlobal(cell.center()));
        QTest::mousePress(list->viewport(), Qt::RightButton, Qt::NoModifier, cell.center());
        QCoreApplication::sendEvent(list->viewport(), &context);
        auto* menu = window->findChild<QMenu*>("EventContextMenu");
        QVERIFY(menu != nullptr);
        QTRY_VERIFY(menu->isVisible());
        QCOMPARE(Describe(menu), QStringList({"Edit event…  Ctrl+E", "New event…  Ctrl+Shift+N", "-",
                                              "Cut  Ctrl+X", "Copy  Ctrl+C", "Paste  Ctrl+V", "-",
                                              "Delete event"}));
        menu->close();
    }

    void NewEventIsAddedSelectedAndOpened()
    {
        SetEventWindowFactory(&FakeEditor::Make);
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        AddNamedEvent(set, "Existing", kNow + 5 * kDay);
        Settle();
        QVERIFY(!window->isWindowModified() || IsModified(set));

        QTest::keyClick(window, Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        Settle();
        QCOMPARE(CountEvents(set), 2);
        QCOMPARE(window->GetListView()->Model()->rowCount(), 2);
        Event* added = window->GetListView()->GetSelectedEvent();
        QVERIFY(added != nullptr);
        // A new event opens its editor at once.
        QCOMPARE(FakeEditor::sOpened, std::vector<Event*>({added}));
        QVERIFY(IsModified(set));
        QVERIFY(window->isWindowModified());
        // The new event (tomorrow) sorts before the one in five days.
        QCOMPARE(window->GetListView()->Model()->EventAt(0), added);
    }

    void EditOpensTheSelectedOrTheInvokedEvent()
    {
        SetEventWindowFactory(&FakeEditor::Make);
        EventSetWindow* window = OpenNewWindow();
        Event* first = AddNamedEvent(window->GetEventSet(), "First", kNow + kDay);
        Event* second = AddNamedEvent(window->GetEventSet(), "Second", kNow + 2 * kDay);
        Settle();

        // Nothing selected: the menu item does nothing.
        window->MessageReceived(Message(kEditEventMsg));
        QVERIFY(FakeEditor::sOpened.empty());

        window->GetListView()->SelectEvent(second);
        Settle();
        QTest::keyClick(window, Qt::Key_E, Qt::ControlModifier);
        QCOMPARE(FakeEditor::sOpened, std::vector<Event*>({second}));
        // Asked again, the open editor comes to the front.
        window->ActionFor(kEditEventMsg)->trigger();
        QCOMPARE(FakeEditor::sActivated, 1);

        // The list's invocation names its event.
        Message invoked(kEditEventMsg);
        invoked.AddPointer("Event", first);
        window->MessageReceived(invoked);
        QCOMPARE(FakeEditor::sOpened, std::vector<Event*>({second, first}));

        // A pointer to no event of this set is not followed.
        Message stray(kEditEventMsg);
        stray.AddPointer("Event", reinterpret_cast<Event*>(&stray));
        window->MessageReceived(stray);
        QCOMPARE(FakeEditor::sOpened.size(), size_t(2));

        // A null "Event" opens nothing, even with a selection.
        Message none(kEditEventMsg);
        none.AddPointer("Event", nullptr);
        window->MessageReceived(none);
        QCOMPARE(FakeEditor::sOpened.size(), size_t(2));
    }

    void DeleteClosesTheEditorThenRemovesTheEvent()
    {
        SetEventWindowFactory(&FakeEditor::Make);
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        AddNamedEvent(set, "First", kNow + kDay);
        Event* second = AddNamedEvent(set, "Second", kNow + 2 * kDay);
        Event* third = AddNamedEvent(set, "Third", kNow + 3 * kDay);
        Settle();
        {
            Autolock lock(set);
            second->OpenWindow();
        }
        window->GetListView()->SelectEvent(second);
        Settle();

        window->ActionFor(kDeleteEventMsg)->trigger();
        QCOMPARE(FakeEditor::sClosed, std::vector<Event*>({second}));
        QCOMPARE(CountEvents(set), 2);
        QCOMPARE(window->GetListView()->Model()->rowCount(), 2);
        // The row that took its place is selected.
        QCOMPARE(window->GetListView()->GetSelectedEvent(), third);

        // Backspace in the list deletes too.
        window->GetListView()->setFocus();
        QTest::keyClick(window->GetListView(), Qt::Key_Backspace);
        Settle();
        QCOMPARE(CountEvents(set), 1);

        // An event marked not deletable stays.
        Event* last = window->GetListView()->Model()->EventAt(0);
        {
            Autolock lock(set);
            last->RawFields().Deletable() = false;
        }
        window->GetListView()->SelectEvent(last);
        window->MessageReceived(Message(kDeleteEventMsg));
        QCOMPARE(CountEvents(set), 1);
    }

    void CutWithoutSelectionDoesNothing()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        AddNamedEvent(set, "Dentist", kNow + kDay);
        {
            Autolock lock(set);
            set->ClearModified();
        }
        Settle();
        QGuiApplication::clipboard()->setText("untouched");
        window->MessageReceived(Message(kCutEventMsg));
        window->MessageReceived(Message(kCopyEventMsg));
        QCOMPARE(CountEvents(set), 1);
        QVERIFY(!IsModified(set));
        QCOMPARE(QGuiApplication::clipboard()->text(), QString("untouched"));
    }

    void CopyAndPasteBetweenSetsKeepsEveryField()
    {
        EventSetWindow* from = OpenNewWindow();
        EventSetWindow* to = OpenNewWindow();
        Event* original = AddUnusualEvent(from->GetEventSet());
        Settle();
        from->GetListView()->SelectEvent(original);
        Settle();
        from->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(from));
        QTest::keyClick(from->GetListView(), Qt::Key_C, Qt::ControlModifier);

        const QMimeData* data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data != nullptr);
        QCOMPARE(data->text(), QString("Back up the disks"));
        QVERIFY(data->hasFormat(kEventClipboardType));

        to->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(to));
        QTest::keyClick(to->GetListView(), Qt::Key_V, Qt::ControlModifier);
        Settle();
        EventSet* target = to->GetEventSet();
        QCOMPARE(CountEvents(target), 1);
        Event* pasted = to->GetListView()->GetSelectedEvent();
        QVERIFY(pasted != nullptr);
        QCOMPARE(pasted->GetOwner(), static_cast<EventOwner*>(target));
        QVERIFY(IsModified(target));

        // Every field but the two that a paste sets: deletable, no editor.
        std::vector<std::string> expected = EventFields(original);
        {
            Autolock lock(from->GetEventSet());
            original->RawFields().Deletable() = true;
            original->RawFields().ShouldWindowOpen() = false;
            expected = EventFields(original);
        }
        QCOMPARE(EventFields(pasted), expected);
        const IconBitmap *large = nullptr, *mini = nullptr, *originalLarge = nullptr, *originalMini = nullptr;
        QCOMPARE(pasted->GetIcon(&large, &mini), -2);
        original->GetIcon(&originalLarge, &originalMini);
        QVERIFY(large != nullptr && mini != nullptr);
        QVERIFY(*large == *originalLarge);
        QVERIFY(*mini == *originalMini);
        auto* command = dynamic_cast<CommandDataHandler*>(pasted->GetAddOnData());
        QVERIFY(command != nullptr);
        QCOMPARE(QString(command->GetCommand()), QString("make backup"));
        QVERIFY(command->GetVerify());
        QCOMPARE(to->GetListView()->Model()->index(0, kHandlerColumn).data().toString(), QString("Command"));

        // Pasting into the set it came from makes a second event.
        from->MessageReceived(Message(kPasteEventMsg));
        QCOMPARE(CountEvents(from->GetEventSet()), 2);

        // Cut: copied, then gone.
        from->GetListView()->SelectEvent(original);
        from->ActionFor(kCutEventMsg)->trigger();
        QCOMPARE(CountEvents(from->GetEventSet()), 1);
        to->MessageReceived(Message(kPasteEventMsg));
        QCOMPARE(CountEvents(target), 2);
    }

    void PastingAnythingElseDoesNothing()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        auto pasteNothing = [&](QMimeData* data) {
            QGuiApplication::clipboard()->setMimeData(data);
            window->MessageReceived(Message(kPasteEventMsg));
            QCOMPARE(CountEvents(set), 0);
            QVERIFY(!IsModified(set));
        };
        // Plain text from another program.
        auto* text = new QMimeData;
        text->setText("Dentist at three");
        pasteNothing(text);
        // Bytes that are no message.
        auto* junk = new QMimeData;
        junk->setData(kEventClipboardType, QByteArray("\x01\x02garbage", 9));
        pasteNothing(junk);
        // A message whose handler cannot read its data.
        Message transfer;
        {
            EventSet* scratch = NewLoadedSet(false);
            Event* event = AddNamedEvent(scratch, "Broken", kNow + kDay, kCommandHandler);
            Autolock lock(scratch);
            QVERIFY(event->GenerateMessageForEvent(&transfer));
        }
        const void* bytes = nullptr;
        size_t size = 0;
        QCOMPARE(transfer.FindData("HandlerData", MakeTypeCode('h', 'D', 'a', 't'), &bytes, &size), B_OK);
        const std::vector<uint8_t> cut(static_cast<const uint8_t*>(bytes), static_cast<const uint8_t*>(bytes) + 2);
        transfer.RemoveName("HandlerData");
        transfer.AddData("HandlerData", MakeTypeCode('h', 'D', 'a', 't'), cut.data(), cut.size());
        const std::vector<uint8_t> flat = transfer.Flatten();
        auto* broken = new QMimeData;
        broken->setData(kEventClipboardType, QByteArray(reinterpret_cast<const char*>(flat.data()), qsizetype(flat.size())));
        pasteNothing(broken);
    }

    void AChangedEventIsShownAndSortedAgain()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        Event* early = AddNamedEvent(set, "Early", kNow + kDay);
        AddNamedEvent(set, "Late", kNow + 2 * kDay);
        Settle();
        QCOMPARE(window->GetListView()->Model()->EventAt(0), early);
        {
            // As the editor would, on its own: the set tells the window.
            Autolock lock(set);
            early->SetEventTime(kNow + 3 * kDay, true);
            early->SetName("Now late");
        }
        Settle();
        EventListModel* model = window->GetListView()->Model();
        QCOMPARE(model->EventAt(1), early);
        QCOMPARE(model->index(1, kNameColumn).data().toString(), QString("Now late"));
    }

    void DisplayAndLayoutAreSavedWithTheSet()
    {
        const std::string path = fEnvironment->Path("Layout.calvorin");
        {
            EventSetWindow* window = OpenNewWindow();
            EventSet* set = window->GetEventSet();
            AddNamedEvent(set, "Dentist", kNow + kDay);
            Settle();
            QAction* eventTime = window->ActionFor(kShowEventTimeColumnMsg);
            eventTime->trigger();
            QVERIFY(!eventTime->isChecked());
            QVERIFY(window->GetListView()->header()->isSectionHidden(kEventTimeColumn));
            window->ActionFor(kShowNextTimeColumnMsg)->trigger();
            QVERIFY(!window->GetListView()->header()->isSectionHidden(kNextMessageTimeColumn));
            // The name column only through its command.
            window->MessageReceived(Message(kShowNameColumnMsg));
            window->MessageReceived(Message(kShowNameColumnMsg));
            QHeaderView* header = window->GetListView()->header();
            header->moveSection(header->visualIndex(kHandlerColumn), 1);
            {
                Autolock lock(set);
                QVERIFY(!set->GetColumnShown(kEventTimeColumn));
                QVERIFY(set->GetColumnShown(kNextMessageTimeColumn));
                QVERIFY(set->GetColumnShown(kNameColumn));
            }
            SaveThroughPanelMessage(window, "Layout");
            window->close();
            Settle();
        }
        EventSet* reopened = LoadSet(path.c_str(), true);
        QVERIFY(reopened != nullptr);
        EventSetWindow* window = WindowOf(reopened);
        QHeaderView* header = window->GetListView()->header();
        QVERIFY(header->isSectionHidden(kEventTimeColumn));
        QVERIFY(!header->isSectionHidden(kNextMessageTimeColumn));
        QCOMPARE(header->visualIndex(kHandlerColumn), 1);
        QVERIFY(!window->ActionFor(kShowEventTimeColumnMsg)->isChecked());
        QVERIFY(window->ActionFor(kShowNextTimeColumnMsg)->isChecked());
        QCOMPARE(Title(window), QString("Layout.calvorin"));
    }

    void ChoosingTheCurrentViewModeChangesNothing()
    {
        EventSetWindow* window = OpenNewWindow();
        EventListView* list = window->GetListView();
        window->ActionFor(kViewModeMsg, 0)->trigger();
        Message calendar(kViewModeMsg);
        calendar.AddInt32("Mode", 1);
        window->MessageReceived(calendar);
        QCOMPARE(window->GetListView(), list);
        Autolock lock(window->GetEventSet());
        QCOMPARE(window->GetEventSet()->GetViewMode(), ListViewMode);
    }

    void TheFrameIsKeptInTheSet()
    {
        EventSetWindow* window = OpenNewWindow();
        window->setGeometry(100, 120, 600, 400);
        EventSet* set = window->GetEventSet();
        auto frame = [set]() {
            Autolock lock(set);
            return set->GetWindowFrame();
        };
        QTRY_COMPARE(frame(), (Rect{100, 120, 699, 519}));
        QVERIFY(!IsModified(set));
    }

    void ANarrowFrameGrowsToShowEveryColumn()
    {
        EventSet* set = NewLoadedSet(false);
        {
            Autolock lock(set);
            set->SetWindowFrame(Rect{10, 10, 309, 209});
            set->OpenWindow();
        }
        EventSetWindow* window = WindowOf(set);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(window->width() > 300);
        QCOMPARE(window->width(), window->GetListView()->PreferredWidth());
        QCOMPARE(window->height(), 200);
        QVERIFY(window->GetListView()->header()->length() <= window->GetListView()->viewport()->width());
        Autolock lock(set);
        QCOMPARE(set->GetWindowFrame().Width() + 1, float(window->width()));
    }

    void SavingFromThePanelKeepsATypedExtensionAndTheRememberBox()
    {
        EventSetWindow* window = OpenNewWindow();
        const std::string notes = fEnvironment->Path("notes.txt");
        SaveThroughPanelMessage(window, "notes.txt", 1);
        QVERIFY(QFile::exists(QString::fromStdString(notes)));
        {
            Autolock settingsLock(CalvorinSettings::Protect);
            QVERIFY(CalvorinSettings::IsFileRemembered(notes.c_str()));
        }
        // Saved again with the box off: forgotten.
        SaveThroughPanelMessage(window, "notes.txt", 0);
        Autolock settingsLock(CalvorinSettings::Protect);
        QVERIFY(!CalvorinSettings::IsFileRemembered(notes.c_str()));
        QVERIFY(fEnvironment->alerts.Shown().empty());
    }

    void TheSavePanelAddsTheExtensionAndCarriesTheBox()
    {
        EventSetWindow* window = OpenNewWindow();
        AddNamedEvent(window->GetEventSet(), "Dentist", kNow + kDay);
        Settle();
        QCOMPARE(Title(window), QString("Untitled event set"));
        // Saving a set that was never saved asks for a name.
        QTest::keyClick(window, Qt::Key_S, Qt::ControlModifier);
        SetFilePanel* panel = window->GetSavePanel();
        QVERIFY(panel != nullptr);
        QVERIFY(panel->isVisible());
        QVERIFY(panel->testOption(QFileDialog::DontUseNativeDialog));
        QCheckBox* remember = panel->findChild<QCheckBox*>("Remember");
        QVERIFY(remember != nullptr);
        QCOMPARE(remember->text(), QString("Remember for delivery"));
        QVERIFY(!remember->isChecked());

        remember->setChecked(true);
        TypeIntoPanel(panel, "Work");
        const std::string path = fEnvironment->Path("Work.calvorin");
        QVERIFY(QFile::exists(QString::fromStdString(path)));
        QCOMPARE(Title(window), QString("Work.calvorin"));
        QVERIFY(!IsModified(window->GetEventSet()));
        Autolock settingsLock(CalvorinSettings::Protect);
        QVERIFY(CalvorinSettings::IsFileRemembered(path.c_str()));
    }

    void RememberForDelivery()
    {
        EventSetWindow* window = OpenNewWindow();
        // A set without a file is saved first, with the box on.
        window->ActionFor(kRememberSetMsg)->trigger();
        QVERIFY(window->GetSavePanel() != nullptr && window->GetSavePanel()->isVisible());
        QVERIFY(window->GetSavePanel()->IsRememberChecked());
        window->GetSavePanel()->reject();
        Settle();
        {
            Autolock settingsLock(CalvorinSettings::Protect);
            QVERIFY(CalvorinSettings::SetFileNames.empty());
        }

        SaveThroughPanelMessage(window, "Kept");
        window->ActionFor(kRememberSetMsg)->trigger();
        window->ActionFor(kRememberSetMsg)->trigger();
        Autolock settingsLock(CalvorinSettings::Protect);
        QCOMPARE(CalvorinSettings::SetFileNames, std::vector<std::string>({fEnvironment->Path("Kept.calvorin")}));
    }

    void ClosingAnUnmodifiedSetAsksNothing()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        QPointer<EventSetWindow> guard(window);
        QVERIFY(window->close());
        QVERIFY(window->GetSavePrompt() == nullptr);
        QVERIFY(!IsLoaded(set));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(guard.isNull());
    }

    void PromptCancelKeepsTheWindowAndEndsTheQuit()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        AddNamedEvent(set, "Dentist", kNow + kDay);
        Settle();
        QuitProcess = FullQuitProcess = true;
        QVERIFY(!window->close());
        QMessageBox* prompt = window->GetSavePrompt();
        QVERIFY(prompt != nullptr);
        QVERIFY(prompt->isVisible());
        QCOMPARE(prompt->windowModality(), Qt::WindowModal);
        QString leaf;
        {
            Autolock lock(set);
            leaf = QString::fromUtf8(set->GetLeafPtr());
        }
        QVERIFY(leaf.startsWith("Untitled event set "));
        QCOMPARE(prompt->text(), QString("Save changes to the document \"%1\"?").arg(leaf));
        QStringList order;
        for (QAbstractButton* button : ButtonsInOrder(prompt))
            order << button->text();
        QCOMPARE(order, QStringList({"Don't save", "Cancel", "Save"}));
        QCOMPARE(prompt->defaultButton()->text(), QString("Save"));

        QTest::mouseClick(ButtonNamed(prompt, "Cancel"), Qt::LeftButton);
        Settle();
        QVERIFY(window->isVisible());
        QVERIFY(IsLoaded(set));
        QVERIFY(!QuitProcess);
        QVERIFY(!FullQuitProcess);
        QVERIFY(window->GetSavePrompt() == nullptr);
    }

    void PromptDontSaveReloadsARememberedSetForDelivery()
    {
        const std::string path = fEnvironment->Path("Remembered.calvorin");
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        AddNamedEvent(set, "Saved one", kNow + kDay);
        SaveThroughPanelMessage(window, "Remembered", 1);
        AddNamedEvent(set, "Never saved", kNow + 2 * kDay);
        Settle();
        QuitProcess = true;
        fEnvironment->application.Clear();

        QVERIFY(!window->close());
        QTest::mouseClick(ButtonNamed(window->GetSavePrompt(), "Don't save"), Qt::LeftButton);
        Settle();
        QVERIFY(!window->isVisible());
        // Delivery goes on from the file: the set is loaded again as saved.
        EventSet* reloaded = FindLoaded(path);
        QVERIFY(reloaded != nullptr);
        QVERIFY(reloaded->GetWindow() == nullptr);
        QCOMPARE(CountEvents(reloaded), 1);
        QVERIFY(!IsModified(reloaded));
        // The quit that waited for the window goes on.
        QVERIFY(!QuitProcess);
        const std::vector<uint32_t> codes = fEnvironment->application.Codes();
        QVERIFY(std::find(codes.begin(), codes.end(), SetsChangedMsg) != codes.end());
        QCOMPARE(fEnvironment->application.Count(kQuitRequest), 1);
    }

    void PromptDontSaveDropsASetThatIsNotRemembered()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        AddNamedEvent(set, "Dentist", kNow + kDay);
        Settle();
        QVERIFY(!window->close());
        QTest::mouseClick(ButtonNamed(window->GetSavePrompt(), "Don't save"), Qt::LeftButton);
        Settle();
        QVERIFY(!IsLoaded(set));
        QCOMPARE(fEnvironment->application.Count(kQuitRequest), 0);
    }

    void PromptSaveSavesThenCloses()
    {
        const std::string path = fEnvironment->Path("Saved.calvorin");
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        SaveThroughPanelMessage(window, "Saved");
        AddNamedEvent(set, "Dentist", kNow + kDay);
        Settle();
        QuitProcess = true;
        QVERIFY(!window->close());
        QTest::mouseClick(ButtonNamed(window->GetSavePrompt(), "Save"), Qt::LeftButton);
        Settle();
        QVERIFY(!window->isVisible());
        QVERIFY(!IsLoaded(set));
        QCOMPARE(fEnvironment->application.Count(kQuitRequest), 1);
        QVERIFY(!QuitProcess);

        EventSet* reread = LoadSet(path.c_str(), false);
        QVERIFY(reread != nullptr);
        QCOMPARE(CountEvents(reread), 1);
    }

    void PromptSaveOfANewSetWaitsForThePanel()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        AddNamedEvent(set, "Dentist", kNow + kDay);
        Settle();
        FullQuitProcess = true;

        // The panel cancelled: the window stays, the full quit is off.
        QVERIFY(!window->close());
        QTest::mouseClick(ButtonNamed(window->GetSavePrompt(), "Save"), Qt::LeftButton);
        Settle();
        QVERIFY(window->GetSavePanel() != nullptr && window->GetSavePanel()->isVisible());
        window->GetSavePanel()->reject();
        Settle();
        QVERIFY(window->isVisible());
        QVERIFY(!FullQuitProcess);

        // Asked again and saved through the panel: saved and closed.
        QVERIFY(!window->close());
        QTest::mouseClick(ButtonNamed(window->GetSavePrompt(), "Save"), Qt::LeftButton);
        Settle();
        TypeIntoPanel(window->GetSavePanel(), "Closing");
        QVERIFY(!IsLoaded(set));
        QVERIFY(QFile::exists(QString::fromStdString(fEnvironment->Path("Closing.calvorin"))));
    }

    void AFailedSaveWhileClosingKeepsTheWindow()
    {
        EventSetWindow* window = OpenNewWindow();
        EventSet* set = window->GetEventSet();
        const std::string missing = fEnvironment->Path("no such folder/Lost.calvorin");
        {
            Autolock lock(set);
            set->SetFileName(missing.c_str());
        }
        AddNamedEvent(set, "Dentist", kNow + kDay);
        Settle();
        QVERIFY(!window->close());
        QTest::mouseClick(ButtonNamed(window->GetSavePrompt(), "Save"), Qt::LeftButton);
        Settle();
        QVERIFY(window->isVisible());
        QVERIFY(IsLoaded(set));
        const std::vector<AlertRequest> alerts = fEnvironment->alerts.Shown();
        QCOMPARE(alerts.size(), size_t(1));
        QCOMPARE(QString::fromStdString(alerts[0].text),
                 QString("There was an error attempting to save the event set \"%1\".")
                     .arg(QString::fromStdString(missing)));

        // The close is off: a later good save leaves the window open.
        const std::string good = fEnvironment->Path("Found.calvorin");
        {
            Autolock lock(set);
            set->SetFileName(good.c_str());
        }
        window->MessageReceived(Message(kSaveSetMsg));
        QVERIFY(window->isVisible());
        QVERIFY(!IsModified(set));
    }

    void AboutNamesTheProgramAndItsVersion()
    {
        EventSetWindow* window = OpenNewWindow();
        window->ActionFor(kAboutRequestedMsg)->trigger();
        auto* about = window->findChild<QMessageBox*>("AboutBox");
        QVERIFY(about != nullptr);
        QVERIFY(about->isVisible());
        QVERIFY(about->text().contains("Calvorin"));
        QVERIFY(about->text().contains(CALVORIN_VERSION));
        QVERIFY(about->informativeText().contains("MIT"));
        about->close();
    }

    void DroppedFilesAreOpenedByTheApplication()
    {
        EventSetWindow* window = OpenNewWindow();
        const QString file = QString::fromStdString(fEnvironment->Path("Dropped.calvorin"));
        QFile touch(file);
        QVERIFY(touch.open(QIODevice::WriteOnly));
        touch.close();
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(file), QUrl::fromLocalFile(fEnvironment->folder.path()),
                      QUrl("https://example.org/set.calvorin")});
        const QPointF at(window->width() / 2.0, window->height() / 2.0);
        QDragEnterEvent enter(at.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &enter);
        QVERIFY(enter.isAccepted());
        fEnvironment->application.Clear();
        QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &drop);

        const std::vector<Message> posted = fEnvironment->application.Messages();
        QCOMPARE(posted.size(), size_t(1));
        QCOMPARE(posted[0].what, B_REFS_RECEIVED);
        uint32_t type = 0;
        int32_t count = 0;
        QCOMPARE(posted[0].GetInfo(kRefsField, &type, &count), B_OK);
        QCOMPARE(type, B_REF_TYPE);
        QCOMPARE(count, 1);  // the folder and the web address are no files
        const void* bytes = nullptr;
        size_t size = 0;
        QCOMPARE(posted[0].FindData(kRefsField, B_REF_TYPE, &bytes, &size), B_OK);
        QCOMPARE(QString::fromUtf8(static_cast<const char*>(bytes)), file);

        // Nothing that is a file: refused.
        QMimeData text;
        text.setText("hello");
        QDragEnterEvent refused(at.toPoint(), Qt::CopyAction, &text, Qt::LeftButton, Qt::NoModifier);
        refused.setAccepted(false);
        QCoreApplication::sendEvent(window, &refused);
        QVERIFY(!refused.isAccepted());
    }

private:
    EventSetWindow* OpenNewWindow()
    {
        EventSet* set = NewLoadedSet(true);
        EventSetWindow* window = WindowOf(set);
        if (window != nullptr)
            (void)QTest::qWaitForWindowExposed(window);
        return window;
    }

    // Saves as the save panel's message does: into the test's folder.
    // remember: -1 no box, 0 off, 1 on.
    void SaveThroughPanelMessage(EventSetWindow* window, const char* name, int remember = -1)
    {
        Message message(kSaveSetMsg);
        message.AddString("directory", fEnvironment->folder.path().toUtf8().constData());
        message.AddString("name", name);
        if (remember >= 0)
            message.AddBool("Remember", remember == 1);
        window->MessageReceived(message);
    }

    // Types a name into the panel, in the test's folder, and presses Enter.
    void TypeIntoPanel(SetFilePanel* panel, const char* name)
    {
        panel->setDirectory(fEnvironment->folder.path());
        auto* field = panel->findChild<QLineEdit*>("fileNameEdit");
        QVERIFY(field != nullptr);
        field->clear();
        QTest::keyClicks(field, name);
        QTest::keyClick(field, Qt::Key_Return);
        Settle();
    }

    std::unique_ptr<UiTestEnvironment> fEnvironment;
};

QTEST_MAIN(EventSetWindowTest)
#include "EventSetWindowTest.moc"
