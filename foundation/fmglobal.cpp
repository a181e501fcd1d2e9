#include "foundation/fmglobal.h"

const QString LineEnd = QStringLiteral("\n");
const QString PDs = QStringLiteral("/");
const QString fmStringFilterAll = QStringLiteral("-- all --");
const QString fmStringFilterNone = QStringLiteral("-- none --");
const QString fmrShortNameLetters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZ123456789_-");
const QString fmJ_NoOutputCheckname = QStringLiteral("no_check.file");
const QString fmJ_NoOutputExecOnce = QStringLiteral("execOnce.file");
const QString fmJ_NoOutputExecEachClient = QStringLiteral("execEachClient.file");
const QString fmJ_ExecuteSoftName = QStringLiteral("Execute");
const QString fmJ_PythonSoftName = QStringLiteral("Python");
const QString fmJ_CommandJobName = QStringLiteral("CommandJob");
const QString fmJ_CUSTOMUserInfoName = QStringLiteral("UserInfo");
const QString fmJ_CUSTOMEnvName = QStringLiteral("fmEnvFile");
const QString fmJ_CUSTOMEnvLineName = QStringLiteral("fmEnvLine");
const QString fmJ_ID_letters = QStringLiteral("ABCDEFGHJKLMNOPQRSTUVWXYZ1234567890-");
const QString fmJ_ID_letters_small = QStringLiteral("abcdefghjklnopqrstuvwxyz");
