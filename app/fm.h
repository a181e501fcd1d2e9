#pragma once
// The one global application object FM: owns configuration, paths, logs, clients, users.

#include "foundation/fmsdk.h"
#include "foundation/fmstylechoices.h"

#include <QObject>

class QMutex;
class QSplashScreen;
struct fmTimer;

namespace fmC {
struct _Client;
class _ClientList;
class _ClientGroupList;
} // namespace fmC
class _fmgUserSettingsList;
struct _FMCommands;

using fmInstallStyleFn = void (*)(const fmStyleChoices&);

// Shows a start-up text on the splash screen; installed by the window program.
using fmSplashMessageFn = void (*)(QSplashScreen* splash, const QString& text);

class __FM : public QObject, public __FMSDK
{
    Q_OBJECT
public:
    static constexpr uint32_t kStructMark = 3841;

    __FM(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog);
    ~__FM() override;

    uint32_t StructMark1 = kStructMark; // behind the guard
    uint32_t StructMark2 = kStructMark; // behind the base part

    void WriteLog(int level, int flags, const QString& text, const QString& where) override;

    bool SetupCfg(int& argc, char** argv, const bool& darkDefault, QSplashScreen* splash);
    QString AppVersion();
    QString AppTitle(bool);
    bool CheckAllfmPaths();
    bool setLocalPath(const char* path);
    bool CheckLocalPath(const char* path);
    bool installFMEnvironmentVariable(bool);
    void exitFM(bool);
    void TransferLogBufferToTextEdit();
    void WriteLogPluginError(int code, QString name);

    // The style the start-up chose; the window side installs it through InstallStyleHook.
    fmStyleChoices StyleChoices;
    static fmInstallStyleFn InstallStyleHook;
    static fmSplashMessageFn SplashMessageHook;
    // The program's global object (the first __FM built, during static initialisation); the
    // toolkit's message handler reports through it.
    static __FM* First;

    QObject* LogTextEdit = nullptr; // not owned; a text edit that shows the log buffer (none here)
    QMutex* Mutex = nullptr;        // owned

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
    QString getUserName(const int& id, bool byUniqueID) override;
    QString getClientName(const int& index) const override;
    const fmC::_ClientList* clientTable() const override { return ClientList; }

    // Carries out a remote command that `client` sent (defined with the remote commands).
    void executeFMCommand(const _FMCommands& command, const short& client);

signals:
    void signalLogUI(int level, int flags, const QString& text, const QString& where);

public slots:
    void SlotLogUI(int level, int flags, const QString& text, const QString& where);
    void SlotLogFile(int level, int flags, const QString& text, const QString& where);

private:
    // SetupCfg's stages, in order; each false ends the start-up.
    bool setupBasics(int& argc, char** argv, fmTimer& stage);
    bool setupGlobalConfig(fmTimer& stage);
    bool setupStyleAndLocalPath(int argc, char** argv, bool darkDefault);
    bool setupTables(fmTimer& stage);
    void splashText(const char* text) const;
    QSplashScreen* StartSplash = nullptr; // set only while SetupCfg runs
    void readStyleChoices(int argc, char** argv, bool darkDefault);
    void installStyle();
};

// Defined once per program (the window program, the console program, each test).
extern __FM FM;

// Carries out a command received from `client` (the body of __FM::executeFMCommand).
void fmExecuteFMCommand(__FM& fm, const _FMCommands& command, const short& client);

// The client table of the application object behind an __FMSDK reference (the widgets' selection
// model hands it over as its interface type); null when the object is not an __FM.
inline fmC::_ClientList* fmClientTable(__FMSDK& sdk)
{
    auto* fm = dynamic_cast<__FM*>(&sdk);
    return fm ? fm->ClientList : nullptr;
}
