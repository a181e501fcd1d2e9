#pragma once
// Text encodings of the system: the XML entity forms used on command lines, and the in-band
// encodings that let text beyond Latin-1 live in 8-bit fields and log lines.
//
// In-band form: a word (the text between the blanks around a character of 256 or above) is
// replaced by marker + encoded word + ">", with the markers "<UTF8" and "<UNI16". The encoded
// word holds only characters below 256, so it survives a Latin-1 field.

#include <QString>

// "&" "<" ">" "\"" "'" and the German umlauts and sharp s to their entity forms, in that order;
// the result passes through Latin-1.
QString toXmlString(QString s);
// The inverse: "&lt;" "&gt;" "&quot;" "&apos;" "&amp;" in that order (so "&amp;lt;" gives "&lt;"),
// then the seven numeric forms; the result passes through Latin-1.
QString fromXmlString(QString s);

// Each word that holds a character of 256 or above becomes "<UTF8" + its UTF-8 bytes (one Latin-1
// character each) + ">". With keepOriginal false the word is removed and the form inserted at the
// index of the character that triggered it; with true the form follows the word. A text that
// already holds "<UTF8" is returned unchanged.
QString fmToFMUTF8(QString text, bool keepOriginal = false);
// The same with "<UNI16"; each unit of the word becomes two characters, high byte then low byte.
QString fmToFMUni16(QString text, bool keepOriginal = false);
// Every "<UTF8 ... >" (marker found case-insensitively) back to the text it stands for.
QString fmFromFMUTF8(QString text);
// Every "<UNI16 ... >" back to the text it stands for; an odd last character is dropped.
QString fmFromFMUni16(QString text);
