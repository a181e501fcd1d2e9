#include "tools/console/demoframes.h"

#include "jobs/fmjoblist.h"

#include <QtEndian>

#include <cstddef>
#include <cstring>
#include <memory>

using namespace fmJ;

namespace {

// The fields that the upgrade of an old layout copies one to one, copied the other way.
#define FM_DEMO_DOWN(F)                                                                                      \
    static_assert(sizeof(Old::F) == sizeof(_jobsHistoryDB::F), "field " #F " changed its size");             \
    std::memcpy(reinterpret_cast<char*>(&to) + offsetof(Old, F),                                             \
                reinterpret_cast<const char*>(&from) + offsetof(_jobsHistoryDB, F), sizeof(Old::F));

template <class Old>
void downgrade(const _jobsHistoryDB& from, Old& to, uint16_t historyID, uint16_t historyVersion)
{
    std::memset(static_cast<void*>(&to), 0, sizeof(Old));
    to.BasicsStructID = from.BasicsStructID;
    to.BasicsStructVersion = from.BasicsStructVersion;
    to.SubmitterStructID = from.SubmitterStructID;
    to.HistoryStructID = historyID;
    to.HistoryStructVersion = historyVersion;
    FM_DEMO_DOWN(PathOS)
    FM_DEMO_DOWN(SceneOS)
    FM_DEMO_DOWN(SceneName)
    FM_DEMO_DOWN(SceneDatabaseDir)
    FM_DEMO_DOWN(VersionMinor)
    FM_DEMO_DOWN(Software)
    FM_DEMO_DOWN(Renderer)
    FM_DEMO_DOWN(Version)
    FM_DEMO_DOWN(SoftwareAlias)
    FM_DEMO_DOWN(RenderType)
    FM_DEMO_DOWN(AppValue254)
    FM_DEMO_DOWN(AppValue256)
    FM_DEMO_DOWN(BasicsFlag22)
    FM_DEMO_DOWN(Camera)
    FM_DEMO_DOWN(Layer)
    FM_DEMO_DOWN(Channel)
    FM_DEMO_DOWN(ImageDir)
    FM_DEMO_DOWN(ImageFileNameVariable)
    FM_DEMO_DOWN(ImageFileName)
    FM_DEMO_DOWN(ImageFileNamePost)
    FM_DEMO_DOWN(ImageExtension)
    FM_DEMO_DOWN(ImageFormatFlag)
    FM_DEMO_DOWN(ImageFramePadding)
    FM_DEMO_DOWN(ImageWidth)
    FM_DEMO_DOWN(ImageHeight)
    FM_DEMO_DOWN(ImageSingleOutputFile)
    FM_DEMO_DOWN(BasicsText25)
    FM_DEMO_DOWN(ImageChannelCount)
    FM_DEMO_DOWN(BasicsTags)
    FM_DEMO_DOWN(SeqStart)
    FM_DEMO_DOWN(SeqEnd)
    FM_DEMO_DOWN(SeqStep)
    FM_DEMO_DOWN(SeqFileOffset)
    FM_DEMO_DOWN(BasicsFlag19000)
    FM_DEMO_DOWN(Selected)
    FM_DEMO_DOWN(JobID)
    FM_DEMO_DOWN(UserName)
    FM_DEMO_DOWN(SubmitterText25)
    FM_DEMO_DOWN(CustomSeQName)
    FM_DEMO_DOWN(CustomSHotName)
    FM_DEMO_DOWN(CustomVersionName)
    FM_DEMO_DOWN(DateSend)
    FM_DEMO_DOWN(Color_ID)
    FM_DEMO_DOWN(Priority)
    FM_DEMO_DOWN(ErrorCountHard)
    FM_DEMO_DOWN(ErrorCount)
    FM_DEMO_DOWN(Errors)
    FM_DEMO_DOWN(LogCount)
    FM_DEMO_DOWN(Log)
    FM_DEMO_DOWN(ExecutionTime)
    FM_DEMO_DOWN(TotalPS)
    FM_DEMO_DOWN(TotalGhzHours)
    FM_DEMO_DOWN(DateFinished)
    FM_DEMO_DOWN(FrameCounters)
    FM_DEMO_DOWN(FrameLog)
    FM_DEMO_DOWN(FramesSend)
    FM_DEMO_DOWN(FramesCrashed)
    FM_DEMO_DOWN(FramesAborted)
    FM_DEMO_DOWN(AverageClients)
    FM_DEMO_DOWN(AverageFrameTime)
    FM_DEMO_DOWN(PreviewEnabled)
    // The old layouts hold 25 characters of the project name, fewer outputs and (6.1) 400 clients.
    to.CompanyProjectName = from.CompanyProjectName.toQString();
    std::memcpy(reinterpret_cast<char*>(&to) + offsetof(Old, ImageChannels),
                reinterpret_cast<const char*>(&from) + offsetof(_jobsHistoryDB, ImageChannels),
                sizeof(Old::ImageChannels));
    std::memcpy(reinterpret_cast<char*>(&to) + offsetof(Old, ClientStats),
                reinterpret_cast<const char*>(&from) + offsetof(_jobsHistoryDB, ClientStats),
                sizeof(Old::ClientStats));
}
#undef FM_DEMO_DOWN

} // namespace

namespace fmDemo {

bool FrameWriter::open(const QString& path, QString& error)
{
    File.setFileName(path);
    if (!File.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        error = QStringLiteral("Unable to write '%1': %2").arg(path, File.errorString());
        return false;
    }
    return true;
}

bool FrameWriter::write(const void* record, uint32_t size, uint16_t id, uint16_t version, QString& error)
{
    uLongf packed = compressBound(size);
    Buffer.resize(size_t(_JobList::FrameHeaderSize) + packed);
    std::memset(Buffer.data(), 0, size_t(_JobList::FrameHeaderSize));
    if (compress(Buffer.data() + _JobList::FrameHeaderSize, &packed, static_cast<const Bytef*>(record),
                 size) != Z_OK) {
        error = QStringLiteral("Unable to compress a job of '%1'").arg(File.fileName());
        return false;
    }
    std::memcpy(Buffer.data(), _JobList::FrameMagic, 44);
    qToLittleEndian<quint32>(quint32(packed), Buffer.data() + 52);
    qToLittleEndian<quint32>(size, Buffer.data() + 56);
    qToLittleEndian<quint16>(id, Buffer.data() + 60);
    qToLittleEndian<quint16>(version, Buffer.data() + 62);
    const qint64 n = qint64(_JobList::FrameHeaderSize) + qint64(packed);
    if (File.write(reinterpret_cast<const char*>(Buffer.data()), n) != n) {
        error = QStringLiteral("Unable to write '%1': %2").arg(File.fileName(), File.errorString());
        return false;
    }
    return true;
}

bool FrameWriter::write(const _jobsHistoryDB& record, Layout layout, QString& error)
{
    switch (layout) {
    case Layout::Old61: {
        auto old = std::make_unique<_OLD61__jobsHistoryDB>();
        downgrade(record, *old, JobHistoryOld61_StructID, 1);
        return write(old.get(), sizeof(*old), JobHistoryOld61_StructID, 1, error);
    }
    case Layout::Old62: {
        auto old = std::make_unique<_OLD62_jobsHistoryDB>();
        downgrade(record, *old, JobHistoryOld62_StructID, 2);
        return write(old.get(), sizeof(*old), JobHistoryOld62_StructID, 2, error);
    }
    case Layout::Old627: {
        auto old = std::make_unique<_OLD627_jobsHistoryDB>();
        downgrade(record, *old, JobHistoryOld62_StructID, 2);
        return write(old.get(), sizeof(*old), JobHistoryOld62_StructID, 2, error);
    }
    case Layout::Current:
        break;
    }
    return write(&record, sizeof(_jobsHistoryDB), _JobList::FrameID, _JobList::FrameVersion, error);
}

} // namespace fmDemo
