#pragma once
// File system operations of the whole tool set: existence with time and size, splitting of paths
// by hand, copying, renaming, deleting, rights, folder listing and the cleaning of typed names.
// The shared root lies on network storage that other systems write to, so nothing here trusts
// what it finds: every operation reports by return value and never throws.
//
// Paths are handed to the system as the local 8-bit encoding of the QString (UTF-8 here).
// Every fixed-string form converts to QString and acts like the QString form. The fixed-string
// forms are templates so that a string literal never becomes ambiguous between them.

#include "foundation/fmstring.h"
#include "foundation/fmtime.h"

#include <QString>
#include <QStringList>

#include <dirent.h>
#include <vector>

class _FM_DataBuffer;

// ---- existence ---------------------------------------------------------------------------------

// stat(); false if it fails or the entry is a folder. Fills time and size where pointers are given.
bool fmFileExists(const QString& file, fmTime_t* mtime = nullptr, long long* size = nullptr);
template <int N> bool fmFileExists(const fmString<N>& f, fmTime_t* mtime = nullptr, long long* size = nullptr)
{
    return fmFileExists(f.toQString(), mtime, size);
}
template <int N>
bool fmFileExists(const fmString8_evenSize<N>& f, fmTime_t* mtime = nullptr, long long* size = nullptr)
{
    return fmFileExists(f.toQString(), mtime, size);
}

// stat() and the folder bit.
bool fmDirectoryExists(const QString& path);
bool fmDirectoryExists(const char* path);
template <int N> bool fmDirectoryExists(const fmString<N>& f)
{
    return fmDirectoryExists(f.toQString());
}
template <int N> bool fmDirectoryExists(const fmString8_evenSize<N>& f)
{
    return fmDirectoryExists(f.toQString());
}

// ---- names -------------------------------------------------------------------------------------

// The folder part with a trailing pd. A text of one character stays; a trailing pd is dropped
// first; a last pd below index 2 gives an empty text ("/a" gives ""); "//server/share" stays whole.
QString GetDirName(QString path, unsigned short pd = '/');
QString GetDirNameAutoPD(QString path);
template <int N> QString GetDirName(const fmString<N>& f)
{
    return GetDirName(f.toQString(), '/');
}
template <int N> QString GetDirName(const fmString8_evenSize<N>& f)
{
    return GetDirName(f.toQString(), '/');
}

// The text behind the last pd, if that pd stands at index 2 or later; else the text stays.
QString GetFileName(QString path, unsigned short pd = '/');
QString GetFileNameAutoPD(QString path);
template <int N> QString GetFileName(const fmString<N>& f)
{
    return GetFileName(f.toQString(), '/');
}
template <int N> QString GetFileName(const fmString8_evenSize<N>& f)
{
    return GetFileName(f.toQString(), '/');
}

// GetFileName, then cut before the last "." if that stands behind index 2: "ab.db" stays whole,
// "abc.db" gives "abc".
QString GetFileNameBase(QString path, unsigned short pd = '/');
// From the last "." on, dot included, if it stands at index 2 or later; else the whole text.
QString GetFileNameExtention(QString path);
// True for fewer than 3 characters; false for "/...", "X:/..." and "<Database>..." (any case).
bool isRelativePath(QString path);
// Inserts add before the last "." if that stands behind the last "/"; else appends.
QString fmAddStringToFileName(QString file, const QString& add);
// Removes ".." components by hand: each goes with the folder before it. Never climbs above "/".
QString fmPathResolve(QString path);

// ---- changing files ----------------------------------------------------------------------------

// True if the folder exists or was made (mode 0777 before umask). withParents creates the missing
// parents first; a path whose parent equals itself gives false.
bool fmCreateFolder(const QString& path, bool withParents);
// Empty on success or when there was nothing to delete; else "Unable to delete file, <error>".
QString fmDeleteFile(const QString& path);
QString fmDeleteFile(const char* path);
template <int N> QString fmDeleteFile(const fmString<N>& f)
{
    return fmDeleteFile(f.toQString());
}
bool fmDeleteFolder(const QString& path); // rmdir: only an empty folder
// With overwrite the target is deleted first; then rename(). True on success.
bool fmRenameFile(const QString& from, const QString& to, bool overwrite);
// Empty on success, else the reason. blockSize below 1 means 64 KiB; cancel (may be null) is tested
// between blocks: a cancelled copy removes the partial target and gives "Copy cancelled.".
QString fmCopyFile(const QString& from, const QString& to, bool keepTime, const int& blockSize = 1 << 20,
                   bool* cancel = nullptr);
// Access and modification time to *time; a null pointer means now.
void fmSetFileTime(const QString& file, fmTime_t* time);
// fopen "wb", one fwrite. Empty on success.
QString fmWriteBufferToFile(QString file, unsigned char* p, long long n);
// One pass of bringing the growing file `to` up to date with `from` (at most 256 KiB a pass).
// finished is true when `to` has all of `from`. The buffer is not needed here and may be null.
QString fmResumeFile(const QString& from, const QString& to, bool& finished,
                     _FM_DataBuffer* buffer = nullptr);
// Deletes the content of a folder. A missing folder gives true. Symbolic links are deleted, never
// followed. keep holds names (or full paths) that stay. False if anything failed or the time ran
// out; error then holds the reason. count and bytes sum up the deleted files.
bool fmEmptyFolder(const QString& folder, const bool& recursive, const bool& removeFolders,
                   const int& maxSeconds, const QStringList* keep = nullptr, QString* error = nullptr,
                   int* count = nullptr, long long* bytes = nullptr);

// ---- rights ------------------------------------------------------------------------------------

bool fmSetFileRights_ReadWriteAll(const fmString<250>& path); // chmod 0666
bool fmSetFileRights_ReadWriteAll(const char* path);
bool fmSetFileRights_ReadWriteExecuteAll(const fmString<250>& path); // chmod 0777
bool fmSetFileRights_ReadWriteExecuteAll(const char* path);
// chmod 0777 on the folder; with withFiles the same for the entries in it (one level).
bool fmSetFolderRights_ReadWriteAll(const fmString<250>& path, bool withFiles);
bool fmSetFolderRights_ReadWriteAll(const char* path, bool withFiles);
// chown to the user's ids and chmod 0770; if chown fails, chmod 0777.
bool fmSetFolderRights_ReadWriteUser(const fmString<250>& path, const fmString<250>& user, bool withFiles);
bool fmSetFolderRights_ReadWriteUser(const char* path, const char* user, bool withFiles);
// getpwnam: false for an unknown user.
bool get_User_id(const char* name, unsigned* uid, unsigned* gid);
// getpwuid: empty for an unknown id.
QString get_name_from_ID(const unsigned& uid);

// ---- folder listing ----------------------------------------------------------------------------

// Forward reader of one folder. The plain mode reads entry by entry (no sorting, as project and
// job folders can be large and lie on a network). The sorted mode reads all names first and hands
// them out in ascending order of plain character code.
//
// init(folder, sorted, withDirs, withHidden, withStat):
//   sorted     read all names into the cache and sort them
//   withDirs   folders are handed out too (isDir() tells them apart)
//   withHidden names that begin with "." are handed out too
//   withStat   time and size of each entry are taken while listing (UseCache); fileTime() and
//              fileSize() then answer from the cache
// A last path component holding "*" or "?" is split off as a wildcard filter.
class fmDirListing
{
public:
    fmDirListing();
    ~fmDirListing();
    fmDirListing(const fmDirListing&) = delete;
    fmDirListing& operator=(const fmDirListing&) = delete;

    bool init(QString folder, const bool& sorted = false, const bool& withDirs = true,
              const bool& withHidden = true, const bool& withStat = false);
    bool nextFile();
    bool isDir() const;
    QString fileName() const;
    QString dirFileName() const;
    bool fileName(QString& name) const;
    bool fileSize(long long& size);
    bool fileTime(fmTime_t& time);
    long long fileSize();
    fmTime_t fileTime();
    // Keeps only names with this end (case-insensitive); several calls add alternatives. Filters
    // may be added before init and stay over init and close.
    void addEndsWithFilter(const QString& end);
    void clearEndsWithFilters();
    // Loads time and size of the current entry into the cache (by stat unless already there).
    bool getCachedData();
    void close();
    bool isValid() const { return Valid; }
    QString folder() const { return FolderPD; }

    bool Valid = false;
    bool UseCache = false;
    bool WithDirs = true;   // option flag
    QString FolderName;     // as given
    QString FilterPattern;  // wildcard split off the folder, empty for none
    QString FolderPD;       // folder with trailing separator
    QString ResolvedFolder; // FolderPD with ".." resolved
    QString CurrentName;
    DIR* Dir = nullptr;             // owned
    struct dirent* Entry = nullptr; // not owned: belongs to Dir

private:
    struct CacheEntry
    {
        QString Name;
        int Kind = 0; // 0 unknown, 1 file, 2 folder
        bool HaveStat = false;
        long long Size = 0;
        int64_t Time = 0;
    };
    QStringList EndsWith;
    QByteArray FilterBytes; // FilterPattern in the system's encoding, for fnmatch
    std::vector<CacheEntry> Cache;
    bool Sorted = false;
    bool WithHidden = true;
    int CachePos = -1;
    CacheEntry Current;

    bool passes(const QString& name) const;
    bool statCurrent();
};

// ---- cleaning of names -------------------------------------------------------------------------
// The placeholders "<FN>" and "<FN1>" to "<FN7>" pass untouched with keepPlaceholders.

QString fmRemoveIllegalCharFromFile(QString s, bool keepBlanks = false, const bool& keepPlaceholders = false);
QString fmRemoveIllegalCharFromDir(QString s, bool keepBlanks = false, const bool& keepPlaceholders = false);
// removeDriveColon: ":" goes everywhere, also behind a drive letter (for names of sub folders).
QString fmRemoveIllegalCharFromDir(QString s, bool keepBlanks, const bool& keepPlaceholders,
                                   const bool& removeDriveColon);
QString fmRemoveIllegalCharFromHtmlFile(QString s);
QString fmRemoveIllegalCharFromHtmlDir(QString s);
