#pragma once
// Internals of fmJ::_JobList shared by its source files and its tests. Not for other callers.

#include "jobs/fmjoblist.h"

#include <QReadWriteLock>
#include <QStringView>

namespace fmJ {

// Holds the view rebuild while open: GetNewJob and DeleteJob only mark the view as stale, and the
// last batch to close runs one sort and filter. sort() reads nothing but Queue and the settings,
// so one rebuild at the end gives the view that a rebuild after every change would have left.
class ViewUpdateBatch
{
public:
    explicit ViewUpdateBatch(_JobList& list);
    ~ViewUpdateBatch();
    // Runs a pending rebuild now, keeping the batch open.
    void flush();
    ViewUpdateBatch(const ViewUpdateBatch&) = delete;
    ViewUpdateBatch& operator=(const ViewUpdateBatch&) = delete;

private:
    _JobList& List;
};

// Case-insensitive "contains" with the result of QStringView::contains(..., Qt::CaseInsensitive),
// with a fast path when needle and text are plain ASCII.
class fmFoldedNeedle
{
public:
    explicit fmFoldedNeedle(const QString& needle);
    bool foundIn(const char16_t* text, int len) const;
    template <int N> bool foundIn(const fmString<N>& s) const
    {
        return foundIn(reinterpret_cast<const char16_t*>(s.Data), s.len());
    }
    bool foundIn(const QString& s) const
    {
        return foundIn(reinterpret_cast<const char16_t*>(s.utf16()), int(s.size()));
    }
    bool isEmpty() const { return Needle.isEmpty(); }

private:
    QString Needle;
    QByteArray Lower; // ASCII needle folded to lower case; empty when not ASCII
    bool Ascii = false;
};

} // namespace fmJ
