#pragma once
// An application object of its own that keeps what is logged, so that messages can be checked.

#include "app/fm.h"

#include <QList>

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
    // A line of that level and text (and place, when given).
    bool has(int level, const QString& text, const QString& where = QString()) const
    {
        for (const Line& l : lines)
            if (l.level == level && l.text == text && (where.isEmpty() || l.where == where)) return true;
        return false;
    }
};
