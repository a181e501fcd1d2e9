// "jobs --project NAME [--user U] [--app A] [--text T] [--json]": the project's jobs as the tree
// lists them, filtered as the window's combos and "Includes..." filter, one job a line or a JSON
// array.

#include "tools/console/consoleedit.h"

#include "app/fm.h"
#include "browser/fmprojecttable.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QReadLocker>

namespace {

QString isoTime(const fmTime_t& t)
{
    return QDateTime::fromSecsSinceEpoch(t.t, Qt::UTC).toString(Qt::ISODate);
}

} // namespace

int fmConsoleJobs(__FM& fm, const fmConsoleEditArgs& args)
{
    fmConsoleProject project;
    const int loaded = fmConsoleLoadProject(fm, args.Project, project);
    if (loaded != 0) return loaded;
    fmJ::_JobList& list = *project.List;
    list.SetFilter(args.User, QString(), args.App, args.Text.trimmed(), false, false, false, false, false,
                   true);
    const QDir history(fm.HistoryDbPath.toQString());
    QJsonArray all;
    QReadLocker lock(&list.LockJobs);
    for (int i = 0; i < list.SortedCount; ++i) {
        const fmJ::_jobsHistoryDB_Runtime* job = list.Sorted[i];
        const int source = job->SourceFile - 1;
        const QString file = source >= 0 && source < list.Sources.size()
                                 ? history.relativeFilePath(list.Sources[source].Path)
                                 : QString();
        const QString id = fmJ::ID2str(job->JobID);
        if (!args.Json) {
            fmConsolePrint(stdout, QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\t%7\n")
                                       .arg(id)
                                       .arg(job->JobID)
                                       .arg(job->UserName.toQString(), job->Software.toQString(),
                                            job->SceneName.toQString(), isoTime(job->DateFinished), file));
            continue;
        }
        all.append(QJsonObject{{QStringLiteral("id"), id},
                               {QStringLiteral("jobId"), QJsonValue(qint64(job->JobID))},
                               {QStringLiteral("user"), job->UserName.toQString()},
                               {QStringLiteral("software"), job->Software.toQString()},
                               {QStringLiteral("scene"), job->SceneName.toQString()},
                               {QStringLiteral("finished"), isoTime(job->DateFinished)},
                               {QStringLiteral("file"), file}});
    }
    if (args.Json)
        fmConsolePrint(stdout, QString::fromUtf8(QJsonDocument(all).toJson(QJsonDocument::Indented)));
    return 0;
}
