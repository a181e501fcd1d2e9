#include "fmtestroot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

using namespace Qt::StringLiterals;

fmTestRoot::fmTestRoot(const QString& name, bool cfgGlobal)
{
    Path = Dir.path() + QLatin1Char('/') + name + QLatin1Char('/');
    QDir().mkpath(Path);
    if (cfgGlobal) makeFolder(u"sub/cfg_global"_s);
}

QString fmTestRoot::makeFolder(const QString& rel) const
{
    QString p = Path + rel;
    if (!p.endsWith(QLatin1Char('/'))) p += QLatin1Char('/');
    QDir().mkpath(p);
    return p;
}

bool fmTestRoot::writeFile(const QString& rel, const QByteArray& bytes) const
{
    QDir().mkpath(QFileInfo(Path + rel).path());
    return fmTestWriteAll(Path + rel, bytes);
}

fmTestArgs::fmTestArgs(const QStringList& args) : argc(int(args.size()))
{
    for (const QString& a : args)
        Texts.append(a.toLocal8Bit());
    for (QByteArray& t : Texts)
        Pointers.push_back(t.data());
    Pointers.push_back(nullptr);
}

QByteArray fmTestReadAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool fmTestWriteAll(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

fmTestRun fmTestRunProgram(const QString& exe, const QStringList& args, const QString& workDir)
{
    QProcess p;
    if (!workDir.isEmpty()) p.setWorkingDirectory(workDir);
    p.start(exe, args);
    fmTestRun r;
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        return r;
    }
    r.Code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -2;
    r.Out = QString::fromUtf8(p.readAllStandardOutput());
    r.Err = QString::fromUtf8(p.readAllStandardError());
    return r;
}
