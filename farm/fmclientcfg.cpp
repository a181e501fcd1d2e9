// One client's section of clients.ini: reading and writing it through QSettings.
#include "farm/fmclient.h"
#include "farm/fmclientlog.h"

#include <QRegularExpression>
#include <QSettings>
#include <QStringList>
#include <cmath>

using namespace fmC;

static QString readText(QSettings& file, const QString& key)
{
    return fmcIniText(file, key);
}

QString fmC::fmcIniText(QSettings& file, const QString& key)
{
    const QVariant v = file.value(key);
    if (v.typeId() == QMetaType::QStringList) return v.toStringList().join(QLatin1Char(','));
    return v.toString();
}

template <class T> static T clampTo(long long v, long long lo, long long hi)
{
    return T(v < lo ? lo : (v > hi ? hi : v));
}

static QString hourTableToString(const uint32_t* rows)
{
    QString s;
    for (int d = 0; d < HourTableDays; ++d)
        s += QStringLiteral("%1").arg(rows[d] & 0xFFFFFFu, 6, 16, QLatin1Char('0')).toUpper();
    return s;
}

// Seven rows of six hexadecimal digits; a row that does not parse keeps what it had.
static void hourTableFromString(const QString& s, uint32_t* rows)
{
    for (int d = 0; d < HourTableDays; ++d) {
        if (s.size() < (d + 1) * 6) break;
        bool ok = false;
        const uint v = s.mid(d * 6, 6).toUInt(&ok, 16);
        if (ok) rows[d] = v & 0xFFFFFFu;
    }
}

// The older form: one name a key, prefix + "01" to prefix + "20".
static void readOldList(QSettings& file, const QString& prefix, _cfgStrList<StrListMax>& list)
{
    QStringList names;
    for (int i = 1; i <= StrListMax; ++i) {
        const QString n =
            readText(file, prefix + QStringLiteral("%1").arg(i, 2, 10, QLatin1Char('0'))).trimmed();
        if (!n.isEmpty() && !n.contains(QLatin1Char(';'))) names << n;
    }
    list.fromString(names.join(QLatin1Char(';')) + QLatin1Char(';'));
}

// "Hardware": memory;cores;os;64bit;MHz;osVersion;speed*1000. A part that does not parse keeps its
// value; each is clamped to its field.
static void readHardware(QSettings& file, _Client& c)
{
    const QStringList h = readText(file, QStringLiteral("Hardware")).split(QLatin1Char(';'));
    auto part = [&h](int i, long long def) {
        bool good = false;
        const long long x = i < h.size() ? h.at(i).trimmed().toLongLong(&good) : 0;
        return good ? x : def;
    };
    if (h.size() >= 2 || !h.value(0).isEmpty()) {
        c.Hardware.Memory = clampTo<int32_t>(part(0, c.Hardware.Memory), 99, 0x7FFFFFFF);
        c.Hardware.Cores = clampTo<uint8_t>(part(1, c.Hardware.Cores), 1, 255);
        c.Hardware.OS = clampTo<signed char>(part(2, c.Hardware.OS), -128, 127);
        c.Hardware.Is64Bit = part(3, c.Hardware.Is64Bit ? 1 : 0) != 0;
        c.Hardware.MHz = clampTo<uint16_t>(part(4, c.Hardware.MHz), 1, 65535);
        c.Hardware.OSVersion = clampTo<uint8_t>(part(5, c.Hardware.OSVersion), 0, 255);
        // Stored times 1000; kept within what a float holds exactly enough to write back.
        const long long speed = part(6, std::llround(double(c.Hardware.Speed) * 1000.0));
        c.Hardware.Speed = float(double(clampTo<long long>(speed, 0, 2000000000LL)) / 1000.0);
    }
}

// Wake-on-LAN, the hour tables, reservations, accepted jobs per thread and the abort processes.
static void readSchedules(QSettings& file, _Client& c)
{
    const QStringList w = readText(file, QStringLiteral("WOL")).split(QLatin1Char(';'));
    static const QRegularExpression notHex(QStringLiteral("[^0-9a-fA-F]"));
    c.WOLMac.set(w.value(0).remove(notHex));
    c.WOLIP.set(w.value(1).trimmed());
    const QString flags = w.value(2);
    for (int i = 0; i < WOLFlagCount; ++i)
        c.WOLFlags[i] = i < flags.size() && flags.at(i) == QLatin1Char('1');

    _Client::defaultHourTable(c.WOLSchedule);
    _Client::defaultHourTable(c.WorkingHours);
    if (file.contains(QStringLiteral("WOLSchedule")))
        hourTableFromString(readText(file, QStringLiteral("WOLSchedule")), c.WOLSchedule);
    if (file.contains(QStringLiteral("WorkingHours")))
        hourTableFromString(readText(file, QStringLiteral("WorkingHours")), c.WorkingHours);

    if (file.contains(QStringLiteral("Reserved")))
        c.Reserved.fromString(readText(file, QStringLiteral("Reserved")));
    else
        readOldList(file, QStringLiteral("Reserved"), c.Reserved);
    if (file.contains(QStringLiteral("AcceptWH")))
        c.AcceptWH.fromString(readText(file, QStringLiteral("AcceptWH")));
    else
        readOldList(file, QStringLiteral("AcceptWH"), c.AcceptWH);

    static const char* const threadKeys[MaxClientThreads] = {"acceptThreadJobsA", "acceptThreadJobsB",
                                                             "acceptThreadJobsC"};
    for (int t = 0; t < MaxClientThreads; ++t) {
        const QString key = QLatin1String(threadKeys[t]);
        if (file.contains(key))
            c.AcceptThreadJobs[t].fromString(readText(file, key));
        else
            c.AcceptThreadJobs[t] = _Client::defaultThreadJobs(t);
    }

    for (int i = 0; i < AbortProcessMax; ++i)
        c.AbortProcess[i].set(
            readText(file, QStringLiteral("AbortProcess%1").arg(i + 1, 2, 10, QLatin1Char('0'))).trimmed());
}

bool _Client::ReadClientCfg(QSettings& file, bool onlyListNo)
{
    file.beginGroup(Status.Name.toQString());
    bool ok = false;
    ListNo = readText(file, QStringLiteral("listNo")).toInt(&ok);
    if (!ok) ListNo = 0;
    if (onlyListNo) {
        file.endGroup();
        return true;
    }

    const QString b = readText(file, QStringLiteral("cfgB"));
    const int nb = b.size() < CfgBoolMax ? int(b.size()) : CfgBoolMax;
    for (int i = 0; i < nb; ++i)
        CfgBool[i] = b.at(i) == QLatin1Char('1') ? 1 : 0;
    if (nb > CfgBoolCount) CfgBoolCount = int16_t(nb);

    QStringList v = readText(file, QStringLiteral("cfgV")).split(QLatin1Char(';'));
    if (!v.isEmpty() && v.last().trimmed().isEmpty()) v.removeLast();
    const int nv = v.size() < CfgValueMax ? int(v.size()) : CfgValueMax;
    for (int i = 0; i < nv; ++i) {
        const long long x = v.at(i).trimmed().toLongLong(&ok);
        if (!ok) {
            // A broken list ends the section for this client; what was read stays.
            if (i > CfgValueCount) CfgValueCount = int16_t(i);
            CheckInvalidValues();
            file.endGroup();
            return false;
        }
        CfgValue[i] = clampTo<int16_t>(x, -32768, 32767);
    }
    if (nv > CfgValueCount) CfgValueCount = int16_t(nv);

    readHardware(file, *this);
    readSchedules(file, *this);

    CustomInfo.set(readText(file, QStringLiteral("customClientInfo")));
    CheckInvalidValues();
    file.endGroup();
    return true;
}

void _Client::WriteClientCfg(QSettings& file, const bool& saveListNo, const bool& dropSchedules) const
{
    file.beginGroup(Status.Name.toQString());
    if (saveListNo) file.setValue(QStringLiteral("listNo"), QString::number(ListNo));

    QString b;
    const int nb = CfgBoolCount < 0 ? 0 : (CfgBoolCount > CfgBoolMax ? CfgBoolMax : CfgBoolCount);
    for (int i = 0; i < nb; ++i)
        b += CfgBool[i] ? QLatin1Char('1') : QLatin1Char('0');
    file.setValue(QStringLiteral("cfgB"), b);

    QString v;
    const int nv = CfgValueCount < 0 ? 0 : (CfgValueCount > CfgValueMax ? CfgValueMax : CfgValueCount);
    for (int i = 0; i < nv; ++i)
        v += QString::number(CfgValue[i]) + QLatin1Char(';');
    file.setValue(QStringLiteral("cfgV"), v);

    const long long speed = std::llround(double(Hardware.Speed) * 1000.0);
    file.setValue(QStringLiteral("Hardware"), QStringLiteral("%1;%2;%3;%4;%5;%6;%7;")
                                                  .arg(Hardware.Memory)
                                                  .arg(int(Hardware.Cores))
                                                  .arg(int(Hardware.OS))
                                                  .arg(Hardware.Is64Bit ? 1 : 0)
                                                  .arg(int(Hardware.MHz))
                                                  .arg(int(Hardware.OSVersion))
                                                  .arg(speed));

    static const QRegularExpression notHex(QStringLiteral("[^0-9a-fA-F]"));
    QString wol = WOLMac.toQString().remove(notHex) + QLatin1Char(';') + WOLIP.toQString() + QLatin1Char(';');
    for (int i = 0; i < WOLFlagCount; ++i)
        wol += WOLFlags[i] ? QLatin1Char('1') : QLatin1Char('0');
    file.setValue(QStringLiteral("WOL"), wol);

    if (dropSchedules) {
        file.remove(QStringLiteral("WOLSchedule"));
        file.remove(QStringLiteral("WorkingHours"));
    } else {
        file.setValue(QStringLiteral("WOLSchedule"), hourTableToString(WOLSchedule));
        file.setValue(QStringLiteral("WorkingHours"), hourTableToString(WorkingHours));
    }

    file.setValue(QStringLiteral("Reserved"), Reserved.asString());
    file.setValue(QStringLiteral("AcceptWH"), AcceptWH.asString());

    static const char* const threadKeys[MaxClientThreads] = {"acceptThreadJobsA", "acceptThreadJobsB",
                                                             "acceptThreadJobsC"};
    for (int t = 0; t < MaxClientThreads; ++t) {
        const QString key = QLatin1String(threadKeys[t]);
        if (AcceptThreadJobs[t].isEqual(defaultThreadJobs(t)))
            file.remove(key);
        else
            file.setValue(key, AcceptThreadJobs[t].asString());
    }

    for (int i = 0; i < AbortProcessMax; ++i) {
        const QString key = QStringLiteral("AbortProcess%1").arg(i + 1, 2, 10, QLatin1Char('0'));
        if (AbortProcess[i].isEmpty())
            file.remove(key);
        else
            file.setValue(key, AbortProcess[i].toQString());
    }

    file.setValue(QStringLiteral("customClientInfo"), CustomInfo.toQString());
    file.endGroup();
}

// ---- the file around them
