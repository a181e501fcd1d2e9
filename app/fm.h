#pragma once
// The one global application object FM: owns configuration, paths, logs, clients, users.

#include "app/fmsdk.h"

#include <QObject>

namespace fmC {
struct _Client;
class _ClientList;
class _ClientGroupList;
} // namespace fmC
class _fmgUserSettingsList;

class __FM : public QObject, public __FMSDK
{
    Q_OBJECT
public:
    __FM(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog);
    ~__FM() override;

    void WriteLog(int level, int flags, const QString& text, const QString& where) override;

    // globalconfig.ini and the writers of the configuration table (defined with the table).
    bool LoadFileCfg();
    bool SaveFileCfg();
    bool cfgSetB(const fmString8_evenSize<100>& name, bool value);
    bool cfgSetI(const fmString8_evenSize<100>& name, short value);
    bool cfgSetS(const fmString8_evenSize<100>& name, const fmString<200>& value);
    bool cfgSetF(const fmString8_evenSize<100>& name, float value);

    // Client tables and their files (defined with the client code).
    fmC::_ClientList* ClientList = nullptr;        // owned
    fmC::_ClientGroupList* ClientGroups = nullptr; // owned
    _fmgUserSettingsList* UserSettings = nullptr;  // owned
    void createFarmTables();
    void deleteFarmTables();
    bool LoadFileClientsAll(bool force, QString reason);
    bool LoadFileClient(fmC::_Client& client, bool onlyListNo);
    bool SaveFileClient(fmC::_Client& client);
    bool SaveFileClientsAll(QString reason);
    bool LoadFileClientGroups();
    bool SaveFileClientGroups();

    // User table (defined with the user code).
    bool LoadFileUserSettings();
    bool SaveFileUserSettings();
    QString getUserName(const int& id, bool byUniqueID);
};

// Defined once per program (the window program, the console program, each test).
extern __FM FM;
