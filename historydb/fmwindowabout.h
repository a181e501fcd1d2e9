#pragma once
// fmWindowAbout: the "About" window of the history browser: the farm's splash picture and the
// product's notices.

#include <QDialog>

class QLabel;
class QPushButton;

class fmWindowAbout : public QDialog
{
    Q_OBJECT
public:
    // `path` is the root's "sub/" folder (with its trailing "/"); the picture is its
    // "SplashScreen.png". Without the file the picture's label stays empty.
    fmWindowAbout(const QString& path, QWidget* parent);
    // The version line of the root's version.info and its release date, in the label that held "_".
    void setVersion(const QString& version, const QString& releaseDate);

    QPushButton* close = nullptr; // owned by the dialog, as are the labels
    QLabel* Picture = nullptr;
    QLabel* Copyright = nullptr;
    QLabel* Credits = nullptr;
    QLabel* Support = nullptr;
    QLabel* Thanks = nullptr;
    QLabel* Trademarks = nullptr;
    QLabel* Underscore = nullptr;
};
