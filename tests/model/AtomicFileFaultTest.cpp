#include "model/StatsStore.h"
#include "support/AtomicFile.h"
#include "support/FaultyCalls.h"
#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/HandMovedClock.h"
#include "support/OneFolder.h"
#include "support/TestArea.h"

#include <QtTest>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::string today = "2026-11-15";
const std::string oldContent = "the old content";
const std::string newContent = "the new content, which is longer";

/// The errors that each call can give, but for those that would truthfully say something else: that a file is
/// not there or is no link.
const std::map<std::string, std::vector<int>> errorsOf = {
    { "close", { EINTR, EIO, ENOSPC, EDQUOT } },
    { "fchmod", { EINTR, EIO, ENOMEM, EPERM, EROFS, ENOTSUP } },
    { "fstat", { EIO, ENOMEM, EOVERFLOW } },
    { "fsync", { EINTR, EIO, EINVAL, ENOSPC, EDQUOT, EROFS } },
    { "open",
        { EACCES, EDQUOT, EEXIST, EINTR, EIO, EISDIR, ELOOP, EMFILE, ENAMETOOLONG, ENFILE, ENODEV, ENOENT,
            ENOMEM, ENOSPC, ENOTDIR, ENXIO, EOVERFLOW, EPERM, EROFS, ETXTBSY, EAGAIN } },
    { "read", { EAGAIN, EINTR, EINVAL, EIO, EISDIR, ENOMEM } },
    { "readlink", { EACCES, EIO, ELOOP, ENAMETOOLONG, ENOMEM, ENOTDIR } },
    { "remove", { EACCES, EBUSY, EIO, ENOENT, ENOMEM, ENOTDIR, EPERM, EROFS } },
    { "rename",
        { EACCES, EBUSY, EDQUOT, EINVAL, EIO, EISDIR, ELOOP, EMLINK, ENAMETOOLONG, ENOENT, ENOMEM, ENOSPC,
            ENOTDIR, ENOTEMPTY, EPERM, EROFS, EXDEV } },
    { "stat", { EACCES, EIO, ELOOP, ENAMETOOLONG, ENOMEM, ENOTDIR, EOVERFLOW } },
    { "write", { EAGAIN, EDQUOT, EFBIG, EINTR, EIO, ENOMEM, ENOSPC, EPERM, EPIPE } },
};

/// The system calls of a function that goes well.
template <typename Function>
std::vector<std::string> callsOf(Function function)
{
    const FaultyCalls calls;
    function();
    return calls.names();
}

/// One row for each way in which each of the calls can fail.
void addFaultRows(const std::string& situation, const std::vector<std::string>& calls, Fault::Kind kind)
{
    for (std::size_t call = 0; call < calls.size(); ++call) {
        for (const int error : errorsOf.at(calls[call])) {
            const auto name
                = situation + ", " + std::to_string(call) + ": " + calls[call] + ' ' + strerrorname_np(error);
            QTest::newRow(name.c_str()) << Fault { .call = call, .kind = kind, .error = error };
        }
    }
}

std::size_t firstOf(const std::vector<std::string>& calls, const std::string& name)
{
    return static_cast<std::size_t>(std::ranges::find(calls, name) - calls.begin());
}

bool isAfterRenaming(const std::vector<std::string>& calls, const Fault& fault)
{
    return fault.call > firstOf(calls, "rename");
}

/// What cannot be written beside its place is written there, unless that is for want of room.
bool isExportedAllTheSame(const std::vector<std::string>& calls, const Fault& fault)
{
    const auto& failed = calls.at(fault.call);
    if (fault.call == firstOf(calls, "open"))
        return fault.error != ENOSPC && fault.error != EDQUOT;
    return failed == "rename" || (failed == "write" && fault.error == EINTR);
}

/// Puts a small file system of its own in the folder's place, for this process only. Takes root.
bool mountSmallDisk(const fs::path& folder)
{
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") == 0;
}

/// Lets no file of this process grow beyond so many bytes.
void limitFileSize(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

Q_DECLARE_METATYPE(Fault)

class AtomicFileFaultTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theCallsOfAReplacementAreTheOnesExpected();
    void permissionsThatAreRightAreNotSet();
    void aFaultLeavesTheOldFileOrTheNewOne_data();
    void aFaultLeavesTheOldFileOrTheNewOne();
    void aFaultWhileMakingAFileLeavesNoneOrAllOfIt_data();
    void aFaultWhileMakingAFileLeavesNoneOrAllOfIt();
    void aDiskThatFailsForGoodLeavesTheOldFileOrTheNewOne_data();
    void aDiskThatFailsForGoodLeavesTheOldFileOrTheNewOne();
    void aShortWriteIsContinued();
    void aDeviceIsNotReplaced();
    void whatCannotBeRemovedFromTheTemporaryFilesPlaceIsNotWritten();

    void theCallsOfAnExportAreTheOnesExpected();
    void aFaultWhileExportingLeavesTheOldFileOrTheNewOne_data();
    void aFaultWhileExportingLeavesTheOldFileOrTheNewOne();
    void aFaultWhileExportingANewFileLeavesNoneOrAllOfIt_data();
    void aFaultWhileExportingANewFileLeavesNoneOrAllOfIt();
    void anExportThatFailsInItsPlaceRemovesOnlyWhatItHasMade_data();
    void anExportThatFailsInItsPlaceRemovesOnlyWhatItHasMade();

    void aFaultWhileReadingGivesNothingOrEverything_data();
    void aFaultWhileReadingGivesNothingOrEverything();
    void aShortReadIsContinued();

    void aSaveThatFailsIsMadeUpForByTheNextCount_data();
    void aSaveThatFailsIsMadeUpForByTheNextCount();
    void aSaveThatFailedIsNotTriedAgainWithoutACount();
    void aFullDiskKeepsTheOldFileUntilThereIsRoom();
    void aFileSizeLimitKeepsTheOldFileUntilItIsLifted();

private:
    void putOldFile() const;

    std::unique_ptr<QTemporaryDir> temporary;
    fs::path folder;
    fs::path file;
};

void AtomicFileFaultTest::init()
{
    temporary = std::make_unique<QTemporaryDir>();
    QVERIFY(temporary->isValid());
    folder = temporary->path().toStdString();
    file = folder / "file";
}

void AtomicFileFaultTest::cleanup() { temporary.reset(); }

/// The old file's permissions are not those of a new one, so that replacing it changes them, too.
void AtomicFileFaultTest::putOldFile() const
{
    put(file, oldContent);
    fs::permissions(file, fs::perms(0640));
}

void AtomicFileFaultTest::theCallsOfAReplacementAreTheOnesExpected()
{
    putOldFile();

    const auto calls = callsOf([this] { QVERIFY(replaceFile(file, newContent)); });

    QCOMPARE(calls,
        (std::vector<std::string> { "readlink", "stat", "remove", "open", "fstat", "fchmod", "write", "fsync",
            "close", "rename", "open", "fsync", "close" }));
}

// Not every file system lets them be set.
void AtomicFileFaultTest::permissionsThatAreRightAreNotSet()
{
    put(file, oldContent);
    fs::permissions(file, fs::perms(0600));

    const auto calls = callsOf([this] { QVERIFY(replaceFile(file, newContent)); });

    QCOMPARE(std::ranges::count(calls, "fchmod"), 0);
    QCOMPARE(fs::status(file).permissions(), fs::perms(0600));
}

void AtomicFileFaultTest::aFaultLeavesTheOldFileOrTheNewOne_data()
{
    QTest::addColumn<Fault>("fault");

    init();
    putOldFile();
    const auto calls = callsOf([this] { QVERIFY(replaceFile(file, newContent)); });
    addFaultRows("an old file", calls, Fault::Kind::Fails);
}

void AtomicFileFaultTest::aFaultLeavesTheOldFileOrTheNewOne()
{
    QFETCH(const Fault, fault);
    putOldFile();

    auto calls = std::make_unique<FaultyCalls>(fault);
    const bool isReplaced = replaceFile(file, newContent);
    const auto names = calls->names();
    const int openDescriptors = calls->openDescriptors();
    calls.reset();

    const auto& failed = names.at(fault.call);
    const bool isHarmless = failed == "remove" || (failed == "write" && fault.error == EINTR);
    const auto renaming = std::ranges::find(names, "rename") - names.begin();
    const bool isAfterRenaming = static_cast<std::ptrdiff_t>(fault.call) > renaming;
    QCOMPARE(isReplaced, isHarmless);
    QCOMPARE(contentOf(file), isHarmless || isAfterRenaming ? newContent : oldContent);
    QCOMPARE(fs::status(file).permissions(), fs::perms(0640));
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
    QCOMPARE(openDescriptors, 0);
    QVERIFY(replaceFile(file, "newer"));
    QCOMPARE(contentOf(file), "newer");
}

void AtomicFileFaultTest::aFaultWhileMakingAFileLeavesNoneOrAllOfIt_data()
{
    QTest::addColumn<Fault>("fault");

    init();
    const auto calls = callsOf([this] { QVERIFY(replaceFile(file, newContent)); });
    addFaultRows("no file", calls, Fault::Kind::Fails);
}

void AtomicFileFaultTest::aFaultWhileMakingAFileLeavesNoneOrAllOfIt()
{
    QFETCH(const Fault, fault);

    auto calls = std::make_unique<FaultyCalls>(fault);
    const bool isReplaced = replaceFile(file, newContent);
    const int openDescriptors = calls->openDescriptors();
    calls.reset();

    QVERIFY(!isReplaced || fs::exists(file));
    if (fs::exists(file))
        QCOMPARE(contentOf(file), newContent);
    QVERIFY(!fs::exists(folder / "file.new"));
    QCOMPARE(openDescriptors, 0);
    QVERIFY(replaceFile(file, "newer"));
    QCOMPARE(contentOf(file), "newer");
}

void AtomicFileFaultTest::aDiskThatFailsForGoodLeavesTheOldFileOrTheNewOne_data()
{
    QTest::addColumn<Fault>("fault");

    init();
    putOldFile();
    const auto calls = callsOf([this] { QVERIFY(replaceFile(file, newContent)); });
    for (std::size_t call = 0; call < calls.size(); ++call) {
        const auto name = "from " + std::to_string(call) + ", " + calls[call];
        QTest::newRow(name.c_str()) << Fault {
            .call = call, .kind = Fault::Kind::FailsFromThenOn, .error = EIO
        };
    }
}

void AtomicFileFaultTest::aDiskThatFailsForGoodLeavesTheOldFileOrTheNewOne()
{
    QFETCH(const Fault, fault);
    putOldFile();

    auto calls = std::make_unique<FaultyCalls>(fault);
    const bool isReplaced = replaceFile(file, newContent);
    const int openDescriptors = calls->openDescriptors();
    calls.reset();

    // The temporary file may be left: removing it fails like everything else.
    QVERIFY(!isReplaced);
    QVERIFY(contentOf(file) == oldContent || contentOf(file) == newContent);
    QCOMPARE(openDescriptors, 0);
    QVERIFY(replaceFile(file, "newer"));
    QCOMPARE(contentOf(file), "newer");
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
}

void AtomicFileFaultTest::aShortWriteIsContinued()
{
    putOldFile();
    const auto calls = callsOf([this] { QVERIFY(replaceFile(file, newContent)); });
    const auto write = static_cast<std::size_t>(std::ranges::find(calls, "write") - calls.begin());

    auto faulty = std::make_unique<FaultyCalls>(Fault { .call = write, .kind = Fault::Kind::IsShort });
    const bool isReplaced = replaceFile(file, "another content");
    const auto names = faulty->names();
    faulty.reset();

    QVERIFY(isReplaced);
    QCOMPARE(std::ranges::count(names, "write"), 2);
    QCOMPARE(contentOf(file), "another content");
}

void AtomicFileFaultTest::aDeviceIsNotReplaced()
{
    putOldFile();
    const auto calls = callsOf([this] { QVERIFY(replaceFile(file, oldContent)); });
    const auto stat = static_cast<std::size_t>(std::ranges::find(calls, "stat") - calls.begin());

    auto faulty = std::make_unique<FaultyCalls>(Fault { .call = stat, .kind = Fault::Kind::IsDevice });
    const bool isReplaced = replaceFile(file, newContent);
    faulty.reset();

    QVERIFY(!isReplaced);
    QCOMPARE(contentOf(file), oldContent);
}

void AtomicFileFaultTest::whatCannotBeRemovedFromTheTemporaryFilesPlaceIsNotWritten()
{
    putOldFile();
    put(folder / "precious", "precious");
    fs::create_hard_link(folder / "precious", folder / "file.new");

    auto calls
        = std::make_unique<FaultyCalls>(Fault { .call = 2, .kind = Fault::Kind::Fails, .error = EPERM });
    const bool isReplaced = replaceFile(file, newContent);
    const auto failed = calls->names().at(2);
    calls.reset();

    QCOMPARE(failed, "remove");
    QVERIFY(!isReplaced);
    QCOMPARE(contentOf(file), oldContent);
    QCOMPARE(contentOf(folder / "precious"), "precious");
}

void AtomicFileFaultTest::theCallsOfAnExportAreTheOnesExpected()
{
    putOldFile();

    const auto calls = callsOf([this] { QVERIFY(exportFile(file, newContent)); });

    QCOMPARE(calls,
        (std::vector<std::string> { "readlink", "stat", "open", "fstat", "fchmod", "write", "fsync", "close",
            "rename", "open", "fsync", "close" }));
}

void AtomicFileFaultTest::aFaultWhileExportingLeavesTheOldFileOrTheNewOne_data()
{
    QTest::addColumn<Fault>("fault");

    init();
    putOldFile();
    const auto calls = callsOf([this] { QVERIFY(exportFile(file, newContent)); });
    addFaultRows("an old file", calls, Fault::Kind::Fails);
}

void AtomicFileFaultTest::aFaultWhileExportingLeavesTheOldFileOrTheNewOne()
{
    QFETCH(const Fault, fault);
    putOldFile();

    auto calls = std::make_unique<FaultyCalls>(fault);
    const bool isExported = exportFile(file, newContent);
    const auto names = calls->names();
    const int openDescriptors = calls->openDescriptors();
    calls.reset();

    QCOMPARE(isExported, isExportedAllTheSame(names, fault));
    QCOMPARE(contentOf(file), isExported || isAfterRenaming(names, fault) ? newContent : oldContent);
    QCOMPARE(fs::status(file).permissions(), fs::perms(0640));
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
    QCOMPARE(openDescriptors, 0);
}

void AtomicFileFaultTest::aFaultWhileExportingANewFileLeavesNoneOrAllOfIt_data()
{
    QTest::addColumn<Fault>("fault");

    init();
    const auto calls = callsOf([this] { QVERIFY(exportFile(file, newContent)); });
    addFaultRows("no file", calls, Fault::Kind::Fails);
}

void AtomicFileFaultTest::aFaultWhileExportingANewFileLeavesNoneOrAllOfIt()
{
    QFETCH(const Fault, fault);

    auto calls = std::make_unique<FaultyCalls>(fault);
    const bool isExported = exportFile(file, newContent);
    const auto names = calls->names();
    const int openDescriptors = calls->openDescriptors();
    calls.reset();

    QCOMPARE(isExported, isExportedAllTheSame(names, fault));
    const bool isThere = isExported || isAfterRenaming(names, fault);
    QCOMPARE(namesIn(folder), isThere ? std::set<std::string> { "file" } : std::set<std::string> {});
    if (isThere)
        QCOMPARE(contentOf(file), newContent);
    QCOMPARE(openDescriptors, 0);
}

// The second fault is in the overwriting, which the first one leads to.
void AtomicFileFaultTest::anExportThatFailsInItsPlaceRemovesOnlyWhatItHasMade_data()
{
    QTest::addColumn<bool>("hasOldFile");
    QTest::addColumn<Fault>("first");
    QTest::addColumn<Fault>("second");

    for (const bool hasOldFile : { true, false }) {
        const auto start = [&] {
            init();
            if (hasOldFile)
                putOldFile();
        };
        for (const std::string refused : { "open", "rename" }) {
            start();
            const auto ordinary = callsOf([this] { QVERIFY(exportFile(file, newContent)); });
            const Fault first { .call = firstOf(ordinary, refused), .error = EACCES };
            start();
            const FaultyCalls calls(first);
            QVERIFY(exportFile(file, newContent));
            const auto names = calls.names();
            for (std::size_t call = first.call + 1; call < names.size(); ++call) {
                const auto name = std::string(hasOldFile ? "an old file" : "no file") + ", " + refused
                    + ", then " + std::to_string(call) + ": " + names[call];
                QTest::newRow(name.c_str()) << hasOldFile << first << Fault { .call = call, .error = EIO };
            }
        }
    }
}

void AtomicFileFaultTest::anExportThatFailsInItsPlaceRemovesOnlyWhatItHasMade()
{
    QFETCH(const bool, hasOldFile);
    QFETCH(const Fault, first);
    QFETCH(const Fault, second);
    if (hasOldFile)
        putOldFile();

    auto calls = std::make_unique<FaultyCalls>(first, second);
    const bool isExported = exportFile(file, newContent);
    const auto failed = calls->names().at(second.call);
    const int openDescriptors = calls->openDescriptors();
    calls.reset();

    QVERIFY(!isExported || contentOf(file) == newContent);
    QCOMPARE(fs::exists(file), hasOldFile || isExported);
    if (hasOldFile)
        QCOMPARE(fs::status(file).permissions(), fs::perms(0640));
    const auto others = namesIn(folder).size() - (fs::exists(file) ? 1 : 0);
    QCOMPARE(others, failed == "remove" ? 1U : 0U);
    QCOMPARE(openDescriptors, 0);
}

void AtomicFileFaultTest::aFaultWhileReadingGivesNothingOrEverything_data()
{
    QTest::addColumn<Fault>("fault");

    init();
    putOldFile();
    const auto calls = callsOf([this] { QVERIFY(readFile(file)); });
    QCOMPARE(calls, (std::vector<std::string> { "open", "fstat", "read", "read", "close" }));
    addFaultRows("reading", calls, Fault::Kind::Fails);
}

void AtomicFileFaultTest::aFaultWhileReadingGivesNothingOrEverything()
{
    QFETCH(const Fault, fault);
    putOldFile();

    auto calls = std::make_unique<FaultyCalls>(fault);
    const auto content = readFile(file);
    const auto failed = calls->names().at(fault.call);
    const int openDescriptors = calls->openDescriptors();
    calls.reset();

    const bool isHarmless = failed == "close" || (failed == "read" && fault.error == EINTR);
    QCOMPARE(content.has_value(), isHarmless);
    QCOMPARE(content.value_or(oldContent), oldContent);
    QCOMPARE(openDescriptors, 0);
}

void AtomicFileFaultTest::aShortReadIsContinued()
{
    putOldFile();

    auto calls = std::make_unique<FaultyCalls>(Fault { .call = 2, .kind = Fault::Kind::IsShort });
    const auto content = readFile(file);
    const auto names = calls->names();
    calls.reset();

    QCOMPARE(content, oldContent);
    QCOMPARE(std::ranges::count(names, "read"), 3);
}

void AtomicFileFaultTest::aSaveThatFailsIsMadeUpForByTheNextCount_data()
{
    QTest::addColumn<Fault>("fault");

    init();
    const HandMovedClock clock(Moment {});
    StatsStore store(OneFolder(folder), clock);
    store.add(1, 2, today);
    store.saveIfDirty();
    store.add(1, 2, today);
    const auto calls = callsOf([&store] { store.saveIfDirty(); });
    addFaultRows("saving", calls, Fault::Kind::Fails);
}

void AtomicFileFaultTest::aSaveThatFailsIsMadeUpForByTheNextCount()
{
    QFETCH(const Fault, fault);
    const HandMovedClock clock(Moment {});
    const OneFolder folders(folder);
    StatsStore store(folders, clock);
    store.add(1, 2, today);
    store.saveIfDirty();

    store.add(10, 20, today);
    auto calls = std::make_unique<FaultyCalls>(fault);
    store.saveIfDirty();
    calls.reset();
    const auto afterTheFault = StatsStore(folders, clock).count(today);
    store.add(100, 200, today);
    store.saveIfDirty();

    QVERIFY(afterTheFault == (DayCount { 1, 2 }) || afterTheFault == (DayCount { 11, 22 }));
    QCOMPARE(StatsStore(folders, clock).count(today), (DayCount { 111, 222 }));
}

void AtomicFileFaultTest::aSaveThatFailedIsNotTriedAgainWithoutACount()
{
    const HandMovedClock clock(Moment {});
    StatsStore store(OneFolder(folder), clock);
    store.add(1, 2, today);

    auto calls = std::make_unique<FaultyCalls>(Fault { .call = 0, .kind = Fault::Kind::Fails, .error = EIO });
    store.saveIfDirty();
    calls.reset();
    const auto later = callsOf([&store] { store.saveIfDirty(); });

    QVERIFY(later.empty());
    QVERIFY(!fs::exists(folder / "Knucklet" / "stats.json"));
}

void AtomicFileFaultTest::aFullDiskKeepsTheOldFileUntilThereIsRoom()
{
    const auto end = inChild([this] {
        // Without root a limit stands for the end of the disk.
        const bool hasSmallDisk = mountSmallDisk(folder);
        const HandMovedClock clock(Moment {});
        const OneFolder folders(folder);
        StatsStore store(folders, clock);
        store.add(1, 2, today);
        store.saveIfDirty();

        if (hasSmallDisk) {
            put(folder / "filling", std::string(128 * 1024, 'x'));
        } else {
            limitFileSize(4);
        }
        store.add(10, 20, today);
        store.saveIfDirty();
        const auto names = namesIn(folder / "Knucklet");
        const auto whenFull = StatsStore(folders, clock).count(today);

        if (hasSmallDisk) {
            fs::remove(folder / "filling");
        } else {
            limitFileSize(RLIM_INFINITY);
        }
        store.add(100, 200, today);
        store.saveIfDirty();
        const auto whenThereIsRoom = StatsStore(folders, clock).count(today);

        return std::to_string(whenFull.keys) + ' ' + std::to_string(whenThereIsRoom.keys) + ' '
            + std::to_string(names.size());
    });

    QCOMPARE(end.answer, "1 111 1");
}

void AtomicFileFaultTest::aFileSizeLimitKeepsTheOldFileUntilItIsLifted()
{
    const auto end = inChild([this] {
        put(file, oldContent);
        limitFileSize(newContent.size() - 1);
        const bool isReplaced = replaceFile(file, newContent);
        const auto content = contentOf(file);
        const auto count = namesIn(folder).size();
        limitFileSize(RLIM_INFINITY);
        const bool isReplacedLater = replaceFile(file, newContent);

        return std::to_string(isReplaced) + ' ' + content + ' ' + std::to_string(count) + ' '
            + std::to_string(isReplacedLater);
    });

    QCOMPARE(end.answer, "0 " + oldContent + " 1 1");
}

static const TestArea area("AtomicFileFault", runTest<AtomicFileFaultTest>);
#include "AtomicFileFaultTest.moc"
