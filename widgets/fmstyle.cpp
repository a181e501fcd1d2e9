#include "widgets/fmstyle.h"

#include "foundation/fmstylechoices.h"

#include <QApplication>
#include <QFont>
#include <QGradient>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <QPixmap>
#include <QPixmapCache>
#include <QStyleFactory>
#include <QStyleOption>
#include <QWidget>

#include <iterator>

bool fmStyle::IsDarkUI = false;
bool fmStyle::IsEasterUI = false;
bool fmStyle::IsGirlyUI = false;
int fmStyle::defaultFontSize = 8;
int fmStyle::smallFontSize = 7;
QColor fmStyle::DefaultWindowColorDarker;
QColor fmStyle::DefaultWindowColorDarkerText;

namespace {

// One palette role with its ARGB colour in the active, inactive and disabled groups.
struct RoleColors
{
    QPalette::ColorRole Role;
    QRgb Active;
    QRgb Inactive;
    QRgb Disabled;
};

constexpr RoleColors kLight[] = {
    {QPalette::WindowText, 0xFF333333, 0xFF000000, 0xFFAAAAAA},
    {QPalette::Button, 0xFFDADADA, 0xFFDADADA, 0xFFDDDDDD},
    {QPalette::Light, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Midlight, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Dark, 0xFF555555, 0xFF555555, 0xFF555555},
    {QPalette::Mid, 0xFFC7C7C7, 0xFFC7C7C7, 0xFFC7C7C7},
    {QPalette::Text, 0xFF000000, 0xFF000000, 0xFFC7C7C7},
    {QPalette::BrightText, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::ButtonText, 0xFF333333, 0xFF000000, 0xFFAAAAAA},
    {QPalette::Base, 0xFFF0F0F3, 0xFFEEEEEE, 0xFFEFEFEF},
    {QPalette::Window, 0xFFD6D6D6, 0xFFD6D6D6, 0xFFDDDDDD},
    {QPalette::Shadow, 0xFF000000, 0xFF000000, 0xFF999999},
    {QPalette::Highlight, 0xFF678DB2, 0xFF678DB2, 0xFF567594},
    {QPalette::HighlightedText, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Link, 0xFF0000EE, 0xFF0000EE, 0xFF0000EE},
    {QPalette::LinkVisited, 0xFF52188B, 0xFF52188B, 0xFF52188B},
    {QPalette::AlternateBase, 0xFF333333, 0xFF000000, 0xFFFFFFFF},
};

// Dark and girly list only what differs from the light palette.
// Text colours are lifted where the older values fell short of a contrast of 4.5:1 against their
// background (dark: 0xFFDDDDDD on 0xFF666666; girly: inactive text in the colour of its background,
// now light on the dark window and dark on the light base; eastern: red window text on green).
constexpr RoleColors kDark[] = {
    {QPalette::WindowText, 0xFFF0F0F0, 0xFFF0F0F0, 0xFF2C2C2C},
    {QPalette::Button, 0xFF666666, 0xFF666666, 0xFF666666},
    {QPalette::Light, 0xFFCCCCCC, 0xFFCCCCCC, 0xFFCCCCCC},
    {QPalette::Midlight, 0xFF82807A, 0xFF82807A, 0xFF82807A},
    {QPalette::Dark, 0xFF2C2C2C, 0xFF2C2C2C, 0xFF2C2C2C},
    {QPalette::Mid, 0xFF212121, 0xFF212121, 0xFF212121},
    {QPalette::Text, 0xFF000000, 0xFF000000, 0xFF000000},
    {QPalette::ButtonText, 0xFFF0F0F0, 0xFFF0F0F0, 0xFF2C2C2C},
    {QPalette::Base, 0xFFBBBBBB, 0xFF969696, 0xFF6A6864},
    {QPalette::Window, 0xFF666666, 0xFF666666, 0xFF666666},
    {QPalette::Shadow, 0xFF000000, 0xFF000000, 0xFF000000},
};

constexpr RoleColors kGirly[] = {
    {QPalette::WindowText, 0xFFFFFFFF, 0xFFF0DFE4, 0xFF6A6864},
    {QPalette::Button, 0xFF7F304A, 0xFF552031, 0xFF6A6864},
    {QPalette::Light, 0xFFCCCCCC, 0xFFCCCCCC, 0xFFCCCCCC},
    {QPalette::Midlight, 0xFF82807A, 0xFF82807A, 0xFF82807A},
    {QPalette::Dark, 0xFF907880, 0xFF907880, 0xFF907880},
    {QPalette::Mid, 0xFF907880, 0xFF907880, 0xFF907880},
    {QPalette::Text, 0xFF7F304A, 0xFF552031, 0xFF6A6864},
    {QPalette::ButtonText, 0xFFF0DFE4, 0xFFF0DFE4, 0xFF6A6864},
    {QPalette::Base, 0xFFECBBD2, 0xFFECBBD2, 0xFF6A6864},
    {QPalette::Window, 0xFFA73F61, 0xFF552031, 0xFF6A6864},
    {QPalette::Shadow, 0xFF552031, 0xFF552031, 0xFF6A6864},
};

constexpr RoleColors kEastern[] = {
    {QPalette::WindowText, 0xFF9B0000, 0xFF9B0000, 0xFF6464FF},
    {QPalette::Button, 0xFF0000FF, 0xFF4848FF, 0xFF4848FF},
    {QPalette::Light, 0xFFFFFFCC, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Midlight, 0xFFFFFFCC, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Dark, 0xFF555555, 0xFF555555, 0xFF555555},
    {QPalette::Mid, 0xFFC7C7C7, 0xFFC7C7C7, 0xFFC7C7C7},
    {QPalette::Text, 0xFF000066, 0xFF000000, 0xFFC7C7C7},
    {QPalette::BrightText, 0xFFFFFFCC, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::ButtonText, 0xFF50FFFF, 0xFF50FFFF, 0xFF6464FF},
    {QPalette::Base, 0xFFFFFFCC, 0xFFFFFFCC, 0xFFDDDDCC},
    {QPalette::Window, 0xFFA2FFA2, 0xFFA2FFA2, 0xFFA2FFA2},
    {QPalette::Shadow, 0xFF000000, 0xFF000000, 0xFF999999},
    {QPalette::Highlight, 0xFF678DB2, 0xFF678DB2, 0xFF567594},
    {QPalette::HighlightedText, 0xFFFFFFCC, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Link, 0xFF0000EE, 0xFF0000EE, 0xFF0000EE},
    {QPalette::LinkVisited, 0xFF52188B, 0xFF52188B, 0xFF52188B},
    {QPalette::AlternateBase, 0xFF50FFFF, 0xFF50FFFF, 0xFFFFFFFF},
};

template <std::size_t N> void applyColors(QPalette& palette, const RoleColors (&table)[N])
{
    for (const RoleColors& c : table) {
        palette.setBrush(QPalette::Active, c.Role, QBrush(QColor::fromRgba(c.Active)));
        palette.setBrush(QPalette::Inactive, c.Role, QBrush(QColor::fromRgba(c.Inactive)));
        palette.setBrush(QPalette::Disabled, c.Role, QBrush(QColor::fromRgba(c.Disabled)));
    }
}

// Each pixel of a texture through `change` (QColor::darker or ::lighter), cached under `key`.
QPixmap changedTexture(const QPixmap& texture, const QString& key, QColor (QColor::*change)(int) const,
                       int factor)
{
    QPixmap cached;
    if (QPixmapCache::find(key, &cached)) return cached;
    QImage image = texture.toImage().convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = (QColor::fromRgba(line[x]).*change)(factor);
            line[x] = qRgba(c.red(), c.green(), c.blue(), qAlpha(line[x]));
        }
    }
    cached = QPixmap::fromImage(image);
    QPixmapCache::insert(key, cached);
    return cached;
}

QBrush changedBrush(const QBrush& brush, int factor, QColor (QColor::*change)(int) const, const char* name)
{
    switch (brush.style()) {
    case Qt::TexturePattern: {
        const QPixmap texture = brush.texture();
        if (texture.isNull()) return brush;
        const QString key = QStringLiteral("qbrushtexture-%1-%2-%3")
                                .arg(QLatin1String(name))
                                .arg(texture.cacheKey())
                                .arg(factor);
        QBrush result = brush;
        result.setTexture(changedTexture(texture, key, change, factor));
        return result;
    }
    case Qt::LinearGradientPattern:
    case Qt::RadialGradientPattern:
    case Qt::ConicalGradientPattern: {
        const QGradient* gradient = brush.gradient();
        if (!gradient) return brush;
        QGradientStops stops = gradient->stops();
        for (QGradientStop& stop : stops)
            stop.second = (stop.second.*change)(factor);
        QGradient copy = *gradient;
        copy.setStops(stops);
        QBrush result(copy);
        result.setTransform(brush.transform());
        return result;
    }
    default: {
        QBrush result = brush;
        result.setColor((brush.color().*change)(factor));
        return result;
    }
    }
}

void setSize(QWidget* widget, int size)
{
    if (!widget) return;
    QFont font = widget->font();
    font.setPointSize(size);
    font.setWeight(QFont::Normal); // weight 50 of the old scale
    font.setItalic(false);
    font.setUnderline(false);
    font.setStrikeOut(false);
    widget->setFont(font);
}

} // namespace

fmStyle::fmStyle(bool dark, bool easter, bool girly)
    : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
{
    IsDarkUI = dark;
    IsEasterUI = easter;
    IsGirlyUI = girly;
    const QPalette palette = standardPalette();
    DefaultWindowColorDarker = palette.color(QPalette::Active, QPalette::Window).darker(115);
    DefaultWindowColorDarkerText = palette.color(QPalette::Active, QPalette::WindowText);
    if (qobject_cast<QApplication*>(QCoreApplication::instance())) QApplication::setPalette(palette);
}

QPalette fmStyle::standardPalette() const
{
    if (IsDarkUI) return standardPaletteDark();
    if (IsEasterUI) return standardPaletteEastern();
    if (IsGirlyUI) return standardPaletteGirly();
    return standardPaletteLight();
}

QPalette fmStyle::standardPaletteLight()
{
    QPalette palette;
    applyColors(palette, kLight);
    return palette;
}

QPalette fmStyle::standardPaletteDark()
{
    QPalette palette = standardPaletteLight();
    applyColors(palette, kDark);
    return palette;
}

QPalette fmStyle::standardPaletteGirly()
{
    QPalette palette = standardPaletteLight();
    applyColors(palette, kGirly);
    return palette;
}

QPalette fmStyle::standardPaletteEastern()
{
    QPalette palette;
    applyColors(palette, kEastern);
    return palette;
}

// Metric number 78 of the old toolkit's list is PM_LayoutBottomMargin in Qt 6's enum; the number is
// what the look was tuned with, so it stays bound to the number.
static_assert(QStyle::PM_LayoutBottomMargin == 78);

int fmStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    switch (metric) {
    case PM_ButtonMargin:
        return 0;
    case PM_DefaultFrameWidth:
        return 1;
    case PM_ScrollBarExtent:
        return 13;
    case PM_DockWidgetSeparatorExtent:
        return 3;
    case PM_SplitterWidth:
        return 2;
    // The old toolkit's metric 78, PM_DockWidgetTitleBarButtonMargin by name (Qt 6 gives the
    // number 78 to PM_LayoutBottomMargin, which keeps Fusion's value here).
    case PM_DockWidgetTitleBarButtonMargin:
        return 3;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

void fmStyle::setFontSizeDefault(int size)
{
    defaultFontSize = size < 4 ? 4 : size;
}
void fmStyle::setFontSizeSmall(int size)
{
    smallFontSize = size < 4 ? 4 : size;
}
int fmStyle::fontSizeDefault()
{
    return defaultFontSize;
}
int fmStyle::fontSizeSmall()
{
    return smallFontSize;
}
bool fmStyle::DarkUI()
{
    return IsDarkUI || IsGirlyUI;
}
QString fmStyle::RedTextColor()
{
    return DarkUI() ? QStringLiteral("#FF7777") : QStringLiteral("#FF0000");
}
QColor fmStyle::DifferenceColor()
{
    // Each at least 4.5:1 against the theme's window colour, and apart from its text colour.
    if (IsDarkUI || IsGirlyUI) return QColor(0xFF, 0xFF, 0x80);
    if (IsEasterUI) return QColor(0x00, 0x00, 0xCC);
    return QColor(0xA8, 0x00, 0x00);
}

QIcon fmStyle::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const
{
    if (icon != SP_TitleBarCloseButton && icon != SP_DockWidgetCloseButton && icon != SP_TitleBarNormalButton)
        return QProxyStyle::standardIcon(icon, option, widget);
    // The dock title buttons are drawn in the title's text colour, so they show in every theme.
    const QPalette palette =
        option ? option->palette : (widget ? widget->palette() : QApplication::palette());
    QPixmap pixmap(10, 10);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette.color(QPalette::Active, QPalette::WindowText), 1.5));
    if (icon == SP_TitleBarNormalButton) {
        painter.drawRect(QRectF(3.5, 0.75, 5.75, 5.75));
        painter.drawRect(QRectF(0.75, 3.5, 5.75, 5.75));
    } else {
        painter.drawLine(QPointF(1, 1), QPointF(9, 9));
        painter.drawLine(QPointF(9, 1), QPointF(1, 9));
    }
    painter.end();
    return QIcon(pixmap);
}

QString fmStyle::PinkTextColor()
{
    return DarkUI() ? QStringLiteral("#CC77FF") : QStringLiteral("#CC00FF");
}
QColor fmStyle::DefaultWindowColorDark()
{
    return DefaultWindowColorDarker;
}
QColor fmStyle::DefaultWindowColorDarkText()
{
    return DefaultWindowColorDarkerText;
}

void fmStyle::setFMFontDefault(QWidget* widget)
{
    setSize(widget, defaultFontSize);
}
void fmStyle::setFMFontSmaller(QWidget* widget)
{
    setSize(widget, smallFontSize);
}

QBrush fmBrushDark(const QBrush& brush, int factor)
{
    return changedBrush(brush, factor, &QColor::darker, "dark");
}
QBrush fmBrushLight(const QBrush& brush, int factor)
{
    return changedBrush(brush, factor, &QColor::lighter, "light");
}

void fmInstallStyle(const fmStyleChoices& choices)
{
    // The form and the trees' group rows ask for Arial; Liberation Sans has its metrics, so texts
    // sized for Arial fit (Debian's fonts-liberation2).
    QFont::insertSubstitution(QStringLiteral("Arial"), QStringLiteral("Liberation Sans"));
    if (choices.FontDefaultSet) fmStyle::setFontSizeDefault(choices.FontSizeDefault);
    if (choices.FontSmallSet) fmStyle::setFontSizeSmall(choices.FontSizeSmall);
    QApplication::setStyle(new fmStyle(choices.Dark, choices.Easter, choices.Girly));
}
