// The editor's tabs and the handlers' edit views, driven through their
// controls: number fields that refuse values below 1, the greying of
// controls without effect, texts stored as they are typed, and which
// changes mark the set modified.
#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include "EditorTestSupport.h"
#include "calvorin/EventAddOnData.h"
#include "core/Clock.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"
#include "ui/ActOnFileView.h"
#include "ui/EventActionView.h"
#include "ui/NumberField.h"
#include "ui/UnknownDataHandlerView.h"

namespace {

bool IsGrey(QLabel* label)
{
    return label->palette().color(QPalette::WindowText) == QColor(152, 152, 152);
}

void Select(EditorSetup& s, int handler)
{
    Choose(s.Find<QComboBox>("HandlerMenu"), handler);
}

}  // namespace

class EditViewsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InitEditorTests(); }

    void numberFieldsRefuseValuesBelowOne_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("stored");  // 0: refused
        for (const char* field : {"PrewarnTime", "PrewarnRepeatTime", "NagRepeatTime"}) {
            QTest::addRow("%s zero", field) << field << "0" << 0;
            QTest::addRow("%s negative", field) << field << "-4" << 0;
            QTest::addRow("%s letters", field) << field << "abc" << 0;
            QTest::addRow("%s empty", field) << field << "" << 0;
            QTest::addRow("%s seven", field) << field << "7" << 7;
            QTest::addRow("%s padded", field) << field << " 12 " << 12;
        }
    }
    void numberFieldsRefuseValuesBelowOne()
    {
        QFETCH(QString, field);
        QFETCH(QString, typed);
        QFETCH(int, stored);
        EditorSetup s;
        {
            Autolock lock(s.set);
            s.event->SetApplyPrewarn(true);
            s.event->SetApplyPrewarnRepeat(true);
            s.event->SetApplyNag(true);
        }
        s.window->RefreshAll();
        auto value = [&] {
            if (field == "PrewarnTime")
                return s.event->GetPrewarnTime();
            if (field == "PrewarnRepeatTime")
                return s.event->GetPrewarnRepeatTime();
            return s.event->GetNagRepeatTime();
        };
        const uint32_t before = value();
        auto* edit = s.Find<NumberField>(field.toLatin1().constData());
        TypeAndCommit(edit, typed);
        const uint32_t expected = stored == 0 ? before : uint32_t(stored);
        QCOMPARE(value(), expected);
        QCOMPARE(edit->text(), QString::number(expected));
    }

    void prewarnStartReevaluatesTheEvent()
    {
        ScopedClock clock(At(2001, 3, 1, 12));
        EditorSetup s;
        {
            Autolock lock(s.set);
            s.event->SetEventTime(At(2001, 3, 20), false);
            s.event->SetApplyPrewarn(true);
        }
        s.window->RefreshAll();
        TypeAndCommit(s.Find<NumberField>("PrewarnTime"), "7");
        QCOMPARE(s.event->GetStatus(), WaitingForPrewarning);
        QCOMPARE(s.event->GetNextEventTime(), At(2001, 3, 13));
        // Seven weeks ahead lies in the past: that prewarning is dropped.
        Choose(s.Find<QComboBox>("PrewarnType"), Weeks);
        QCOMPARE(s.event->GetPrewarnType(), Weeks);
        QCOMPARE(s.event->GetStatus(), WaitingForEvent);
        QCOMPARE(s.event->GetNextEventTime(), At(2001, 3, 20));
    }

    void prewarnGreyingFollowsTheCheckBoxes()
    {
        EditorSetup s;
        auto* apply = s.Find<QCheckBox>("ApplyPrewarn");
        auto* repeat = s.Find<QCheckBox>("ApplyPrewarnRepeat");
        auto* advance = s.Find<QLabel>("InAdvance");
        auto* messageLabel = s.Find<QLabel>("PrewarnMessageLabel");
        auto* text = s.Find<QPlainTextEdit>("PrewarnText");
        auto* repeatField = s.Find<QWidget>("PrewarnRepeatTime");
        auto* repeatUnit = s.Find<QWidget>("PrewarnRepeatType");
        auto* start = s.Find<QWidget>("PrewarnTime");

        // New events have prewarnings off: everything but the box is grey.
        QVERIFY(IsGrey(advance) && IsGrey(messageLabel));
        QVERIFY(!start->isEnabled() && !repeat->isEnabled() && !repeatField->isEnabled());
        QVERIFY(text->isReadOnly());

        apply->click();
        QVERIFY(s.event->GetApplyPrewarn());
        QVERIFY(!IsGrey(advance) && !IsGrey(messageLabel));
        QVERIFY(start->isEnabled() && repeat->isEnabled() && !text->isReadOnly());
        QVERIFY(!repeatField->isEnabled() && !repeatUnit->isEnabled());

        repeat->click();
        QVERIFY(s.event->GetApplyPrewarnRepeat());
        QVERIFY(repeatField->isEnabled() && repeatUnit->isEnabled());

        // Off again: the repeat count and unit go grey although the repeat
        // box is still on.
        apply->click();
        QVERIFY(!s.event->GetApplyPrewarn());
        QVERIFY(repeat->isChecked());
        QVERIFY(!repeat->isEnabled() && !repeatField->isEnabled() && !repeatUnit->isEnabled());
        QVERIFY(IsGrey(advance) && IsGrey(messageLabel) && text->isReadOnly());
    }

    void nagOffEndsTheNagPhase()
    {
        ScopedClock clock(At(2001, 3, 1, 12));
        EditorSetup s;
        {
            Autolock lock(s.set);
            s.event->SetEventTime(At(2001, 3, 20), false);
            s.event->SetApplyNag(true);
            s.event->RawFields().Status() = WaitingToNag;
        }
        s.window->RefreshAll();
        auto* every = s.Find<QWidget>("NagRepeatTime");
        auto* label = s.Find<QLabel>("NagMessageLabel");
        QVERIFY(every->isEnabled() && !IsGrey(label));
        s.Find<QCheckBox>("ApplyNag")->click();
        QVERIFY(!s.event->GetApplyNag());
        QCOMPARE(s.event->GetStatus(), WaitingForEvent);
        QVERIFY(!every->isEnabled() && IsGrey(label));
        QVERIFY(s.Find<QPlainTextEdit>("NagText")->isReadOnly());

        Choose(s.Find<QComboBox>("NagRepeatType"), Minutes);
        QCOMPARE(s.event->GetNagRepeatType(), Minutes);
    }

    void textViewsStoreEveryChange()
    {
        EditorSetup s;
        {
            Autolock lock(s.set);
            s.event->SetApplyPrewarn(true);
            s.event->SetApplyNag(true);
        }
        s.window->RefreshAll();
        auto* prewarn = s.Find<QPlainTextEdit>("PrewarnText");
        QTest::keyClicks(prewarn, "Soon");
        QCOMPARE(QByteArray(s.event->GetPrewarnMessage()), QByteArray("Soon"));
        QTest::keyClicks(s.Find<QPlainTextEdit>("NagText"), "Now!");
        QCOMPARE(QByteArray(s.event->GetNagMessage()), QByteArray("Now!"));

        auto* comment = s.Find<QPlainTextEdit>("CommentText");
        QTest::keyClicks(comment, "Bring cake");
        QCOMPARE(QByteArray(s.event->GetComment()), QByteArray("Bring cake"));
        QVERIFY(s.set->HasBeenModified());
        comment->selectAll();
        QTest::keyClick(comment, Qt::Key_Delete);
        QVERIFY(s.event->GetComment() == nullptr || s.event->GetComment()[0] == '\0');
    }

    void messageViewStoresAndMarksModified()
    {
        EditorSetup s;
        auto* view = s.Find<QPlainTextEdit>("MessageEditView");
        QCOMPARE(view->lineWrapMode(), QPlainTextEdit::WidgetWidth);
        QTest::keyClicks(view, "Call the dentist");
        auto* data = static_cast<MessageDataHandler*>(s.event->GetAddOnData(kMessageHandler));
        QCOMPARE(QByteArray(data->GetMessage()), QByteArray("Call the dentist"));
        QVERIFY(s.set->HasBeenModified());
    }

    void commandTextMarksModifiedButNotTheCheckBox()
    {
        EditorSetup s;
        Select(s, kCommandHandler);
        auto* data = static_cast<CommandDataHandler*>(s.event->GetAddOnData(kCommandHandler));
        s.set->ClearModified();

        auto* verify = s.Find<QCheckBox>("VerifyBox");
        verify->click();
        QVERIFY(data->GetVerify());
        QVERIFY(!s.set->HasBeenModified());
        verify->click();
        QVERIFY(!data->GetVerify());
        QVERIFY(!s.set->HasBeenModified());

        TypeAndCommit(s.Find<QLineEdit>("CommandField"), "touch /tmp/x");
        QCOMPARE(QByteArray(data->GetCommand()), QByteArray("touch /tmp/x"));
        QVERIFY(s.set->HasBeenModified());

        // Text still being typed when the window closes is kept.
        auto* field = s.Find<QLineEdit>("CommandField");
        s.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(s.window));
        field->setFocus();
        QTest::keyClicks(field, " /tmp/y");
        QCOMPARE(QApplication::focusWidget(), static_cast<QWidget*>(field));
        s.event->GetWindow()->Quit();
        QCOMPARE(QByteArray(data->GetCommand()), QByteArray("touch /tmp/x /tmp/y"));
    }

    void actOnFileChoosesThroughTheDialog()
    {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QString path = folder.filePath("notes.txt");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();

        EditorSetup s;
        Select(s, kActOnFileHandler);
        auto* data = static_cast<ActOnFileDataHandler*>(s.event->GetAddOnData(kActOnFileHandler));
        auto* view = s.Find<ActOnFileView>("ActOnFileView");
        QCOMPARE(view->FileLine(), QString("File: <none selected>"));
        s.set->ClearModified();

        s.Find<QCheckBox>("VerifyBox")->click();
        QVERIFY(data->GetVerify());
        QVERIFY(!s.set->HasBeenModified());

        s.Find<QPushButton>("SelectFile")->click();
        QFileDialog* dialog = view->FileDialog();
        QVERIFY(dialog != nullptr && dialog->isVisible());
        QCOMPARE(dialog->directory().absolutePath(), QDir::homePath());
        dialog->setOption(QFileDialog::DontUseNativeDialog);
        dialog->selectFile(path);
        QMetaObject::invokeMethod(dialog, "accept");
        QCOMPARE(QString::fromUtf8(data->GetFileName()), path);
        QCOMPARE(view->FileLine(), "File: " + path);
        QVERIFY(s.set->HasBeenModified());

        // Next time the dialog opens where the chosen file is.
        s.Find<QPushButton>("SelectFile")->click();
        QCOMPARE(dialog->directory().absolutePath(), QFileInfo(path).absolutePath());
        dialog->reject();
    }

    void unknownViewNamesTheMissingHandler()
    {
        EditorSetup s;
        auto* unknown = new UnknownDataHandler(s.event);
        unknown->SetOriginalHandler("Weather");
        {
            Autolock lock(s.set);
            s.event->RawFields().AddOnData()[kUnknownHandler] = unknown;
            s.event->SetSelectedHandler(kUnknownHandler);
        }
        auto* view = s.Find<UnknownDataHandlerView>("UnknownDataHandlerView");
        QCOMPARE(view->Text(), QString("Missing handler: Weather"));
        QCOMPARE(unknown->GetEditView(), static_cast<QWidget*>(view));
    }
};

QTEST_MAIN(EditViewsTest)
#include "EditViewsTest.moc"
