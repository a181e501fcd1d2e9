#include "foundation/fmlogfile.h"

#include "foundation/fmfile.h"
#include "foundation/fmfileread.h"
#include "foundation/fmprocess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>

#include <cerrno>
#include <cstring>

namespace {

constexpr int kLockWaitMs = 5000;

} // namespace

fmLogfile::fmLogfile(int32_t maxFileSize, int32_t flushInterval, bool keepSecondCopy, bool allowTrim)
    : KeepSecondCopy(keepSecondCopy), MaxFileSize(maxFileSize), FlushInterval(flushInterval),
      AllowTrim(allowTrim), Lock(new QMutex)
{
    Buffer = new char[size_t(BufferSize) + 1];
    Buffer[0] = 0;
}

fmLogfile::~fmLogfile()
{
    delete[] Buffer;
    Buffer = nullptr;
    delete Lock;
    Lock = nullptr;
}

void fmLogfile::addLog(const QString& line)
{
    const QByteArray bytes = line.toLatin1();
    if (!Lock->tryLock(kLockWaitMs)) return;
    addLog_p(bytes.constData(), int(qMin<qsizetype>(bytes.size(), BufferSize)), true);
    Lock->unlock();
}

void fmLogfile::addLog(const fmString8_evenSize<250>& line)
{
    if (!Lock->tryLock(kLockWaitMs)) return;
    addLog_p(line.Data, line.len(), true);
    Lock->unlock();
}

void fmLogfile::addLog(const char* p, const int& n)
{
    if (!p || n <= 0) return;
    if (!Lock->tryLock(kLockWaitMs)) return;
    addLog_p(p, qMin(n, BufferSize), true);
    Lock->unlock();
}

void fmLogfile::flush()
{
    if (!Lock->tryLock(kLockWaitMs)) return;
    flush_p();
    Lock->unlock();
}

void fmLogfile::discard()
{
    if (!Lock->tryLock(kLockWaitMs)) return;
    BufferUsed = 0;
    Buffer[0] = 0;
    Lock->unlock();
}

QByteArray fmLogfile::bufferText()
{
    if (!Lock->tryLock(kLockWaitMs)) return QByteArray();
    QByteArray out(Buffer, BufferUsed);
    Lock->unlock();
    return out;
}

void fmLogfile::addLog_p(const char* p, int n, bool mayFlush)
{
    if (n + 2 + BufferUsed > BufferSize) {
        if (mayFlush) flush_p();
        // Room for the line feed and the terminator stays; a longer line is cut.
        if (n + 2 + BufferUsed > BufferSize) n = BufferSize - 3 - BufferUsed;
    }
    if (n > 0) {
        std::memcpy(Buffer + BufferUsed, p, size_t(n));
        BufferUsed += n;
        if (AppendNewline) Buffer[BufferUsed++] = '\n';
        Buffer[BufferUsed] = 0;
    }
    if (!mayFlush) return;
    if (BufferUsed <= FlushThreshold && FlushInterval > 0) {
        if (fmTime_t::CurrentTime() > LastFlush.t + FlushInterval) {
            LastFlush.SetCurrentTime();
            flush_p();
        }
    } else {
        flush_p();
    }
}

void fmLogfile::flush_p()
{
    // Without a name the lines wait in the buffer until the name is set.
    if (FileName.isEmpty()) return;
    writetoLogFile(FileName.toQString(), true, true, 0);
    if (!SecondFileName.isEmpty()) writetoLogFile(SecondFileName.toQString(), false, false, 0);
    BufferUsed = 0;
    Buffer[0] = 0;
    // During an outage the statement leads the buffer again after every failed flush, so that
    // it reaches the file once it works.
    if (LastError.t != 0 && !PendingSelfError.isEmpty())
        addLog_p(PendingSelfError.constData(), int(PendingSelfError.size()), false);
}

bool fmLogfile::writetoLogFile(const QString& path, bool updateTime, bool reportErrors, int offset)
{
    if (path.isEmpty()) return false;
    if (BufferUsed - offset < 1) return true;
    long long size = 0;
    const bool exists = fmFileExists(path, nullptr, &size);
    if (updateTime) LastFlush.SetCurrentTime();

    QFile file; // opened without blocking: a FIFO in the log's place must not stall the program
    bool opened = false;
    if (!exists) {
        opened = fmOpenForAppend(file, path);
        const int err = errno;
        if (!opened) {
            if (LastError.t == 0 && reportErrors) {
                LastError.SetCurrentTime();
                if (fmDirectoryExists(GetDirName(path, '/')))
                    addSelfError("Log folder was found, but unable to write logfile '" + path + "'", true,
                                 err);
                else
                    addSelfError("Log folder was NOT found, unable to write logfile '" + path + "'", true,
                                 err);
            }
            return false;
        }
        fmSetFileRights_ReadWriteAll(fmPathToBytes(path).constData());
    } else {
        if (size > MaxFileSize && AllowTrim) trimLogFile(path, size);
        opened = fmOpenForAppend(file, path);
        const int err = errno;
        if (!opened) {
            if (LastError.t == 0 && reportErrors) {
                LastError.SetCurrentTime();
                addSelfError("Unable to write to logfile '" + path + "'", true, err);
            }
            return false;
        }
    }
    if (reportErrors && LastError.t != 0) {
        LastError.t = 0;
        PendingSelfError.clear();
        addSelfError(QStringLiteral("Logfile is working again."), false, 0);
    }
    file.write(Buffer + offset, BufferUsed - offset);
    file.close();
    return true;
}

void fmLogfile::trimLogFile(const QString& path, qint64 size)
{
    const qint64 keep = qMin<qint64>(MaxFileSize / 2, size);
    if (keep <= 0) return;
    QByteArray tail;
    {
        QFile in;
        if (!fmOpenRegularFile(in, path, fmFileCap::LogFile, nullptr)) return;
        if (!in.seek(size - keep)) return;
        tail = in.read(keep);
        if (tail.size() != keep) return;
    }
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) return;
    out.write(tail);
}

void fmLogfile::addSelfError(const QString& text, bool withOsError, int osError)
{
    const fmString8_evenSize<250> now = fmTime_t(true).asFM8String();
    QByteArray line = QByteArray(now.Data, now.len()) + " LOGFILE ERROR: " + text.toLatin1();
    if (withOsError) {
        const fmString8_evenSize<500> os = fmLastOSError8(osError);
        line += " - " + QByteArray(os.Data, os.len());
    }
    if (line.size() > 500) line.truncate(500);
    // A failed flush empties the buffer afterwards; the statement waits for the next lines.
    if (LastError.t != 0)
        PendingSelfError = line;
    else
        addLog_p(line.constData(), int(line.size()), false);
}

void writeToLogFile(const fmString8_evenSize<250>& file, fmString8_evenSize<1000> text, bool appendNewline,
                    bool setRights)
{
    if (file.isEmpty()) return;
    const QString path = file.toQString();
    const bool existed = QFileInfo::exists(path);
    QFile f;
    if (!fmOpenForAppend(f, path)) return;
    f.write(text.Data, text.len());
    if (appendNewline) f.write("\n", 1);
    f.close();
    if (!existed && setRights) fmSetFileRights_ReadWriteAll(fmPathToBytes(path).constData());
}
