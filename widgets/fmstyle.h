#pragma once
// fmStyle: the one look of all tools, a proxy over Qt's Fusion style with four colour themes
// (light, dark, girly, eastern) and two font sizes.

#include <QBrush>
#include <QColor>
#include <QPalette>
#include <QProxyStyle>

struct fmStyleChoices;
class QWidget;

class fmStyle : public QProxyStyle
{
    Q_OBJECT
public:
    // Stores the theme flags and sets the application's palette to the theme's. Qt 6 has no global
    // strut any more (QApplication::setGlobalStrut is gone); the minimum sizes come from the metrics.
    fmStyle(bool dark, bool easter, bool girly);

    QPalette standardPalette() const override;
    static QPalette standardPaletteLight();
    static QPalette standardPaletteDark();
    static QPalette standardPaletteGirly();
    static QPalette standardPaletteEastern();

    int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                    const QWidget* widget = nullptr) const override;

    // Point sizes; a value below 4 counts as 4.
    static void setFontSizeDefault(int size);
    static void setFontSizeSmall(int size);
    static int fontSizeDefault();
    static int fontSizeSmall();

    static bool DarkUI(); // dark or girly theme
    static QString RedTextColor();
    static QString PinkTextColor();
    // The colour of a value that the selected jobs don't share, readable on the theme's window.
    static QColor DifferenceColor();
    QIcon standardIcon(StandardPixmap icon, const QStyleOption* option = nullptr,
                       const QWidget* widget = nullptr) const override;
    static QColor DefaultWindowColorDark();
    static QColor DefaultWindowColorDarkText();

    // Font of the default or the small size: weight 50, not italic, underlined or struck out.
    static void setFMFontDefault(QWidget* widget);
    static void setFMFontSmaller(QWidget* widget);

    static bool IsDarkUI;
    static bool IsEasterUI;
    static bool IsGirlyUI;
    static int defaultFontSize;
    static int smallFontSize;
    static QColor DefaultWindowColorDarker;
    static QColor DefaultWindowColorDarkerText;
};

// Darker and lighter variants of a brush by a factor in percent, as the style's drawing uses them.
QBrush fmBrushDark(const QBrush& brush, int factor);
QBrush fmBrushLight(const QBrush& brush, int factor);

// Builds fmStyle from the start-up's choices and gives it to the application; the window program
// installs this as __FM::InstallStyleHook.
void fmInstallStyle(const fmStyleChoices& choices);
