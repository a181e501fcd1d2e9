#include "joblist_fixtures.h"
#include "fmtestroot.h"

#include "farm/fmgconfig.h"

#include <QFile>

#include <zlib.h>

#include <cstring>

using namespace Qt::StringLiterals;

namespace jlfix {

std::unique_ptr<fmJ::_jobsHistoryDB_Runtime> makeRenderJob()
{
    auto j = std::make_unique<fmJ::_jobsHistoryDB_Runtime>();
    j->SceneName = "/proj/scenes/shot 010.mb";
    j->SceneOS = 2;
    j->ImageDir = "/out/";
    j->ImageFileName = "shot_";
    j->ImageExtension = ".exr";
    j->ImageFramePadding = 4;
    j->ImageWidth = 1920;
    j->ImageHeight = 1080;
    j->SeqStart = 1;
    j->SeqEnd = 100;
    j->SeqStep = 1;
    j->SeqFileOffset = 0;
    j->Software = "Maya";
    j->Renderer = "Arnold";
    j->Version = 2022;
    j->VersionMinor = 50;
    return j;
}

std::unique_ptr<fmJ::_jobsHistoryDB> makeRecord(int n)
{
    auto r = std::make_unique<fmJ::_jobsHistoryDB>();
    r->clear();
    r->BasicsStructID = 0x0403;
    r->BasicsStructVersion = 3;
    r->SubmitterStructID = 0x0506;
    r->SubmitterStructVersion = 7;
    r->SaveStructID = 0x0606;
    r->SaveStructVersion = 6;
    r->HistoryStructID = 0x0A04;
    r->HistoryStructVersion = 3;
    r->PathOS = 2;
    r->SceneName = u"/projects/show/scenes/shot%1_v%2.ma"_s.arg(n % 37).arg(n % 5);
    r->SceneDatabaseDir = u"/projects/show/"_s;
    r->Software = (n % 3 == 0) ? "Maya" : (n % 3 == 1 ? "Nuke" : "Houdini");
    r->Renderer = (n % 2) ? "Arnold" : "VRay";
    r->Version = int16_t(2020 + n % 4);
    r->VersionMinor = uint32_t(n % 1000);
    r->Camera = u"cam%1"_s.arg(n % 7);
    r->Layer = u"layer%1"_s.arg(n % 11);
    r->Channel = u"beauty"_s;
    r->ImageDir = u"/render/out/shot%1/"_s.arg(n % 37);
    r->ImageFileName = u"img_%1."_s.arg(n);
    r->ImageExtension = ".exr";
    r->SeqStart = 1.0;
    r->SeqEnd = 100.0;
    r->SeqStep = 1.0;
    r->JobID = 1000ULL + uint64_t(n) * 7919ULL;
    r->UserName = u"user%1"_s.arg(n % 13);
    r->CustomSeQName = u"sq%1"_s.arg(n % 9);
    r->CustomSHotName = u"sh%1"_s.arg(n % 17);
    r->CustomVersionName = "v001";
    r->CompanyProjectName = u"Project%1"_s.arg(n % 4);
    r->DateSend.t = 1300000000 + int64_t(n) * 3600;
    r->DateFinished.t = 1300000000 + int64_t(n) * 3600 + 1800;
    r->ErrorCountHard = int8_t(n % 3);
    r->ErrorCount = int8_t(n % 5);
    r->ExecutionTime = uint64_t(n) * 60;
    r->TotalPS = uint64_t(n) * 1000;
    r->TotalGhzHours = 1.5f + float(n);
    r->AverageClients = float(n % 10) / 2.0f;
    r->AverageFrameTime = uint32_t(n * 10);
    r->TotalFrames = 100 + n % 50;
    return r;
}

QByteArray frame(const QByteArray& payload, uint16_t id, uint16_t version, uint32_t storedSize,
                 bool compressPayload)
{
    QByteArray body = payload;
    if (compressPayload) {
        uLongf len = compressBound(uLong(payload.size()));
        body.resize(int(len));
        compress(reinterpret_cast<Bytef*>(body.data()), &len,
                 reinterpret_cast<const Bytef*>(payload.constData()), uLong(payload.size()));
        body.resize(int(len));
    }
    QByteArray h(64, '\0');
    std::memcpy(h.data(), "     FMJob compr 01                         ", 44);
    auto put32 = [&](int at, uint32_t v) {
        for (int i = 0; i < 4; ++i)
            h[at + i] = char(v >> (8 * i));
    };
    put32(52, uint32_t(body.size()));
    put32(56, storedSize);
    h[60] = char(id & 0xFF);
    h[61] = char(id >> 8);
    h[62] = char(version & 0xFF);
    h[63] = char(version >> 8);
    return h + body;
}

QByteArray frameOf(const fmJ::_jobsHistoryDB& rec)
{
    return frame(bytesOf(rec), 0x0A04, 3, 37980);
}

QByteArray framesOf(int count, int firstJob)
{
    QByteArray bytes;
    for (int n = 0; n < count; ++n)
        bytes += frameOf(*makeRecord(firstJob + n));
    return bytes;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    return fmTestWriteAll(path, bytes);
}

QByteArray readFile(const QString& path)
{
    return fmTestReadAll(path);
}

LogCapture::LogCapture(int minLevel, int maxLevel) : MinLevel(minLevel), MaxLevel(maxLevel)
{
    for (int l = minLevel; l <= maxLevel && l < 25; ++l)
        FM.cfg->LogLevel[l] = true;
    connect(&FM, &__FM::signalLogUI, this, &LogCapture::onLog, Qt::DirectConnection);
}

void LogCapture::onLog(int level, int flags, const QString& text, const QString&)
{
    if (level < MinLevel || level > MaxLevel) return;
    Lines.append(u"%1|%2|%3"_s.arg(level).arg(flags).arg(text));
}

QStringList LogCapture::matching(const QString& part) const
{
    QStringList out;
    for (const QString& l : Lines)
        if (l.contains(part)) out.append(l);
    return out;
}

} // namespace jlfix
