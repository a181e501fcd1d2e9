// Applying a block of settings that a user changed after submission (_SettingsOnly values and
// mask) to a job. Kept apart from the record code: it needs setRandomColor of the naming code.

#include "jobs/fmjob.h"

#include <cstring>

namespace fmJ {

namespace {

bool anyByte(const void* p, size_t n)
{
    const unsigned char* b = static_cast<const unsigned char*>(p);
    for (size_t i = 0; i < n; ++i)
        if (b[i]) return true;
    return false;
}

template <int N> bool maskSet(const fmString<N>& s)
{
    return s.Length != 0;
}

QByteArray optionKey(const _JobCustomOption& o)
{
    return o.Name.toQString().toUpper().toLatin1();
}

} // namespace

void _JobSend::SetSettingsOnly_Send(_SettingsOnly& values, _SettingsOnly& mask, fmRA::_RenderApp* app)
{
    (void)app; // the render application's own settings are not touched here

    if (mask.SeqStart != 0.0) SeqStart = values.SeqStart;
    if (mask.SeqEnd != 0.0) SeqEnd = values.SeqEnd;
    if (mask.SeqStep != 0.0) SeqStep = values.SeqStep;
    if (mask.SeqFileOffset != 0.0) SeqFileOffset = values.SeqFileOffset;
    if (mask.SubmitFlagA) SubmitFlagA = values.SubmitFlagA;
    if (mask.SubmitFlagB) SubmitFlagB = values.SubmitFlagB;
    if (mask.Priority) Priority = values.Priority;
    if (maskSet(mask.SubmitterText25b)) SubmitterText25b = values.SubmitterText25b;
    if (mask.SubmitFlagD) SubmitFlagD = values.SubmitFlagD;
    if (mask.SubmitFlagC) SubmitFlagC = values.SubmitFlagC;
    if (maskSet(mask.SubmitterText150)) SubmitterText150 = values.SubmitterText150.toQString().left(150);
    if (mask.WaitForTime.t != 0) WaitForTime.t = values.WaitForTime.t;
    if (mask.NumberPreview) NumberPreview = values.NumberPreview;

    // Custom values: each value whose mask entry holds a text.
    const int customs = values.custom_maxIDs();
    for (int id = 0; id < customs; ++id) {
        const QString name = values.custom_NameByID(id);
        if (name.isNull()) break;
        if (!mask.custom_Str(name).isEmpty()) customSet_Str(name, values.custom_StrByID(id));
    }

    if (maskSet(mask.UserName)) UserName = values.UserName;
    if (maskSet(mask.CustomSeQName)) CustomSeQName = values.CustomSeQName;
    if (maskSet(mask.CustomSHotName)) CustomSHotName = values.CustomSHotName;
    if (maskSet(mask.CustomVersionName)) CustomVersionName = values.CustomVersionName;
    if (maskSet(mask.CompanyProjectName)) CompanyProjectName = values.CompanyProjectName;
    if (maskSet(mask.CustomScratch)) CustomScratch = values.CustomScratch;
    if (mask.Color_ID) {
        Color_ID = values.Color_ID;
        setRandomColor();
    }
    if (mask.SeqDivMIN) {
        SeqDivMIN = values.SeqDivMIN;
        SeqDivMINCurrent = values.SeqDivMIN;
    }
    if (mask.SeqDivMAX) {
        SeqDivMAX = values.SeqDivMAX;
        SeqDivMAXCurrent = values.SeqDivMAX;
    }
    if (mask.MaxClientsAtATime) MaxClientsAtATime = values.MaxClientsAtATime;
    if (mask.SubmitterValue) SubmitterValue = values.SubmitterValue;
    if (mask.MaxFrameTime) MaxFrameTime = values.MaxFrameTime;
    if (mask.MaxCrashes) MaxCrashes = values.MaxCrashes;
    for (int i = 0; i < 23; ++i)
        if (mask.OptionFlags[i]) OptionFlags[i] = values.OptionFlags[i];

    // Option list: a set entry replaces the job's entry of the same name (upper case), or is
    // appended while the list has room.
    int count = CustomOptionCount > JobCustomOptions_Max ? JobCustomOptions_Max : CustomOptionCount;
    bool appended = false;
    for (int i = 0; i < JobCustomOptions_Max; ++i) {
        const _JobCustomOption m = mask.CustomOptions[i];
        if (!anyByte(&m, sizeof(m))) continue;
        const _JobCustomOption v = values.CustomOptions[i];
        const QByteArray key = optionKey(v);
        if (key.isEmpty()) continue;
        int found = -1;
        for (int j = 0; j < count; ++j) {
            const _JobCustomOption o = CustomOptions[j];
            if (optionKey(o) == key) {
                found = j;
                break;
            }
        }
        if (found >= 0) {
            CustomOptions[found] = v;
        } else if (count < JobCustomOptions_Max) {
            CustomOptions[count] = v;
            ++count;
            appended = true;
        }
    }
    if (appended) CustomOptionCount = uint8_t(count);
}

} // namespace fmJ
