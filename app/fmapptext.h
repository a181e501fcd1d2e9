#pragma once
// Text and time helpers that the application frame needs during start-up and in every log line.
// They follow the family's fixed text forms; kept in their own namespace so that they never
// collide with the foundation's helpers of the same purpose.

#include "foundation/fmtime.h"

#include <QString>
#include <cstdint>

namespace fmAppText {

// "&lt;", "&gt;", "&quot;", "&apos;", "&amp;" in that order, then the seven numeric forms; the
// result passes through Latin-1. Every command-line argument is read through this.
QString fromXml(QString s);

// Marks each word that holds a character of 256 or above as "<UTF8" + UTF-8 bytes + ">", so that
// the text survives the Latin-1 log buffer. A text that already holds "<UTF8" stands as it is.
QString toFMUTF8(QString text);

// "MM.DD hh:mm.ss" of a point in time, local clock.
QString timeAsString(int64_t t);
// "MM.DD. hh:mm.ss" (the sprintf form "%02d.%02d. %02d:%02d.%02d").
QByteArray timeAsFM8String(int64_t t);

// "%1:%2.%3": hours, minutes mod 60, seconds mod 60, two digits each.
QString sec2hms(int s);
// ".mmm" for ms <= 1000, else "s.mmm".
QString mill2s(int ms);

// Seconds by which the local wall clock runs ahead of the stored clock, measured now against
// fmTime_t::fmTime_Start_OffSet; with update the static is corrected first and measured again.
int32_t testIfOffsetIsRight(bool update);

} // namespace fmAppText
