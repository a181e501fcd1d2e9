// A folder's entries one at a time, with name filters, cached size and time.

#include "foundation/fmfile.h"

#include "foundation/fmfileread.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

namespace {

// File names are bytes; the QString carries them as fmPathToBytes maps them back.
QByteArray enc(const QString& s)
{
    return fmPathToBytes(s);
}

} // namespace

fmDirListing::fmDirListing() = default;

fmDirListing::~fmDirListing()
{
    close();
}

void fmDirListing::close()
{
    if (Dir) ::closedir(Dir);
    Dir = nullptr;
    Entry = nullptr;
    Valid = false;
    Cache.clear();
    CachePos = -1;
    CurrentName.clear();
    Current = CacheEntry();
}

bool fmDirListing::init(QString folder, const bool& sorted, const bool& withDirs, const bool& withHidden,
                        const bool& withStat)
{
    close();
    FolderName = folder;
    FilterPattern.clear();
    Sorted = sorted;
    WithDirs = withDirs;
    WithHidden = withHidden;
    UseCache = withStat;
    folder.replace(QLatin1Char('\\'), QLatin1Char('/'));
    // A wildcard in the last component is a filter, not a folder.
    {
        QString f = folder;
        if (f.endsWith(QLatin1Char('/'))) f.chop(1);
        const int slash = f.lastIndexOf(QLatin1Char('/'));
        const QString last = f.mid(slash + 1);
        if (last.contains(QLatin1Char('*')) || last.contains(QLatin1Char('?'))) {
            FilterPattern = last;
            folder = f.left(slash + 1);
            if (folder.isEmpty()) folder = QStringLiteral("./");
        }
    }
    FilterBytes = enc(FilterPattern);
    if (folder.isEmpty()) return false;
    if (!folder.endsWith(QLatin1Char('/'))) folder += QLatin1Char('/');
    FolderPD = folder;
    ResolvedFolder = fmPathResolve(folder);
    Dir = ::opendir(enc(ResolvedFolder).constData());
    if (!Dir) return false;
    Valid = true;
    if (Sorted) {
        while ((Entry = ::readdir(Dir)) != nullptr) {
            CacheEntry c;
            c.Name = fmPathFromBytes(QByteArray(Entry->d_name));
            if (!passes(c.Name)) continue;
            c.Kind = Entry->d_type == DT_DIR
                         ? 2
                         : (Entry->d_type == DT_UNKNOWN || Entry->d_type == DT_LNK ? 0 : 1);
            Cache.push_back(std::move(c));
        }
        ::closedir(Dir);
        Dir = nullptr;
        Entry = nullptr;
        std::sort(Cache.begin(), Cache.end(),
                  [](const CacheEntry& a, const CacheEntry& b) { return a.Name < b.Name; });
    }
    return true;
}

void fmDirListing::addEndsWithFilter(const QString& end)
{
    if (!end.isEmpty()) EndsWith.append(end);
}

void fmDirListing::clearEndsWithFilters()
{
    EndsWith.clear();
}

bool fmDirListing::passes(const QString& name) const
{
    if (name == QLatin1String(".") || name == QLatin1String("..")) return false;
    if (!WithHidden && name.startsWith(QLatin1Char('.'))) return false;
    if (!EndsWith.isEmpty()) {
        bool any = false;
        for (const QString& e : EndsWith)
            if (name.endsWith(e, Qt::CaseInsensitive)) {
                any = true;
                break;
            }
        if (!any) return false;
    }
    if (!FilterBytes.isEmpty() && ::fnmatch(FilterBytes.constData(), enc(name).constData(), 0) != 0)
        return false;
    return true;
}

bool fmDirListing::statCurrent()
{
    if (Current.HaveStat) return Current.Kind != 0;
    struct stat st;
    if (::stat(enc(ResolvedFolder + Current.Name).constData(), &st) != 0) return false;
    Current.HaveStat = true;
    Current.Kind = S_ISDIR(st.st_mode) ? 2 : 1;
    Current.Size = (long long)st.st_size;
    Current.Time = int64_t(st.st_mtime);
    return true;
}

bool fmDirListing::nextFile()
{
    if (!Valid) return false;
    for (;;) {
        if (Sorted) {
            if (CachePos + 1 >= int(Cache.size())) {
                CachePos = int(Cache.size());
                CurrentName.clear();
                return false;
            }
            Current = Cache[size_t(++CachePos)];
        } else {
            if (!Dir) return false;
            Entry = ::readdir(Dir);
            if (!Entry) {
                CurrentName.clear();
                return false;
            }
            Current = CacheEntry();
            Current.Name = fmPathFromBytes(QByteArray(Entry->d_name));
            if (!passes(Current.Name)) continue;
            Current.Kind = Entry->d_type == DT_DIR
                               ? 2
                               : (Entry->d_type == DT_UNKNOWN || Entry->d_type == DT_LNK ? 0 : 1);
        }
        // Network file systems and links leave the kind open: ask stat.
        if (Current.Kind == 0 || UseCache) {
            if (!statCurrent()) continue; // vanished since readdir
        }
        if (!WithDirs && Current.Kind == 2) continue;
        CurrentName = Current.Name;
        if (Sorted) Cache[size_t(CachePos)] = Current;
        return true;
    }
}

bool fmDirListing::isDir() const
{
    return Current.Kind == 2 && !CurrentName.isEmpty();
}

QString fmDirListing::fileName() const
{
    return CurrentName;
}

bool fmDirListing::fileName(QString& name) const
{
    name = CurrentName;
    return !CurrentName.isEmpty();
}

QString fmDirListing::dirFileName() const
{
    return FolderPD + CurrentName;
}

bool fmDirListing::getCachedData()
{
    if (CurrentName.isEmpty()) return false;
    return statCurrent();
}

bool fmDirListing::fileSize(long long& size)
{
    size = 0;
    if (CurrentName.isEmpty()) return false;
    if (!UseCache) Current.HaveStat = false;
    if (!statCurrent()) return false;
    size = Current.Size;
    return true;
}

bool fmDirListing::fileTime(fmTime_t& time)
{
    time.t = 0;
    if (CurrentName.isEmpty()) return false;
    if (!UseCache) Current.HaveStat = false;
    if (!statCurrent()) return false;
    time.t = Current.Time;
    return true;
}

long long fmDirListing::fileSize()
{
    long long s = 0;
    fileSize(s);
    return s;
}

fmTime_t fmDirListing::fileTime()
{
    fmTime_t t;
    fileTime(t);
    return t;
}

// ---- cleaning of names -------------------------------------------------------------------------
