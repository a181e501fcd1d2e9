#pragma once
// A throw-away PostgreSQL server for tests: a cluster made by initdb in a temporary folder and
// started by pg_ctl on a Unix socket in that folder (no TCP port). The server refuses to run as
// root, so when the test runs as root it is run as "nobody", the folder given to that user.

#include <QString>
#include <QTemporaryDir>

class fmTestPgServer
{
public:
    fmTestPgServer();
    ~fmTestPgServer(); // stops the server

    // The folder of Debian's initdb and pg_ctl (the newest version); empty when they are missing.
    static QString binFolder();

    // Makes the cluster on first use and starts the server. Returns an empty text or why not.
    QString start();
    // Stops it at once (as a crash would: no shutdown checkpoint). Returns false on failure.
    bool stop();

    // libpq keyword=value connection to the server's "postgres" database, as user "fmtest".
    QString conninfo() const;

private:
    // Runs a server program (as "nobody" when this process is root); empty text or its output.
    QString run(const QString& program, const QString& args, const QStringList& more = {}) const;

    QTemporaryDir Dir;
    QString Bin;
    bool Initialised = false;
    bool Running = false;
};
