#include "foundation/fmtextcodec.h"

#include <QByteArray>

namespace {
struct Entity
{
    const char* plain;
    const char* entity;
};

// Order matters: "&" first on the way out, last of the named ones on the way back.
const Entity kNamed[] = {
    {"<", "&lt;"},
    {">", "&gt;"},
    {"\"", "&quot;"},
    {"'", "&apos;"},
};
const struct
{
    char16_t ch;
    const char* entity;
} kNumeric[] = {
    {u'\u00C4', "&#196;"}, {u'\u00D6', "&#214;"}, {u'\u00DC', "&#220;"}, {u'\u00E4', "&#228;"},
    {u'\u00F6', "&#246;"}, {u'\u00FC', "&#252;"}, {u'\u00DF', "&#223;"},
};

QString throughLatin1(const QString& s)
{
    return QString::fromLatin1(s.toLatin1());
}

// Finds the word around index i: from behind the blank before it to the blank after it.
void wordAround(const QString& text, qsizetype i, qsizetype& start, qsizetype& end)
{
    start = text.lastIndexOf(QLatin1Char(' '), i) + 1;
    end = text.indexOf(QLatin1Char(' '), i);
    if (end < 0) end = text.size();
}

template <class Encode>
QString toInBand(QString text, bool keepOriginal, const QString& marker, Encode encode)
{
    if (text.contains(marker, Qt::CaseSensitive)) return text;
    qsizetype i = 0;
    while (i < text.size()) {
        if (text.at(i).unicode() < 256) {
            ++i;
            continue;
        }
        qsizetype start = 0, end = 0;
        wordAround(text, i, start, end);
        const QString word = text.mid(start, end - start);
        const QString form = marker + encode(word) + QLatin1Char('>');
        qsizetype at = 0;
        if (keepOriginal) {
            at = end;
        } else {
            text.remove(start, end - start);
            at = i; // the trigger's index, even when the word began before it
            // The index can lie behind the shortened text's end: blanks fill the gap, as the
            // toolkit's insert does.
            if (at > text.size()) text.append(QString(at - text.size(), QLatin1Char(' ')));
        }
        text.insert(at, form);
        i = at + form.size();
    }
    return text;
}

template <class Decode> QString fromInBand(QString text, const QString& marker, Decode decode)
{
    // Each round removes the marker and puts back no more characters than the word held, so the
    // text shrinks and the loop ends.
    for (;;) {
        const qsizetype at = text.indexOf(marker, 0, Qt::CaseInsensitive);
        if (at < 0) break;
        text.remove(at, marker.size());
        if (at < text.size() && text.at(at) == QLatin1Char(' ')) text.remove(at, 1);
        qsizetype end = text.indexOf(QLatin1Char('>'), at);
        qsizetype wordLen = 0;
        if (end >= 0) {
            text.remove(end, 1);
            wordLen = end - at;
        } else {
            // No closing mark: the word runs to the last character but one.
            wordLen = std::max<qsizetype>(0, text.size() - 1 - at);
        }
        const QString word = text.mid(at, wordLen).trimmed();
        text.replace(at, wordLen, decode(word));
    }
    return text;
}
} // namespace

QString toXmlString(QString s)
{
    s.replace(QLatin1String("&"), QLatin1String("&amp;"));
    for (const Entity& e : kNamed)
        s.replace(QLatin1String(e.plain), QLatin1String(e.entity));
    for (const auto& e : kNumeric)
        s.replace(QChar(e.ch), QLatin1String(e.entity));
    return throughLatin1(s);
}

QString fromXmlString(QString s)
{
    for (const Entity& e : kNamed)
        s.replace(QLatin1String(e.entity), QLatin1String(e.plain));
    s.replace(QLatin1String("&amp;"), QLatin1String("&"));
    for (const auto& e : kNumeric)
        s.replace(QLatin1String(e.entity), QString(QChar(e.ch)));
    return throughLatin1(s);
}

QString fmToFMUTF8(QString text, bool keepOriginal)
{
    return toInBand(std::move(text), keepOriginal, QStringLiteral("<UTF8"),
                    [](const QString& w) { return QString::fromLatin1(w.toUtf8()); });
}

QString fmToFMUni16(QString text, bool keepOriginal)
{
    return toInBand(std::move(text), keepOriginal, QStringLiteral("<UNI16"), [](const QString& w) {
        QString r;
        r.reserve(w.size() * 2);
        for (QChar c : w) {
            r += QChar(c.unicode() >> 8);
            r += QChar(c.unicode() & 0xFF);
        }
        return r;
    });
}

QString fmFromFMUTF8(QString text)
{
    return fromInBand(std::move(text), QStringLiteral("<UTF8"),
                      [](const QString& w) { return QString::fromUtf8(w.toLatin1()); });
}

QString fmFromFMUni16(QString text)
{
    return fromInBand(std::move(text), QStringLiteral("<UNI16"), [](const QString& w) {
        QString r;
        r.reserve(w.size() / 2);
        for (qsizetype i = 0; i + 1 < w.size(); i += 2)
            r += QChar(char16_t(((w.at(i).unicode() << 8) | (w.at(i + 1).unicode() & 0xFF)) & 0xFFFF));
        return r;
    });
}
