#pragma once
// Two small input dialogs: pick one entry of a list, or edit lines of text.

#include <QDialog>
#include <QStringList>

class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;

// The text with word wrap, a combo box of the list (sorted first when asked; the caller's list is
// sorted too) and the buttons "Select" (focus, accept) and "Abort" (reject).
class fmStringListDialog : public QDialog
{
    Q_OBJECT
public:
    fmStringListDialog(QStringList& list, const QString& text, bool sort, QWidget* parent);

    QString selectedText() const;
    int selectedIndex() const;

    QLabel* TextLabel = nullptr;
    QComboBox* Combo = nullptr;
    QPushButton* ButtonSelect = nullptr;
    QPushButton* ButtonAbort = nullptr;
};

// The text, an editor of at least 500 by 250 without line wrap holding the lines, and the buttons
// "Ok" (focus, accept) and "Abort" (reject).
class fmEditLinesDialog : public QDialog
{
    Q_OBJECT
public:
    fmEditLinesDialog(const QString& text, const QString& lines, QWidget* parent = nullptr);

    QString lines() const;

    QLabel* TextLabel = nullptr;
    QPlainTextEdit* Edit = nullptr;
    QPushButton* ButtonOk = nullptr;
    QPushButton* ButtonAbort = nullptr;
};
