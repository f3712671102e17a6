// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Gives a target files, where it is not linked with libFuzzer: so any compiler's build replays a corpus.
//
//   fuzz_NAME [-error_exitcode=1] -runs=0 FILE|DIRECTORY...      each file once, in the order of their names
//
// What violates an assertion ends the process by a signal, which is what the option says of libFuzzer.

#include <QDirIterator>
#include <QFile>
#include <QStringList>

#include <cstdio>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace
{

QStringList filesOf(const QString &path)
{
    if (QFileInfo(path).isFile())
        return {path};
    QStringList files;
    for (QDirIterator entries(path, QDir::Files, QDirIterator::Subdirectories); entries.hasNext();)
        files.append(entries.next());
    files.sort();
    return files;
}

bool replay(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s: cannot be read\n", qPrintable(path));
        return false;
    }
    // The last words where the input ends the process.
    std::fprintf(stderr, "Running: %s\n", qPrintable(path));
    const QByteArray bytes = file.readAll();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.constData()),
                           static_cast<size_t>(bytes.size()));
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList files;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "-runs=0" || argument.startsWith("-error_exitcode="))
            continue;
        if (argv[i][0] == '-') {
            std::fprintf(stderr, "%s: this build replays files only\n", argv[i]);
            return 64;
        }
        files += filesOf(QString::fromLocal8Bit(argv[i]));
    }
    LLVMFuzzerInitialize(&argc, &argv);
    bool good = !files.isEmpty();
    for (const QString &path : qAsConst(files))
        good = replay(path) && good;
    std::fprintf(stderr, "%d inputs replayed\n", files.size());
    return good ? 0 : 1;
}
