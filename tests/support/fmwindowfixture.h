#pragma once
// The window over a throw-away farm root: a history folder with database files of made-up jobs,
// and answers to the window's modal boxes. For the window's tests (they link the window library).

#include "joblist_fixtures.h"

#include "app/fm.h"
#include "historydb/fmhistorydb.h"
#include "jobs/fmjoblist.h"
#include "widgets/fmmessagebox.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

// The window tests' start: the window's resources, user settings in a throw-away folder, the
// farm's tables. (Q_INIT_RESOURCE can't stand in a namespace.)
inline void fmInitWindowTests()
{
    Q_INIT_RESOURCE(fmUI);
    static QTemporaryDir settingsDir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsDir.path());
    QCoreApplication::setOrganizationName(QStringLiteral("Orlenvik"));
    QCoreApplication::setApplicationName(QStringLiteral("Fornmark"));
    FM.createFarmTables();
}

namespace fmtest {

using namespace Qt::StringLiterals;

// A history folder with database files of made-up jobs, and a window over it.
struct WindowFixture
{
    QTemporaryDir Dir;
    QString Root, History;
    std::unique_ptr<fmJ::_JobList> Jobs;
    std::unique_ptr<fmHistorydb> Window;

    WindowFixture()
    {
        Root = Dir.path() + u"/root/"_s;
        History = Root + u"history_db/"_s;
        QDir().mkpath(History);
        QDir().mkpath(Root + u"sub/cfg_global"_s);
        FM.RootPath = Root;
        FM.SubPath = Root + u"sub/"_s;
        FM.CfgGlobalPath = Root + u"sub/cfg_global/"_s;
        FM.HistoryDbPath = History;
    }
    // Jobs firstJob .. firstJob + count - 1 of jlfix::makeRecord.
    void writeDb(const QString& relPath, int count, int firstJob = 0) const
    {
        QDir().mkpath(QFileInfo(History + relPath).path());
        QVERIFY(jlfix::writeFile(History + relPath, jlfix::framesOf(count, firstJob)));
    }
    // `count` jobs for each of `users`, the users one after the other.
    void writeUsers(const QString& relPath, const QStringList& users, int count) const
    {
        QByteArray bytes;
        int n = 0;
        for (const QString& user : users)
            for (int i = 0; i < count; ++i, ++n) {
                auto r = jlfix::makeRecord(n);
                r->UserName = user;
                bytes += jlfix::frameOf(*r);
            }
        QVERIFY(jlfix::writeFile(History + relPath, bytes));
    }
    fmHistorydb& open()
    {
        Window.reset(); // before the list it refers to
        Jobs = std::make_unique<fmJ::_JobList>(FM, nullptr);
        Window = std::make_unique<fmHistorydb>(FM, *Jobs);
        return *Window;
    }
    // Alpha.db61 of `jobs` jobs, the window over it and Alpha picked in the project combo.
    fmHistorydb& openAlpha(int jobs)
    {
        writeDb(u"Alpha.db61"_s, jobs);
        open().ui.Show_ComboProject->setCurrentIndex(1);
        return *Window;
    }
    // The window shown; false when it never got on the screen.
    bool show()
    {
        Window->show();
        return QTest::qWaitForWindowExposed(Window.get());
    }
};

QStringList comboTexts(const QComboBox* combo)
{
    QStringList out;
    for (int i = 0; i < combo->count(); ++i)
        out << combo->itemText(i);
    return out;
}

// Answers the next modal fmMessageBox, while it lives, by the button that `pick` chooses.
class BoxAnswer
{
public:
    explicit BoxAnswer(std::function<QPushButton*(fmMessageBox*)> pick) : Pick(std::move(pick))
    {
        QObject::connect(&Timer, &QTimer::timeout, [this] {
            auto* box = qobject_cast<fmMessageBox*>(QApplication::activeModalWidget());
            if (!box) return;
            Timer.stop();
            if (box->TextLabel) Seen = box->TextLabel->text();
            if (QPushButton* b = Pick(box)) b->click();
        });
        Timer.start(10);
    }
    QString Seen; // text of the box answered; empty while none was

private:
    std::function<QPushButton*(fmMessageBox*)> Pick;
    QTimer Timer;
};

QPushButton* byName(fmMessageBox* box, const QString& which)
{
    if (which == QLatin1String("Yes")) return box->Button1;
    if (which == QLatin1String("No")) return box->Button2;
    return box->ButtonCancel;
}

} // namespace fmtest
