#include "widgets/fmdialogs.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QHBoxLayout* buttonRow(QPushButton* a, QPushButton* b)
{
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (QPushButton* button : {a, b}) {
        button->setMinimumSize(65, 25);
        row->addWidget(button);
    }
    row->addStretch();
    return row;
}

} // namespace

fmStringListDialog::fmStringListDialog(QStringList& list, const QString& text, bool sort, QWidget* parent)
    : QDialog(parent)
{
    if (sort) list.sort();
    auto* layout = new QVBoxLayout(this);
    TextLabel = new QLabel(text);
    TextLabel->setWordWrap(true);
    layout->addWidget(TextLabel);
    Combo = new QComboBox;
    Combo->addItems(list);
    Combo->setMaxVisibleItems(30);
    layout->addWidget(Combo);
    ButtonSelect = new QPushButton(QStringLiteral("Select"));
    ButtonAbort = new QPushButton(QStringLiteral("Abort"));
    layout->addLayout(buttonRow(ButtonSelect, ButtonAbort));
    connect(ButtonSelect, &QPushButton::clicked, this, &QDialog::accept);
    connect(ButtonAbort, &QPushButton::clicked, this, &QDialog::reject);
    ButtonSelect->setDefault(true);
    ButtonSelect->setFocus();
}

QString fmStringListDialog::selectedText() const
{
    return Combo->currentText();
}

int fmStringListDialog::selectedIndex() const
{
    return Combo->currentIndex();
}

fmEditLinesDialog::fmEditLinesDialog(const QString& text, const QString& lines, QWidget* parent)
    : QDialog(parent)
{
    auto* layout = new QVBoxLayout(this);
    TextLabel = new QLabel(text);
    layout->addWidget(TextLabel);
    Edit = new QPlainTextEdit;
    Edit->setMinimumSize(500, 250);
    Edit->setLineWrapMode(QPlainTextEdit::NoWrap);
    Edit->setPlainText(lines);
    layout->addWidget(Edit);
    ButtonOk = new QPushButton(QStringLiteral("Ok"));
    ButtonAbort = new QPushButton(QStringLiteral("Abort"));
    layout->addLayout(buttonRow(ButtonOk, ButtonAbort));
    connect(ButtonOk, &QPushButton::clicked, this, &QDialog::accept);
    connect(ButtonAbort, &QPushButton::clicked, this, &QDialog::reject);
    ButtonOk->setDefault(true);
    ButtonOk->setFocus();
}

QString fmEditLinesDialog::lines() const
{
    return Edit->toPlainText();
}
