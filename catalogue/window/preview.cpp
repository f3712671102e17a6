// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/preview.h"

#include "common/failure.h"
#include "reading/medium.h"
#include "window/isolatedwindow.h"
#include "window/language.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QScreen>

namespace
{

struct Picture {
    QString name;
    QPixmap pixmap;
};

/// A window of the tool from the moment on in which it takes up a medium, and the pictures taken of it.
class Walk
{
public:
    explicit Walk(const Medium &medium)
        : screenSize(window.widget().size()) // the form is as big as the controller's screen
    {
        window.show();
        window.mountAt(medium.mountDirectory);
        window.read(medium.catalogue);
        if (window.operations())
            startCountdown();
    }

    /// From the list, or the start of the batch, to its end.
    void goThrough()
    {
        if (window.operations())
            choose();
        else if (window.runList().isEmpty())
            take("list");
        if (!window.runList().isEmpty())
            showBatch();
    }

    void startToAbort()
    {
        if (window.operations())
            window.startToAbort([this](QMessageBox &box) { takeWith("abort", box); });
    }

    QVector<Picture> pictures;

private:
    /// The tool counts once in its life, so that in a later window of this program it would go on counting.
    void startCountdown()
    {
        window.tick();
        auto *remaining = window.widget().findChild<QLabel *>("timeout");
        static const QString atFirst = remaining->text();
        remaining->setText(atFirst);
    }

    void choose()
    {
        take("list");
        const QStandardItemModel &operations = *window.operations();
        QStringList chosen; // a second tap on a name would take it out again
        for (int row = 0; row < qMin(mostChosen, operations.rowCount()); ++row) {
            const QString name = operations.item(row)->text();
            if (chosen.contains(name))
                continue;
            chosen.append(name);
            window.tap(row);
        }
        take("selected");
        window.confirm([this](QMessageBox &box) { takeWith("question", box); });
    }

    void showBatch()
    {
        take("start");
        const int commands = window.runList().size();
        int started = 0;
        window.runBatch([&](const QString &) {
            if (started++ == commands / 2)
                take("running");
            return 0;
        });
        if (started <= commands / 2)
            take("running"); // so much is skipped that the middle of the batch never runs
        take("finished");
        window.tapDetails();
        take("details");
    }

    void take(const QString &name)
    {
        pictures.append({name, screen()});
    }

    /// The question stands where Qt puts it on the controller's screen. The one that is drawn on here is
    /// higher; Qt centres a question, and one that is too high for that begins at the top.
    void takeWith(const QString &name, QMessageBox &box)
    {
        QPixmap picture = screen();
        const int higher = QGuiApplication::primaryScreen()->geometry().height() - screenSize.height();
        QPainter(&picture).drawPixmap(box.x(), qMax(0, box.y() - higher / 2), box.grab());
        pictures.append({name, picture});
    }

    QPixmap screen()
    {
        QApplication::processEvents(); // which window is the active one shows
        return window.widget().grab(QRect(QPoint(), screenSize));
    }

    IsolatedWindow window;
    const QSize screenSize;
};

/// Every screen that the operator sees.
QVector<Picture> picturesOf(const Medium &medium)
{
    Walk walk(medium);
    walk.goThrough();
    Walk abortedOne(medium);
    abortedOne.startToAbort();
    return walk.pictures + abortedOne.pictures;
}

bool save(const QPixmap &picture, const QString &file, QStringList *files)
{
    files->append(file);
    return picture.save(file);
}

bool writePictures(const QVector<Picture> &pictures, const QString &folder, QStringList *files)
{
    bool written = true;
    int number = 0;
    for (const Picture &picture : pictures) {
        const QString file = QString("%1-%2.png").arg(++number, 2, 10, QLatin1Char('0')).arg(picture.name);
        written = save(picture.pixmap, folder + '/' + file, files) && written;
    }
    return written;
}

bool writeSheet(const QVector<Picture> &pictures, const QString &file, QStringList *files)
{
    constexpr int columns = 3;
    constexpr int gap = 16;
    const QSize cell = pictures.first().pixmap.size() / 2;
    const int rows = (pictures.size() + columns - 1) / columns;
    QPixmap sheet(columns * (cell.width() + gap) + gap, rows * (cell.height() + gap) + gap);
    sheet.fill(Qt::darkGray);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (int i = 0; i < pictures.size(); ++i) {
        const QPoint place(gap + i % columns * (cell.width() + gap),
                           gap + i / columns * (cell.height() + gap));
        painter.drawPixmap(QRect(place, cell), pictures.at(i).pixmap.scaled(cell, Qt::IgnoreAspectRatio,
                                                                            Qt::SmoothTransformation));
    }
    painter.end();
    return save(sheet, file, files);
}

} // namespace

bool previewMedium(const Medium &medium, const QString &folder, const QString &language, QStringList *files,
                   Failure *failure)
{
    const bool every = language == everyLanguage;
    const QStringList names =
        every ? Language::codes() : QStringList(language.isEmpty() ? builtInLanguage : language);
    for (const QString &name : names) {
        Language spoken;
        if (!spoken.speak(name, failure))
            return false;
        const QVector<Picture> pictures = picturesOf(medium);
        const QString sheet = folder + (every ? "/contact-sheet-" + name + ".png" : "/contact-sheet.png");
        if (!QDir().mkpath(folder) || !(every || writePictures(pictures, folder, files))
            || !writeSheet(pictures, sheet, files)) {
            *failure = {ExitNoOutput, folder + ": the pictures cannot be written"};
            return false;
        }
    }
    return true;
}
