// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/preview.h"

#include "common/failure.h"
#include "reading/medium.h"
#include "window/isolatedwindow.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPixmap>
#include <QTranslator>

namespace
{

/// One preview: a window of the tool, and the pictures taken of it.
class Walk
{
public:
    explicit Walk(const QString &itsFolder)
        : folder(itsFolder)
    {
        window.widget().show();
    }

    bool run(const QString &catalogue)
    {
        window.read(catalogue);
        if (const QStandardItemModel *operations = window.operations()) {
            window.tick();
            choose(*operations);
        } else if (window.runList().isEmpty()) {
            take("list");
        }
        if (!window.runList().isEmpty())
            showBatch();
        return written && writeSheet();
    }

    QStringList files;

private:
    void choose(const QStandardItemModel &operations)
    {
        take("list");
        QStringList chosen; // a second tap on a name would take it out again
        for (int row = 0; row < qMin(mostChosen, operations.rowCount()); ++row) {
            const QString name = operations.item(row)->text();
            if (chosen.contains(name))
                continue;
            chosen.append(name);
            window.tap(row);
        }
        take("selected");
        window.confirm([this](QMessageBox &box) { takeWith(box); });
    }

    void takeWith(QMessageBox &box)
    {
        QPixmap picture = window.widget().grab();
        const QPixmap question = box.grab();
        QPainter(&picture).drawPixmap((screenSize.width() - question.width()) / 2,
                                      (screenSize.height() - question.height()) / 2, question);
        take("question", picture);
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
        QApplication::processEvents();
        take(name, window.widget().grab());
    }

    void take(const QString &name, const QPixmap &picture)
    {
        const QString file =
            folder + QString("/%1-%2.png").arg(files.size() + 1, 2, 10, QLatin1Char('0')).arg(name);
        written = picture.save(file) && written;
        files.append(file);
        pictures.append(picture);
    }

    bool writeSheet()
    {
        constexpr int columns = 3;
        constexpr int gap = 16;
        const QSize cell = screenSize / 2;
        const int rows = (pictures.size() + columns - 1) / columns;
        QPixmap sheet(columns * (cell.width() + gap) + gap, rows * (cell.height() + gap) + gap);
        sheet.fill(Qt::darkGray);
        QPainter painter(&sheet);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        for (int i = 0; i < pictures.size(); ++i) {
            const QPoint place(gap + i % columns * (cell.width() + gap),
                               gap + i / columns * (cell.height() + gap));
            painter.drawPixmap(QRect(place, cell),
                               pictures.at(i).scaled(cell, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        }
        painter.end();
        files.append(folder + "/contact-sheet.png");
        return sheet.save(files.last());
    }

    const QString folder;
    IsolatedWindow window;
    const QSize screenSize = window.widget().size(); // the form is as big as the screen
    QVector<QPixmap> pictures;
    bool written = true;
};

/// A translation, installed as long as it lives.
class Language
{
public:
    bool load(const QString &file)
    {
        return translator.load(file) && QApplication::installTranslator(&translator);
    }

    ~Language()
    {
        QApplication::removeTranslator(&translator);
    }

private:
    QTranslator translator;
};

} // namespace

bool previewMedium(const Medium &medium, const QString &folder, const QString &languageFile,
                   QStringList *files, Failure *failure)
{
    Language language;
    if (!languageFile.isEmpty() && !language.load(languageFile)) {
        *failure = {ExitNoInput, languageFile + ": not a translation file that can be read"};
        return false;
    }
    Walk walk(folder);
    const bool done = QDir().mkpath(folder) && walk.run(medium.catalogue);
    *files = walk.files;
    if (!done)
        *failure = {ExitNoOutput, folder + ": the pictures cannot be written"};
    return done;
}
