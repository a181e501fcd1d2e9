#include "app/fmglobal.h"

const QString LineEnd = QStringLiteral("\n");
const QString PDs = QStringLiteral("/");
const QString fmStringFilterAll = QStringLiteral("-- all --");
const QString fmStringFilterNone = QStringLiteral("-- none --");
const QString fmrShortNameLetters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZ123456789_-");
