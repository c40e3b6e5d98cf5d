#include "model/fuzz/ReferenceParser.h"
#include "support/Files.h"
#include "support/TestArea.h"

#include <QtTest>

#include <filesystem>
#include <string>

using namespace std::string_literals;

namespace fs = std::filesystem;

namespace {

/// The texts that the fuzzer starts from.
std::vector<fs::path> corpus()
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(QFINDTESTDATA("fuzz/corpus").toStdString()))
        files.push_back(entry.path());
    return files;
}

} // namespace

/// Compares the reader of the stats file with a second one, which was written for this and shares nothing
/// with it.
class StatsFileCorpusTest : public QObject {
    Q_OBJECT

private slots:
    void bothReadersAgree_data();
    void bothReadersAgree();
    void bothReadersAgreeWhereverTheTextIsTorn_data();
    void bothReadersAgreeWhereverTheTextIsTorn();
    void bothReadersAgreeWhicheverByteIsWrong_data();
    void bothReadersAgreeWhicheverByteIsWrong();
    void theCorpusHoldsReadableAndUnreadableFiles();
};

void StatsFileCorpusTest::bothReadersAgree_data()
{
    QTest::addColumn<std::string>("text");

    for (const auto& file : corpus())
        QTest::newRow(file.stem().c_str()) << contentOf(file);
}

void StatsFileCorpusTest::bothReadersAgree()
{
    QFETCH(const std::string, text);

    const auto difference = ::difference(text);

    QVERIFY2(difference.empty(), difference.c_str());
}

void StatsFileCorpusTest::bothReadersAgreeWhereverTheTextIsTorn_data() { bothReadersAgree_data(); }

void StatsFileCorpusTest::bothReadersAgreeWhereverTheTextIsTorn()
{
    QFETCH(const std::string, text);

    for (std::size_t length = 0; length < text.size(); ++length) {
        auto torn = text.substr(0, length);
        const auto difference = ::difference(torn);

        QVERIFY2(difference.empty(), torn.append(" ").append(difference).c_str());
    }
}

void StatsFileCorpusTest::bothReadersAgreeWhicheverByteIsWrong_data() { bothReadersAgree_data(); }

void StatsFileCorpusTest::bothReadersAgreeWhicheverByteIsWrong()
{
    QFETCH(const std::string, text);
    // One of each kind that means something to the format, and some that never do.
    const auto bytes = "\0\x1f\x7f\x80\xbf\xc3\xe2\xed\xf0\xff {}[]\",:\\0-+.eEu/n\n"s;

    for (std::size_t i = 0; i < text.size(); ++i) {
        for (const char byte : bytes) {
            auto wrong = text;
            wrong[i] = byte;
            const auto difference = ::difference(wrong);

            QVERIFY2(difference.empty(), wrong.append(" ").append(difference).c_str());
        }
    }
}

void StatsFileCorpusTest::theCorpusHoldsReadableAndUnreadableFiles()
{
    int readable = 0;
    int unreadable = 0;

    for (const auto& file : corpus())
        ++(referenceDecode(contentOf(file)) ? readable : unreadable);

    QVERIFY(readable >= 10);
    QVERIFY(unreadable >= 30);
}

static const TestArea area("StatsFileCorpus", runTest<StatsFileCorpusTest>);
#include "StatsFileCorpusTest.moc"
