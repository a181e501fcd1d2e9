#include "app/fm.h"
#include "widgets/fmstyle.h"

#include <QApplication>
#include <QLabel>
#include <QLinearGradient>
#include <QPixmap>
#include <QTest>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QPalette paletteOf(const QString& theme)
{
    if (theme == QLatin1String("dark")) return fmStyle::standardPaletteDark();
    if (theme == QLatin1String("girly")) return fmStyle::standardPaletteGirly();
    if (theme == QLatin1String("eastern")) return fmStyle::standardPaletteEastern();
    return fmStyle::standardPaletteLight();
}

// Relative luminance and contrast ratio as the accessibility guidelines define them.
double luminance(QRgb c)
{
    auto channel = [](int v) {
        const double x = v / 255.0;
        return x <= 0.03928 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(qRed(c)) + 0.7152 * channel(qGreen(c)) + 0.0722 * channel(qBlue(c));
}

double contrastOf(QRgb a, QRgb b)
{
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

} // namespace

class tst_fmstyle : public QObject
{
    Q_OBJECT
private slots:
    // Catches a wrong theme order and the application palette left unset.
    void themePrecedence_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<bool>("easter");
        QTest::addColumn<bool>("girly");
        QTest::addColumn<QRgb>("window");
        QTest::newRow("all: dark wins") << true << true << true << 0xFF666666u;
        QTest::newRow("eastern over girly") << false << true << true << 0xFFA2FFA2u;
        QTest::newRow("girly") << false << false << true << 0xFFA73F61u;
        QTest::newRow("light") << false << false << false << 0xFFD6D6D6u;
    }
    void themePrecedence()
    {
        QFETCH(bool, dark);
        QFETCH(bool, easter);
        QFETCH(bool, girly);
        QFETCH(QRgb, window);
        fmStyle style(dark, easter, girly);
        QCOMPARE(style.standardPalette().color(QPalette::Active, QPalette::Window).rgba(), window);
        QCOMPARE(QApplication::palette().color(QPalette::Active, QPalette::Window).rgba(), window);
    }

    // Catches a widget font keeping bold, italic, underline or strike-out.
    void widgetFonts()
    {
        QLabel label;
        QFont font = label.font();
        font.setBold(true);
        font.setItalic(true);
        font.setUnderline(true);
        font.setStrikeOut(true);
        label.setFont(font);
        fmStyle::setFontSizeSmall(6);
        fmStyle::setFontSizeDefault(9);
        fmStyle::setFMFontSmaller(&label);
        QCOMPARE(label.font().pointSize(), 6);
        QCOMPARE(label.font().weight(), QFont::Normal);
        QVERIFY(!label.font().italic() && !label.font().underline() && !label.font().strikeOut());
        fmStyle::setFMFontDefault(&label);
        QCOMPARE(label.font().pointSize(), 9);
        fmStyle::setFMFontDefault(nullptr); // no widget: nothing happens
    }

    // Catches the start-up choices not reaching the installed style.
    void installFromChoices()
    {
        fmStyleChoices choices;
        choices.Girly = true;
        choices.FontSmallSet = true;
        choices.FontSizeSmall = 3;
        fmInstallStyle(choices);
        QVERIFY(qobject_cast<fmStyle*>(QApplication::style()));
        QVERIFY(fmStyle::IsGirlyUI && !fmStyle::IsDarkUI);
        QCOMPARE(fmStyle::fontSizeSmall(), 4);
        QCOMPARE(QApplication::palette().color(QPalette::Active, QPalette::Window).rgba(), 0xFFA73F61u);
    }

    // Catches a theme whose text or difference colour is unreadable on its background (red on the
    // dark grey, all text red on the eastern green, girly's inactive text in its background colour):
    // a label is rendered in each palette and its most distinct text pixel must reach 4.5:1.
    void contrast_data()
    {
        QTest::addColumn<QString>("theme");
        QTest::addColumn<int>("group");
        QTest::addColumn<QString>("text"); // "window", "base", "button" or "difference"
        for (const char* theme : {"light", "dark", "girly", "eastern"})
            for (const int group : {int(QPalette::Active), int(QPalette::Inactive)})
                for (const char* text : {"window", "base", "button", "difference"})
                    QTest::addRow("%s %s %s", theme, group == QPalette::Active ? "active" : "inactive", text)
                        << QString::fromLatin1(theme) << group << QString::fromLatin1(text);
    }
    void contrast()
    {
        QFETCH(QString, theme);
        QFETCH(int, group);
        QFETCH(QString, text);
        const bool dark = fmStyle::IsDarkUI, easter = fmStyle::IsEasterUI, girly = fmStyle::IsGirlyUI;
        fmStyle::IsDarkUI = theme == QLatin1String("dark");
        fmStyle::IsEasterUI = theme == QLatin1String("eastern");
        fmStyle::IsGirlyUI = theme == QLatin1String("girly");
        const QColor difference = fmStyle::DifferenceColor();
        fmStyle::IsDarkUI = dark;
        fmStyle::IsEasterUI = easter;
        fmStyle::IsGirlyUI = girly;

        const auto g = QPalette::ColorGroup(group);
        QPalette palette = paletteOf(theme);
        QPalette::ColorRole back = QPalette::Window, fore = QPalette::WindowText;
        if (text == QLatin1String("base")) back = QPalette::Base, fore = QPalette::Text;
        if (text == QLatin1String("button")) back = QPalette::Button, fore = QPalette::ButtonText;
        QColor color = palette.color(g, fore);
        if (text == QLatin1String("difference")) color = difference;
        // The label draws in the active group; the group under test is put there.
        palette.setColor(QPalette::Active, QPalette::Window, palette.color(g, back));
        palette.setColor(QPalette::Active, QPalette::WindowText, color);
        QLabel label(u"<b>0123 ~ Value</b>"_s);
        label.setPalette(palette);
        label.setAutoFillBackground(true);
        QFont font = label.font();
        font.setPointSize(14);
        label.setFont(font);
        label.resize(label.sizeHint());
        QImage image(label.size(), QImage::Format_ARGB32);
        label.render(&image);
        const QRgb background = image.pixel(0, 0);
        QCOMPARE(background, palette.color(g, back).rgba());
        double best = 1.0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                best = std::max(best, contrastOf(image.pixel(x, y), background));
        QVERIFY2(
            best >= 4.5,
            qPrintable(
                u"%1 on %2: %3"_s.arg(color.name(), palette.color(g, back).name()).arg(best, 0, 'f', 2)));
    }
};

QTEST_MAIN(tst_fmstyle)
#include "tst_fmstyle.moc"
