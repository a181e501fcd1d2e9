#include "widgets/fmstyle.h"

#include "app/fm.h"

#include <QApplication>
#include <QFont>
#include <QStyleFactory>
#include <QWidget>

// Placeholder until the themes land: Fusion with the font sizes.
bool fmStyle::IsDarkUI = false;
bool fmStyle::IsEasterUI = false;
bool fmStyle::IsGirlyUI = false;
int fmStyle::defaultFontSize = 8;
int fmStyle::smallFontSize = 7;
QColor fmStyle::DefaultWindowColorDarker;
QColor fmStyle::DefaultWindowColorDarkerText;

fmStyle::fmStyle(bool dark, bool easter, bool girly) : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
{
    IsDarkUI = dark;
    IsEasterUI = easter;
    IsGirlyUI = girly;
}

QPalette fmStyle::standardPalette() const { return QProxyStyle::standardPalette(); }
QPalette fmStyle::standardPaletteLight() { return QPalette(); }
QPalette fmStyle::standardPaletteDark() { return QPalette(); }
QPalette fmStyle::standardPaletteGirly() { return QPalette(); }
QPalette fmStyle::standardPaletteEastern() { return QPalette(); }

int fmStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    return QProxyStyle::pixelMetric(metric, option, widget);
}

void fmStyle::setFontSizeDefault(int size) { defaultFontSize = size < 4 ? 4 : size; }
void fmStyle::setFontSizeSmall(int size) { smallFontSize = size < 4 ? 4 : size; }
int fmStyle::fontSizeDefault() { return defaultFontSize; }
int fmStyle::fontSizeSmall() { return smallFontSize; }
bool fmStyle::DarkUI() { return IsDarkUI || IsGirlyUI; }
QString fmStyle::RedTextColor() { return DarkUI() ? QStringLiteral("#FF7777") : QStringLiteral("#FF0000"); }
QString fmStyle::PinkTextColor() { return DarkUI() ? QStringLiteral("#CC77FF") : QStringLiteral("#CC00FF"); }
QColor fmStyle::DefaultWindowColorDark() { return DefaultWindowColorDarker; }
QColor fmStyle::DefaultWindowColorDarkText() { return DefaultWindowColorDarkerText; }

static void setSize(QWidget* widget, int size)
{
    if (!widget) return;
    QFont font = widget->font();
    font.setPointSize(size);
    font.setWeight(QFont::Normal);
    font.setItalic(false);
    font.setUnderline(false);
    font.setStrikeOut(false);
    widget->setFont(font);
}

void fmStyle::setFMFontDefault(QWidget* widget) { setSize(widget, defaultFontSize); }
void fmStyle::setFMFontSmaller(QWidget* widget) { setSize(widget, smallFontSize); }

QBrush fmBrushDark(const QBrush& brush, int) { return brush; }
QBrush fmBrushLight(const QBrush& brush, int) { return brush; }

void fmInstallStyle(const fmStyleChoices& choices)
{
    if (choices.FontDefaultSet) fmStyle::setFontSizeDefault(choices.FontSizeDefault);
    if (choices.FontSmallSet) fmStyle::setFontSizeSmall(choices.FontSizeSmall);
    QApplication::setStyle(new fmStyle(choices.Dark, choices.Easter, choices.Girly));
}
