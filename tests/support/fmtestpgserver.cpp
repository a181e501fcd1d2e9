#include "fmtestpgserver.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <pwd.h>
#include <unistd.h>

#include <algorithm>

namespace {

constexpr int Port = 5432; // names the socket file only: the server listens on no TCP port

} // namespace

fmTestPgServer::fmTestPgServer() : Dir(QDir::tempPath() + QStringLiteral("/fmpg-XXXXXX")), Bin(binFolder()) {}

fmTestPgServer::~fmTestPgServer()
{
    if (Running) stop();
}

QString fmTestPgServer::binFolder()
{
    // Debian keeps the server programs beside each other per major version; the newest wins.
    QStringList versions =
        QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(versions.begin(), versions.end(),
              [](const QString& a, const QString& b) { return a.toInt() > b.toInt(); });
    for (const QString& v : versions) {
        const QString bin = QStringLiteral("/usr/lib/postgresql/%1/bin").arg(v);
        if (QFileInfo(bin + QStringLiteral("/initdb")).isExecutable() &&
            QFileInfo(bin + QStringLiteral("/pg_ctl")).isExecutable())
            return bin;
    }
    const QString initdb = QStandardPaths::findExecutable(QStringLiteral("initdb"));
    const QString pgctl = QStandardPaths::findExecutable(QStringLiteral("pg_ctl"));
    return !initdb.isEmpty() && !pgctl.isEmpty() ? QFileInfo(initdb).absolutePath() : QString();
}

QString fmTestPgServer::run(const QString& program, const QStringList& args) const
{
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    const QString exe = Bin + QLatin1Char('/') + program;
    if (::geteuid() == 0)
        p.start(QStringLiteral("runuser"),
                QStringList{QStringLiteral("-u"), QStringLiteral("nobody"), QStringLiteral("--"), exe} +
                    args);
    else
        p.start(exe, args);
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        return program + QStringLiteral(" did not finish");
    }
    if (p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0) return QString();
    return program + QStringLiteral(" failed: ") + QString::fromLocal8Bit(p.readAll());
}

QString fmTestPgServer::start()
{
    if (Bin.isEmpty()) return QStringLiteral("no initdb/pg_ctl found");
    if (!Dir.isValid()) return QStringLiteral("no temporary folder");
    if (Running) return QString();
    if (!Initialised) {
        if (::geteuid() == 0) {
            const passwd* nobody = ::getpwnam("nobody");
            if (!nobody ||
                ::chown(QFile::encodeName(Dir.path()).constData(), nobody->pw_uid, nobody->pw_gid) != 0)
                return QStringLiteral("cannot give the temporary folder to user nobody");
        }
        const QString why =
            run(QStringLiteral("initdb"),
                {QStringLiteral("-D"), Dir.filePath(QStringLiteral("data")), QStringLiteral("-U"),
                 QStringLiteral("fmtest"), QStringLiteral("--auth=trust"), QStringLiteral("-E"),
                 QStringLiteral("UTF8"), QStringLiteral("--locale=C"), QStringLiteral("--no-sync")});
        if (!why.isEmpty()) return why;
        Initialised = true;
    }
    // -F: no fsync; the cluster is thrown away.
    const QString options = QStringLiteral("-k %1 -c listen_addresses= -p %2 -F").arg(Dir.path()).arg(Port);
    const QString why = run(QStringLiteral("pg_ctl"),
                            {QStringLiteral("-D"), Dir.filePath(QStringLiteral("data")), QStringLiteral("-l"),
                             Dir.filePath(QStringLiteral("server.log")), QStringLiteral("-w"),
                             QStringLiteral("-o"), options, QStringLiteral("start")});
    Running = why.isEmpty();
    return why;
}

bool fmTestPgServer::stop()
{
    if (!Running) return true;
    Running = !run(QStringLiteral("pg_ctl"),
                   {QStringLiteral("-D"), Dir.filePath(QStringLiteral("data")), QStringLiteral("-m"),
                    QStringLiteral("immediate"), QStringLiteral("-w"), QStringLiteral("stop")})
                   .isEmpty();
    return !Running;
}

QString fmTestPgServer::conninfo() const
{
    return QStringLiteral("host=%1 port=%2 dbname=postgres user=fmtest").arg(Dir.path()).arg(Port);
}
