#include "widgets/fmmessagebox.h"

#include "foundation/fmsdk.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpacerItem>
#include <QStyle>
#include <QThread>
#include <QTimerEvent>
#include <QVBoxLayout>

namespace {

// Widgets exist only in a window program, and only on its own thread.
bool mayShow()
{
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    return app && QThread::currentThread() == app->thread();
}

bool run(QWidget* parent, QMessageBox::Icon icon, const QString& text, const QString& button1, int seconds,
         const QString& button2, bool* cancelled, bool centered, bool courier)
{
    if (!mayShow()) return false;
    fmMessageBox box(parent, icon, text, button1, seconds, button2, cancelled, true, centered, courier);
    return box.result() == QDialog::Accepted;
}

QLabel* copyHint()
{
    auto* hint = new QLabel(QStringLiteral("<font color=\"#999999\">Copy message text with CTRL-C</font>"));
    QFont font(QStringLiteral("Arial"));
    font.setPointSize(7);
    hint->setFont(font);
    hint->setAlignment(Qt::AlignCenter);
    return hint;
}

QAction* copyAction(QWidget* owner)
{
    auto* action = new QAction(owner);
    action->setShortcut(QKeySequence(QStringLiteral("Ctrl+C")));
    owner->addAction(action);
    return action;
}

} // namespace

fmMessageBox::fmMessageBox(QWidget* parent, QMessageBox::Icon icon, const QString& text,
                           const QString& button1, int seconds, const QString& button2, bool* cancelled,
                           const bool& exec, bool centered, bool courier)
    : QDialog(parent), Button1Text(button1), Button2Text(button2), Cancelled(cancelled)
{
    setMaximumSize(1200, 1000);

    QString letter1 = shortcutLetter(button1);
    QString letter2 = shortcutLetter(button2);
    if (letter1 == letter2) letter1 = letter2 = QString();

    auto* outer = new QHBoxLayout(this);
    outer->setSpacing(10);
    outer->setContentsMargins(10, 20, 25, 0);
    if (icon != QMessageBox::Information && icon != QMessageBox::Question) {
        IconLabel = new QLabel;
        IconLabel->setPixmap(standardIcon(icon));
        IconLabel->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
        outer->addWidget(IconLabel);
    }

    auto* inner = new QVBoxLayout;
    inner->setSpacing(7);
    inner->setContentsMargins(0, 0, 0, 0);
    TextLabel = new QLabel(text + QLatin1Char('\n'));
    if (centered) TextLabel->setAlignment(Qt::AlignCenter);
    if (courier) TextLabel->setFont(QFont(QStringLiteral("Courier")));
    inner->addWidget(TextLabel);

    addButtonRow(inner, button1, button2);

    // The flag says "no answer" until one of the two answers is given.
    if (Cancelled) {
        *Cancelled = true;
        ButtonCancel = new QPushButton(QStringLiteral("cancel"));
        ButtonCancel->setMaximumSize(50, 16);
        inner->addWidget(ButtonCancel, 0, Qt::AlignHCenter);
        connect(ButtonCancel, &QPushButton::clicked, this, &QDialog::reject);
    }

    CopyHintLabel = copyHint();
    inner->addWidget(CopyHintLabel);
    outer->addLayout(inner);

    Button1->setDefault(true);
    Button1->setFocus();

    if (seconds > 0) {
        CountDown = seconds;
        TimerId = startTimer(1000);
        renewButton1();
    }

    addShortcuts(letter1, letter2);
    CopyAction = copyAction(this);
    connect(CopyAction, &QAction::triggered, this, &fmMessageBox::CopyText);

    setModal(exec);
    if (exec) this->exec();
}

// The answer buttons, centred between two spacers.
void fmMessageBox::addButtonRow(QVBoxLayout* inner, const QString& button1, const QString& button2)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(20);
    Spacer1 = new QSpacerItem(5, 5, QSizePolicy::Expanding, QSizePolicy::Minimum);
    row->addItem(Spacer1);
    Button1 = new QPushButton(button1);
    Button1->setMinimumSize(130, 20);
    row->addWidget(Button1);
    connect(Button1, &QPushButton::clicked, this, &fmMessageBox::Button1Pressed);
    if (!button2.isEmpty()) {
        Button2 = new QPushButton(button2);
        Button2->setMinimumSize(130, 20);
        row->addWidget(Button2);
        connect(Button2, &QPushButton::clicked, this, &fmMessageBox::Button2Pressed);
    }
    Spacer2 = new QSpacerItem(5, 5, QSizePolicy::Expanding, QSizePolicy::Minimum);
    row->addItem(Spacer2);
    inner->addLayout(row);
}

// One-key shortcuts for the two answers; none when both answers start alike.
void fmMessageBox::addShortcuts(const QString& letter1, const QString& letter2)
{
    if (!letter1.isEmpty()) {
        Shortcut1 = new QAction(this);
        Shortcut1->setShortcut(QKeySequence(letter1));
        connect(Shortcut1, &QAction::triggered, this, &fmMessageBox::Button1Pressed);
        addAction(Shortcut1);
    }
    if (!letter2.isEmpty() && Button2) {
        Shortcut2 = new QAction(this);
        Shortcut2->setShortcut(QKeySequence(letter2));
        connect(Shortcut2, &QAction::triggered, this, &fmMessageBox::Button2Pressed);
        addAction(Shortcut2);
    }
}

fmMessageBox::~fmMessageBox()
{
    if (TimerId) killTimer(TimerId);
}

QString fmMessageBox::shortcutLetter(const QString& buttonText)
{
    if (buttonText.isEmpty()) return QString();
    if (buttonText.startsWith(QLatin1Char('&'))) return buttonText.mid(1, 1).toLower();
    return buttonText.left(1).toLower();
}

QPixmap fmMessageBox::standardIcon(QMessageBox::Icon icon)
{
    QStyle* style = QApplication::style();
    if (!style) return QPixmap();
    const int size = style->pixelMetric(QStyle::PM_MessageBoxIconSize);
    QStyle::StandardPixmap which;
    switch (icon) {
    case QMessageBox::Information:
        which = QStyle::SP_MessageBoxInformation;
        break;
    case QMessageBox::Warning:
        which = QStyle::SP_MessageBoxWarning;
        break;
    case QMessageBox::Critical:
        which = QStyle::SP_MessageBoxCritical;
        break;
    case QMessageBox::Question:
        which = QStyle::SP_MessageBoxQuestion;
        break;
    default:
        return QPixmap();
    }
    return style->standardIcon(which).pixmap(size, size);
}

void fmMessageBox::renewButton1()
{
    if (CountDown > 0)
        Button1->setText(Button1Text + QStringLiteral("  (%1)").arg(CountDown));
    else
        Button1->setText(Button1Text);
}

void fmMessageBox::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != TimerId) {
        QDialog::timerEvent(event);
        return;
    }
    --CountDown;
    renewButton1();
    // A time-out is the first answer; the cancel flag keeps saying "no answer given".
    if (CountDown <= 0) {
        killTimer(TimerId);
        TimerId = 0;
        accept();
    }
}

void fmMessageBox::Button1Pressed()
{
    if (Cancelled) *Cancelled = false;
    accept();
}

void fmMessageBox::Button2Pressed()
{
    if (Cancelled) *Cancelled = false;
    reject();
}

void fmMessageBox::CopyText()
{
    if (QClipboard* clipboard = QApplication::clipboard()) clipboard->setText(TextLabel->text());
}

bool fmMessageBox::NoIcon(QWidget* parent, const QString& text, const QString& button1, int seconds,
                          const QString& button2, bool* cancelled, bool courier)
{
    return run(parent, QMessageBox::NoIcon, text, button1, seconds, button2, cancelled, !courier, courier);
}

bool fmMessageBox::Information(QWidget* parent, const QString& text, const QString& button1, int seconds,
                               const QString& button2, bool* cancelled, bool courier)
{
    return run(parent, QMessageBox::Information, text, button1, seconds, button2, cancelled, !courier,
               courier);
}

bool fmMessageBox::Information_noCenter(QWidget* parent, const QString& text, const QString& button1,
                                        int seconds, const QString& button2, bool* cancelled, bool courier)
{
    return run(parent, QMessageBox::Information, text, button1, seconds, button2, cancelled, false, courier);
}

bool fmMessageBox::Information_noCenterCourier(QWidget* parent, const QString& text, const QString& button1,
                                               int seconds, const QString& button2, bool* cancelled, bool)
{
    return run(parent, QMessageBox::Information, text, button1, seconds, button2, cancelled, false, true);
}

bool fmMessageBox::Warning(QWidget* parent, const QString& text, const QString& button1, int seconds,
                           const QString& button2, bool* cancelled, bool courier)
{
    return run(parent, QMessageBox::Warning, text, button1, seconds, button2, cancelled, !courier, courier);
}

bool fmMessageBox::Critical(QWidget* parent, const QString& text, const QString& button1, int seconds,
                            const QString& button2, bool* cancelled, bool courier)
{
    return run(parent, QMessageBox::Critical, text, button1, seconds, button2, cancelled, !courier, courier);
}

bool fmMessageBox::Question(QWidget* parent, const QString& text, const QString& button1, int seconds,
                            const QString& button2, bool* cancelled, bool courier)
{
    return run(parent, QMessageBox::Question, text, button1, seconds, button2, cancelled, !courier, courier);
}

fmMessageBox4Buttons::fmMessageBox4Buttons(QWidget* parent, const QString& text, const QString& b1,
                                           const QString& b2, const QString& b3, const QString& b4)
    : QDialog(parent)
{
    setMaximumSize(1200, 1000);
    auto* outer = new QHBoxLayout(this);
    outer->setSpacing(10);
    outer->setContentsMargins(10, 20, 25, 0);
    auto* inner = new QVBoxLayout;
    inner->setSpacing(7);
    inner->setContentsMargins(0, 0, 0, 0);
    TextLabel = new QLabel(text + QLatin1Char('\n'));
    TextLabel->setAlignment(Qt::AlignCenter);
    inner->addWidget(TextLabel);

    auto* row = new QHBoxLayout;
    row->setSpacing(20);
    row->addItem(new QSpacerItem(5, 5, QSizePolicy::Expanding, QSizePolicy::Minimum));
    const QString texts[4] = {b1, b2, b3, b4};
    void (fmMessageBox4Buttons::*handlers[4])() = {
        &fmMessageBox4Buttons::Button1Pressed, &fmMessageBox4Buttons::Button2Pressed,
        &fmMessageBox4Buttons::Button3Pressed, &fmMessageBox4Buttons::Button4Pressed};
    for (int i = 0; i < 4; ++i) {
        if (texts[i].isEmpty()) continue;
        Button[i] = new QPushButton(texts[i]);
        Button[i]->setMinimumSize(130, 20);
        row->addWidget(Button[i]);
        connect(Button[i], &QPushButton::clicked, this, handlers[i]);
    }
    row->addItem(new QSpacerItem(5, 5, QSizePolicy::Expanding, QSizePolicy::Minimum));
    inner->addLayout(row);
    CopyHintLabel = copyHint();
    inner->addWidget(CopyHintLabel);
    outer->addLayout(inner);
    if (Button[0]) {
        Button[0]->setDefault(true);
        Button[0]->setFocus();
    }
    CopyAction = copyAction(this);
    connect(CopyAction, &QAction::triggered, this, &fmMessageBox4Buttons::CopyText);
    setModal(true);
}

int fmMessageBox4Buttons::Question(QWidget* parent, const QString& text, const QString& b1, const QString& b2,
                                   const QString& b3, const QString& b4)
{
    if (!mayShow()) return 0;
    fmMessageBox4Buttons box(parent, text, b1, b2, b3, b4);
    box.exec();
    return box.Result;
}

void fmMessageBox4Buttons::Button1Pressed()
{
    Result = 1;
    accept();
}

void fmMessageBox4Buttons::Button2Pressed()
{
    Result = 2;
    accept();
}

void fmMessageBox4Buttons::Button3Pressed()
{
    Result = 3;
    accept();
}

void fmMessageBox4Buttons::Button4Pressed()
{
    Result = 4;
    accept();
}

void fmMessageBox4Buttons::CopyText()
{
    if (QClipboard* clipboard = QApplication::clipboard()) clipboard->setText(TextLabel->text());
}

void fmInstallLogMessageBox()
{
    __FMSDK::MessageBoxHook = [](bool critical, const QString& text, const QString& button, int seconds,
                                 bool courier) {
        if (critical)
            return fmMessageBox::Critical(nullptr, text, button, seconds, QString(), nullptr, courier);
        return fmMessageBox::Warning(nullptr, text, button, seconds, QString(), nullptr, courier);
    };
}
