#pragma once
// The texts of the job info page, computed from the selection without any widget: every value is
// the first selected job's; a value that another selected job does not share is wrapped in red.

#include <QString>

namespace fmJ {
struct _jobsHistoryDB_Runtime;
}

// Every value label of the page. `Empty` is set when nothing is selected: then every text is empty
// and the image is left as it is.
struct fmJobInfoTexts
{
    bool Empty = true;

    QString SceneOS;
    QString ID; // IDs of all selected jobs joined by ", "; never red
    QString Camera, Layer;
    QString Date, Time, DateFinished, TimeFinished;
    QString CustomScene, CustomShot, CustomVersion;
    QString SoftName, SoftRenderer, SoftRenderType, SoftVersion, SoftVersionMinor;
    QString FrameRangeStart, FrameRangeEnd, FrameRangeStep;
    QString AvClients, AvFrameTime;
    QString Send, Aborted, Crashed;

    // The output file split where the jobs begin to differ. Output1a is to be left as the label
    // shows it when KeepOutput1a is set (the split fell on index 0); Output1b is drawn red by its
    // label's palette, so it is plain text here.
    bool KeepOutput1a = false;
    QString Output1a, Output1b;
};

// What the image label of the page shows.
struct fmJobInfoImage
{
    enum Kind {
        KeepImage,  // nothing selected: the last image stays
        ShowText,   // Text replaces the image
        ShowPixmap, // show the picture in Bytes, read from Path
    };
    Kind What = KeepImage;
    QString Text;
    QString Path;
    QByteArray Bytes; // the file's content, read without blocking and within the cap of an image
};

// The red wrapping of a value that the selected jobs do not share.
QString fmJobInfoRed(const QString& text);

// Texts of the page for `count` selected jobs (the first is the one shown). Null entries and a
// negative count are taken as no selection.
fmJobInfoTexts fmJobInfoPageTexts(const fmJ::_jobsHistoryDB_Runtime* const* jobs, int count);

// Where in the output text of jobs[0] (directory, file name, "#", extension) the jobs begin to
// differ. -1 when jobs[0] has no directory (both labels empty).
int fmJobInfoOutputSplit(const fmJ::_jobsHistoryDB_Runtime* const* jobs, int count);

// The image of one selected job: "<historyFolder><project>/<ID2strFull>.jpg" if that file exists,
// else "N/A"; "(multiple jobs selected)" for more than one job. historyFolder ends in "/".
fmJobInfoImage fmJobInfoImageFor(const fmJ::_jobsHistoryDB_Runtime* const* jobs, int count,
                                 const QString& historyFolder, const QString& project);
