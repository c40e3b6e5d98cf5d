#include "support/AtomicFile.h"

#include "support/Files.h"
#include "support/ForkedChild.h"
#include "support/TestArea.h"

#include <QtTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>

namespace fs = std::filesystem;

namespace {

mode_t permissionsOf(const fs::path& file)
{
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & ALLPERMS : 0;
}

} // namespace

class AtomicFileTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aFileIsReadWhole_data();
    void aFileIsReadWhole();
    void aFileOfAsManyBytesAsAllowedIsReadAndOneOfMoreIsNot();
    void aMissingFileReadsAsNothing();
    void aFolderReadsAsNothing();
    void aPipeReadsAsNothingAtOnce();
    void aDeviceReadsAsNothing();
    void aFileWithoutReadPermissionReadsAsNothing();

    void aNewFileBelongsToTheUserAlone();
    void anExistingFileIsReplaced_data();
    void anExistingFileIsReplaced();
    void anExistingFileKeepsItsPermissions_data();
    void anExistingFileKeepsItsPermissions();
    void aFileThatItsOwnerCouldNotReadBecomesReadable();
    void theOldFileStaysOpenToThoseWhoReadIt();
    void aSymbolicLinkStaysAndItsTargetIsReplaced_data();
    void aSymbolicLinkStaysAndItsTargetIsReplaced();
    void aSymbolicLinkToAFileThatIsNotThereMakesIt();
    void symbolicLinksInACircleAreAFailure();
    void anotherNameOfTheSameFileKeepsTheOldContent();
    void whatLiesInTheTemporaryFilesPlaceIsNeitherWrittenNorWaitedFor_data();
    void whatLiesInTheTemporaryFilesPlaceIsNeitherWrittenNorWaitedFor();
    void aFullFolderInTheTemporaryFilesPlaceIsAFailure();
    void aPipeInTheFilesPlaceIsReplaced();
    void aFolderInTheFilesPlaceIsAFailure();
    void aMissingFolderIsAFailure();
    void aReadOnlyFolderIsAFailureAndKeepsTheOldFile();
    void aFileWithoutWritePermissionIsReplacedInAWritableFolder();
    void aNameWithoutAFolderIsAFileOfTheCurrentFolder();

    void anExportedFileGetsThePermissionsOfTheUsersNewFiles();
    void anExportedFileReplacesAnExistingOneAndKeepsItsPermissions();
    void anExportFollowsASymbolicLink();
    void anExportLeavesOtherFilesAlone();
    void anExportOverwritesInAFolderThatTakesNoOtherFile();
    void anExportIntoAFolderThatTakesNothingLeavesNothing();
    void anExportOntoAFullDiskKeepsTheOldFileAndLeavesNothing();
    void anExportOntoADeviceIsRefused();

private:
    std::unique_ptr<QTemporaryDir> temporary;
    fs::path folder;
    fs::path file;
};

void AtomicFileTest::init()
{
    temporary = std::make_unique<QTemporaryDir>();
    QVERIFY(temporary->isValid());
    folder = temporary->path().toStdString();
    file = folder / "file";
}

void AtomicFileTest::cleanup() { temporary.reset(); }

void AtomicFileTest::aFileIsReadWhole_data()
{
    QTest::addColumn<std::string>("content");

    QTest::newRow("nothing") << std::string();
    QTest::newRow("a line") << std::string("a line\n");
    QTest::newRow("any bytes") << std::string("\0\xff\r\n\x1a", 5);
    QTest::newRow("more than one reading takes") << std::string(1'000'000, 'x') + 'y';
}

void AtomicFileTest::aFileIsReadWhole()
{
    QFETCH(const std::string, content);
    put(file, content);

    const auto read = readFile(file);

    QVERIFY(read == content);
}

void AtomicFileTest::aFileOfAsManyBytesAsAllowedIsReadAndOneOfMoreIsNot()
{
    constexpr std::uintmax_t limit = 64 * 1024 * 1024;
    put(file, {});

    fs::resize_file(file, limit);
    const auto full = readFile(file);
    fs::resize_file(file, limit + 1);
    const auto tooMuch = readFile(file);

    QVERIFY(full);
    QCOMPARE(full->size(), limit);
    QVERIFY(!tooMuch);
}

void AtomicFileTest::aMissingFileReadsAsNothing() { QVERIFY(!readFile(file)); }

void AtomicFileTest::aFolderReadsAsNothing() { QVERIFY(!readFile(folder)); }

void AtomicFileTest::aPipeReadsAsNothingAtOnce()
{
    QCOMPARE(mkfifo(file.c_str(), 0600), 0);

    const auto withoutWriter = readFile(file);
    const int writer = open(file.c_str(), O_RDWR);
    const auto withWriter = readFile(file);
    close(writer);

    QVERIFY(!withoutWriter);
    QVERIFY(!withWriter);
}

void AtomicFileTest::aDeviceReadsAsNothing()
{
    fs::create_symlink("/dev/zero", file);

    const auto read = readFile(file);

    QVERIFY(!read);
}

void AtomicFileTest::aFileWithoutReadPermissionReadsAsNothing()
{
    put(file, "secret");
    giveToOrdinaryUser(folder);
    QCOMPARE(chmod(file.c_str(), 0), 0);

    const auto end = inChild([this] { return readFile(file) ? "read" : "nothing"; }, RunAs::OrdinaryUser);

    QCOMPARE(end.answer, "nothing");
}

void AtomicFileTest::aNewFileBelongsToTheUserAlone()
{
    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    QCOMPARE(contentOf(file), "new");
    QCOMPARE(permissionsOf(file), mode_t { 0600 });
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
}

void AtomicFileTest::anExistingFileIsReplaced_data()
{
    QTest::addColumn<std::string>("content");

    QTest::newRow("by nothing") << std::string();
    QTest::newRow("by less") << std::string("n");
    QTest::newRow("by more") << std::string(5'000'000, 'n');
}

void AtomicFileTest::anExistingFileIsReplaced()
{
    QFETCH(const std::string, content);
    put(file, "the old content");

    const bool isReplaced = replaceFile(file, content);

    QVERIFY(isReplaced);
    QVERIFY(contentOf(file) == content);
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
}

void AtomicFileTest::anExistingFileKeepsItsPermissions_data()
{
    QTest::addColumn<mode_t>("permissions");

    QTest::newRow("open to everybody") << mode_t { 0666 };
    QTest::newRow("open to the group") << mode_t { 0640 };
    QTest::newRow("the user's own") << mode_t { 0600 };
    QTest::newRow("read-only") << mode_t { 0444 };
}

void AtomicFileTest::anExistingFileKeepsItsPermissions()
{
    QFETCH(const mode_t, permissions);
    put(file, "old");
    QCOMPARE(chmod(file.c_str(), permissions), 0);

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    QCOMPARE(permissionsOf(file), permissions);
}

// The program would otherwise find nothing at its next start.
void AtomicFileTest::aFileThatItsOwnerCouldNotReadBecomesReadable()
{
    put(file, "old");
    QCOMPARE(chmod(file.c_str(), 0220), 0);

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    QCOMPARE(permissionsOf(file), mode_t { 0620 });
}

void AtomicFileTest::theOldFileStaysOpenToThoseWhoReadIt()
{
    put(file, "old");
    std::ifstream reader(file);

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    std::string seen;
    reader >> seen;
    QCOMPARE(seen, "old");
}

void AtomicFileTest::aSymbolicLinkStaysAndItsTargetIsReplaced_data()
{
    QTest::addColumn<bool>("isRelative");

    QTest::newRow("an absolute link") << false;
    QTest::newRow("a relative link") << true;
}

void AtomicFileTest::aSymbolicLinkStaysAndItsTargetIsReplaced()
{
    QFETCH(const bool, isRelative);
    fs::create_directories(folder / "dotfiles");
    fs::create_directories(folder / "data");
    const auto target = folder / "dotfiles" / "real";
    put(target, "old");
    QCOMPARE(chmod(target.c_str(), 0644), 0);
    fs::create_symlink("real", folder / "dotfiles" / "second");
    const auto link = folder / "data" / "first";
    fs::create_symlink(isRelative ? "../dotfiles/second" : folder / "dotfiles" / "second", link);

    const bool isReplaced = replaceFile(link, "new");

    QVERIFY(isReplaced);
    QVERIFY(fs::is_symlink(link));
    QVERIFY(fs::is_symlink(folder / "dotfiles" / "second"));
    QVERIFY(!fs::is_symlink(target));
    QCOMPARE(contentOf(target), "new");
    QCOMPARE(permissionsOf(target), mode_t { 0644 });
}

void AtomicFileTest::aSymbolicLinkToAFileThatIsNotThereMakesIt()
{
    fs::create_symlink("target", file);

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    QVERIFY(fs::is_symlink(file));
    QCOMPARE(contentOf(folder / "target"), "new");
}

void AtomicFileTest::symbolicLinksInACircleAreAFailure()
{
    fs::create_symlink("other", file);
    fs::create_symlink("file", folder / "other");

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(!isReplaced);
    QCOMPARE(namesIn(folder), (std::set<std::string> { "file", "other" }));
    QVERIFY(fs::is_symlink(file));
}

void AtomicFileTest::anotherNameOfTheSameFileKeepsTheOldContent()
{
    put(file, "old");
    fs::create_hard_link(file, folder / "backup");

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    QCOMPARE(contentOf(folder / "backup"), "old");
}

void AtomicFileTest::whatLiesInTheTemporaryFilesPlaceIsNeitherWrittenNorWaitedFor_data()
{
    QTest::addColumn<QString>("kind");

    for (const auto* kind :
        { "a link", "a second name", "a pipe", "an empty folder", "a torn leftover", "a read-only one" })
        QTest::newRow(kind) << kind;
}

void AtomicFileTest::whatLiesInTheTemporaryFilesPlaceIsNeitherWrittenNorWaitedFor()
{
    QFETCH(const QString, kind);
    const auto precious = folder / "precious";
    put(precious, "precious");
    const auto place = folder / "file.new";
    if (kind == "a link") {
        fs::create_symlink(precious, place);
    } else if (kind == "a second name") {
        fs::create_hard_link(precious, place);
    } else if (kind == "a pipe") {
        QCOMPARE(mkfifo(place.c_str(), 0600), 0);
    } else if (kind == "an empty folder") {
        fs::create_directory(place);
    } else {
        put(place, "torn, and longer than what is written");
        QCOMPARE(chmod(place.c_str(), kind == "a read-only one" ? 0400 : 0600), 0);
    }

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    QCOMPARE(contentOf(file), "new");
    QVERIFY(fs::is_regular_file(fs::symlink_status(file)));
    QCOMPARE(contentOf(precious), "precious");
    QCOMPARE(namesIn(folder), (std::set<std::string> { "file", "precious" }));
}

void AtomicFileTest::aFullFolderInTheTemporaryFilesPlaceIsAFailure()
{
    put(file, "old");
    fs::create_directories(folder / "file.new" / "something");

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(!isReplaced);
    QCOMPARE(contentOf(file), "old");
    QVERIFY(fs::exists(folder / "file.new" / "something"));
}

void AtomicFileTest::aPipeInTheFilesPlaceIsReplaced()
{
    QCOMPARE(mkfifo(file.c_str(), 0644), 0);

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(isReplaced);
    QVERIFY(fs::is_regular_file(file));
    QCOMPARE(contentOf(file), "new");
    QCOMPARE(permissionsOf(file), mode_t { 0600 });
}

void AtomicFileTest::aFolderInTheFilesPlaceIsAFailure()
{
    fs::create_directory(file);

    const bool isReplaced = replaceFile(file, "new");

    QVERIFY(!isReplaced);
    QVERIFY(fs::is_directory(file));
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
}

void AtomicFileTest::aMissingFolderIsAFailure()
{
    const bool isReplaced = replaceFile(folder / "missing" / "file", "new");

    QVERIFY(!isReplaced);
    QVERIFY(!fs::exists(folder / "missing"));
}

void AtomicFileTest::aReadOnlyFolderIsAFailureAndKeepsTheOldFile()
{
    put(file, "old");
    giveToOrdinaryUser(folder);
    giveToOrdinaryUser(file);
    QCOMPARE(chmod(folder.c_str(), 0500), 0);

    const auto end
        = inChild([this] { return replaceFile(file, "new") ? "replaced" : "refused"; }, RunAs::OrdinaryUser);

    QCOMPARE(chmod(folder.c_str(), 0700), 0);
    QCOMPARE(end.answer, "refused");
    QCOMPARE(contentOf(file), "old");
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
}

void AtomicFileTest::aFileWithoutWritePermissionIsReplacedInAWritableFolder()
{
    put(file, "old");
    giveToOrdinaryUser(folder);
    giveToOrdinaryUser(file);
    QCOMPARE(chmod(file.c_str(), 0400), 0);

    const auto end
        = inChild([this] { return replaceFile(file, "new") ? "replaced" : "refused"; }, RunAs::OrdinaryUser);

    QCOMPARE(end.answer, "replaced");
    QCOMPARE(contentOf(file), "new");
    QCOMPARE(permissionsOf(file), mode_t { 0400 });
}

void AtomicFileTest::aNameWithoutAFolderIsAFileOfTheCurrentFolder()
{
    const auto end = inChild([this] {
        fs::current_path(folder);
        return replaceFile("file", "new") ? "replaced" : "refused";
    });

    QCOMPARE(end.answer, "replaced");
    QCOMPARE(contentOf(file), "new");
}

void AtomicFileTest::anExportedFileGetsThePermissionsOfTheUsersNewFiles()
{
    const mode_t before = umask(027);

    const bool isExported = exportFile(file, "picture");
    umask(before);

    QVERIFY(isExported);
    QCOMPARE(contentOf(file), std::string("picture"));
    QCOMPARE(permissionsOf(file), mode_t { 0640 });
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
}

void AtomicFileTest::anExportedFileReplacesAnExistingOneAndKeepsItsPermissions()
{
    put(file, "old");
    fs::permissions(file, fs::perms { 0604 });
    std::ifstream reader(file);

    QVERIFY(exportFile(file, "new"));

    QCOMPARE(contentOf(file), std::string("new"));
    QCOMPARE(permissionsOf(file), mode_t { 0604 });
    std::string old;
    reader >> old;
    QCOMPARE(old, std::string("old"));
}

void AtomicFileTest::anExportFollowsASymbolicLink()
{
    fs::create_directory(folder / "elsewhere");
    fs::create_symlink("elsewhere/target", file);

    QVERIFY(exportFile(file, "picture"));

    QVERIFY(fs::is_symlink(file));
    QCOMPARE(contentOf(folder / "elsewhere/target"), std::string("picture"));
}

void AtomicFileTest::anExportLeavesOtherFilesAlone()
{
    put(folder / ".knucklet-0.part", "somebody else's");
    fs::create_symlink(folder / "nowhere", folder / ".knucklet-1.part");

    QVERIFY(exportFile(file, "picture"));

    QCOMPARE(contentOf(folder / ".knucklet-0.part"), std::string("somebody else's"));
    QVERIFY(!fs::exists(folder / "nowhere"));
    QCOMPARE(namesIn(folder), (std::set<std::string> { ".knucklet-0.part", ".knucklet-1.part", "file" }));
}

void AtomicFileTest::anExportOverwritesInAFolderThatTakesNoOtherFile()
{
    put(file, "the old content, which is longer");
    fs::permissions(file, fs::perms { 0666 });
    fs::permissions(folder, fs::perms { 0555 });

    const auto end = inChild(
        [this] { return exportFile(file, "picture") ? "exported" : "refused"; }, RunAs::OrdinaryUser);

    QCOMPARE(end.answer, std::string("exported"));
    QCOMPARE(contentOf(file), std::string("picture"));
}

void AtomicFileTest::anExportIntoAFolderThatTakesNothingLeavesNothing()
{
    fs::permissions(folder, fs::perms { 0555 });

    const auto end = inChild(
        [this] { return exportFile(file, "picture") ? "exported" : "refused"; }, RunAs::OrdinaryUser);

    QCOMPARE(end.answer, std::string("refused"));
    QCOMPARE(namesIn(folder), std::set<std::string> {});
}

// A limit on the size of files stands for the disk: the write that reaches it fails half way.
void AtomicFileTest::anExportOntoAFullDiskKeepsTheOldFileAndLeavesNothing()
{
    put(file, "old");
    const std::string content(100'000, 'x');

    const auto end = inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit { .rlim_cur = 50'000, .rlim_max = 50'000 };
        setrlimit(RLIMIT_FSIZE, &limit);
        return exportFile(file, content) ? "exported" : "refused";
    });

    QCOMPARE(end.answer, std::string("refused"));
    QCOMPARE(contentOf(file), std::string("old"));
    QCOMPARE(namesIn(folder), std::set<std::string> { "file" });
}

void AtomicFileTest::anExportOntoADeviceIsRefused()
{
    fs::create_symlink("/dev/null", file);

    QVERIFY(!exportFile(file, "picture"));

    QVERIFY(fs::is_character_file(file));
}

static const TestArea area("AtomicFile", runTest<AtomicFileTest>);
#include "AtomicFileTest.moc"
