// libFuzzer target: a summary cache file of any bytes must be a miss or a hit without a crash,
// hang or read out of bounds. The first byte picks the form: odd, the bytes are the whole cache
// file; even, they are the payload behind a valid header (magic, crc, size) and a preamble that
// matches the database (path, size, time, speeds), so that the fuzzer reaches the texts and jobs.

#include "browser/fmhistorysummary.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QString>

#include <unistd.h>
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {
QString Folder;
fmHistoryFile Db;
fmClientSpeeds Speeds;

template <class T> void put(QByteArray& out, const T& v)
{
    out.append(reinterpret_cast<const char*>(&v), qsizetype(sizeof(T)));
}

// The cache's own preamble for Db and Speeds: path, size, time, speeds crc.
QByteArray preamble()
{
    QByteArray p;
    put(p, quint32(Db.Path.size()));
    p.append(reinterpret_cast<const char*>(Db.Path.utf16()), Db.Path.size() * 2);
    put(p, qint64(Db.Size));
    put(p, qint64(Db.MTime));
    uLong crc = crc32(0L, Z_NULL, 0);
    for (const fmJ::_ClientSpeed& s : Speeds) {
        unsigned char b[8];
        std::memcpy(b, &s.Speed, 4);
        std::memcpy(b + 4, &s.Cores, 4);
        crc = crc32(crc, b, 8);
    }
    put(p, quint32(crc));
    return p;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Folder = QStringLiteral("/tmp/fuzz_summarycache_%1/").arg(::getpid());
    QDir().mkpath(Folder);
    Db.Path = QStringLiteral("/farm/history_db/shot.db");
    Db.Project = QStringLiteral("shot");
    Db.Size = 1 << 20;
    Db.MTime = 1700000000;
    Speeds = {{2.0f, 1}, {8.0f, 4}};
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) return 0;
    QByteArray file;
    if (data[0] & 1) {
        file = QByteArray(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    } else {
        const QByteArray payload =
            preamble() + QByteArray(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
        file = QByteArray("fmHistorySum 03\n", 16);
        put(file,
            quint32(crc32(crc32(0L, Z_NULL, 0), reinterpret_cast<const unsigned char*>(payload.constData()),
                          uInt(payload.size()))));
        put(file, quint32(payload.size()));
        file += payload;
    }
    const QString entry =
        Folder +
        QString::fromLatin1(QCryptographicHash::hash(Db.Path.toUtf8(), QCryptographicHash::Sha1).toHex()) +
        QStringLiteral(".sum");
    {
        QFile f(entry);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate)) return 0;
        f.write(file);
    }
    const fmHistorySummaryCache cache(Folder);
    fmHistoryFileSummary out;
    if (!cache.load(Db, Speeds, out)) return 0;
    // A hit holds no more jobs than the payload has room for, and is the database it claims.
    if (qint64(out.Jobs.size()) * 76 > file.size() || out.File.Path != Db.Path || !out.FromCache)
        std::abort();
    return 0;
}
