#include "widgets/fmtreeviewdelegate.h"

#include "widgets/fmtreeview.h"

#include "widgets/fmstyle.h"
#include "widgets/fmtreeviewtypes.h"

#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QStyle>
#include <QTextLine>

#include <algorithm>
#include <array>

namespace {

// Unbounded width for a text that does not wrap (just below the text engine's fixed-point limit).
constexpr int kUnboundedWidth = 0x7FFFFE;
// The graphs of modes 1 and 3 are 14 one-pixel columns; mode 0 spans reach x + 14.
constexpr int kGraphColumns = 14;
constexpr QRgb kDefaultLeftLine = 0xFFEEEEEE;

QStyle* styleOf(const QStyleOptionViewItem& option)
{
    return option.widget ? option.widget->style() : QApplication::style();
}

int textMarginOf(const QStyleOptionViewItem& option)
{
    return styleOf(option)->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
}

QColor argb(unsigned long long value)
{
    return QColor::fromRgba(static_cast<QRgb>(value));
}

// The cell in the numbers the graph rules use: h is bottom minus top, H = h + 1 the height in pixels.
struct Cell
{
    int X;
    int Y;
    int Right;
    int h;
    int H;

    explicit Cell(const QRect& r)
        : X(r.left()), Y(r.top()), Right(r.right()), h(r.bottom() - r.top()), H(r.bottom() - r.top() + 1)
    {
    }

    // Rows [from, to) below the top, pixels [x0, x1] across; cut to the cell, so a damaged value
    // never paints into the neighbours.
    void fill(QPainter* p, int x0, int x1, int from, int to, const QColor& color) const
    {
        x1 = std::min(x1, Right);
        from = std::max(from, 0);
        to = std::min(to, H);
        if (x0 > x1 || from >= to) return;
        p->fillRect(QRect(x0, Y + from, x1 - x0 + 1, to - from), color);
    }
    void column(QPainter* p, int s, int from, int to, const QColor& color) const
    {
        fill(p, X + s, X + s, from, to, color);
    }
};

// Mode 0: one colour per item, as full-width strips of 3, 2 or 1 lines, or several items a line.
void paintStrips(QPainter* p, const Cell& c, const fmtvBGbars& bars)
{
    const int count = std::clamp(bars.Count, 0, fmtvBGbars::MaxValues);
    const int h = c.h;
    for (int height : {3, 2, 1}) {
        if (count > h / height) continue;
        for (int i = 0; i < count; ++i)
            c.fill(p, c.X, c.Right, i * height, i * height + height, argb(bars.Values[i]));
        return;
    }

    struct Span
    {
        int From;
        int To; // -1: the cell's right edge
    };
    static constexpr std::array<Span, 7> two = {{{0, 7}, {8, -1}}};
    static constexpr std::array<Span, 7> three = {{{2, 5}, {6, 9}, {10, 13}}};
    static constexpr std::array<Span, 7> four = {{{2, 4}, {5, 7}, {8, 10}, {11, 13}}};
    static constexpr std::array<Span, 7> seven = {
        {{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}, {11, 12}, {13, 14}}};
    const std::array<Span, 7>* spans = &seven;
    int perLine = 7;
    if (count <= 2 * h) {
        spans = &two;
        perLine = 2;
    } else if (count <= 3 * h) {
        spans = &three;
        perLine = 3;
    } else if (count <= 4 * h) {
        spans = &four;
        perLine = 4;
    }
    const int lines = std::min((count + perLine - 1) / perLine, h);
    for (int line = 0; line < lines; ++line) {
        for (int k = 0; k < perLine; ++k) {
            const int item = line * perLine + k;
            if (item >= count) break;
            const Span& span = (*spans)[k];
            const int to = span.To < 0 ? c.Right : c.X + span.To;
            c.fill(p, c.X + span.From, to, line, line + 1, argb(bars.Values[item]));
        }
    }
}

// Length of a percent in a column of height H: a partial value never looks complete, a non-zero
// one is always visible. Percents above 100 give the same length as 100.
int percentLength(unsigned long long percent, int H)
{
    const int p = static_cast<int>(std::min<unsigned long long>(percent, 100));
    int length = (H - 1) * p / 100;
    if (length <= 1) length = p != 0 ? 2 : 0;
    if (length >= H - 2) length = p >= 100 ? H - 1 : H - 3;
    return length;
}

// The blend of several items' first colours: a red channel only, kept so as the farm's look has it.
QColor mixedRed(const fmtvBGbars& bars, const int* items, int n)
{
    double sum = 127.0;
    for (int k = 0; k < n; ++k)
        sum += qRed(static_cast<QRgb>(bars.Values[3 * items[k] + 1]));
    const int red = static_cast<int>(sum / (n == 2 ? 2.5 : 3.5));
    return QColor::fromRgb(qRgb(std::min(red, 255), 0, 0));
}

// One column of mode 1 from the top: segment k ends before row Ends[k], in colour Colors[k].
struct ColumnPicture
{
    int Segments = 0;
    int Ends[4] = {0, 0, 0, 0};
    QRgb Colors[4] = {0, 0, 0, 0};

    void add(int end, QRgb color)
    {
        Ends[Segments] = end;
        Colors[Segments] = color;
        ++Segments;
    }
    bool operator==(const ColumnPicture& o) const
    {
        if (Segments != o.Segments) return false;
        for (int k = 0; k < Segments; ++k)
            if (Ends[k] != o.Ends[k] || Colors[k] != o.Colors[k]) return false;
        return true;
    }
    // Columns [s0, s1] at once: neighbouring columns often show the same item.
    void paint(QPainter* p, const Cell& c, int s0, int s1) const
    {
        int from = 0;
        for (int k = 0; k < Segments; ++k) {
            c.fill(p, c.X + s0, c.X + s1, from, Ends[k], QColor::fromRgba(Colors[k]));
            from = std::max(from, Ends[k]);
        }
    }
};

// Mode 1: triples (percent, colour up to it, colour of the rest), 14 columns of 1, 2 or 3 items.
void paintPercentColumns(QPainter* p, const Cell& c, const fmtvBGbars& bars)
{
    const int count = std::clamp(bars.Count, 0, fmtvBGbars::MaxValues / 3);
    if (count == 0) return;
    const auto percentOf = [&](int item) { return bars.Values[3 * item]; };
    const auto firstOf = [&](int item) { return static_cast<QRgb>(bars.Values[3 * item + 1]); };
    const auto restOf = [&](int item) { return static_cast<QRgb>(bars.Values[3 * item + 2]); };
    ColumnPicture run;
    int runStart = 0;
    for (int s = 0; s < kGraphColumns; ++s) {
        ColumnPicture column;
        if (count < 15) {
            const int i = std::min(static_cast<int>(count * (s / 13.5)), count - 1);
            column.add(percentLength(percentOf(i), c.H), firstOf(i));
            column.add(c.H, restOf(i));
        } else {
            const int n = count <= 28 ? 2 : 3;
            const double step = n == 2 ? 2.0 * s / 27.5 : 3.0 * s / 41.5;
            const int i = std::min(static_cast<int>(count * step), count - 1);
            int items[3] = {i, std::min(i + 1, count - 1), std::min(i + 2, count - 1)};
            int lengths[3] = {0, 0, 0};
            for (int k = 0; k < n; ++k)
                lengths[k] = percentLength(percentOf(items[k]), c.H);
            // Sorted by hand: std::sort over a bounded 2 or 3 trips gcc 12's array-bounds
            // warning at -O3.
            if (lengths[1] < lengths[0]) std::swap(lengths[0], lengths[1]);
            if (n == 3) {
                if (lengths[2] < lengths[1]) std::swap(lengths[1], lengths[2]);
                if (lengths[1] < lengths[0]) std::swap(lengths[0], lengths[1]);
            }
            const QRgb mix = mixedRed(bars, items, n).rgba();
            column.add(lengths[0], firstOf(i));
            for (int k = 1; k < n; ++k)
                column.add(lengths[k], mix);
            column.add(c.H, restOf(i));
        }
        if (s > 0 && !(column == run)) {
            run.paint(p, c, runStart, s - 1);
            runStart = s;
        }
        run = column;
    }
    run.paint(p, c, runStart, kGraphColumns - 1);
}

// Mode 2: up to four counts as proportional strips, with the numbers over them.
void paintCounts(QPainter* p, const Cell& c, const fmtvBGbars& bars, const QFont& font)
{
    static constexpr QRgb colors[4] = {0xFF999999, 0xFF66FF66, 0xFFDDDDFF, 0xFFFFFFFF};
    const int count = std::clamp(bars.Count, 0, 4);
    unsigned long long values[4] = {0, 0, 0, 0};
    double total = 0;
    for (int i = 0; i < count; ++i) {
        values[i] = bars.Values[i];
        total += static_cast<double>(values[i]);
    }
    if (total <= 0) return;
    int lengths[4] = {0, 0, 0, 0};
    int sum = 0;
    int largest = 0;
    for (int i = 0; i < count; ++i) {
        lengths[i] = qRound(static_cast<double>(values[i]) * c.H / total);
        if (values[i] != 0 && lengths[i] < 2) lengths[i] = 2;
        if (values[i] > values[largest]) largest = i;
        sum += lengths[i];
    }
    if (sum > c.H) lengths[largest] = std::max(0, lengths[largest] - (sum - c.H));
    int row = 0;
    for (int i = 0; i < count; ++i) {
        c.fill(p, c.X, c.Right, row, row + lengths[i], QColor::fromRgba(colors[i]));
        row += lengths[i];
    }

    const QRect text(c.X, c.Y + 4, c.Right - c.X + 1, c.H - 8);
    if (text.height() <= 0) return;
    p->setFont(font);
    if (values[0] != 0) {
        p->setPen(Qt::black);
        p->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, QString::number(values[0]));
    }
    if (values[1] != 0) {
        p->setPen(QColor::fromRgba(lengths[3] > c.H / 2 ? 0xFF00CC00 : 0xFF99FF99));
        p->drawText(text, Qt::AlignHCenter | Qt::AlignVCenter, QString::number(values[1]));
    }
    if (const unsigned long long rest = values[2] + values[3]; rest != 0) {
        p->setPen(Qt::black);
        p->drawText(text, Qt::AlignRight | Qt::AlignVCenter, QString::number(rest));
    }
}

// Mode 3: two percents and three colours, 14 columns of three segments.
void paintTwoPercents(QPainter* p, const Cell& c, const fmtvBGbars& bars)
{
    // Above 1000 percent the outcome no longer changes; the cut keeps the products in range.
    const long long p1 = static_cast<long long>(std::min<unsigned long long>(bars.Values[0], 1000));
    const long long p2 = static_cast<long long>(std::min<unsigned long long>(bars.Values[1], 1000));
    int a = static_cast<int>(c.h * p1 / 100);
    int b = static_cast<int>(c.h * p2 / 100);
    if (a < 2) a = p1 != 0 ? 2 : 0;
    if (a + b >= c.H - 2) {
        a = (p1 + p2 >= 100 ? c.H - 1 : c.H - 3) - b;
        if (a < 0) {
            b += a;
            a = 0;
        }
    }
    b = std::max(b, 0);
    const QColor first = argb(bars.Values[2]);
    const QColor second = argb(bars.Values[3]);
    const QColor third = argb(bars.Values[4]);
    c.fill(p, c.X, c.X + kGraphColumns - 1, 0, a, first);
    c.fill(p, c.X, c.X + kGraphColumns - 1, a, a + b, second);
    c.fill(p, c.X, c.X + kGraphColumns - 1, a + b, c.H, third);
}

} // namespace

fmTreeViewItemDelegate::fmTreeViewItemDelegate(QWidget* parent) : QItemDelegate(parent) {}

void fmTreeViewItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const
{
    if (!painter || !index.isValid()) return;
    QStyleOptionViewItem opt = option;
    const QVariant font = index.data(Qt::FontRole);
    if (font.isValid()) {
        opt.font = qvariant_cast<QFont>(font).resolve(opt.font);
        opt.fontMetrics = QFontMetrics(opt.font);
    }
    const QVariant alignment = index.data(Qt::TextAlignmentRole);
    if (alignment.isValid()) opt.displayAlignment = Qt::Alignment(alignment.toInt());
    const QVariant foreground = index.data(Qt::ForegroundRole);
    if (foreground.isValid() && foreground.canConvert<QBrush>()) {
        // Setting a brush detaches the palette, some sixty brushes a cell; the rows of a table
        // repeat a few colours, so the palette made for the last one is reused while it fits.
        const QBrush text = qvariant_cast<QBrush>(foreground);
        if (option.palette.cacheKey() != TextPaletteSource || text != TextPaletteBrush) {
            TextPaletteSource = option.palette.cacheKey();
            TextPaletteBrush = text;
            TextPalette = option.palette;
            TextPalette.setBrush(QPalette::Text, text);
        }
        opt.palette = TextPalette;
    }
    // Locale and the wrap-text feature travel with the copy: every Qt 6 option holds them.
    // The tree may cut some columns' texts elsewhere than its own elide mode says (a path in the
    // middle, so that both its start and its file name stay).
    if (const auto* tree = qobject_cast<const fmTreeViewWidget*>(option.widget))
        opt.textElideMode = tree->elideModeFor(index.column());

    painter->save();

    QIcon icon;
    QRect decorationRect;
    const QVariant decoration = index.data(Qt::DecorationRole);
    if (decoration.userType() == QMetaType::QIcon) {
        icon = qvariant_cast<QIcon>(decoration);
        const QSize size = icon.actualSize(opt.decorationSize);
        decorationRect = QRect(QPoint(0, 0), QPoint(size.width() - 1, size.height() - 1));
    }

    // The text is not measured here: doLayout gives the text the whole part behind the decoration
    // whatever its natural size, and drawDisplay lays it out itself. Measuring would cost a second
    // layout pass per cell and change no pixel.
    QString text;
    QRect textRect;
    const QVariant display = index.data(Qt::DisplayRole);
    if (display.isValid() && !display.isNull()) text = display.toString();

    // A selected cell shows what the model's background and foreground say, never the style's.
    opt.state &= ~QStyle::State_Selected;

    doLayout(opt, &decorationRect, &textRect, false);

    drawBackground(painter, opt, index);
    drawDecoration(painter, opt, decorationRect, icon);
    QItemDelegate::drawDisplay(painter, opt, textRect, text);
    drawShading(painter, opt, index); // over the text, on purpose
    QItemDelegate::drawFocus(painter, opt, textRect);

    painter->restore();
}

QSize fmTreeViewItemDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    const int small = fmStyle::fontSizeSmall();
    return QSize(small + 8, small + 9);
}

void fmTreeViewItemDelegate::drawDecoration(QPainter* painter, const QStyleOptionViewItem& option,
                                            const QRect& rect, const QPixmap& pixmap) const
{
    QItemDelegate::drawDecoration(painter, option, rect, pixmap);
}

void fmTreeViewItemDelegate::drawDecoration(QPainter* painter, const QStyleOptionViewItem& option,
                                            const QRect& rect, const QIcon& icon) const
{
    if (icon.isNull()) return;
    icon.paint(painter, rect, option.decorationAlignment, QIcon::Normal, QIcon::Off);
}

QRect fmTreeViewItemDelegate::textLayoutBounds(const QStyleOptionViewItem& option) const
{
    QRect bounds = option.rect;
    const bool wrap = option.features & QStyleOptionViewItem::WrapText;
    if (!wrap || !bounds.isValid()) bounds.setWidth(kUnboundedWidth);
    return bounds;
}

QRect fmTreeViewItemDelegate::textRectangle(QPainter*, const QRect& rect, const QFont& font,
                                            const QString& text) const
{
    TextOption.setWrapMode(QTextOption::WordWrap);
    TextLayout.setTextOption(TextOption);
    TextLayout.setFont(font);
    QString lines = text;
    lines.replace(QLatin1Char('\n'), QChar::LineSeparator);
    TextLayout.setText(lines);
    const QSizeF size = doTextLayout(rect.width());
    // The text margin is the same one drawDisplay keeps at both ends.
    const int margin = QApplication::style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, nullptr) + 1;
    const int width = static_cast<int>(size.width() + 0.5) + 2 * margin;
    const int height = static_cast<int>(size.height() + 0.5);
    return QRect(0, 0, width, height);
}

QSizeF fmTreeViewItemDelegate::doTextLayout(int lineWidth) const
{
    qreal height = 0;
    qreal widest = 0;
    TextLayout.beginLayout();
    for (QTextLine line = TextLayout.createLine(); line.isValid(); line = TextLayout.createLine()) {
        line.setLineWidth(lineWidth);
        line.setPosition(QPointF(0, height));
        height += line.height();
        widest = std::max(widest, line.naturalTextWidth());
    }
    TextLayout.endLayout();
    return QSizeF(widest, height);
}

void fmTreeViewItemDelegate::doLayout(const QStyleOptionViewItem& option, QRect* decoration, QRect* text,
                                      bool hint) const
{
    const int textMargin = textMarginOf(option);
    const QSize decorationSize = decoration && decoration->isValid() ? decoration->size() : QSize();
    const bool hasDecoration = decorationSize.isValid() && !decorationSize.isEmpty();
    const int decorationPart = hasDecoration ? decorationSize.width() + 2 * textMargin + 1 : 0;

    if (hint) {
        QSize textSize = text ? text->size() : QSize(0, 0);
        if (textSize.width() <= 0 && !hasDecoration) textSize.setHeight(option.fontMetrics.height());
        if (decoration)
            *decoration = hasDecoration ? QRect(0, 0, decorationPart, decorationSize.height()) : QRect();
        if (text) *text = QRect(decorationPart, 0, std::max(textSize.width(), 0), textSize.height());
        return;
    }

    const QRect cell = option.rect;
    const QRect decorationArea(cell.left(), cell.top(), decorationPart, cell.height());
    const QRect textArea(cell.left() + decorationPart, cell.top(), cell.width() - decorationPart,
                         cell.height());
    if (decoration)
        *decoration = hasDecoration
                          ? QStyle::alignedRect(option.direction, option.decorationAlignment, decorationSize,
                                                QStyle::visualRect(option.direction, cell, decorationArea))
                          : QRect();
    if (text) *text = QStyle::visualRect(option.direction, cell, textArea);
}

void fmTreeViewItemDelegate::drawBackground(QPainter* painter, const QStyleOptionViewItem& option,
                                            const QModelIndex& index) const
{
    const QRect& r = option.rect;
    const QVariant barsValue = index.data(fmtvRole::BGbars);
    if (barsValue.userType() == qMetaTypeId<fmtvBGbars>()) {
        // Read in place: the value is some 6 KB and arrives with every repaint.
        const auto* bars = static_cast<const fmtvBGbars*>(barsValue.constData());
        if (bars && r.height() >= 3 && bars->Mode >= 0 && bars->Mode <= 3) {
            const QPen pen = painter->pen();
            drawBars(painter, option, *bars);
            painter->setPen(pen);
        }
    } else {
        const QVariant background = index.data(Qt::BackgroundRole);
        if (background.isValid() && background.canConvert<QBrush>()) {
            const QPointF origin = painter->brushOrigin();
            painter->setBrushOrigin(r.topLeft());
            painter->fillRect(r, qvariant_cast<QBrush>(background));
            painter->setBrushOrigin(origin);
        }
    }

    QColor left = QColor::fromRgba(kDefaultLeftLine);
    const QVariant leftValue = index.data(fmtvRole::TopLineColor);
    if (leftValue.isValid() && leftValue.canConvert<QColor>()) {
        const QColor given = qvariant_cast<QColor>(leftValue);
        if (given.isValid()) left = given;
    }
    if (left.alpha() != 0) painter->fillRect(QRect(r.left(), r.top(), 1, r.height()), left);

    const QVariant topValue = index.data(fmtvRole::BottomLineColor);
    if (topValue.isValid() && topValue.canConvert<QColor>()) {
        const QColor top = qvariant_cast<QColor>(topValue);
        if (top.isValid() && top.alpha() != 0) painter->fillRect(QRect(r.left(), r.top(), r.width(), 1), top);
    }
}

void fmTreeViewItemDelegate::drawBars(QPainter* painter, const QStyleOptionViewItem& option,
                                      const fmtvBGbars& bars)
{
    const Cell cell(option.rect);
    switch (bars.Mode) {
    case 0:
        paintStrips(painter, cell, bars);
        break;
    case 1:
        paintPercentColumns(painter, cell, bars);
        break;
    case 2:
        paintCounts(painter, cell, bars, option.font);
        break;
    case 3:
        paintTwoPercents(painter, cell, bars);
        break;
    default:
        break;
    }
}

void fmTreeViewItemDelegate::drawShading(QPainter* painter, const QStyleOptionViewItem& option,
                                         const QModelIndex& index) const
{
    const QVariant value = index.data(fmtvRole::Shading);
    if (value.userType() != qMetaTypeId<fmtvShading>()) return;
    const uint32_t flags = static_cast<const fmtvShading*>(value.constData())->Flags;
    if (!(flags & fmtvShading::Draw)) return;
    const qreal strength = (flags & fmtvShading::GroupNode) ? 0.5 : 0.2;
    const QRect& r = option.rect;
    const qreal opacity = painter->opacity();
    painter->setOpacity(0.5 * strength);
    painter->fillRect(QRect(r.left(), r.top(), 1, r.height()), Qt::black);
    painter->setOpacity(0.25 * strength);
    painter->fillRect(QRect(r.right(), r.top(), 1, r.height()), Qt::black);
    painter->setOpacity(strength);
    painter->fillRect(QRect(r.left() + 1, r.top(), 1, r.height()), Qt::white);
    painter->setOpacity(opacity);
}
