#include "foundation/fmsdk.h"
#include "widgets/fmdialogs.h"
#include "widgets/fmmessagebox.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;

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

fmMessageBox* asBox(QDialog* d)
{
    return qobject_cast<fmMessageBox*>(d);
}

} // namespace

class tst_fmmessagebox : public QObject
{
    Q_OBJECT
private slots:
    // The first answer accepts, the second rejects; the flag tells a given answer from none.
    void answers_data()
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
    }
    void answers()
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
            if (press == "1")
                box->Button1->click();
            else if (press == "2")
                box->Button2->click();
            else if (press == "cancel")
                box->ButtonCancel->click();
            else
                box->reject();
        });
        const bool r = fmMessageBox::Question(nullptr, u"Save?"_s, u"Yes"_s, 0, u"No"_s,
                                              withFlag ? &cancelled : nullptr);
        QCOMPARE(r, result);
        QCOMPARE(sawCancelButton, withFlag);
        if (withFlag) QCOMPARE(cancelled, flag);
    }

    // A warning with 2 seconds shows "Ok  (2)" and counts as answered when the time runs out.
    void countDownIsFirstAnswer()
    {
        QString shown;
        onNextDialog([&](QDialog* d) { shown = asBox(d)->Button1->text(); });
        bool cancelled = false;
        QVERIFY(fmMessageBox::Warning(nullptr, u"Wait"_s, u"Ok"_s, 2, u"Stop"_s, &cancelled));
        QCOMPARE(shown, u"Ok  (2)"_s);
        QVERIFY(cancelled); // no answer was given
    }

    // Letter shortcuts: the first letter of each answer, as the program's questions give them.
    void shortcuts()
    {
        fmMessageBox box(nullptr, QMessageBox::Question, u"?"_s, u"Yes"_s, 0, u"No"_s, nullptr, false, true,
                         false);
        QCOMPARE(box.Shortcut1->shortcut().toString(), u"Y"_s);
        QCOMPARE(box.Shortcut2->shortcut().toString(), u"N"_s);
        box.Shortcut2->trigger();
        QCOMPARE(box.result(), int(QDialog::Rejected));
        box.Shortcut1->trigger();
        QCOMPARE(box.result(), int(QDialog::Accepted));
    }

    // Ctrl+C copies the text with its trailing line break.
    void copyText()
    {
        fmMessageBox box(nullptr, QMessageBox::Warning, u"Disk full"_s, u"Ok"_s, 0, QString(), nullptr, false,
                         true, false);
        QApplication::clipboard()->clear();
        box.CopyAction->trigger();
        QCOMPARE(QApplication::clipboard()->text(), u"Disk full\n"_s);
    }

    // Off the application's thread nothing is shown and the answer is false.
    void refusedOffThread()
    {
        bool result = true;
        QThread* thread =
            QThread::create([&result] { result = fmMessageBox::Warning(nullptr, u"x"_s, u"Ok"_s, 45); });
        thread->start();
        QVERIFY(thread->wait(60000));
        delete thread;
        QVERIFY(!result);
    }

    // A warning line of a window program raises the box with "Ok" and 90 seconds.
    void logLineRaisesWarning()
    {
        fmInstallLogMessageBox();
        __FMSDK sdk(false, fm_AppType_HistoryDB, u"fmHistorydb"_s, false);
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
        sdk.WriteLog(2, 4, u"Disk nearly full; clean up"_s, u"W"_s);
        __FMSDK::MessageBoxHook = nullptr;
        QCOMPARE(button, u"Ok  (90)"_s);
        QVERIFY2(text.endsWith(u"|  WRN Disk nearly full\nclean up\n"_s), qPrintable(text));
        QVERIFY(hasIcon);
    }
};

QTEST_MAIN(tst_fmmessagebox)
#include "tst_fmmessagebox.moc"
