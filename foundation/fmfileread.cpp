#include "foundation/fmfileread.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char16_t EscapeBase = 0xDC00; // a byte b that is no UTF-8 becomes U+DC00 + b (b >= 0x80)

bool isEscape(char16_t c)
{
    return c >= 0xDC80 && c <= 0xDCFF;
}

// Length of the valid UTF-8 sequence at p (at most n bytes), 0 when there is none: no overlong
// forms, no encoded surrogates, nothing above U+10FFFF.
int utf8Length(const unsigned char* p, qsizetype n, char32_t& cp)
{
    const unsigned char b = p[0];
    int len = 0;
    char32_t min = 0;
    if (b >= 0xC2 && b <= 0xDF)
        len = 2, cp = b & 0x1F, min = 0x80;
    else if (b >= 0xE0 && b <= 0xEF)
        len = 3, cp = b & 0x0F, min = 0x800;
    else if (b >= 0xF0 && b <= 0xF4)
        len = 4, cp = b & 0x07, min = 0x10000;
    else
        return 0;
    if (n < len) return 0;
    for (int i = 1; i < len; ++i) {
        if ((p[i] & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (p[i] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
    return len;
}

void appendUtf8(QByteArray& out, char32_t cp)
{
    if (cp < 0x80) {
        out.append(char(cp));
    } else if (cp < 0x800) {
        out.append(char(0xC0 | (cp >> 6)));
        out.append(char(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.append(char(0xE0 | (cp >> 12)));
        out.append(char(0x80 | ((cp >> 6) & 0x3F)));
        out.append(char(0x80 | (cp & 0x3F)));
    } else {
        out.append(char(0xF0 | (cp >> 18)));
        out.append(char(0x80 | ((cp >> 12) & 0x3F)));
        out.append(char(0x80 | ((cp >> 6) & 0x3F)));
        out.append(char(0x80 | (cp & 0x3F)));
    }
}

QString errText(int e)
{
    char buf[256];
    buf[0] = 0;
    // GNU strerror_r may return a static text instead of filling buf.
    const char* r = strerror_r(e, buf, sizeof(buf));
    return QString::fromLocal8Bit(r ? r : buf);
}

// Why a file of this mode is refused, empty for a regular file.
QString kindText(mode_t mode)
{
    if (S_ISREG(mode)) return QString();
    if (S_ISDIR(mode)) return errText(EISDIR);
    if (S_ISFIFO(mode)) return QStringLiteral("Is a FIFO, not a regular file");
    if (S_ISCHR(mode)) return QStringLiteral("Is a character device, not a regular file");
    if (S_ISBLK(mode)) return QStringLiteral("Is a block device, not a regular file");
    if (S_ISSOCK(mode)) return QStringLiteral("Is a socket, not a regular file");
    return QStringLiteral("Not a regular file");
}

// Checks the kind and the size of what is (or would be) opened; empty when it is acceptable.
QString refusal(const struct stat& st, qint64 maxBytes)
{
    const QString kind = kindText(st.st_mode);
    if (!kind.isEmpty()) return kind;
    if (qint64(st.st_size) > maxBytes) return fmFileTooLargeText(qint64(st.st_size), maxBytes);
    return QString();
}

} // namespace

QString fmPathFromBytes(const QByteArray& bytes)
{
    QString out;
    out.reserve(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.constData());
    const qsizetype n = bytes.size();
    for (qsizetype i = 0; i < n;) {
        if (p[i] < 0x80) {
            out.append(QChar(char16_t(p[i++])));
            continue;
        }
        char32_t cp = 0;
        const int len = utf8Length(p + i, n - i, cp);
        if (len == 0) {
            out.append(QChar(char16_t(EscapeBase + p[i++])));
            continue;
        }
        const char32_t ucs[1] = {cp};
        out.append(QString::fromUcs4(ucs, 1));
        i += len;
    }
    return out;
}

QByteArray fmPathToBytes(const QString& path)
{
    QByteArray out;
    out.reserve(path.size());
    const qsizetype n = path.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = path.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(path.at(i + 1).unicode())) {
            appendUtf8(out, QChar::surrogateToUcs4(c, path.at(i + 1).unicode()));
            ++i;
        } else if (isEscape(c)) {
            out.append(char(c - EscapeBase));
        } else if (QChar::isSurrogate(c)) {
            appendUtf8(out, 0xFFFD);
        } else {
            appendUtf8(out, c);
        }
    }
    return out;
}

QString fmPathForDisplay(const QString& path)
{
    QString out = path;
    for (qsizetype i = 0; i < out.size(); ++i) {
        const char16_t c = out.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < out.size() && QChar::isLowSurrogate(out.at(i + 1).unicode()))
            ++i;
        else if (QChar::isSurrogate(c))
            out[i] = QChar(QChar::ReplacementCharacter);
    }
    return out;
}

QString fmFileTooLargeText(qint64 size, qint64 maxBytes)
{
    return QStringLiteral("%1 (%2 bytes, at most %3)").arg(errText(EFBIG)).arg(size).arg(maxBytes);
}

int fmOpenRegularFile(const QString& path, qint64 maxBytes, QString* reason, qint64* size)
{
    if (reason) reason->clear();
    if (size) *size = 0;
    if (path.isEmpty()) {
        if (reason) *reason = errText(ENOENT);
        return -1;
    }
    const QByteArray name = fmPathToBytes(path);
    // A FIFO, device or folder is refused before it is opened at all (opening some devices acts);
    // the check after the open holds against a file swapped in between.
    struct stat st;
    if (::stat(name.constData(), &st) != 0) {
        if (reason) *reason = errText(errno);
        return -1;
    }
    QString why = refusal(st, maxBytes);
    if (!why.isEmpty()) {
        if (reason) *reason = why;
        return -1;
    }
    const int fd = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        if (reason) *reason = errText(errno);
        return -1;
    }
    if (::fstat(fd, &st) != 0)
        why = errText(errno);
    else
        why = refusal(st, maxBytes);
    // Regular files ignore O_NONBLOCK; it is cleared so that no reader ever sees EAGAIN.
    if (why.isEmpty() && ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) why = errText(errno);
    if (!why.isEmpty()) {
        ::close(fd);
        if (reason) *reason = why;
        return -1;
    }
    if (size) *size = qint64(st.st_size);
    return fd;
}

bool fmOpenRegularFile(QFile& file, const QString& path, qint64 maxBytes, QString* reason)
{
    if (file.isOpen()) file.close();
    const int fd = fmOpenRegularFile(path, maxBytes, reason);
    if (fd < 0) return false;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        if (reason) *reason = file.errorString();
        ::close(fd);
        return false;
    }
    return true;
}

bool fmOpenForAppend(QFile& file, const QString& path)
{
    if (file.isOpen()) file.close();
    const int fd = ::open(fmPathToBytes(path).constData(),
                          O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    struct stat st;
    int e = 0;
    if (::fstat(fd, &st) != 0)
        e = errno;
    else if (!S_ISREG(st.st_mode))
        e = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    else if (::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0)
        e = errno;
    if (e == 0 && file.open(fd, QIODevice::WriteOnly | QIODevice::Append, QFileDevice::AutoCloseHandle))
        return true;
    ::close(fd);
    errno = e != 0 ? e : EIO;
    return false;
}

bool fmReadRegularFile(const QString& path, qint64 maxBytes, QByteArray& out, QString* reason)
{
    out.clear();
    qint64 size = 0;
    const int fd = fmOpenRegularFile(path, maxBytes, reason, &size);
    if (fd < 0) return false;
    // The size at the open is a hint only: the file may shrink or grow while it is read.
    out.resize(qsizetype(std::min(size, maxBytes)));
    qint64 got = 0;
    QString why;
    for (;;) {
        if (got == out.size()) {
            if (got > maxBytes) {
                why = fmFileTooLargeText(got, maxBytes);
                break;
            }
            // One byte beyond the cap tells a file that grew past it.
            out.resize(qsizetype(std::min(maxBytes + 1, std::max<qint64>(got * 2, got + 4096))));
        }
        const ssize_t r = ::read(fd, out.data() + got, size_t(out.size() - got));
        if (r < 0) {
            if (errno == EINTR) continue;
            why = errText(errno);
            break;
        }
        if (r == 0) break;
        got += r;
    }
    ::close(fd);
    if (!why.isEmpty()) {
        out.clear();
        if (reason) *reason = why;
        return false;
    }
    out.truncate(qsizetype(got));
    return true;
}

bool fmPathExists(const QString& path)
{
    struct stat st;
    return !path.isEmpty() && ::stat(fmPathToBytes(path).constData(), &st) == 0;
}

fmPrivateCopy::fmPrivateCopy() : Temp(QDir::tempPath() + QStringLiteral("/fm-XXXXXX.ini")) {}

bool fmPrivateCopy::copyFrom(const QString& path, qint64 maxBytes, bool missingIsEmpty, QString* reason)
{
    QByteArray bytes;
    if (!fmReadRegularFile(path, maxBytes, bytes, reason) && !(missingIsEmpty && !fmPathExists(path)))
        return false;
    return fill(bytes, reason);
}

bool fmPrivateCopy::fill(const QByteArray& bytes, QString* reason)
{
    if (!Temp.isOpen() && !Temp.open()) {
        if (reason) *reason = Temp.errorString();
        return false;
    }
    if (!Temp.resize(0) || !Temp.seek(0) || Temp.write(bytes) != bytes.size() || !Temp.flush()) {
        if (reason) *reason = Temp.errorString();
        return false;
    }
    return true;
}

bool fmPrivateCopy::readBack(QByteArray& out, QString* reason)
{
    out.clear();
    // QSettings wrote through its own handle; read the file afresh by name.
    QFile f(Temp.fileName());
    if (!f.open(QIODevice::ReadOnly)) {
        if (reason) *reason = f.errorString();
        return false;
    }
    out = f.readAll();
    return true;
}
