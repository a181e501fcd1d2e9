#pragma once
// Reading the files that other machines write on the shared root. Any of them may be damaged, or
// replaced by a FIFO, a device, a folder or a file without end: each is opened without blocking,
// accepted only as a regular file (or a link to one) within a cap that fits its kind, and a
// refusal gives the system's own reason, for the caller to log with the file's name.
//
// File names are bytes on this system, and names written by other systems need not be UTF-8.
// fmPathFromBytes keeps every byte that is not part of valid UTF-8 as a lone low surrogate
// U+DC80..U+DCFF, so that fmPathToBytes gives back the very bytes: such a file can be listed,
// opened, renamed and saved. fmPathForDisplay shows each of those bytes as U+FFFD.

#include <QByteArray>
#include <QString>
#include <QTemporaryFile>

class QFile;

QString fmPathFromBytes(const QByteArray& bytes);
QByteArray fmPathToBytes(const QString& path);
QString fmPathForDisplay(const QString& path);

// Caps in bytes, one per kind of file read from the root.
namespace fmFileCap {
constexpr qint64 ConfigIni =
    16LL << 20; // globalconfig.ini, clients.ini, clientgroups.ini (some 10 KB to 2 MB)
constexpr qint64 SmallText = 64LL << 10; // version.info, the relink file: a line or two
constexpr qint64 Image = 64LL << 20;     // the splash image, a job's preview image
constexpr qint64 LogFile = 64LL << 20;   // a log file that is trimmed (logs stop growing at 25 MB)
constexpr qint64 Database = 16LL << 30;  // a project database, read frame by frame, never whole
} // namespace fmFileCap

// Opens path for reading without blocking (a FIFO or a device can't stall the open) and accepts
// only a regular file of at most maxBytes; O_NONBLOCK is cleared again for the reads. Returns the
// descriptor, owned by the caller, or -1 with *reason set (the system's error text, or why the
// file is refused). *size gets the file's size at the open.
int fmOpenRegularFile(const QString& path, qint64 maxBytes, QString* reason, qint64* size = nullptr);

// The same for a QFile, which then owns the descriptor. The file is opened read-only.
bool fmOpenRegularFile(QFile& file, const QString& path, qint64 maxBytes, QString* reason);

// Reads the whole regular file, at most maxBytes; a file that grows beyond the cap while it is read
// is refused as well. out is empty after a failure.
bool fmReadRegularFile(const QString& path, qint64 maxBytes, QByteArray& out, QString* reason);

// Opens (or creates, mode 0666 before umask) a file to append to, without blocking: a FIFO or a
// device in the place of a log file fails at once instead of stalling the writer. On failure errno
// tells why (EINVAL for a file that is no regular file).
bool fmOpenForAppend(QFile& file, const QString& path);

// The reason of a file too large: "File too large (<size> bytes, at most <max>)".
QString fmFileTooLargeText(qint64 size, qint64 maxBytes);

// True if anything (of any kind) stands at path; a file that is not there is no error for most
// readers, while one that is there but refused is.
bool fmPathExists(const QString& path);

// A private copy of a file from the root, for QSettings, which must never open a root file itself:
// it would block on a FIFO and read without a cap. The bytes are read as above and written to a
// QTemporaryFile of this process in the system's temporary folder (mode 0600, a name of its own, so
// no other user's leftover copy or planted link is in the way). The copy is removed with the object.
class fmPrivateCopy
{
public:
    fmPrivateCopy();
    // Copies the regular file at path (at most maxBytes); with missingIsEmpty a missing file gives
    // an empty copy. False with *reason set when the file is refused or the copy fails.
    bool copyFrom(const QString& path, qint64 maxBytes, bool missingIsEmpty, QString* reason);
    bool fill(const QByteArray& bytes, QString* reason);
    // The copy's bytes as they are now (after QSettings wrote to it).
    bool readBack(QByteArray& out, QString* reason);
    QString fileName() const { return Temp.fileName(); }

private:
    QTemporaryFile Temp;
};
