#pragma once
// Fixtures for start-up tests: a throw-away farm root, a command line built from texts, the
// whole of a file, and a program run to its end.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <vector>

class fmTestRoot
{
public:
    // A folder in a fresh temporary directory; with cfgGlobal it is a valid farm root at once
    // (sub/cfg_global/ exists).
    explicit fmTestRoot(const QString& name = QStringLiteral("root"), bool cfgGlobal = true);

    bool isValid() const { return Dir.isValid(); }
    // The root with its trailing "/".
    QString path() const { return Path; }
    // The temporary directory that holds the root (with trailing "/"), for places outside it.
    QString base() const { return Dir.path() + QLatin1Char('/'); }
    // Makes rel (relative to the root) with all parents; returns it absolute with trailing "/".
    QString makeFolder(const QString& rel) const;
    // Writes a file relative to the root, making its folder.
    bool writeFile(const QString& rel, const QByteArray& bytes) const;

private:
    QTemporaryDir Dir;
    QString Path;
};

// argc/argv as main receives them; the texts live as long as the object.
class fmTestArgs
{
public:
    explicit fmTestArgs(const QStringList& args);
    int argc;
    char** argv() { return Pointers.data(); }

private:
    QList<QByteArray> Texts;
    std::vector<char*> Pointers;
};

// The bytes of a file; empty when it cannot be read.
QByteArray fmTestReadAll(const QString& path);
// Writes the file whole, replacing it; false when it could not.
bool fmTestWriteAll(const QString& path, const QByteArray& bytes);

// A program run to its end (two minutes at most): exit code (-1: did not end, -2: crashed) and
// its outputs.
struct fmTestRun
{
    int Code = -1;
    QString Out, Err;
};
fmTestRun fmTestRunProgram(const QString& exe, const QStringList& args, const QString& workDir = QString());
