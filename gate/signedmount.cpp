// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/signedmount.h"

#include "gate/copy.h"
#include "gate/mounts.h"
#include "gate/text.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef MS_NOSYMFOLLOW
#define MS_NOSYMFOLLOW 256 // known to Linux 5.10; an older one passes over it
#endif

namespace gate
{

namespace
{

constexpr unsigned long harmless = MS_NOSUID | MS_NODEV | MS_NOSYMFOLLOW | MS_NOATIME;
constexpr std::uint64_t spareEntries =
    16; ///< for the root, the folder for results and what the kernel counts besides
constexpr std::uint64_t spareBytes = 65536;
constexpr std::uint64_t largestDescriptor = std::numeric_limits<int>::max();

// --- What the processes tell one another ------------------------------------------------------------------

/// From the judge to the stage and on to the caller, in this order: what the copy needs, if it comes to
/// that, and the outcome. Each is one write to a pipe, which is whole.
struct Message {
    enum Kind : std::uint32_t { RoomNeeded, Finished };

    Kind kind;
    std::uint32_t isAccepted;
    std::uint32_t hasSerial;
    Needs needs;
    std::uint64_t serial;
    char line[2048]; ///< has room for the longest path, and what is wrong with it
    char note[1024];
};

static_assert(sizeof(Message) <= PIPE_BUF, "or it is not written at once");

struct Pipe {
    Descriptor reading, writing;
};

Pipe newPipe()
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        ends[0] = ends[1] = -1; // nothing can be read from it, which is noticed
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

template <std::size_t size>
void setText(char (&field)[size], const std::string &text)
{
    std::memset(field, 0, size);
    std::memcpy(field, text.data(), std::min(text.size(), size - 1));
}

template <std::size_t size>
std::string textOf(const char (&field)[size])
{
    return printable({field, strnlen(field, size)}, size);
}

void send(const Descriptor &pipe, const Message &message)
{
    while (write(pipe.number(), &message, sizeof message) < 0 && errno == EINTR) {
    }
}

bool receive(const Descriptor &pipe, Message *message)
{
    *message = Message();
    return readSome(pipe, reinterpret_cast<char *>(message), sizeof *message)
           == static_cast<long>(sizeof *message);
}

Message finished(const Verdict &verdict)
{
    Message message = {};
    message.kind = Message::Finished;
    message.isAccepted = verdict.isAccepted;
    message.hasSerial = verdict.manifest.serial.has_value();
    message.serial = verdict.manifest.serial.value_or(0);
    setText(message.line, verdict.isAccepted ? "signed by " + printable(verdict.key) : verdict.refusal);
    return message;
}

Message refused(const std::string &why)
{
    Verdict verdict;
    verdict.refusal = why;
    return finished(verdict);
}

/// Runs `work` in a process that ends with this one, and returns its number. It gets no further than that.
pid_t inProcess(const std::function<void()> &work)
{
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0)
        return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        if (getppid() == parent)
            work();
    } catch (const std::exception &) {
        _exit(1); // no memory; what waits for an answer gets none
    }
    std::exit(0);
}

// --- The judge --------------------------------------------------------------------------------------------

/// Gives up whatever root can do but for reading others' files, which may be on an ext4.
bool giveUpPower()
{
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2] = {};
    sets[CAP_TO_INDEX(CAP_DAC_READ_SEARCH)].effective = CAP_TO_MASK(CAP_DAC_READ_SEARCH);
    sets[CAP_TO_INDEX(CAP_DAC_READ_SEARCH)].permitted = CAP_TO_MASK(CAP_DAC_READ_SEARCH);
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && syscall(SYS_capset, &header, sets) == 0;
}

/// Closes what this process has of others' files, such as locks, but for its part of the two pipes.
bool closeOthers(const Descriptor &outbox, const Descriptor &inbox)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(opendir("/proc/self/fd"), closedir);
    std::vector<int> numbers;
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr)
        numbers.push_back(static_cast<int>(readNumber(entry->d_name, largestDescriptor).value_or(0)));
    for (const int number : numbers) {
        const bool isKept = number <= STDERR_FILENO || number == outbox.number() || number == inbox.number();
        if (!isKept && number != dirfd(listing.get()))
            close(number);
    }
    return listing != nullptr;
}

/// Shuts this process into the stage.
bool shutIn(const std::string &stage)
{
    return chroot(stage.c_str()) == 0 && chdir("/") == 0 && giveUpPower();
}

/// Reads the medium; the only process that does. Asks for room by `outbox` and takes any byte for a yes.
[[noreturn]] void runJudge(const std::string &stage, const Policy &policy, const Descriptor &outbox,
                           const Descriptor &inbox)
{
    if (!closeOthers(outbox, inbox) || !shutIn(stage)) {
        send(outbox, refused("the judge cannot be shut in: " + systemError()));
        _exit(0);
    }
    const Descriptor medium(open("medium", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const Verdict verdict = judgeAndCopy(medium, policy, [&](const Manifest &manifest, std::string *error) {
        Message message = {};
        message.kind = Message::RoomNeeded;
        message.needs = needsOf(manifest);
        send(outbox, message);
        char answer = 0;
        *error = "there is no room for the copy";
        return Descriptor(readSome(inbox, &answer, 1) == 1 ? open("copy", O_PATH | O_DIRECTORY | O_CLOEXEC)
                                                           : -1);
    });
    send(outbox, finished(verdict));
    _exit(0); // what a program does at its end needs files that are outside
}

// --- The stage --------------------------------------------------------------------------------------------

/// The namespace in which the medium is mounted.
class Stage
{
public:
    Stage(const Medium &itsMedium, const Policy &itsPolicy, const std::string &itsDirectory,
          const std::string &where)
        : medium(itsMedium)
        , policy(itsPolicy)
        , directory(itsDirectory)
        , root(where)
    {
    }

    /// All of it, in a process of its own.
    Message run()
    {
        std::string error;
        if (!separate(&error)
            || !medium.mountAt(root + "/medium", harmless | MS_RDONLY | MS_NOEXEC, linkToDevice(), &error))
            return refused("cannot be mounted: " + error);
        Message message = judged();
        if (message.isAccepted == 0)
            return message;
        std::string note;
        if (policy.settings.results && !addResults(&note))
            setText(message.note, "no folder for results: " + note);
        return handOver(&error) ? message : refused("the copy cannot be mounted: " + error);
    }

private:
    /// The medium's device under a name that df can show without the tool taking it for a medium.
    std::string linkToDevice() const
    {
        return root + '/' + medium.name();
    }

    bool separate(std::string *error);
    bool makeRoom(const Needs &needs);
    Message judged();
    bool addResults(std::string *error);
    bool handOver(std::string *error);

    const Medium &medium;
    const Policy &policy;
    const std::string directory, root;
};

bool failed(std::string *error)
{
    *error = systemError();
    return false;
}

/// What is mounted from here on is seen in this namespace only, but for what is on the directory's mount.
bool Stage::separate(std::string *error)
{
    const Mount shared = mountOf(directory);
    if (shared.id == 0 || shared.id == mountOf(root).id) {
        *error = root + " is on the same mount as " + directory;
        return false;
    }
    if (unshare(CLONE_NEWNS) != 0)
        return failed(error);
    for (const Mount &mounted : currentMounts()) {
        // By their directories, which lead to the upmost where one covers another; no other can be reached.
        if (mounted.directory != shared.directory)
            mount(nullptr, mounted.directory.c_str(), nullptr, MS_PRIVATE, nullptr);
    }
    if (mountOf(root).isShared) {
        *error = root + " cannot be made private";
        return false;
    }
    if (mount("zul_media", root.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "size=64K,mode=700") != 0
        || mkdir((root + "/medium").c_str(), 0700) != 0 || mkdir((root + "/copy").c_str(), 0700) != 0)
        return failed(error);
    return true;
}

/// Mounts the memory file system of the copy. Its name is the device's, as df shows it once it is moved.
bool Stage::makeRoom(const Needs &needs)
{
    const std::uint64_t largest = policy.settings.maximumSize + mostFiles * std::uint64_t(65536);
    if (needs.bytes > largest || needs.entries > mostFiles + mostFolders)
        return false;
    const std::string options = "mode=755,size=" + std::to_string(needs.bytes + spareBytes)
                                + ",nr_inodes=" + std::to_string(needs.entries + spareEntries);
    const std::string name = "/dev/" + medium.name();
    return mount(name.c_str(), (root + "/copy").c_str(), "tmpfs", MS_NOSUID | MS_NODEV | MS_NOATIME,
                 options.c_str())
           == 0;
}

Message Stage::judged()
{
    Pipe questions = newPipe(), answers = newPipe();
    const pid_t judge = inProcess([&] {
        questions.reading = Descriptor();
        answers.writing = Descriptor(); // or it would wait for itself
        runJudge(root, policy, questions.writing, answers.reading);
    });
    questions.writing = Descriptor();
    answers.reading = Descriptor();
    Message message;
    bool isComplete = judge > 0 && receive(questions.reading, &message);
    if (isComplete && message.kind == Message::RoomNeeded) {
        if (makeRoom(message.needs))
            isComplete = write(answers.writing.number(), "y", 1) == 1;
        answers.writing = Descriptor();
        isComplete = isComplete && receive(questions.reading, &message);
    }
    int status = 0;
    const bool isWell =
        judge > 0 && waitpid(judge, &status, 0) == judge && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!isComplete || !isWell || message.kind != Message::Finished)
        return refused("the judge has ended without a verdict");
    return message;
}

/// Mounts the medium's folder for results in the copy, where commands may write, but start nothing.
bool Stage::addResults(std::string *error)
{
    const std::string place = root + "/copy/" + resultsFolder;
    // Anew, because what was mounted for reading has done without the journal, if there is one.
    if (umount2((root + "/medium").c_str(), UMOUNT_NOFOLLOW) != 0)
        return failed(error);
    if (!medium.mountAt(root + "/medium", harmless | MS_NOEXEC, linkToDevice(), error))
        return false;
    if (isReadOnly(mountOf(root + "/medium"))) {
        *error = "the medium is locked";
        return false;
    }
    const Descriptor top(open((root + "/medium").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (mkdirat(top.number(), resultsFolder, 0755) != 0 && errno != EEXIST)
        return failed(error);
    const Descriptor folder(
        openat(top.number(), resultsFolder, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const std::string source = "/proc/self/fd/" + std::to_string(folder.number());
    if (!folder.isOpen() || mkdir(place.c_str(), 0755) != 0
        || mount(source.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) != 0)
        return failed(error);
    if (mount(nullptr, place.c_str(), nullptr, MS_REMOUNT | MS_BIND | harmless | MS_NOEXEC, nullptr) != 0)
        failed(error);
    else if (followsLinks(mountOf(place)))
        *error = "this kernel would follow the links in it";
    else
        return true;
    umount2(place.c_str(), MNT_DETACH); // writable, but not harmless
    return false;
}

bool Stage::handOver(std::string *error)
{
    const std::string copy = root + "/copy";
    return (mount(nullptr, copy.c_str(), nullptr, MS_REMOUNT | MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOATIME,
                  nullptr)
                == 0
            && mount(copy.c_str(), directory.c_str(), nullptr, MS_MOVE, nullptr) == 0)
           || failed(error);
}

} // namespace

bool share(const std::string &directory, std::string *error)
{
    if (mountOf(directory).isShared)
        return true;
    // Of a mount that is not shared no other namespace has a part, so that none loses one.
    const bool isOwn = mountOf(directory).directory == directory;
    if ((isOwn || mount(directory.c_str(), directory.c_str(), nullptr, MS_BIND, nullptr) == 0)
        && mount(nullptr, directory.c_str(), nullptr, MS_SHARED, nullptr) == 0)
        return true;
    *error = directory + " cannot be shared: " + systemError();
    return false;
}

Outcome mountSigned(const Medium &medium, const Policy &policy, const std::string &directory,
                    const std::string &stage)
{
    Pipe results = newPipe();
    const pid_t process =
        inProcess([&] { send(results.writing, Stage(medium, policy, directory, stage).run()); });
    results.writing = Descriptor();
    Message message;
    const bool isComplete = process > 0 && receive(results.reading, &message);
    if (process > 0)
        waitpid(process, nullptr, 0);
    if (!isComplete) {
        message = refused("the process that mounts has ended");
        umount2(directory.c_str(), MNT_DETACH); // it may have come so far, and nobody knows of it
    }
    Outcome outcome;
    outcome.isMounted = message.isAccepted != 0;
    outcome.line = textOf(message.line);
    outcome.note = textOf(message.note);
    if (message.hasSerial != 0)
        outcome.serial = message.serial;
    return outcome;
}

} // namespace gate
