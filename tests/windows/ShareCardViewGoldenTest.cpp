#include "support/FakeCard.h"
#include "support/GoldenPicture.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QTest>

#include <limits>
#include <string>

namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

enum class Background { Picture, Plain };

}

Q_DECLARE_METATYPE(Background)

/// The poster's looks, as pictures that anybody can look at: half as large as it is exported.
class ShareCardViewGoldenTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void theCardLooksAsItDid_data();
    void theCardLooksAsItDid();
};

void ShareCardViewGoldenTest::initTestCase()
{
    qputenv("TZ", "UTC");
    qputenv("LC_ALL", "C.UTF-8");
}

void ShareCardViewGoldenTest::theCardLooksAsItDid_data()
{
    QTest::addColumn<std::string>("stats");
    QTest::addColumn<std::string>("locale");
    QTest::addColumn<Background>("background");

    const std::string english = "en_US";
    const FakeDay yesterday { "2026-11-14", 8211, 3100 };
    QTest::newRow("ordinary") << ordinaryWeek() << english << Background::Picture;
    QTest::newRow("german") << ordinaryWeek() << std::string("de_DE") << Background::Plain;
    QTest::newRow("plain") << ordinaryWeek() << english << Background::Plain;
    QTest::newRow("best-day") << statsOf({ yesterday, { "2026-11-15", 12345, 4321 } }) << english
                              << Background::Picture;
    QTest::newRow("tie") << statsOf({ yesterday, { "2026-11-15", 3100, 8211 } }) << english
                         << Background::Plain;
    QTest::newRow("no-data") << std::string() << english << Background::Plain;
    QTest::newRow("one-key") << statsOf({ { "2026-11-14", 50000, 0 }, { "2026-11-15", 1, 0 } }) << english
                             << Background::Plain;
    QTest::newRow("millions") << statsOf({ yesterday, { "2026-11-15", 12345678, 1234567 } }) << english
                              << Background::Plain;
    QTest::newRow("greatest") << statsOf({ { "2026-11-15", greatest, 0 } }) << english << Background::Plain;
}

void ShareCardViewGoldenTest::theCardLooksAsItDid()
{
    QFETCH(const std::string, stats);
    QFETCH(const std::string, locale);
    QFETCH(const Background, background);
    FakeCard card(stats, locale);

    const auto picture = card.view(background == Background::Picture ? cardPicture() : QImage()).rendered();

    const auto half = picture.scaled(ShareCardView::size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QVERIFY(looksLikeGolden(half, QString("card-%1").arg(QTest::currentDataTag())));
}

static const TestArea area("ShareCardViewGolden", runTest<ShareCardViewGoldenTest, QApplication>);
#include "ShareCardViewGoldenTest.moc"
