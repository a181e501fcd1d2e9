#include "foundation/fmfile.h"

#include "foundation/fmfileread.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fnmatch.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

QByteArray enc(const QString& s)
{
    return fmPathToBytes(s);
}

QString errText(int e)
{
    char buf[256];
    buf[0] = 0;
    // GNU strerror_r may return a static text instead of filling buf.
    const char* r = strerror_r(e, buf, sizeof(buf));
    return QString::fromLocal8Bit(r ? r : buf);
}

QString lastErr()
{
    return errText(errno);
}

// Writes all n bytes, resuming after short writes and interrupted calls.
bool writeAll(int fd, const char* p, size_t n)
{
    while (n > 0) {
        const ssize_t w = ::write(fd, p, n);
        if (w < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        p += w;
        n -= size_t(w);
    }
    return true;
}

} // namespace

// ---- existence ---------------------------------------------------------------------------------

bool fmFileExists(const QString& file, fmTime_t* mtime, long long* size)
{
    if (file.isEmpty()) return false;
    struct stat st;
    if (::stat(enc(file).constData(), &st) != 0) return false;
    if (S_ISDIR(st.st_mode)) return false;
    if (mtime) mtime->t = int64_t(st.st_mtime);
    if (size) *size = (long long)st.st_size;
    return true;
}

bool fmDirectoryExists(const char* path)
{
    if (!path || !*path) return false;
    struct stat st;
    if (::stat(path, &st) != 0) return false;
    return S_ISDIR(st.st_mode);
}

bool fmDirectoryExists(const QString& path)
{
    if (path.isEmpty()) return false;
    return fmDirectoryExists(enc(path).constData());
}

// ---- names -------------------------------------------------------------------------------------

QString GetDirName(QString path, unsigned short pd)
{
    // A single character stays; "/a" already has its last pd too early and gives "".
    if (path.size() < 2) return path;
    const QChar sep(pd);
    if (path.endsWith(sep)) path.chop(1);
    const int last = path.lastIndexOf(sep);
    if (last < 2) return QString();
    if (path.size() >= 2 && path.at(0) == sep && path.at(1) == sep) {
        // A network path: "//server/share" keeps the server's root whole.
        const int before = path.lastIndexOf(sep, last - 1);
        if (before <= 1) return path + sep;
    }
    path.truncate(last);
    return path + sep;
}

QString GetDirNameAutoPD(QString path)
{
    return GetDirName(path, path.contains(QLatin1Char('/')) ? '/' : '\\');
}

QString GetFileName(QString path, unsigned short pd)
{
    const int last = path.lastIndexOf(QChar(pd));
    if (last >= 2) return path.mid(last + 1);
    return path;
}

QString GetFileNameAutoPD(QString path)
{
    return GetFileName(path, path.contains(QLatin1Char('/')) ? '/' : '\\');
}

QString GetFileNameBase(QString path, unsigned short pd)
{
    QString f = GetFileName(path, pd);
    // One or two characters before the dot keep the extension: "ab.db" stays a name of its own.
    const int dot = f.lastIndexOf(QLatin1Char('.'));
    if (dot > 2) f.truncate(dot);
    return f;
}

QString GetFileNameExtention(QString path)
{
    const int dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot >= 2) return path.mid(dot);
    return path;
}

bool isRelativePath(QString path)
{
    if (path.size() < 3) return true;
    if (path.at(0) == QLatin1Char('/')) return false;
    if (path.at(1) == QLatin1Char(':') && path.at(2) == QLatin1Char('/')) return false;
    if (path.startsWith(QLatin1String("<Database>"), Qt::CaseInsensitive)) return false;
    return true;
}

QString fmAddStringToFileName(QString file, const QString& add)
{
    const int dot = file.lastIndexOf(QLatin1Char('.'));
    const int slash = file.lastIndexOf(QLatin1Char('/'));
    if (dot >= 0 && dot > slash) return file.insert(dot, add);
    return file + add;
}

QString fmPathResolve(QString path)
{
    if (!path.contains(QLatin1String(".."))) return path;
    const QStringList parts = path.split(QLatin1Char('/'));
    QStringList out;
    out.reserve(parts.size());
    for (int i = 0; i < parts.size(); ++i) {
        const QString& p = parts.at(i);
        if (p == QLatin1String("..")) {
            if (!out.isEmpty() && out.last() != QLatin1String("..")) {
                // The empty first component is the root: ".." above "/" stays at "/".
                if (out.size() == 1 && out.first().isEmpty()) continue;
                out.removeLast();
                continue;
            }
            out.append(p);
            continue;
        }
        out.append(p);
    }
    // "a/b/.." keeps its folder form: "a/".
    if (parts.last() == QLatin1String("..") && !out.isEmpty() && !out.last().isEmpty() &&
        out.last() != QLatin1String(".."))
        out.append(QString());
    QString r = out.join(QLatin1Char('/'));
    if (r.isEmpty() && path.startsWith(QLatin1Char('/'))) r = QStringLiteral("/");
    return r;
}

// ---- changing files ----------------------------------------------------------------------------

bool fmCreateFolder(const QString& path, bool withParents)
{
    if (path.isEmpty()) return false;
    if (fmDirectoryExists(path)) return true;
    if (withParents) {
        const QString parent = GetDirName(path, '/');
        if (parent == path) return false;
        // An empty parent ("/a", "ab/") has nothing above it to create.
        if (!parent.isEmpty() && !fmCreateFolder(parent, true)) return false;
    }
    if (::mkdir(enc(path).constData(), 0777) == 0) return true;
    // Another process may have been quicker.
    return errno == EEXIST && fmDirectoryExists(path);
}

QString fmDeleteFile(const QString& path)
{
    if (path.isEmpty()) return QString();
    if (::unlink(enc(path).constData()) == 0 || errno == ENOENT) return QString();
    return QStringLiteral("Unable to delete file, %1").arg(lastErr());
}

QString fmDeleteFile(const char* path)
{
    return fmDeleteFile(fmPathFromBytes(QByteArray(path ? path : "")));
}

bool fmDeleteFolder(const QString& path)
{
    if (path.isEmpty()) return false;
    return ::rmdir(enc(path).constData()) == 0;
}

bool fmRenameFile(const QString& from, const QString& to, bool overwrite)
{
    if (from.isEmpty() || to.isEmpty()) return false;
    if (overwrite) fmDeleteFile(to);
    return ::rename(enc(from).constData(), enc(to).constData()) == 0;
}

QString fmCopyFile(const QString& from, const QString& to, bool keepTime, const int& blockSize, bool* cancel)
{
    if (!fmFileExists(from)) return QStringLiteral("Source file does not exist.");
    const QByteArray src = enc(from);
    const QByteArray dst = enc(to);

    const int in = ::open(src.constData(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return QStringLiteral("Cannot open source file for reading: ") + lastErr();
    struct stat st;
    if (::fstat(in, &st) != 0) {
        const QString e = lastErr();
        ::close(in);
        return QStringLiteral("Cannot fstat source file: ") + e;
    }
    // Copying a file onto itself would truncate it before the first read.
    struct stat dt;
    if (::stat(dst.constData(), &dt) == 0 && dt.st_dev == st.st_dev && dt.st_ino == st.st_ino) {
        ::close(in);
        return QStringLiteral("Cannot create target file: ") +
               QStringLiteral("source and target are the same file") + QStringLiteral("!  '") + to +
               QStringLiteral("'");
    }
    const int out = ::open(dst.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (out < 0) {
        const QString e = lastErr();
        ::close(in);
        return QStringLiteral("Cannot create target file: ") + e + QStringLiteral("!  '") + to +
               QStringLiteral("'");
    }

    size_t block = blockSize > 0 ? size_t(blockSize) : size_t(64 * 1024);
    block = std::min<size_t>(block, size_t(64) * 1024 * 1024);
    std::vector<char> buf(block);
    QString result;
    for (;;) {
        if (cancel && *cancel) {
            result = QStringLiteral("Copy cancelled.");
            break;
        }
        const ssize_t r = ::read(in, buf.data(), block);
        if (r < 0) {
            if (errno == EINTR) continue;
            result = QStringLiteral("Error reading source: ") + lastErr();
            break;
        }
        if (r == 0) break;
        if (!writeAll(out, buf.data(), size_t(r))) {
            result = QStringLiteral("Error writing destination: ") + lastErr();
            break;
        }
    }
    if (::close(in) != 0 && result.isEmpty()) result = QStringLiteral("Unable to close source: ") + lastErr();
    if (::close(out) != 0 && result.isEmpty())
        result = QStringLiteral("Error closing destination file: ") + lastErr();
    if (!result.isEmpty()) {
        // Nothing half-copied stays behind under the target's name.
        ::unlink(dst.constData());
        return result;
    }
    if (keepTime) {
        struct timeval tv[2];
        tv[0].tv_sec = st.st_atime;
        tv[0].tv_usec = 0;
        tv[1].tv_sec = st.st_mtime;
        tv[1].tv_usec = 0;
        if (::utimes(dst.constData(), tv) != 0)
            return QStringLiteral("Error setting file time of destination file: ") + lastErr();
    }
    return QString();
}

void fmSetFileTime(const QString& file, fmTime_t* time)
{
    if (file.isEmpty()) return;
    if (!time) {
        ::utimes(enc(file).constData(), nullptr);
        return;
    }
    struct timeval tv[2];
    tv[0].tv_sec = time_t(time->t);
    tv[0].tv_usec = 0;
    tv[1] = tv[0];
    ::utimes(enc(file).constData(), tv);
}

QString fmWriteBufferToFile(QString file, unsigned char* p, long long n)
{
    if (n < 0 || (n > 0 && !p))
        return QStringLiteral("Unable to write %1b (%2/%3 done): %4")
            .arg(n)
            .arg(0)
            .arg(n)
            .arg(QStringLiteral("invalid buffer"));
    FILE* f = ::fopen(enc(file).constData(), "wb");
    if (!f) return QStringLiteral("Unable to write/open file: ") + lastErr();
    const size_t done = n > 0 ? std::fwrite(p, 1, size_t(n), f) : 0;
    const QString e1 = done != size_t(n) ? lastErr() : QString();
    const int c = std::fclose(f);
    if (done != size_t(n) || c != 0)
        return QStringLiteral("Unable to write %1b (%2/%3 done): %4")
            .arg(n)
            .arg((long long)done)
            .arg(n)
            .arg(e1.isEmpty() ? lastErr() : e1);
    return QString();
}

QString fmResumeFile(const QString& from, const QString& to, bool& finished, _FM_DataBuffer* /*buffer*/)
{
    constexpr long long maxSource = 26214400; // 25 MB
    constexpr long long maxPass = 262144;     // bytes moved per call
    finished = false;
    long long fromSize = 0;
    if (!fmFileExists(from, nullptr, &fromSize)) return QStringLiteral("Source file does not exist");
    long long toSize = 0;
    long long offset = 0;
    if (fmFileExists(to, nullptr, &toSize) && toSize <= fromSize) offset = toSize;
    if (fromSize > maxSource) return QStringLiteral("Log file larger than 25 MB, stopping copy to fmShare.");
    if (offset >= fromSize && offset > 0) {
        finished = true;
        return QString();
    }

    FILE* in = ::fopen(enc(from).constData(), "rb");
    if (!in) return QStringLiteral("Cannot open source file; ") + lastErr();
    // Starting over truncates; resuming keeps what the target holds.
    FILE* out = ::fopen(enc(to).constData(), offset > 0 ? "r+b" : "wb");
    if (!out) {
        const QString e = lastErr();
        std::fclose(in);
        return QStringLiteral("Cannot open dest. file; ") + e;
    }
    QString result;
    const long long want = std::min(maxPass, fromSize - offset);
    if (want > 0) {
        std::vector<char> buf(static_cast<size_t>(want));
        size_t got = 0;
        if (::fseeko(in, off_t(offset), SEEK_SET) == 0) got = std::fread(buf.data(), 1, size_t(want), in);
        if ((long long)got != want) {
            result = QStringLiteral("Unable to read all data  %1 != %2-%3")
                         .arg((long long)got)
                         .arg(offset + want)
                         .arg(offset);
        } else if (::fseeko(out, off_t(offset), SEEK_SET) != 0 ||
                   std::fwrite(buf.data(), 1, got, out) != got) {
            result = QStringLiteral("Unable to write data");
        }
    }
    std::fclose(in);
    if (std::fclose(out) != 0 && result.isEmpty()) result = QStringLiteral("Unable to write data");
    if (result.isEmpty()) finished = offset + want >= fromSize;
    return result;
}

bool fmEmptyFolder(const QString& folder, const bool& recursive, const bool& removeFolders,
                   const int& maxSeconds, const QStringList* keep, QString* error, int* count,
                   long long* bytes)
{
    if (!fmDirectoryExists(folder)) return true;
    const time_t start = ::time(nullptr);
    fmDirListing dl;
    if (!dl.init(folder, false, true, true, false)) {
        if (error) *error = QStringLiteral("Unable to list folder %1").arg(folder);
        return false;
    }
    bool ok = true;
    while (dl.nextFile()) {
        if (maxSeconds > 0 && ::time(nullptr) - start >= maxSeconds) {
            if (error)
                *error = QStringLiteral("Time limit of %1 s reached while emptying %2")
                             .arg(maxSeconds)
                             .arg(folder);
            return false;
        }
        const QString name = dl.fileName();
        const QString full = dl.dirFileName();
        if (keep && (keep->contains(name) || keep->contains(full))) continue;
        struct stat st;
        if (::lstat(enc(full).constData(), &st) != 0) continue;
        if (S_ISDIR(st.st_mode)) {
            if (!recursive) continue;
            QString sub;
            if (!fmEmptyFolder(full, recursive, removeFolders, maxSeconds, keep, &sub, count, bytes)) {
                if (error) *error = sub;
                ok = false;
                if (sub.startsWith(QLatin1String("Time limit"))) return false;
                continue;
            }
            if (removeFolders && !fmDeleteFolder(full)) {
                if (error) *error = QStringLiteral("Unable to delete folder %1, %2").arg(full, lastErr());
                ok = false;
            }
            continue;
        }
        const QString e = fmDeleteFile(full);
        if (!e.isEmpty()) {
            if (error) *error = e;
            ok = false;
            continue;
        }
        if (count) ++*count;
        if (bytes) *bytes += (long long)st.st_size;
    }
    return ok;
}

// ---- rights ------------------------------------------------------------------------------------

bool fmSetFileRights_ReadWriteAll(const char* path)
{
    return path && ::chmod(path, 0666) == 0;
}
bool fmSetFileRights_ReadWriteAll(const fmString<250>& path)
{
    return fmSetFileRights_ReadWriteAll(enc(path.toQString()).constData());
}
bool fmSetFileRights_ReadWriteExecuteAll(const char* path)
{
    return path && ::chmod(path, 0777) == 0;
}
bool fmSetFileRights_ReadWriteExecuteAll(const fmString<250>& path)
{
    return fmSetFileRights_ReadWriteExecuteAll(enc(path.toQString()).constData());
}

namespace {
// Applies fn to every entry of a folder (one level, no "." and ".."); false if any call failed.
template <class F> bool forEntries(const QString& folder, F fn)
{
    fmDirListing dl;
    if (!dl.init(folder, false, true, true, false)) return false;
    bool ok = true;
    while (dl.nextFile()) {
        const QByteArray p = enc(dl.dirFileName());
        // chmod and chown follow links: a link on the share must not open its target to everyone.
        struct stat st;
        if (::lstat(p.constData(), &st) != 0 || S_ISLNK(st.st_mode)) continue;
        if (!fn(p)) ok = false;
    }
    return ok;
}
} // namespace

bool fmSetFolderRights_ReadWriteAll(const char* path, bool withFiles)
{
    if (!path || !*path) return false;
    bool ok = ::chmod(path, 0777) == 0;
    if (withFiles)
        ok = forEntries(fmPathFromBytes(QByteArray(path)),
                        [](const QByteArray& p) { return ::chmod(p.constData(), 0777) == 0; }) &&
             ok;
    return ok;
}
bool fmSetFolderRights_ReadWriteAll(const fmString<250>& path, bool withFiles)
{
    return fmSetFolderRights_ReadWriteAll(enc(path.toQString()).constData(), withFiles);
}

bool get_User_id(const char* name, unsigned* uid, unsigned* gid)
{
    if (!name || !*name) return false;
    struct passwd pw;
    struct passwd* res = nullptr;
    char buf[4096];
    if (::getpwnam_r(name, &pw, buf, sizeof(buf), &res) != 0 || !res) return false;
    if (uid) *uid = unsigned(res->pw_uid);
    if (gid) *gid = unsigned(res->pw_gid);
    return true;
}

QString get_name_from_ID(const unsigned& uid)
{
    struct passwd pw;
    struct passwd* res = nullptr;
    char buf[4096];
    if (::getpwuid_r(uid_t(uid), &pw, buf, sizeof(buf), &res) != 0 || !res || !res->pw_name) return QString();
    return QString::fromLocal8Bit(res->pw_name);
}

bool fmSetFolderRights_ReadWriteUser(const char* path, const char* user, bool withFiles)
{
    if (!path || !*path) return false;
    unsigned uid = 0, gid = 0;
    const bool known = get_User_id(user, &uid, &gid);
    auto one = [&](const char* p) {
        if (known && ::chown(p, uid_t(uid), gid_t(gid)) == 0) return ::chmod(p, 0770) == 0;
        return ::chmod(p, 0777) == 0;
    };
    bool ok = one(path);
    if (withFiles)
        ok = forEntries(fmPathFromBytes(QByteArray(path)),
                        [&](const QByteArray& p) { return one(p.constData()); }) &&
             ok;
    return ok;
}
bool fmSetFolderRights_ReadWriteUser(const fmString<250>& path, const fmString<250>& user, bool withFiles)
{
    return fmSetFolderRights_ReadWriteUser(enc(path.toQString()).constData(),
                                           enc(user.toQString()).constData(), withFiles);
}

// ---- folder listing ----------------------------------------------------------------------------

namespace {

void removeChars(QString& s, const char* chars)
{
    for (const char* c = chars; *c; ++c)
        s.remove(QLatin1Char(*c));
}

// Steps shared by files and folders, from the fixed removals to the character range.
void cleanTail(QString& s, bool keepPlaceholders)
{
    removeChars(s, ";#}{\"@=?`~*");
    if (keepPlaceholders) {
        s.replace(QLatin1String("<FN>"), QLatin1String("*FN*"));
        for (int i = 1; i <= 7; ++i)
            s.replace(QStringLiteral("<FN%1>").arg(i), QStringLiteral("*FN%1*").arg(i));
    }
    removeChars(s, "><");
    if (keepPlaceholders) {
        s.replace(QLatin1String("*FN*"), QLatin1String("<FN>"));
        for (int i = 1; i <= 7; ++i)
            s.replace(QStringLiteral("*FN%1*").arg(i), QStringLiteral("<FN%1>").arg(i));
    }
    s.remove(QLatin1Char('^'));
    QString out;
    out.reserve(s.size());
    for (const QChar c : s)
        if (c.unicode() >= 0x20 && c.unicode() <= 0xFF) out.append(c);
    s = out;
}

} // namespace

QString fmRemoveIllegalCharFromFile(QString s, bool keepBlanks, const bool& keepPlaceholders)
{
    removeChars(s, "\n\r\t\\/|");
    if (!keepBlanks) s.remove(QLatin1Char(' '));
    s.replace(QLatin1Char(':'), QLatin1Char('_'));
    cleanTail(s, keepPlaceholders);
    return s;
}

QString fmRemoveIllegalCharFromDir(QString s, bool keepBlanks, const bool& keepPlaceholders,
                                   const bool& removeDriveColon)
{
    s.replace(QLatin1Char('\\'), QLatin1Char('/'));
    // Collapse "//" behind the first character: a network path keeps its two leading slashes.
    {
        QString out;
        out.reserve(s.size());
        for (int i = 0; i < s.size(); ++i) {
            if (s.at(i) == QLatin1Char('/') && i >= 2 && out.endsWith(QLatin1Char('/'))) continue;
            out.append(s.at(i));
        }
        s = out;
    }
    while (s.contains(QLatin1String(" /")) || s.contains(QLatin1String("/ "))) {
        s.replace(QLatin1String(" /"), QLatin1String("/"));
        s.replace(QLatin1String("/ "), QLatin1String("/"));
    }
    removeChars(s, "\n\r\t|");
    if (!keepBlanks) s.remove(QLatin1Char(' '));
    {
        QString out;
        out.reserve(s.size());
        for (int i = 0; i < s.size(); ++i) {
            if (s.at(i) == QLatin1Char(':') && (i != 1 || removeDriveColon)) continue;
            out.append(s.at(i));
        }
        s = out;
    }
    cleanTail(s, keepPlaceholders);
    return s;
}

QString fmRemoveIllegalCharFromDir(QString s, bool keepBlanks, const bool& keepPlaceholders)
{
    return fmRemoveIllegalCharFromDir(s, keepBlanks, keepPlaceholders, false);
}

QString fmRemoveIllegalCharFromHtmlFile(QString s)
{
    removeChars(s, "!&$'");
    return fmRemoveIllegalCharFromFile(s, false, false);
}

QString fmRemoveIllegalCharFromHtmlDir(QString s)
{
    removeChars(s, "!&$'");
    return fmRemoveIllegalCharFromDir(s, false, false);
}
