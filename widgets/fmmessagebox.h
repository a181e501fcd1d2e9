#pragma once
// The program's modal message box: counts down to an automatic first answer, takes single-letter
// shortcuts for its buttons, can carry a small "cancel" beside the two answers, and copies its
// text with Ctrl+C. A four-button variant belongs to the same family.

#include <QDialog>
#include <QMessageBox>
#include <QPixmap>
#include <QString>

class QAction;
class QLabel;
class QPushButton;
class QSpacerItem;
class QVBoxLayout;

class fmMessageBox : public QDialog
{
    Q_OBJECT
public:
    // With exec set the dialog runs inside the constructor; result() then holds the answer.
    fmMessageBox(QWidget* parent, QMessageBox::Icon icon, const QString& text, const QString& button1,
                 int seconds, const QString& button2, bool* cancelled, const bool& exec, bool centered,
                 bool courier);
    ~fmMessageBox() override;

    // Each returns true exactly when the box ended as accepted (first button or time-out); false
    // without showing anything when there is no application object or off the application's thread.
    static bool NoIcon(QWidget* parent, const QString& text, const QString& button1, int seconds = 0,
                       const QString& button2 = QString(), bool* cancelled = nullptr, bool courier = false);
    static bool Information(QWidget* parent, const QString& text, const QString& button1, int seconds = 0,
                            const QString& button2 = QString(), bool* cancelled = nullptr,
                            bool courier = false);
    static bool Information_noCenter(QWidget* parent, const QString& text, const QString& button1,
                                     int seconds = 0, const QString& button2 = QString(),
                                     bool* cancelled = nullptr, bool courier = false);
    static bool Information_noCenterCourier(QWidget* parent, const QString& text, const QString& button1,
                                            int seconds = 0, const QString& button2 = QString(),
                                            bool* cancelled = nullptr, bool courier = true);
    static bool Warning(QWidget* parent, const QString& text, const QString& button1, int seconds = 0,
                        const QString& button2 = QString(), bool* cancelled = nullptr, bool courier = false);
    static bool Critical(QWidget* parent, const QString& text, const QString& button1, int seconds = 0,
                         const QString& button2 = QString(), bool* cancelled = nullptr, bool courier = false);
    static bool Question(QWidget* parent, const QString& text, const QString& button1, int seconds = 0,
                         const QString& button2 = QString(), bool* cancelled = nullptr, bool courier = false);

    static QPixmap standardIcon(QMessageBox::Icon icon);

    // The shortcut letter of a button text: its first character, or the one behind a leading "&",
    // in lower case; empty for an empty text.
    static QString shortcutLetter(const QString& buttonText);

    QPushButton* Button1 = nullptr;
    QPushButton* Button2 = nullptr;      // null without a second answer
    QPushButton* ButtonCancel = nullptr; // null without a cancel flag
    QSpacerItem* Spacer1 = nullptr;
    QSpacerItem* Spacer2 = nullptr;
    QString Button1Text; // the first button's text without the count-down
    QLabel* IconLabel = nullptr;
    QLabel* TextLabel = nullptr;
    QLabel* CopyHintLabel = nullptr;
    QAction* CopyAction = nullptr;
    QAction* Shortcut1 = nullptr;
    QAction* Shortcut2 = nullptr;
    QString Button2Text;       // kept and unused
    bool* Cancelled = nullptr; // not owned: the caller's flag
    int CountDown = 0;         // seconds left; 0 or below for none

public slots:
    void Button1Pressed();
    void Button2Pressed();
    void CopyText();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void addButtonRow(QVBoxLayout* inner, const QString& button1, const QString& button2);
    void addShortcuts(const QString& letter1, const QString& letter2);
    void renewButton1();
    int TimerId = 0;
};

class fmMessageBox4Buttons : public QDialog
{
    Q_OBJECT
public:
    fmMessageBox4Buttons(QWidget* parent, const QString& text, const QString& b1, const QString& b2,
                         const QString& b3, const QString& b4);

    // The number of the button pressed, 1 to 4; 0 when the box was closed without one, or refused
    // off the application's thread.
    static int Question(QWidget* parent, const QString& text, const QString& b1, const QString& b2,
                        const QString& b3, const QString& b4);

    QPushButton* Button[4] = {nullptr, nullptr, nullptr, nullptr};
    QLabel* IconLabel = nullptr;
    QLabel* TextLabel = nullptr;
    QLabel* CopyHintLabel = nullptr;
    QAction* CopyAction = nullptr;
    int Result = 0;

public slots:
    void Button1Pressed();
    void Button2Pressed();
    void Button3Pressed();
    void Button4Pressed();
    void CopyText();
};

// Installs fmMessageBox as the box that log lines below level 10 raise.
void fmInstallLogMessageBox();
