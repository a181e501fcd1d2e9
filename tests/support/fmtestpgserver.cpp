#include "fmtestpgserver.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <pwd.h>
#include <unistd.h>

#include <algorithm>

using namespace Qt::StringLiterals;

static constexpr int Port = 5432; // names the socket file only: the server listens on no TCP port

fmTestPgServer::fmTestPgServer() : Dir(QDir::tempPath() + u"/fmpg-XXXXXX"_s), Bin(binFolder()) {}

fmTestPgServer::~fmTestPgServer()
{
    if (Running) stop();
}

QString fmTestPgServer::binFolder()
{
    // Debian keeps the server programs per major version; the newest wins.
    QStringList versions = QDir(u"/usr/lib/postgresql"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(versions.begin(), versions.end(),
              [](const QString& a, const QString& b) { return a.toInt() > b.toInt(); });
    for (const QString& v : versions) {
        const QString bin = u"/usr/lib/postgresql/%1/bin/"_s.arg(v);
        if (QFileInfo(bin + "initdb").isExecutable() && QFileInfo(bin + "pg_ctl").isExecutable()) return bin;
    }
    return QString();
}

// `args` are split at blanks (the temporary folder's path has none); `more` follow as they stand.
QString fmTestPgServer::run(const QString& program, const QString& args, const QStringList& more) const
{
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    const QStringList argv = args.arg(Dir.path()).split(QLatin1Char(' ')) + more;
    if (::geteuid() == 0)
        p.start(u"runuser"_s, QStringList{"-u", "nobody", "--", Bin + program} + argv);
    else
        p.start(Bin + program, argv);
    if (p.waitForFinished(120000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0)
        return QString();
    p.kill();
    p.waitForFinished();
    return program + u" failed: "_s + QString::fromLocal8Bit(p.readAll());
}

QString fmTestPgServer::start()
{
    if (Bin.isEmpty() || !Dir.isValid()) return u"no initdb/pg_ctl, or no temporary folder"_s;
    if (Running) return QString();
    if (!Initialised) {
        const passwd* nobody = ::geteuid() == 0 ? ::getpwnam("nobody") : nullptr;
        if (nobody && ::chown(QFile::encodeName(Dir.path()).constData(), nobody->pw_uid, nobody->pw_gid) != 0)
            return u"cannot give the temporary folder to user nobody"_s;
        const QString why = run("initdb", "-D %1/data -U fmtest --auth=trust -E UTF8 --locale=C --no-sync");
        if (!why.isEmpty()) return why;
        Initialised = true;
    }
    // The server's options are one argument of pg_ctl; -F: no fsync, the cluster is thrown away.
    const QString options = u"-k %1 -c listen_addresses= -p %2 -F"_s.arg(Dir.path()).arg(Port);
    const QString why = run("pg_ctl", "start -D %1/data -l %1/server.log -w", {u"-o"_s, options});
    Running = why.isEmpty();
    return why;
}

bool fmTestPgServer::stop()
{
    if (Running) Running = !run("pg_ctl", "-D %1/data -m immediate -w stop").isEmpty();
    return !Running;
}

QString fmTestPgServer::conninfo() const
{
    return u"host=%1 port=%2 dbname=postgres user=fmtest"_s.arg(Dir.path()).arg(Port);
}
