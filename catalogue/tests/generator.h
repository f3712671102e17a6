// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GENERATOR_H
#define GENERATOR_H

#include <QByteArray>

#include <random>

/// Makes catalogues, from well-formed to hopeless; the same ones for the same seed.
class Generator
{
public:
    explicit Generator(unsigned int seed);

    /// A catalogue of about so many operations.
    QByteArray catalogue(int operations);
    /// One whose list is sound, so that all of its operations count, whatever they are.
    QByteArray bigCatalogue(int operations);
    /// Mostly a few operations, now and then many.
    int size();
    /// A command line, with whatever a splitter has to cope with.
    QByteArray commandLine();

private:
    int below(int limit);
    bool oneIn(int chances);
    QByteArray oneOf(const QByteArray &choices);
    QByteArray key(int number);
    QByteArray value();
    QByteArray hostileText(int pieces);
    QByteArray written(const QByteArray &text);
    QByteArray list(int operations);
    QByteArray systemSection(int operations, const QByteArray &end);
    QByteArray commandSection(int operations, const QByteArray &end);
    void damage(QByteArray *text);

    std::mt19937 random;
};

#endif
