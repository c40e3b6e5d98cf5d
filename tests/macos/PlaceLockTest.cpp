#include "platform/macos/PlaceLock.h"

#include "support/TestArea.h"

#include <QTemporaryDir>
#include <QTest>

#include <optional>
#include <thread>

using namespace std::chrono_literals;

namespace {

/// Longer than any test, which would fail by its own limit.
constexpr auto patience = 5min;

}

class PlaceLockTest final : public QObject {
    Q_OBJECT

private slots:
    void init() { temporary.emplace(); }

    void theFirstHasThePlaceAndTheSecondLeavesAtOnce();
    void thePlaceIsFreeOnceItsOwnerIsGone();
    void anInstanceThatMakesWayIsWaitedFor();
    void anInstanceThatMakesWayAndStaysIsGivenUpOn();
    void whoHasWaitedMakesNoWayItself();
    void whereNothingCanBeWrittenThereIsNoPlaceToFightFor_data();
    void whereNothingCanBeWrittenThereIsNoPlaceToFightFor();

private:
    std::filesystem::path folder() const { return (temporary->path() + "/Knucklet").toStdString(); }

    std::optional<QTemporaryDir> temporary;
};

void PlaceLockTest::theFirstHasThePlaceAndTheSecondLeavesAtOnce()
{
    PlaceLock first(folder());
    PlaceLock second(folder());

    const bool firstClaimed = first.claim(patience);
    const bool secondClaimed = second.claim(patience);

    QVERIFY(firstClaimed);
    QVERIFY(!secondClaimed);
}

void PlaceLockTest::thePlaceIsFreeOnceItsOwnerIsGone()
{
    std::optional<PlaceLock> first(std::in_place, folder());
    QVERIFY(first->claim(patience));
    first.reset();
    PlaceLock second(folder());

    const bool isClaimed = second.claim(0ms);

    QVERIFY(isClaimed);
}

void PlaceLockTest::anInstanceThatMakesWayIsWaitedFor()
{
    std::optional<PlaceLock> first(std::in_place, folder());
    QVERIFY(first->claim(patience));
    first->makeWay();
    PlaceLock second(folder());
    bool isClaimed = false;

    std::thread waiting([&] { isClaimed = second.claim(patience); });
    first.reset();
    waiting.join();

    QVERIFY(isClaimed);
}

void PlaceLockTest::anInstanceThatMakesWayAndStaysIsGivenUpOn()
{
    PlaceLock first(folder());
    QVERIFY(first.claim(patience));
    first.makeWay();
    PlaceLock second(folder());

    const bool isClaimed = second.claim(50ms);

    QVERIFY(!isClaimed);
}

void PlaceLockTest::whoHasWaitedMakesNoWayItself()
{
    std::optional<PlaceLock> first(std::in_place, folder());
    QVERIFY(first->claim(patience));
    first->makeWay();
    first.reset();
    PlaceLock second(folder());
    QVERIFY(second.claim(patience));
    PlaceLock third(folder());

    const bool isClaimed = third.claim(patience);

    QVERIFY(!isClaimed);
}

void PlaceLockTest::whereNothingCanBeWrittenThereIsNoPlaceToFightFor_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("a folder that cannot be made") << "/dev/null/Knucklet";
    QTest::newRow("no folder") << "";
}

void PlaceLockTest::whereNothingCanBeWrittenThereIsNoPlaceToFightFor()
{
    QFETCH(QString, folder);
    PlaceLock lock(folder.toStdString());

    const bool isClaimed = lock.claim(patience);

    QVERIFY(isClaimed);
    QVERIFY(!std::filesystem::exists("instance.lock"));
}

static const TestArea area("PlaceLock", runTest<PlaceLockTest>);

#include "PlaceLockTest.moc"
