// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef LANGUAGE_H
#define LANGUAGE_H

#include <QStringList>
#include <QTranslator>

struct Failure;

constexpr char builtInLanguage[] = "en"; ///< needs no translation

/// A language on the controller's screen: its translation and its style sheet, as the service gives them to
/// the tool. For the windows that are made while it lives, one at a time; then it is English again, in which
/// a program begins with speakEnglish().
class Language
{
public:
    Language() = default;
    ~Language();
    Q_DISABLE_COPY(Language)

    /// The codes of the languages that were installed with this program, English's among them.
    static QStringList codes();
    static void speakEnglish();

    /// Takes the language of a code, or a translation file: `name` with a slash, or that ends in ".qm".
    bool speak(const QString &name, Failure *failure);

private:
    QTranslator translator;
};

#endif
