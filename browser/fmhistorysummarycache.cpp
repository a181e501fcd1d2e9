// One cache file a database file: "<sha1 of the path>.sum" in the cache folder.
//   0  16  magic "fmHistorySum 01\n"
//  16   4  u32 zlib crc32 of the payload
//  20   4  u32 payload size
//  24      payload, a QDataStream (Qt 6.4 format): path, size, mtime, speeds crc, failed frames,
//          error text, job count, then per job the fields of fmJobSummary without File
// A cache file that doesn't match in every point is a miss, never an error.

#include "browser/fmhistorysummary.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <zlib.h>

#include <cstring>

namespace {

constexpr char Magic[17] = "fmHistorySum 01\n";
constexpr int HeaderSize = 24;
// A serialized job takes at least this many bytes: a bound on the count a file can claim.
constexpr qint64 MinJobBytes = 60;

quint32 speedsCrc(const fmClientSpeeds& speeds)
{
    uLong crc = crc32(0L, Z_NULL, 0);
    for (const fmJ::_ClientSpeed& s : speeds) {
        unsigned char b[8];
        std::memcpy(b, &s.Speed, 4);
        std::memcpy(b + 4, &s.Cores, 4);
        crc = crc32(crc, b, 8);
    }
    return quint32(crc);
}

quint32 getU32(const char* p)
{
    const unsigned char* u = reinterpret_cast<const unsigned char*>(p);
    return quint32(u[0]) | quint32(u[1]) << 8 | quint32(u[2]) << 16 | quint32(u[3]) << 24;
}

void putU32(char* p, quint32 v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = char(v >> (8 * i));
}

} // namespace

fmHistorySummaryCache::fmHistorySummaryCache(const QString& folder) : Folder(folder) {}

QString fmHistorySummaryCache::defaultFolder(const QString& localDataFolder)
{
    QString base = localDataFolder;
    if (!base.isEmpty() && !base.endsWith(QLatin1Char('/'))) base += QLatin1Char('/');
    return base + QStringLiteral("historydb_reports/");
}

QString fmHistorySummaryCache::entryPath(const QString& databasePath) const
{
    return Folder +
           QString::fromLatin1(
               QCryptographicHash::hash(databasePath.toUtf8(), QCryptographicHash::Sha1).toHex()) +
           QStringLiteral(".sum");
}

bool fmHistorySummaryCache::load(const fmHistoryFile& file, const fmClientSpeeds& speeds,
                                 fmHistoryFileSummary& out) const
{
    if (Folder.isEmpty()) return false;
    QFile f(entryPath(file.Path));
    if (!f.open(QIODevice::ReadOnly)) return false;
    // Bounded by the database it stands for: a few hundred bytes a job at most.
    if (f.size() < HeaderSize || f.size() > file.Size * 4 + 4096) return false;
    const QByteArray bytes = f.readAll();
    if (bytes.size() < HeaderSize || std::memcmp(bytes.constData(), Magic, 16) != 0) return false;
    const quint32 crc = getU32(bytes.constData() + 16);
    const quint32 size = getU32(bytes.constData() + 20);
    if (qint64(size) != bytes.size() - HeaderSize) return false;
    const unsigned char* payload = reinterpret_cast<const unsigned char*>(bytes.constData() + HeaderSize);
    if (quint32(crc32(crc32(0L, Z_NULL, 0), payload, size)) != crc) return false;

    QDataStream in(bytes.mid(HeaderSize));
    in.setVersion(QDataStream::Qt_6_4);
    QString path, error;
    qint64 fileSize = 0, mtime = 0;
    quint32 speedCrc = 0;
    qint32 failed = 0;
    qint64 count = 0;
    in >> path >> fileSize >> mtime >> speedCrc >> failed >> error >> count;
    if (in.status() != QDataStream::Ok || path != file.Path || fileSize != file.Size || mtime != file.MTime ||
        speedCrc != speedsCrc(speeds) || count < 0 || count > qint64(size) / MinJobBytes)
        return false;
    fmHistoryFileSummary r;
    r.File = file;
    r.FailedFrames = failed;
    r.Error = error;
    r.FromCache = true;
    r.Jobs.resize(size_t(count));
    QHash<QString, QString> seen;
    auto shared = [&seen](const QString& s) {
        auto it = seen.constFind(s);
        return it != seen.constEnd() ? *it : *seen.insert(s, s);
    };
    for (fmJobSummary& j : r.Jobs) {
        in >> j.JobID >> j.IdText >> j.User >> j.Software >> j.DateSend >> j.DateFinished >>
            j.ExecutionTime >> j.Frames >> j.TotalPS >> j.GhzHours >> j.Errors;
        j.User = shared(j.User);
        j.Software = shared(j.Software);
    }
    if (in.status() != QDataStream::Ok || !in.atEnd()) return false;
    out = std::move(r);
    return true;
}

bool fmHistorySummaryCache::store(const fmHistoryFileSummary& summary, const fmClientSpeeds& speeds) const
{
    if (Folder.isEmpty() || !QDir().mkpath(Folder)) return false;
    QByteArray payload;
    {
        QDataStream o(&payload, QIODevice::WriteOnly);
        o.setVersion(QDataStream::Qt_6_4);
        o << summary.File.Path << summary.File.Size << summary.File.MTime << speedsCrc(speeds)
          << qint32(summary.FailedFrames) << summary.Error << qint64(summary.Jobs.size());
        for (const fmJobSummary& j : summary.Jobs)
            o << j.JobID << j.IdText << j.User << j.Software << j.DateSend << j.DateFinished
              << j.ExecutionTime << j.Frames << j.TotalPS << j.GhzHours << j.Errors;
    }
    char header[HeaderSize];
    std::memcpy(header, Magic, 16);
    putU32(header + 16,
           quint32(crc32(crc32(0L, Z_NULL, 0), reinterpret_cast<const unsigned char*>(payload.constData()),
                         uInt(payload.size()))));
    putU32(header + 20, quint32(payload.size()));
    // A temporary file beside the entry, flushed and renamed over it: a reader sees the old entry
    // or the new one. Two programs storing the same entry leave the last one's, which is as good.
    QSaveFile out(entryPath(summary.File.Path));
    if (!out.open(QIODevice::WriteOnly)) return false;
    out.write(header, HeaderSize);
    out.write(payload);
    return out.commit();
}
