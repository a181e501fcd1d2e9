#include "foundation/fmsdk.h"
#include "widgets/fmdialogs.h"
#include "widgets/fmmessagebox.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <functional>

namespace {

// Runs `act` on the next modal dialog as soon as it is shown (inside its own event loop).
void onNextDialog(std::function<void(QDialog*)> act)
{
    auto* timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) return;
        timer->stop();
        timer->deleteLater();
        act(dialog);
    });
    timer->start();
}

fmMessageBox* asBox(QDialog* d) { return qobject_cast<fmMessageBox*>(d); }

} // namespace

class tst_fmmessagebox : public QObject
{
    Q_OBJECT
private slots:
    void answers_data();
    void answers();
    void countDownIsFirstAnswer();
    void shortcuts_data();
    void shortcuts();
    void copyText();
    void icons_data();
    void icons();
    void refusedOffThread();
    void fourButtons();
    void logLineRaisesWarning();
    void stringListDialog();
    void editLinesDialog();
};

// The first answer accepts, the second rejects; the flag tells a given answer from none.
void tst_fmmessagebox::answers_data()
{
    QTest::addColumn<QString>("press"); // "1", "2", "cancel", "close"
    QTest::addColumn<bool>("withFlag");
    QTest::addColumn<bool>("result");
    QTest::addColumn<bool>("flag");
    QTest::newRow("yes") << "1" << true << true << false;
    QTest::newRow("no") << "2" << true << false << false;
    QTest::newRow("cancel") << "cancel" << true << false << true;
    QTest::newRow("window closed") << "close" << true << false << true;
    QTest::newRow("no without flag") << "2" << false << false << false;
    QTest::newRow("yes without flag") << "1" << false << true << false;
}

void tst_fmmessagebox::answers()
{
    QFETCH(QString, press);
    QFETCH(bool, withFlag);
    QFETCH(bool, result);
    QFETCH(bool, flag);
    bool cancelled = false;
    bool sawCancelButton = false;
    onNextDialog([&](QDialog* d) {
        fmMessageBox* box = asBox(d);
        QVERIFY(box);
        sawCancelButton = box->ButtonCancel != nullptr;
        if (withFlag) QVERIFY(cancelled); // "no answer" until one is given
        if (press == "1") box->Button1->click();
        else if (press == "2") box->Button2->click();
        else if (press == "cancel") box->ButtonCancel->click();
        else box->reject();
    });
    const bool r = fmMessageBox::Question(nullptr, QStringLiteral("Save?"), QStringLiteral("Yes"), 0,
                                          QStringLiteral("No"), withFlag ? &cancelled : nullptr);
    QCOMPARE(r, result);
    QCOMPARE(sawCancelButton, withFlag);
    if (withFlag) QCOMPARE(cancelled, flag);
}

// A warning with 2 seconds shows "Ok  (2)" and counts as answered when the time runs out.
void tst_fmmessagebox::countDownIsFirstAnswer()
{
    QString shown;
    onNextDialog([&](QDialog* d) { shown = asBox(d)->Button1->text(); });
    bool cancelled = false;
    QVERIFY(fmMessageBox::Warning(nullptr, QStringLiteral("Wait"), QStringLiteral("Ok"), 2, QStringLiteral("Stop"),
                                  &cancelled));
    QCOMPARE(shown, QStringLiteral("Ok  (2)"));
    QVERIFY(cancelled); // no answer was given
}

// Letter shortcuts: first letter, or the one behind "&"; equal letters give none.
void tst_fmmessagebox::shortcuts_data()
{
    QTest::addColumn<QString>("b1");
    QTest::addColumn<QString>("b2");
    QTest::addColumn<QString>("key1");
    QTest::addColumn<QString>("key2");
    QTest::newRow("yes no") << "Yes" << "No" << "y" << "n";
    QTest::newRow("ampersand") << "&Retry" << "Abort" << "r" << "a";
    QTest::newRow("same letter") << "Save" << "skip" << "" << "";
    QTest::newRow("one button") << "Ok" << "" << "o" << "";
}

void tst_fmmessagebox::shortcuts()
{
    QFETCH(QString, b1);
    QFETCH(QString, b2);
    QFETCH(QString, key1);
    QFETCH(QString, key2);
    fmMessageBox box(nullptr, QMessageBox::Question, QStringLiteral("?"), b1, 0, b2, nullptr, false, true, false);
    QCOMPARE(box.Shortcut1 ? box.Shortcut1->shortcut().toString() : QString(), key1.toUpper());
    QCOMPARE(box.Shortcut2 ? box.Shortcut2->shortcut().toString() : QString(), key2.toUpper());
    if (box.Shortcut2) {
        box.Shortcut2->trigger();
        QCOMPARE(box.result(), int(QDialog::Rejected));
    }
    if (box.Shortcut1) {
        box.Shortcut1->trigger();
        QCOMPARE(box.result(), int(QDialog::Accepted));
    }
}

// Ctrl+C copies the text with its trailing line break.
void tst_fmmessagebox::copyText()
{
    fmMessageBox box(nullptr, QMessageBox::Warning, QStringLiteral("Disk full"), QStringLiteral("Ok"), 0, QString(),
                     nullptr, false, true, false);
    QCOMPARE(box.CopyAction->shortcut(), QKeySequence(QStringLiteral("Ctrl+C")));
    QApplication::clipboard()->clear();
    box.CopyAction->trigger();
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("Disk full\n"));
}

// Icon label, centring and font per entry point.
void tst_fmmessagebox::icons_data()
{
    QTest::addColumn<int>("icon");
    QTest::addColumn<bool>("centered");
    QTest::addColumn<bool>("courier");
    QTest::addColumn<bool>("hasIcon");
    QTest::newRow("warning") << int(QMessageBox::Warning) << true << false << true;
    QTest::newRow("critical") << int(QMessageBox::Critical) << true << false << true;
    QTest::newRow("no icon keeps the label") << int(QMessageBox::NoIcon) << true << false << true;
    QTest::newRow("information has none") << int(QMessageBox::Information) << false << true << false;
    QTest::newRow("question has none") << int(QMessageBox::Question) << true << false << false;
}

void tst_fmmessagebox::icons()
{
    QFETCH(int, icon);
    QFETCH(bool, centered);
    QFETCH(bool, courier);
    QFETCH(bool, hasIcon);
    fmMessageBox box(nullptr, QMessageBox::Icon(icon), QStringLiteral("t"), QStringLiteral("Ok"), 0, QString(),
                     nullptr, false, centered, courier);
    QCOMPARE(box.IconLabel != nullptr, hasIcon);
    QCOMPARE(box.TextLabel->alignment() == Qt::AlignCenter, centered);
    QCOMPARE(box.TextLabel->font().family() == QStringLiteral("Courier"), courier);
    QVERIFY(!box.Button2);
    QCOMPARE(box.Button1->text(), QStringLiteral("Ok"));
    QVERIFY(box.maximumWidth() == 1200 && box.maximumHeight() == 1000);
}

// Off the application's thread nothing is shown and the answer is false.
void tst_fmmessagebox::refusedOffThread()
{
    bool result = true;
    QThread* thread = QThread::create([&result] {
        result = fmMessageBox::Warning(nullptr, QStringLiteral("x"), QStringLiteral("Ok"), 45);
    });
    thread->start();
    QVERIFY(thread->wait(60000));
    delete thread;
    QVERIFY(!result);
}

// The four-button box returns the number of the button pressed.
void tst_fmmessagebox::fourButtons()
{
    bool fourthMissing = false;
    onNextDialog([&](QDialog* d) {
        auto* box = qobject_cast<fmMessageBox4Buttons*>(d);
        QVERIFY(box);
        fourthMissing = box->Button[3] == nullptr;
        box->Button[2]->click();
    });
    QCOMPARE(fmMessageBox4Buttons::Question(nullptr, QStringLiteral("Which?"), QStringLiteral("One"),
                                            QStringLiteral("Two"), QStringLiteral("Three"), QString()),
             3);
    QVERIFY(fourthMissing);
}

// A warning line of a window program raises the box with "Ok" and 90 seconds.
void tst_fmmessagebox::logLineRaisesWarning()
{
    fmInstallLogMessageBox();
    __FMSDK sdk(false, fm_AppType_HistoryDB, QStringLiteral("fmHistorydb"), false);
    sdk.App.MessageBoxAllowed = true;
    QString button;
    QString text;
    bool hasIcon = false;
    onNextDialog([&](QDialog* d) {
        fmMessageBox* box = asBox(d);
        button = box->Button1->text();
        text = box->TextLabel->text();
        hasIcon = box->IconLabel != nullptr;
        box->Button1->click();
    });
    sdk.WriteLog(2, 4, QStringLiteral("Disk nearly full; clean up"), QStringLiteral("W"));
    __FMSDK::MessageBoxHook = nullptr;
    QCOMPARE(button, QStringLiteral("Ok  (90)"));
    QVERIFY2(text.endsWith(QStringLiteral("|  WRN Disk nearly full\nclean up\n")), qPrintable(text));
    QVERIFY(hasIcon);
}

// The list dialog sorts when asked, shows 30 entries and focuses "Select".
void tst_fmmessagebox::stringListDialog()
{
    QStringList list{QStringLiteral("pear"), QStringLiteral("apple"), QStringLiteral("fig")};
    fmStringListDialog dialog(list, QStringLiteral("Pick one"), true, nullptr);
    QCOMPARE(list, (QStringList{"apple", "fig", "pear"}));
    QCOMPARE(dialog.Combo->count(), 3);
    QCOMPARE(dialog.Combo->itemText(0), QStringLiteral("apple"));
    QCOMPARE(dialog.Combo->maxVisibleItems(), 30);
    QVERIFY(dialog.TextLabel->wordWrap());
    QVERIFY(dialog.ButtonSelect->isDefault());
    QVERIFY(dialog.ButtonSelect->minimumWidth() >= 65 && dialog.ButtonAbort->minimumHeight() >= 25);
    dialog.Combo->setCurrentIndex(2);
    QCOMPARE(dialog.selectedText(), QStringLiteral("pear"));
    dialog.ButtonAbort->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

// The line editor keeps the lines unwrapped and gives back what was edited.
void tst_fmmessagebox::editLinesDialog()
{
    fmEditLinesDialog dialog(QStringLiteral("Edit"), QStringLiteral("a\nb"));
    QCOMPARE(dialog.lines(), QStringLiteral("a\nb"));
    QCOMPARE(dialog.Edit->lineWrapMode(), QPlainTextEdit::NoWrap);
    QVERIFY(dialog.Edit->minimumWidth() >= 500 && dialog.Edit->minimumHeight() >= 250);
    QVERIFY(dialog.ButtonOk->isDefault());
    dialog.ButtonOk->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

QTEST_MAIN(tst_fmmessagebox)
#include "tst_fmmessagebox.moc"
