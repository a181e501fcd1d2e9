#pragma once
// An application object of its own that keeps what is logged, so that messages can be checked.

#include "app/fm.h"

#include <QList>
#include <QStringList>

struct fmCatchFM : public __FM
{
    struct Line
    {
        int level;
        QString text, where;
    };
    QList<Line> lines;

    fmCatchFM() : __FM(true, fm_AppType_Test, QStringLiteral("fmTest"), false) {}
    void WriteLog(int level, int, const QString& text, const QString& where) override
    {
        lines.append({level, text, where});
    }
    // Lines of that level and text (and place, when given).
    int count(int level, const QString& text, const QString& where = QString()) const
    {
        int n = 0;
        for (const Line& l : lines)
            n += l.level == level && l.text == text && (where.isEmpty() || l.where == where);
        return n;
    }
    bool has(int level, const QString& text, const QString& where = QString()) const
    {
        return count(level, text, where) > 0;
    }
    QStringList texts() const
    {
        QStringList out;
        for (const Line& l : lines)
            out << l.text;
        return out;
    }
};
