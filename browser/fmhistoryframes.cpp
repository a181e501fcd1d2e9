#include "browser/fmhistoryframes.h"

#include "jobs/fmjoblist.h"

#include <new>

namespace fmFrames {

using namespace fmJ::frame;

Reader::Reader()
{
    Compressed.reset(new (std::nothrow) unsigned char[bodyCapacity()]);
    Target.reset(new (std::nothrow) unsigned char[fmJ::_JobList::ReadLimit]);
}

Next Reader::next(QIODevice& file, Header& header)
{
    unsigned char h[HeaderSize];
    BodyLen = 0;
    const qint64 got = file.read(reinterpret_cast<char*>(h), HeaderSize);
    if (got == 0) return Next::EndOfFile;
    if (got < HeaderSize) return Next::ReadError;
    const HeaderCheck check = readHeader(h, header);
    if (check == HeaderCheck::FormatError) return Next::FormatError;
    if (check == HeaderCheck::TooLarge) return Next::TooLarge;
    BodyLen = file.read(reinterpret_cast<char*>(Compressed.get()), qint64(header.Compressed));
    if (BodyLen < 1) {
        BodyLen = 0;
        return Next::ReadError;
    }
    return Next::Frame;
}

Outcome Reader::decode(const Header& header, const fmJ::_jobsHistoryDB*& record)
{
    record = nullptr;
    if (!knownID(header.ID)) return Outcome::Skipped;
    if (header.Stored != expectedSize(header.ID, header.Stored)) return Outcome::Failed;
    uint32_t outLen = 0;
    const int z = inflateBody(header, Compressed.get(), BodyLen, Target.get(), outLen);
    const fmJ::_jobsHistoryDB* rec = nullptr;
    if (decodeInflated(header, z, outLen, Target.get(), Upgrades, rec) != Decode::Ok) return Outcome::Failed;
    if (rec->Software.Length > 500) return Outcome::Empty;
    record = rec;
    return Outcome::Job;
}

} // namespace fmFrames
