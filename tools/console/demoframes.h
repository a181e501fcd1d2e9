#pragma once
// Project database files of the demo root, frame by frame, so that frames of the three old record
// layouts can stand among the current one.

#include "jobs/fmjobhistory.h"

#include <QFile>
#include <QString>

#include <zlib.h>

#include <cstdint>
#include <vector>

namespace fmDemo {

enum class Layout { Current, Old61, Old62, Old627 };

// Appends frames in the database format: a 64-byte header (magic, compressed and plain size,
// identifier, version), then the record compressed by zlib at its default level.
class FrameWriter
{
public:
    bool open(const QString& path, QString& error);
    bool write(const void* record, uint32_t size, uint16_t id, uint16_t version, QString& error);
    // The record in the given layout; an old layout gets what its fields can hold.
    bool write(const fmJ::_jobsHistoryDB& record, Layout layout, QString& error);
    void close() { File.close(); }

private:
    QFile File;
    std::vector<Bytef> Buffer;
};

} // namespace fmDemo
