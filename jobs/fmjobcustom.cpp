// Custom data of a job: named values packed into a 5000-byte block of the record.
//
// Block (both in _JobBasics and in _SettingsOnly): CustomCount, CustomValueEnd, CustomIndexEnd
// (i32 each), then 5000 bytes: all index entries, then all values. An index entry:
//   +0  mode 'u' (two bytes a character, high byte first) or 'c' (one Latin-1 byte a character)
//   +1  position of the value inside the data, u16 high byte first
//   +3  length of the value in characters, u16 high byte first
//   +5  name, Latin-1, ending in NUL
// A byte other than 'u' or 'c' where an entry is due ends every walk. The block comes from files
// written elsewhere: every count, position and length is clamped to the 5000 bytes here.

#include "jobs/fmjob.h"

#include <cstring>

namespace fmJ {

namespace {

constexpr int kData = JobCustomData_Size;
constexpr int kHeader = 12;            // the three i32 in front of the data
constexpr int kMaxEntries = kData / 6; // an entry takes at least 6 bytes

// The counts and the data of one block, as raw bytes (the records are packed).
struct Block
{
    unsigned char* p;

    int32_t get(int off) const
    {
        int32_t v;
        std::memcpy(&v, p + off, 4);
        return v;
    }
    void set(int off, int32_t v) { std::memcpy(p + off, &v, 4); }
    int32_t count() const { return get(0); }
    int32_t indexEnd() const
    {
        const int32_t v = get(8);
        return v < 0 ? 0 : (v > kData ? kData : v);
    }
    unsigned char* data() const { return p + kHeader; }
};

struct Entry
{
    char mode;
    int position;
    int length;
    QString name;
    int next; // offset of the entry behind this one
};

// Reads the entry at `at`; false when none stands there (end of index, bad mode, no NUL).
bool readEntry(const unsigned char* data, int indexEnd, int at, Entry& e)
{
    if (at < 0 || at >= indexEnd || at + 5 >= kData) return false;
    const unsigned char mode = data[at];
    if (mode != 'u' && mode != 'c') return false;
    const void* nul = std::memchr(data + at + 5, 0, size_t(kData - (at + 5)));
    if (!nul) return false;
    const int nameLen = int(static_cast<const unsigned char*>(nul) - (data + at + 5));
    e.mode = char(mode);
    e.position = (int(data[at + 1]) << 8) | data[at + 2];
    e.length = (int(data[at + 3]) << 8) | data[at + 4];
    e.name = QString::fromLatin1(reinterpret_cast<const char*>(data + at + 5), nameLen);
    e.next = at + 5 + nameLen + 1;
    return true;
}

QString subText(const unsigned char* data, int position, int length, char mode)
{
    QString s = QString::fromLatin1("", 0);
    if (position < 0 || position >= kData || length <= 0) return s;
    if (mode == 'u') {
        int n = (kData - position) / 2;
        if (length < n) n = length;
        s.reserve(n);
        // Only the low byte of each pair comes back: characters above 255 lose their high byte.
        for (int i = 0; i < n; ++i)
            s += QChar::fromLatin1(char(data[position + 2 * i + 1]));
    } else {
        int n = kData - position;
        if (length < n) n = length;
        s = QString::fromLatin1(reinterpret_cast<const char*>(data + position), n);
    }
    return s;
}

QString blockStr(const Block& b, const QString& name)
{
    const int end = b.indexEnd();
    Entry e;
    for (int at = 0; readEntry(b.data(), end, at, e); at = e.next)
        if (e.name.compare(name, Qt::CaseInsensitive) == 0)
            return subText(b.data(), e.position, e.length, e.mode);
    return QString();
}

int blockMaxIDs(const Block& b)
{
    const int32_t c = b.count();
    return c < 0 ? 0 : (c > kMaxEntries ? kMaxEntries : c);
}

bool blockEntryByID(const Block& b, int id, Entry& e)
{
    if (id < 0 || id >= blockMaxIDs(b)) return false;
    const int end = b.indexEnd();
    int k = 0;
    for (int at = 0; readEntry(b.data(), end, at, e); at = e.next, ++k)
        if (k == id) return true;
    return false;
}

void blockAll(const Block& b, QStringList& names, QStringList& values)
{
    names.clear();
    values.clear();
    const int end = b.indexEnd();
    Entry e;
    for (int at = 0; readEntry(b.data(), end, at, e); at = e.next) {
        const QString v = subText(b.data(), e.position, e.length, e.mode);
        names << e.name;
        // The length stays in front: callers hand these values on, and records in files hold
        // values written back with it.
        values << QString::number(v.size()) + QLatin1Char(' ') + v;
    }
}

bool isWide(const QString& s)
{
    for (QChar c : s)
        if (c.unicode() > 255) return true;
    return false;
}

void blockSetAll(Block& b, const QStringList& namesIn, const QStringList& valuesIn)
{
    unsigned char* data = b.data();
    std::memset(data, 0, kData);
    int count = int(qMin(namesIn.size(), valuesIn.size()));

    QList<QByteArray> names;
    QList<bool> wide;
    names.reserve(count);
    wide.reserve(count);
    // First pass: the size rule. A wide value counts its characters once although it takes two
    // bytes each; the real byte need is checked beside it so that nothing is written past the
    // block.
    int size = 0;
    int bytes = 0;
    for (int i = 0; i < count; ++i) {
        QString name = namesIn.at(i);
        const int nul = int(name.indexOf(QChar(0)));
        if (nul >= 0) name.truncate(nul); // a NUL would end the name early on reading
        const QString& value = valuesIn.at(i);
        const bool w = isWide(value);
        size += int(name.size()) + int(value.size());
        const int need = 5 + int(name.size()) + 1 + int(value.size()) * (w ? 2 : 1);
        if (size + 15 >= kData + 1 || bytes + need > kData || value.size() > 0xFFFF) {
            count = i;
            break;
        }
        size += 5;
        bytes += need;
        names << name.toLatin1();
        wide << w;
    }
    // Second pass: the index, positions left 0.
    int at = 0;
    QList<int> entryAt;
    entryAt.reserve(count);
    for (int i = 0; i < count; ++i) {
        entryAt << at;
        const int len = int(valuesIn.at(i).size());
        data[at] = wide.at(i) ? 'u' : 'c';
        data[at + 3] = uint8_t(len >> 8);
        data[at + 4] = uint8_t(len & 0xFF);
        std::memcpy(data + at + 5, names.at(i).constData(), size_t(names.at(i).size()));
        at += 5 + int(names.at(i).size()) + 1;
    }
    b.set(8, at);
    // Third pass: the values behind the index; fourth: their positions into the index.
    for (int i = 0; i < count; ++i) {
        const QString& value = valuesIn.at(i);
        const int pos = at;
        if (wide.at(i)) {
            for (QChar c : value) {
                data[at++] = uint8_t(c.unicode() >> 8);
                data[at++] = uint8_t(c.unicode() & 0xFF);
            }
        } else {
            const QByteArray l = value.toLatin1();
            std::memcpy(data + at, l.constData(), size_t(l.size()));
            at += int(l.size());
        }
        data[entryAt.at(i) + 1] = uint8_t(pos >> 8);
        data[entryAt.at(i) + 2] = uint8_t(pos & 0xFF);
    }
    b.set(4, at);
    b.set(0, count);
}

void blockSetStr(Block& b, const QString& name, const QString& value)
{
    QStringList names, values;
    blockAll(b, names, values);
    qsizetype found = -1;
    for (qsizetype i = 0; i < names.size(); ++i)
        if (names.at(i).compare(name, Qt::CaseInsensitive) == 0) {
            found = i;
            break;
        }
    if (found >= 0) {
        if (value.isEmpty()) {
            names.removeAt(found);
            values.removeAt(found);
        } else {
            values[found] = value;
        }
    } else if (!value.isEmpty()) {
        names << name;
        values << value;
    }
    blockSetAll(b, names, values);
}

void blockSetStrByID(Block& b, int id, const QString& value)
{
    if (id < 0 || id >= blockMaxIDs(b)) return;
    QStringList names, values;
    blockAll(b, names, values);
    if (id >= names.size()) return; // CustomCount claims more entries than the index holds
    if (value.isEmpty()) {
        names.removeAt(id);
        values.removeAt(id);
    } else {
        values[id] = value;
    }
    blockSetAll(b, names, values);
}

const QString kUserInfo = QStringLiteral("UserInfo");

} // namespace

#define FM_CUSTOM_BLOCK(Type)                                                                                \
    Block blockOf(Type* r)                                                                                   \
    {                                                                                                        \
        return Block{reinterpret_cast<unsigned char*>(r) + offsetof(Type, CustomCount)};                     \
    }                                                                                                        \
    Block blockOf(const Type* r)                                                                             \
    {                                                                                                        \
        return blockOf(const_cast<Type*>(r));                                                                \
    }
namespace {
FM_CUSTOM_BLOCK(_JobBasics)
FM_CUSTOM_BLOCK(_SettingsOnly)
static_assert(offsetof(_JobBasics, CustomData) - offsetof(_JobBasics, CustomCount) == kHeader);
static_assert(offsetof(_SettingsOnly, CustomData) - offsetof(_SettingsOnly, CustomCount) == kHeader);
} // namespace
#undef FM_CUSTOM_BLOCK

// ---- the same family on both records

#define FM_CUSTOM_FUNCTIONS(Type)                                                                            \
    QString Type::custom_Str(const QString& name) const                                                      \
    {                                                                                                        \
        return blockStr(blockOf(this), name);                                                                \
    }                                                                                                        \
    QString Type::custom_StrByID(const int& id) const                                                        \
    {                                                                                                        \
        Entry e;                                                                                             \
        const Block b = blockOf(this);                                                                       \
        return blockEntryByID(b, id, e) ? subText(b.data(), e.position, e.length, e.mode) : QString();       \
    }                                                                                                        \
    QString Type::custom_NameByID(const int& id) const                                                       \
    {                                                                                                        \
        Entry e;                                                                                             \
        return blockEntryByID(blockOf(this), id, e) ? e.name : QString();                                    \
    }                                                                                                        \
    int Type::custom_maxIDs() const                                                                          \
    {                                                                                                        \
        return blockMaxIDs(blockOf(this));                                                                   \
    }                                                                                                        \
    void Type::custom_All(QStringList& names, QStringList& values) const                                     \
    {                                                                                                        \
        blockAll(blockOf(this), names, values);                                                              \
    }                                                                                                        \
    QString Type::custom_sub(const int& position, const int& length, const CUSTOMData_Modes& mode) const     \
    {                                                                                                        \
        return subText(blockOf(this).data(), position, length, char(mode));                                  \
    }                                                                                                        \
    void Type::customSet_Str(const QString& name, const QString& value)                                      \
    {                                                                                                        \
        Block b = blockOf(this);                                                                             \
        blockSetStr(b, name, value);                                                                         \
    }                                                                                                        \
    void Type::customSet_StrByID(const int& id, const QString& value)                                        \
    {                                                                                                        \
        Block b = blockOf(this);                                                                             \
        blockSetStrByID(b, id, value);                                                                       \
    }                                                                                                        \
    void Type::customSet_All(const QStringList& names, const QStringList& values)                            \
    {                                                                                                        \
        Block b = blockOf(this);                                                                             \
        blockSetAll(b, names, values);                                                                       \
    }                                                                                                        \
    QString Type::custom_UserInfo() const                                                                    \
    {                                                                                                        \
        return custom_Str(kUserInfo);                                                                        \
    }                                                                                                        \
    void Type::customSet_UserInfo(const QString& text)                                                       \
    {                                                                                                        \
        customSet_Str(kUserInfo, text);                                                                      \
    }

FM_CUSTOM_FUNCTIONS(_JobBasics)
FM_CUSTOM_FUNCTIONS(_SettingsOnly)
#undef FM_CUSTOM_FUNCTIONS

QString _JobBasics::custom_AllAsString() const
{
    const Block b = blockOf(this);
    const int end = b.indexEnd();
    QString s;
    Entry e;
    for (int at = 0; readEntry(b.data(), end, at, e); at = e.next) {
        if (!s.isEmpty()) s += QStringLiteral("; ");
        s += e.name + QLatin1Char('=') + subText(b.data(), e.position, e.length, e.mode);
    }
    return s;
}

bool _JobBasics::custom_isEqual(const _JobBasics* other) const
{
    if (!other) return false;
    return std::memcmp(CustomData, other->CustomData, kData) == 0;
}

} // namespace fmJ
