#include "fmrecordbytes.h"
#include "jobs/fmjob.h"

#include <QTest>
#include <cmath>
#include <limits>
#include <memory>

using namespace Qt::StringLiterals;

using namespace fmJ;
using namespace jobtest;

class tst_jobrecords : public QObject
{
    Q_OBJECT
private slots:
    // A clear of the basics layer must keep the 20 bytes of header and outer identifier.
    void clearBasicsKeepsHeader()
    {
        auto job = std::make_unique<_JobBasics>();
        fillPattern(job.get(), sizeof(_JobBasics), 1);
        uint8_t head[20];
        std::memcpy(head, job.get(), 20);
        job->fmClearBasics();
        QCOMPARE(std::memcmp(head, job.get(), 20), 0);
        QCOMPARE(readAt<uint64_t>(job.get(), 19004), uint64_t(0));
    }

    // NumberPreview and SeqStep repairs at the limits.
    void clearSaveRepairs_data()
    {
        QTest::addColumn<int>("preview");
        QTest::addColumn<double>("step");
        QTest::addColumn<int>("previewAfter");
        QTest::addColumn<double>("stepAfter");
        QTest::newRow("1 becomes 5") << 1 << 1.0 << 5 << 1.0;
        QTest::newRow("20 stays") << 20 << 1.0 << 20 << 1.0;
        QTest::newRow("21 becomes 20") << 21 << 1.0 << 20 << 1.0;
        QTest::newRow("negative") << -100 << 0.0 << 5 << 1.0;
        QTest::newRow("127, negative step") << 127 << -3.0 << 20 << 1.0;
    }
    void clearSaveRepairs()
    {
        QFETCH(int, preview);
        QFETCH(double, step);
        QFETCH(int, previewAfter);
        QFETCH(double, stepAfter);
        auto job = std::make_unique<_JobSave>();
        job->NumberPreview = int8_t(preview);
        job->SeqStep = step;
        job->LogCount = 300;
        job->Status = 200;
        job->fmClearSave();
        QCOMPARE(int(job->NumberPreview), previewAfter);
        QCOMPARE(double(job->SeqStep), stepAfter);
        QCOMPARE(int(job->LogCount), 0);
        QCOMPARE(int(job->Status), 0);
    }

    // Passes multiply the frames; a wrong truncation changes every progress figure.
    void framesTotal_data()
    {
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("end");
        QTest::addColumn<double>("step");
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("perPass");
        QTest::addColumn<int>("total");
        QTest::newRow("10 frames, 3 passes") << 1.0 << 10.0 << 1.0 << 3 << 10 << 30;
        QTest::newRow("1 channel is one pass") << 1.0 << 10.0 << 1.0 << 1 << 10 << 10;
        QTest::newRow("step 2 truncates") << 1.0 << 10.0 << 2.0 << 0 << 5 << 5;
        QTest::newRow("negative channel count") << 1.0 << 10.0 << 1.0 << -4 << 10 << 10;
        QTest::newRow("huge saturates") << 0.0 << 1e300 << 1.0 << 100 << std::numeric_limits<int>::max()
                                        << std::numeric_limits<int>::max();
    }
    void framesTotal()
    {
        QFETCH(double, start);
        QFETCH(double, end);
        QFETCH(double, step);
        QFETCH(int, channels);
        QFETCH(int, perPass);
        QFETCH(int, total);
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = start;
        job->SeqEnd = end;
        job->SeqStep = step;
        job->ImageChannelCount = int8_t(channels);
        job->FramesDone = 4;
        job->fmClearSend(false);
        QCOMPARE(int(job->FramesPerPass), perPass);
        QCOMPARE(int(job->FramesTotal), total);
        if (total < std::numeric_limits<int>::max()) QCOMPARE(int(job->FramesLeft), total - 4);
    }

    // Each of the four reasons for a disabled job, and the statuses in between that are active.
    void isDisabled_data()
    {
        QTest::addColumn<int>("disabled");
        QTest::addColumn<qint64>("waitFor");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("result");
        const qint64 now = 1700000000;
        QTest::newRow("render") << 0 << now - 1 << 120 << false;
        QTest::newRow("flag") << 1 << now - 1 << 120 << true;
        QTest::newRow("wait until later") << 0 << now + 1 << 120 << true;
        QTest::newRow("wait until now") << 0 << now << 120 << false;
        QTest::newRow("status 160") << 0 << now - 1 << 160 << true;
        QTest::newRow("status 40") << 0 << now - 1 << 40 << true;
        QTest::newRow("status 41") << 0 << now - 1 << 41 << false;
        QTest::newRow("finished") << 0 << now - 1 << 200 << false;
    }
    void isDisabled()
    {
        QFETCH(int, disabled);
        QFETCH(qint64, waitFor);
        QFETCH(int, status);
        QFETCH(bool, result);
        auto job = std::make_unique<_JobSave>();
        job->Disabled = uint8_t(disabled);
        job->WaitForTime.t = waitFor;
        job->Status = uint8_t(status);
        fmTime_t now;
        now.t = 1700000000;
        QCOMPARE(job->IsDisabled(now), result);
    }

    void markedAsError_data()
    {
        QTest::addColumn<int>("hard");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("result");
        QTest::newRow("5 soft") << 0 << 5 << false;
        QTest::newRow("6 soft") << 0 << 6 << true;
        QTest::newRow("1 hard") << 1 << 0 << true;
        QTest::newRow("negative hard") << -1 << 0 << false;
    }
    // The limits of the error mark (more than 5 soft errors, any hard one).
    void markedAsError()
    {
        QFETCH(int, hard);
        QFETCH(int, count);
        QFETCH(bool, result);
        auto job = std::make_unique<_JobSave>();
        job->ErrorCountHard = int8_t(hard);
        job->ErrorCount = int8_t(count);
        QCOMPARE(job->IsJobMarkedAsError(), result);
    }

    // A newer layer version passes, any other identifier or an older version does not.
    void structVersion_data()
    {
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("value");
        QTest::addColumn<bool>("result");
        QTest::newRow("as built") << 0 << 0x0403 << true;
        QTest::newRow("newer basics") << 2 << 4 << true;
        QTest::newRow("newer send") << 14 << 9 << true;
        QTest::newRow("older submitter") << 6 << 6 << false;
        QTest::newRow("older save") << 10 << 5 << false;
        QTest::newRow("other basics id") << 0 << 0x0404 << false;
        QTest::newRow("other send id") << 12 << 0x0706 << false;
        QTest::newRow("history id in save place") << 8 << 0x0A04 << false;
    }
    void structVersion()
    {
        QFETCH(int, offset);
        QFETCH(int, value);
        QFETCH(bool, result);
        auto job = std::make_unique<_JobSend>();
        writeAt<uint16_t>(job.get(), size_t(offset), uint16_t(value));
        QCOMPARE(job->isRightStructVersion(), result);
    }

    // A minimal record must set its fields, only those, and, when asked, the placeholder texts.
    void fromMinInfo()
    {
        _JobMinInfo info;
        info.JobID = 0x0123456789ull;
        info.UserName = "anna";
        info.CompanyProjectName = "Big Film";
        info.CustomSeQName = "Maya";
        info.JobFlags = 0x1234;
        info.Bits = 2 | 4 | 16;
        auto job = std::make_unique<_JobSend>();
        job->Camera = "cam";
        job->Priority = 99;
        job->fromMinInfo(&info, true, true);
        QCOMPARE((unsigned long long)job->JobID, 0x0123456789ull);
        QCOMPARE(job->Software.toQString(), u"Maya"_s);
        QCOMPARE(int(job->JobFlags), 0x34);
        QCOMPARE(int(job->ServerOnly), 1);
        QCOMPARE(int(job->Disabled), 1);
        QCOMPARE(int(job->Status), 200);
        QCOMPARE(int(job->Priority), 50); // cleared first
        QCOMPARE(job->SceneName.toQString(), u"?waiting for update. Or user right to view is missing."_s);
        QCOMPARE(job->Camera.toQString(), u"?update?"_s);
        QCOMPARE(double(job->SeqStart), -1.0);

        // Without clearing and marking: other fields stay, no flags from a zero byte.
        auto kept = std::make_unique<_JobSend>();
        kept->Camera = "cam";
        kept->CustomSeQName = "seq";
        kept->Priority = 99;
        info.Bits = 0;
        kept->fromMinInfo(&info, false, false);
        QCOMPARE(kept->Camera.toQString(), u"cam"_s);
        QCOMPARE(kept->CustomSeQName.toQString(), u"seq"_s); // not a field of the list
        QCOMPARE(int(kept->Priority), 99);
        QCOMPARE(int(kept->Status), 0);
        QCOMPARE(int(kept->ServerOnly), 0);
        kept->fromMinInfo(nullptr, true, true); // no crash, nothing changes
        QCOMPARE(int(kept->Priority), 99);
    }

    // Frame number to index: before the sequence, past its end, rounding, passes and file offset.
    void fn2F_data()
    {
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("end");
        QTest::addColumn<double>("step");
        QTest::addColumn<double>("fileOffset");
        QTest::addColumn<int>("channels");
        QTest::addColumn<double>("frame");
        QTest::addColumn<int>("pass");
        QTest::addColumn<qlonglong>("index");
        QTest::newRow("before") << 1.0 << 10.0 << 1.0 << 0.0 << 0 << 0.5 << 0 << -1LL;
        QTest::newRow("past the end") << 1.0 << 10.0 << 1.0 << 0.0 << 0 << 500.0 << 0 << 9LL;
        QTest::newRow("half away from zero") << 1.0 << 10.0 << 1.0 << 0.0 << 0 << 5.5 << 0 << 5LL;
        QTest::newRow("step 2") << 1.0 << 9.0 << 2.0 << 0.0 << 0 << 4.0 << 0 << 2LL;
        QTest::newRow("file offset") << 1.0 << 10.0 << 1.0 << 100.0 << 0 << 101.0 << 0 << 0LL;
        QTest::newRow("file offset, before") << 1.0 << 10.0 << 1.0 << 100.0 << 0 << 5.0 << 0 << -1LL;
        QTest::newRow("second pass") << 1.0 << 10.0 << 1.0 << 0.0 << 3 << 2.0 << 1 << 11LL;
        QTest::newRow("pass ignored without channels") << 1.0 << 10.0 << 1.0 << 0.0 << 0 << 2.0 << 1 << 1LL;
        QTest::newRow("NaN frame") << 1.0 << 10.0 << 1.0 << 0.0 << 0 << std::nan("") << 0 << -1LL;
        QTest::newRow("infinite frame") << 1.0 << 10.0 << 1.0 << 0.0 << 0 << HUGE_VAL << 0 << 9LL;
    }
    void fn2F()
    {
        QFETCH(double, start);
        QFETCH(double, end);
        QFETCH(double, step);
        QFETCH(double, fileOffset);
        QFETCH(int, channels);
        QFETCH(double, frame);
        QFETCH(int, pass);
        QFETCH(qlonglong, index);
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = start;
        job->SeqEnd = end;
        job->SeqStep = step;
        job->SeqFileOffset = fileOffset;
        job->ImageChannelCount = int8_t(channels);
        job->fmClearSend(false);
        QCOMPARE(job->fn2F(frame, static_cast<signed char>(pass)), index);
    }

    // Index to frame number: pass split, step and offsets; and the round trip with fn2F.
    void f2fn()
    {
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = 1.0;
        job->SeqEnd = 19.0;
        job->SeqStep = 2.0;
        job->SeqFileOffset = 1000.0;
        job->ImageChannelCount = 3;
        job->fmClearSend(false);
        QCOMPARE(int(job->FramesPerPass), 10);
        signed char pass = -1;
        QCOMPARE(job->F2fn(13, &pass), 3 * 2.0 + 1.0 + 1000.0);
        QCOMPARE(int(pass), 1);
        QCOMPARE(job->F2fnNoOffset(13, nullptr), 7.0);
        for (long long i = 0; i < job->FramesTotal; ++i) {
            signed char p = 0;
            const double fn = job->F2fn(i, &p);
            QCOMPARE(job->fn2F(fn, p), i);
        }
    }

    // NaN, zero and infinite sequence values from a damaged record: no UB, no crash, bounded results.
    void damagedSequenceIsSafe()
    {
        auto job = std::make_unique<_JobSend>();
        job->SeqStart = std::nan("");
        job->SeqStep = 0.0;
        job->fmClearSend(false);
        QCOMPARE(int(job->FramesTotal), 0);
        QCOMPARE(job->fn2F(5.0, 0), -1LL);
        job->FramesPerPass = 0;
        signed char pass = 7;
        job->F2fn(12, &pass);
        QCOMPARE(int(pass), 0);
        job->FramesPerPass = -5;
        job->F2fn(12, &pass);
        QCOMPARE(int(pass), 0);
    }

    // Growth keeps earlier records, new ones are cleared, at() stops at the end.
    void basicsArray()
    {
        _JobBasicsArray a;
        QVERIFY(a.isVersionSupported(3));
        QVERIFY(!a.isVersionSupported(4));
        QCOMPARE(a.at(0), nullptr);
        _JobBasics* j = nullptr;
        QVERIFY(a.getNewJob(j));
        QVERIFY(j);
        j->JobID = 4242;
        for (int i = 0; i < 40; ++i)
            QVERIFY(a.getNewJob(j));
        QCOMPARE(int(a.Count), 41);
        QCOMPARE((unsigned long long)a.at(0)->JobID, 4242ull);
        QCOMPARE(int(a.at(40)->ImageFramePadding), 4);
        QCOMPARE(int(a.at(40)->BasicsStructID), 0x0403);
        QCOMPARE(a.at(41), nullptr);
        QCOMPARE(a.at(-1), nullptr);
        QVERIFY(a.SetArraySize(10)); // never shrinks
        QCOMPARE(int(a.Count), 41);
        QVERIFY(!a.SetArraySize(std::numeric_limits<int>::max()));
        QCOMPARE(int(a.Count), 41);
        a.StructSize = 24000;
        QVERIFY(!a.isVersionSupported(3));
        a.clear();
        QCOMPARE(a.at(0), nullptr);
    }

    // List text with line ends after every tenth, and a damaged Count.
    void commandSend()
    {
        auto c = std::make_unique<_JobCommandSend>();
        c->Count = 11;
        for (int i = 0; i < 11; ++i)
            writeAt<unsigned long long>(c.get(), 4 + 8 * size_t(i), 10000ull << 24);
        const QString s = c->idsAsString();
        QCOMPARE(s.count(u"{AAB}, "_s), 11);
        QCOMPARE(s.count(QLatin1Char('\n')), 1);
        QVERIFY(s.indexOf(QLatin1Char('\n')) == 10 * 7);
        c->Count = 32767;
        QCOMPARE(c->idsAsString().count(u", "_s), 7500);
        c->Count = -5;
        QVERIFY(c->idsAsString().isEmpty());

        auto settings = std::make_unique<_JobSettingsSend>();
        QCOMPARE(readAt<uint16_t>(settings.get(), 0), uint16_t(0x0403));
        QCOMPARE(readAt<uint16_t>(settings.get(), 2), uint16_t(3));
        settings->Count = 2;
        QCOMPARE(settings->idsAsString(), u"{AAA}, {AAA}, "_s);
    }

    // Only masked fields change; mirrors, custom values and the option list follow their rules.
    void settingsSend()
    {
        auto job = std::make_unique<_JobSend>();
        auto values = std::make_unique<_SettingsOnly>();
        auto mask = std::make_unique<_SettingsOnly>();
        job->Priority = 10;
        job->SeqEnd = 50.0;
        job->customSet_Str(u"fmEnvLine"_s, u"A=1"_s);
        _JobCustomOption existing{};
        existing.Name = "Quality";
        existing.Value = 1;
        job->CustomOptions[0] = existing;
        job->CustomOptionCount = 1;

        values->Priority = 80;
        mask->Priority = 1;
        values->SeqEnd = 99.0; // not masked
        values->SeqDivMIN = 3;
        mask->SeqDivMIN = 1;
        values->UserName = "bob";
        mask->UserName = "x";
        values->Color_ID = 12;
        mask->Color_ID = 1;
        values->SubmitterText150 = QString(150, QLatin1Char('t'));
        mask->SubmitterText150 = "x";
        values->OptionFlags[5] = 9;
        mask->OptionFlags[5] = 1;
        values->OptionFlags[6] = 9; // not masked
        values->customSet_All({u"UserInfo"_s, u"Other"_s}, {u"hello"_s, u"ignored"_s});
        mask->customSet_Str(u"userinfo"_s, u"1"_s);
        _JobCustomOption changed{};
        changed.Name = "QUALITY";
        changed.Value = 2;
        values->CustomOptions[0] = changed;
        mask->CustomOptions[0].Flags[0] = 1;
        _JobCustomOption added{};
        added.Name = "Denoise";
        added.Value = 3;
        values->CustomOptions[1] = added;
        mask->CustomOptions[1].Flags[0] = 1;

        job->SetSettingsOnly_Send(*values, *mask, nullptr);
        QCOMPARE(int(job->Priority), 80);
        QCOMPARE(double(job->SeqEnd), 50.0);
        QCOMPARE(int(job->SeqDivMIN), 3);
        QCOMPARE(int(job->SeqDivMINCurrent), 3);
        QCOMPARE(int(job->SeqDivMAX), 25);
        QCOMPARE(job->UserName.toQString(), u"bob"_s);
        QVERIFY(job->Color_ID >= 1 && job->Color_ID <= 7); // a derived colour request was resolved
        QCOMPARE(job->SubmitterText150.len(), 150);
        QCOMPARE(int(job->OptionFlags[5]), 9);
        QCOMPARE(int(job->OptionFlags[6]), 0);
        QCOMPARE(job->custom_Str(u"UserInfo"_s), u"hello"_s);
        QVERIFY(job->custom_Str(u"Other"_s).isNull());
        QCOMPARE(int(job->CustomOptionCount), 2);
        QCOMPARE(int(job->CustomOptions[0].Value), 2);
        QCOMPARE(job->CustomOptions[1].Name.toQString(), u"Denoise"_s);
    }
};

QTEST_GUILESS_MAIN(tst_jobrecords)
#include "tst_jobrecords.moc"
