#pragma once
// A log file fed through a memory buffer. Lines go to memory; the file is opened, appended and
// closed only at a flush: at most once per FlushInterval seconds unless more than FlushThreshold
// bytes wait. No file stays open. A failing file is reported once per outage inside the log itself.

#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QByteArray>
#include <QString>
#include <cstdint>

class QMutex;

class fmLogfile
{
public:
    fmLogfile(int32_t maxFileSize, int32_t flushInterval, bool keepSecondCopy = false, bool allowTrim = true);
    ~fmLogfile();
    fmLogfile(const fmLogfile&) = delete;
    fmLogfile& operator=(const fmLogfile&) = delete;

    fmString8_evenSize<500> FileName;       // main target; empty means no file
    fmString8_evenSize<500> SecondFileName; // a second copy (farm server and clients only)
    bool KeepSecondCopy;
    char* Buffer = nullptr; // owned, BufferSize + 1 bytes
    int32_t MaxFileSize;    // bytes; a longer file is trimmed to half of it before the next append
    int32_t BufferSize = 102400;
    int32_t BufferUsed = 0;
    int32_t FlushInterval;         // seconds; 0 = flush at every line
    int32_t FlushThreshold = 1024; // bytes
    bool AllowTrim;
    bool AppendNewline = true;
    fmTime_t LastFlush;
    fmTime_t LastError; // 0 while the file works
    QMutex* Lock;       // owned

    // Each adds one line (cut to fit the buffer). A line is dropped when the lock is not got
    // within 5000 ms.
    void addLog(const QString& line);
    void addLog(const fmString8_evenSize<250>& line);
    void addLog(const char* p, const int& n);

    // Writes the buffer out; nothing when the lock is not got within 5000 ms.
    void flush();

    // Drops the lines that wait in the buffer.
    void discard();

    // The buffer's text (for a window that shows the log), under the lock.
    QByteArray bufferText();

private:
    void addLog_p(const char* p, int n, bool mayFlush);
    void flush_p();
    bool writetoLogFile(const QString& path, bool updateTime, bool reportErrors, int offset);
    void trimLogFile(const QString& path, qint64 size);
    void addSelfError(const QString& text, bool withOsError, int osError);

    QByteArray PendingSelfError; // the outage statement, kept until the file works again
};

// Appends one line to any file, with no buffer.
void writeToLogFile(const fmString8_evenSize<250>& file, fmString8_evenSize<1000> text, bool appendNewline,
                    bool setRights);
