#pragma once
// The one global application object FM: owns configuration, paths, logs, clients, users.

#include "app/fmsdk.h"

#include <QObject>

class __FM : public QObject, public __FMSDK
{
    Q_OBJECT
public:
    __FM(bool consoleApp, fm_AppType type, const QString& appName, bool noUILog);
    ~__FM() override;

    void WriteLog(int level, int flags, const QString& text, const QString& where) override;
};

// Defined once per program (the window program, the console program, each test).
extern __FM FM;
