// One cache file a database file: "<sha1 of the path>.sum" in the cache folder.
//   0  16  magic "fmHistorySum 03\n"
//  16   4  u32 zlib crc32 of the payload
//  20   4  u32 payload size
//  24      payload, little-endian: text path; i64 size; i64 mtime; u32 speeds crc; i32 failed
//          frames; text error; u32 job count; u32 text count; the texts (users, programs, renderers,
//          scenes, cameras, layers);
//          then one CachedJob a job. A text is u32 length in UTF-16 units, then the units.
// A cache file that doesn't match in every point is a miss, never an error.

#include "browser/fmhistorysummary.h"

#include "foundation/fmjobid.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QSaveFile>

#include <zlib.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace {

constexpr char Magic[17] = "fmHistorySum 03\n";
constexpr int HeaderSize = 24;
#pragma pack(push, 1)
// One job in a cache file; User to Layer index the file's texts.
struct CachedJob
{
    quint64 JobID;
    qint64 DateSend;
    qint64 DateFinished;
    quint64 ExecutionTime;
    quint64 TotalPS;
    float GhzHours;
    qint32 Frames;
    qint32 Errors;
    quint32 User;
    quint32 Software;
    quint32 Renderer;
    quint32 Scene;
    quint32 Camera;
    quint32 Layer;
};
#pragma pack(pop)
static_assert(sizeof(CachedJob) == 76);
static_assert(offsetof(CachedJob, GhzHours) == 40 && offsetof(CachedJob, Layer) == 72);

// Reads the payload front to back; every length is checked against what is left.
class Cursor
{
public:
    Cursor(const char* p, qint64 n) : P(p), Left(n) {}
    bool ok() const { return Ok; }
    bool atEnd() const { return Left == 0; }
    template <class T> T get()
    {
        T v{};
        if (Left < qint64(sizeof(T))) Ok = false;
        if (!Ok) return v;
        std::memcpy(&v, P, sizeof(T));
        P += sizeof(T);
        Left -= qint64(sizeof(T));
        return v;
    }
    QString text()
    {
        const quint32 n = get<quint32>();
        if (!Ok || qint64(n) * 2 > Left) {
            Ok = false;
            return QString();
        }
        QString s(qsizetype(n), Qt::Uninitialized);
        std::memcpy(s.data(), P, size_t(n) * 2);
        P += qint64(n) * 2;
        Left -= qint64(n) * 2;
        return s;
    }

private:
    const char* P;
    qint64 Left;
    bool Ok = true;
};

template <class T> void put(QByteArray& out, const T& v)
{
    out.append(reinterpret_cast<const char*>(&v), qsizetype(sizeof(T)));
}

void putText(QByteArray& out, const QString& s)
{
    put(out, quint32(s.size()));
    out.append(reinterpret_cast<const char*>(s.utf16()), s.size() * 2);
}

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

    Cursor in(bytes.constData() + HeaderSize, qint64(size));
    const QString path = in.text();
    const qint64 fileSize = in.get<qint64>(), mtime = in.get<qint64>();
    const quint32 speedCrc = in.get<quint32>();
    const qint32 failed = in.get<qint32>();
    const QString error = in.text();
    const quint32 count = in.get<quint32>(), textCount = in.get<quint32>();
    if (!in.ok() || path != file.Path || fileSize != file.Size || mtime != file.MTime ||
        speedCrc != speedsCrc(speeds) || qint64(count) * qint64(sizeof(CachedJob)) > qint64(size) ||
        qint64(textCount) * 4 > qint64(size))
        return false;
    QList<QString> texts;
    texts.reserve(textCount);
    for (quint32 i = 0; i < textCount && in.ok(); ++i)
        texts.append(in.text());
    fmHistoryFileSummary r;
    r.File = file;
    r.FailedFrames = failed;
    r.Error = error;
    r.FromCache = true;
    r.Jobs.resize(count);
    for (fmJobSummary& j : r.Jobs) {
        const CachedJob c = in.get<CachedJob>();
        const quint32 n = quint32(texts.size());
        if (!in.ok() || c.User >= n || c.Software >= n || c.Renderer >= n || c.Scene >= n || c.Camera >= n ||
            c.Layer >= n)
            return false;
        j.JobID = c.JobID;
        j.IdText = fmJ::ID2strFull(c.JobID);
        j.User = texts[c.User];
        j.Software = texts[c.Software];
        j.Renderer = texts[c.Renderer];
        j.Scene = texts[c.Scene];
        j.Camera = texts[c.Camera];
        j.Layer = texts[c.Layer];
        j.DateSend = c.DateSend;
        j.DateFinished = c.DateFinished;
        j.ExecutionTime = c.ExecutionTime;
        j.Frames = c.Frames;
        j.TotalPS = c.TotalPS;
        j.GhzHours = c.GhzHours;
        j.Errors = c.Errors;
    }
    if (!in.ok() || !in.atEnd()) return false;
    out = std::move(r);
    return true;
}

bool fmHistorySummaryCache::store(const fmHistoryFileSummary& summary, const fmClientSpeeds& speeds) const
{
    if (Folder.isEmpty() || !QDir().mkpath(Folder)) return false;
    QHash<QString, quint32> index;
    QList<QString> texts;
    auto textIndex = [&](const QString& t) {
        auto it = index.constFind(t);
        if (it != index.constEnd()) return it.value();
        texts.append(t);
        return *index.insert(t, quint32(texts.size() - 1));
    };
    std::vector<CachedJob> jobs(summary.Jobs.size());
    for (size_t i = 0; i < jobs.size(); ++i) {
        const fmJobSummary& j = summary.Jobs[i];
        jobs[i] = CachedJob{j.JobID,
                            j.DateSend,
                            j.DateFinished,
                            j.ExecutionTime,
                            j.TotalPS,
                            j.GhzHours,
                            j.Frames,
                            j.Errors,
                            textIndex(j.User),
                            textIndex(j.Software),
                            textIndex(j.Renderer),
                            textIndex(j.Scene),
                            textIndex(j.Camera),
                            textIndex(j.Layer)};
    }
    QByteArray payload;
    putText(payload, summary.File.Path);
    put(payload, qint64(summary.File.Size));
    put(payload, qint64(summary.File.MTime));
    put(payload, speedsCrc(speeds));
    put(payload, qint32(summary.FailedFrames));
    putText(payload, summary.Error);
    put(payload, quint32(jobs.size()));
    put(payload, quint32(texts.size()));
    for (const QString& t : texts)
        putText(payload, t);
    payload.append(reinterpret_cast<const char*>(jobs.data()), qsizetype(jobs.size() * sizeof(CachedJob)));
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
