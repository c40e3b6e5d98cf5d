#include "platform/linux/process/FileLock.h"

#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/TestArea.h"

#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <memory>
#include <thread>
#include <tuple>
#include <vector>

// Newer kinds of processors have the other call alone.
#ifndef SYS_link
#    define SYS_link SYS_linkat
#endif

using namespace std::chrono_literals;

namespace {

enum class Missing { Nothing, Flock, EveryKind, SecondNamesToo };

/// From here on the kernel refuses these locks to this process and its children, as where a file system knows
/// none, or second names for files as well.
bool forbidLocks(Missing missing)
{
    if (missing == Missing::Nothing)
        return true;
    constexpr std::uint32_t number = offsetof(seccomp_data, nr);
    constexpr std::uint32_t command = offsetof(seccomp_data, args[1]);
    const std::uint32_t forbidden = missing == Missing::Flock ? ~std::uint32_t { 0 } : F_OFD_SETLK;
    constexpr std::uint32_t refuse = SECCOMP_RET_ERRNO | ENOLCK;
    std::vector<sock_filter> filter { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, number) };
    if (missing == Missing::SecondNamesToo)
        filter.insert(filter.end(),
            { BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_link, 1, 0),
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_linkat, 0, 1),
                BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM) });
    const std::vector<sock_filter> locks {
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_flock, 3, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_fcntl, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, command),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, forbidden, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, refuse),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    filter.insert(filter.end(), locks.begin(), locks.end());
    const sock_fprog program { .len = static_cast<unsigned short>(filter.size()), .filter = filter.data() };
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
        && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

std::string resultOf(LockResult result)
{
    switch (result) {
    case LockResult::Taken:
        return "taken";
    case LockResult::HeldByAnother:
        return "held";
    case LockResult::Impossible:
        break;
    }
    return "impossible";
}

}

Q_DECLARE_METATYPE(Missing)

class FileLockTest final : public QObject {
    Q_OBJECT

private slots:
    void init();

    void onlyOneProcessHasIt_data();
    void onlyOneProcessHasIt();
    void aProcessThatWasKilledHasItNoMore_data();
    void aProcessThatWasKilledHasItNoMore();
    void whoStaysIsNotWaitedFor_data();
    void whoStaysIsNotWaitedFor();
    void itIsWaitedFor_data();
    void itIsWaitedFor();
    void aFileThatNamesItsOwnerIsThereOnlyWhereItIsNeeded_data();
    void aFileThatNamesItsOwnerIsThereOnlyWhereItIsNeeded();
    void whoHasThePlaceIsBelievedUnlessGone_data();
    void whoHasThePlaceIsBelievedUnlessGone();
    void whoHasThePlaceIsSeenOnAFullDisk();
    void ofManyWhoSeeThatItIsFreeOneHasIt_data();
    void ofManyWhoSeeThatItIsFreeOneHasIt();
    void aHeirThatHasCrashedIsInNobodysWay_data();
    void aHeirThatHasCrashedIsInNobodysWay();
    void whereNoFileCanBeMadeThereIsNoLock();

private:
    /// What another process finds.
    std::string tryElsewhere(std::chrono::milliseconds patience = 0ms) const
    {
        return inChild([&] { return resultOf(FileLock().take(file, patience)); }).answer;
    }

    std::unique_ptr<QTemporaryDir> folder;
    std::filesystem::path file;
};

void FileLockTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    file = folder->filePath("lock").toStdString();
}

namespace {

void addKindsOfLocks()
{
    QTest::addColumn<Missing>("missing");

    QTest::newRow("where flock can be had") << Missing::Nothing;
    QTest::newRow("where it cannot be had") << Missing::Flock;
    QTest::newRow("where no lock can be had") << Missing::EveryKind;
    QTest::newRow("where files have no second names either") << Missing::SecondNamesToo;
}

}

void FileLockTest::onlyOneProcessHasIt_data() { addKindsOfLocks(); }

void FileLockTest::onlyOneProcessHasIt()
{
    QFETCH(Missing, missing);

    const auto end = inChild([&] {
        if (!forbidLocks(missing))
            return std::string("no filter");
        auto lock = std::make_unique<FileLock>();
        std::string answers = resultOf(lock->take(file, 0ms));
        answers += ' ' + tryElsewhere();
        lock.reset();
        return answers + ' ' + tryElsewhere();
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("taken held taken"));
}

void FileLockTest::aProcessThatWasKilledHasItNoMore_data() { addKindsOfLocks(); }

void FileLockTest::aProcessThatWasKilledHasItNoMore()
{
    QFETCH(Missing, missing);

    const auto end = inChild([&] {
        if (!forbidLocks(missing))
            return std::string("no filter");
        const auto killed = inChild([&]() -> std::string {
            FileLock lock;
            if (lock.take(file, 0ms) == LockResult::Taken) {
                lock.stay();
                raise(SIGKILL);
            }
            return {};
        });
        return std::to_string(killed.signal) + ' ' + tryElsewhere();
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("9 taken"));
}

void FileLockTest::whoStaysIsNotWaitedFor_data() { addKindsOfLocks(); }

void FileLockTest::whoStaysIsNotWaitedFor()
{
    QFETCH(Missing, missing);

    const auto end = inChild([&] {
        if (!forbidLocks(missing))
            return std::string("no filter");
        FileLock lock;
        std::ignore = lock.take(file, 0ms);
        lock.stay();
        const auto before = std::chrono::steady_clock::now();
        const auto answer = tryElsewhere(60s);
        return answer + (std::chrono::steady_clock::now() - before < 30s ? " at once" : " after a wait");
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("held at once"));
}

void FileLockTest::itIsWaitedFor_data() { addKindsOfLocks(); }

void FileLockTest::itIsWaitedFor()
{
    QFETCH(Missing, missing);

    const auto end = inChild([&] {
        if (!forbidLocks(missing))
            return std::string("no filter");
        std::array<int, 2> taken {};
        std::array<int, 2> enough {};
        if (pipe(taken.data()) != 0 || pipe(enough.data()) != 0)
            return std::string("no pipe");
        const auto other = fork();
        if (other == 0) {
            {
                FileLock lock;
                std::ignore = lock.take(file, 0ms);
                lock.stay();
                lock.beginEnd();
                std::ignore = write(taken[1], "x", 1);
                char byte = 0;
                std::ignore = read(enough[0], &byte, 1);
                // While the next one waits.
                std::this_thread::sleep_for(100ms);
            }
            _exit(0);
        }
        char byte = 0;
        std::ignore = read(taken[0], &byte, 1);
        const auto atOnce = tryElsewhere();
        std::ignore = write(enough[1], "x", 1);
        const auto later = tryElsewhere(60s);
        waitpid(other, nullptr, 0);
        return atOnce + ' ' + later;
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("held taken"));
}

void FileLockTest::aFileThatNamesItsOwnerIsThereOnlyWhereItIsNeeded_data() { addKindsOfLocks(); }

void FileLockTest::aFileThatNamesItsOwnerIsThereOnlyWhereItIsNeeded()
{
    QFETCH(Missing, missing);
    const auto owner = file.string() + ".owner";

    const auto end = inChild([&] {
        if (!forbidLocks(missing))
            return std::string("no filter");
        auto lock = std::make_unique<FileLock>();
        std::ignore = lock->take(file, 0ms);
        const bool isThere = std::filesystem::exists(owner);
        lock.reset();
        return std::to_string(isThere) + std::to_string(std::filesystem::exists(owner));
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray(missing >= Missing::EveryKind ? "10" : "00"));
}

void FileLockTest::whoHasThePlaceIsBelievedUnlessGone_data()
{
    QTest::addColumn<int>("word");
    QTest::addColumn<QByteArray>("instead");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("a process that runs") << -1 << QByteArray() << QByteArray("held");
    QTest::newRow("on another machine") << 0 << QByteArray("elsewhere") << QByteArray("held");
    QTest::newRow("before the machine was started") << 1 << QByteArray("earlier") << QByteArray("taken");
    QTest::newRow("in a container") << 2 << QByteArray("pid:[1]") << QByteArray("held");
    QTest::newRow("a process that is gone") << 3 << QByteArray("999999999") << QByteArray("taken");
    QTest::newRow("a number that is used again") << 4 << QByteArray("1") << QByteArray("taken");
    QTest::newRow("nobody") << 5 << QByteArray() << QByteArray("taken");
}

void FileLockTest::whoHasThePlaceIsBelievedUnlessGone()
{
    QFETCH(int, word);
    QFETCH(QByteArray, instead);
    QFETCH(QByteArray, expected);
    const auto owner = file.string() + ".owner";

    const auto end = inChild([&] {
        if (!forbidLocks(Missing::EveryKind))
            return std::string("no filter");
        FileLock lock;
        std::ignore = lock.take(file, 0ms);
        auto words = QByteArray::fromStdString(contentOf(owner)).trimmed().split(' ');
        if (word >= 0 && word < words.size())
            words[word] = instead;
        put(owner, word < words.size() ? words.join(' ').toStdString() + '\n' : "");
        return tryElsewhere();
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), expected);
}

void FileLockTest::whoHasThePlaceIsSeenOnAFullDisk()
{
    const auto end = inChild([&] {
        if (!forbidLocks(Missing::EveryKind))
            return std::string("no filter");
        FileLock lock;
        std::ignore = lock.take(file, 0ms);
        // No file takes anything from here on.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit nothing {};
        if (setrlimit(RLIMIT_FSIZE, &nothing) != 0)
            return std::string("no limit");
        return tryElsewhere();
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("held"));
}

void FileLockTest::ofManyWhoSeeThatItIsFreeOneHasIt_data()
{
    QTest::addColumn<bool>("heirIsGone");

    QTest::newRow("its owner is gone") << false;
    QTest::newRow("and so is the heir") << true;
}

void FileLockTest::ofManyWhoSeeThatItIsFreeOneHasIt()
{
    QFETCH(bool, heirIsGone);
    const auto owner = file.string() + ".owner";
    constexpr int processes = 40;
    const auto end = inChild([&] {
        if (!forbidLocks(Missing::EveryKind))
            return std::string("no filter");
        for (int round = 0; round < 10; ++round) {
            std::ignore = inChild([&]() -> std::string {
                FileLock lock;
                std::ignore = lock.take(file, 0ms);
                lock.stay();
                raise(SIGKILL);
                return {};
            });
            if (heirIsGone)
                put(owner + ".heir", contentOf(owner));
            // Nobody who has it lets go of it before all have tried.
            std::array<int, 2> answers {};
            std::array<int, 2> allHaveTried {};
            if (pipe(answers.data()) != 0 || pipe(allHaveTried.data()) != 0)
                return std::string("no pipe");
            for (int i = 0; i < processes; ++i) {
                if (fork() != 0)
                    continue;
                {
                    FileLock lock;
                    const char answer = resultOf(lock.take(file, 200ms)).front();
                    std::ignore = write(answers[1], &answer, 1);
                    char byte = 0;
                    std::ignore = read(allHaveTried[0], &byte, 1);
                }
                _exit(0);
            }
            int taken = 0;
            for (int i = 0; i < processes; ++i) {
                char answer = 0;
                std::ignore = read(answers[0], &answer, 1);
                taken += answer == 't' ? 1 : 0;
            }
            std::ignore = write(allHaveTried[1], std::string(processes, 'x').data(), processes);
            while (wait(nullptr) > 0) { }
            for (const int descriptor : { answers[0], answers[1], allHaveTried[0], allHaveTried[1] })
                close(descriptor);
            if (taken != 1)
                return std::to_string(taken) + " in round " + std::to_string(round);
        }
        return std::string("one");
    });

    QCOMPARE(QByteArray::fromStdString(end.answer), QByteArray("one"));
}

void FileLockTest::aHeirThatHasCrashedIsInNobodysWay_data()
{
    QTest::addColumn<bool>("namesItself");

    QTest::newRow("before it has named itself") << false;
    QTest::newRow("after that") << true;
}

void FileLockTest::aHeirThatHasCrashedIsInNobodysWay()
{
    QFETCH(bool, namesItself);

    const auto end = inChild([&] {
        if (!forbidLocks(Missing::EveryKind))
            return std::string("no filter");
        std::ignore = inChild([&]() -> std::string {
            FileLock lock;
            std::ignore = lock.take(file, 0ms);
            raise(SIGKILL);
            return {};
        });
        const auto owner = file.string() + ".owner";
        put(owner + ".heir", namesItself ? contentOf(owner) : "");
        std::string answers;
        for (int i = 0; i < 2; ++i)
            answers += tryElsewhere(100ms) + ' ';
        return answers + std::to_string(std::filesystem::exists(owner + ".heir"));
    });

    // At the latest the second one.
    QVERIFY2(end.answer.ends_with("taken 0"), end.answer.c_str());
}

void FileLockTest::whereNoFileCanBeMadeThereIsNoLock()
{
    FileLock lock;

    QCOMPARE(lock.take(file / "below" / "lock", 0ms), LockResult::Impossible);
}

static const TestArea area("FileLock", runTest<FileLockTest>);
#include "FileLockTest.moc"
