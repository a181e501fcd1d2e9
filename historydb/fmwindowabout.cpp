#include "historydb/fmwindowabout.h"

#include <QFont>
#include <QLabel>
#include <QLayout>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QLabel* textLabel(QWidget* parent, const QString& text, int pointSize, bool bold, bool antialias = false)
{
    auto* label = new QLabel(text, parent);
    QFont font(QStringLiteral("Arial"), pointSize);
    font.setBold(bold);
    if (antialias) font.setStyleStrategy(QFont::PreferAntialias);
    label->setFont(font);
    label->setAlignment(Qt::AlignHCenter);
    label->setWordWrap(true);
    return label;
}

} // namespace

fmWindowAbout::fmWindowAbout(const QString& path, QWidget* parent) : QDialog(parent)
{
    setStyleSheet(QStringLiteral("background-color: white; color: rgb(100,110,120);"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 10, 10, 10);

    Picture = new QLabel(this);
    QPixmap picture;
    if (picture.load(path + QStringLiteral("SplashScreen.png"))) Picture->setPixmap(picture);
    Picture->setAlignment(Qt::AlignCenter);

    Copyright = textLabel(this,
                          QStringLiteral("fmHistorydb, a render farm history browser.\n"
                                         "Copyright (c) the fmHistorydb team. All rights reserved."),
                          8, true);
    Credits = textLabel(this, QStringLiteral("The fmHistorydb team (design, programming, icons)"), 8, false);
    Support = textLabel(this, QStringLiteral("Built with the support of the studios that run it."), 8, false);
    Thanks = textLabel(this,
                       QStringLiteral("Thanks to everyone who reported a fault or asked for a feature,\n"
                                      "and to all users of the farm."),
                       8, false);
    Trademarks =
        textLabel(this,
                  QStringLiteral("Qt is a trademark of The Qt Company Ltd. zlib (c) Jean-loup Gailly and "
                                 "Mark Adler. All other product names are trademarks of their owners."),
                  6, false, true);
    Underscore = textLabel(this, QStringLiteral("_"), 8, true);
    close = new QPushButton(QStringLiteral("close"), this);
    connect(close, &QPushButton::clicked, this, &QWidget::close);

    layout->addWidget(Picture, 0, Qt::AlignCenter);
    for (QLabel* label : {Copyright, Credits, Support, Thanks, Trademarks, Underscore})
        layout->addWidget(label);
    layout->addWidget(close, 0, Qt::AlignHCenter);

    setWindowTitle(QStringLiteral("About"));
    setFixedWidth(470);
    setFixedHeight(layout->sizeHint().height());
}

void fmWindowAbout::setVersion(const QString& version, const QString& releaseDate)
{
    Underscore->setText(QStringLiteral("Version %1\nreleased %2")
                            .arg(version.isEmpty() ? QStringLiteral("unknown") : version, releaseDate));
    setFixedHeight(layout()->sizeHint().height());
}
