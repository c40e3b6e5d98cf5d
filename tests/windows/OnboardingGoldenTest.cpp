#include "support/GoldenPicture.h"
#include "support/PseudoTranslator.h"
#include "support/ShownAssistant.h"
#include "support/TestArea.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

namespace {

struct Look {
    const char* name;
    int page;
    bool isGranted = false;
    bool isRefused = false;
    bool hasPictures = true;
    bool isLonger = false;
    double tolerance = 3;
};

// Releases of QtSvg differ in how they draw the round corners of a rectangle, which shows where a keyboard is
// as large as here: by 7 between 6.4 and 6.8.
constexpr double toleranceForCorners = 8;

constexpr Look looks[] {
    { .name = "welcome", .page = 0 },
    { .name = "welcome-without-picture", .page = 0, .hasPictures = false, .tolerance = toleranceForCorners },
    { .name = "privacy", .page = 1 },
    { .name = "waiting", .page = 2 },
    { .name = "relaunch", .page = 2, .isGranted = true, .isRefused = true },
    { .name = "counting", .page = 2, .isGranted = true },
    { .name = "done", .page = 3 },
    { .name = "done-without-picture", .page = 3, .hasPictures = false },
    { .name = "waiting-longer", .page = 2, .isLonger = true },
    { .name = "done-longer", .page = 3, .isLonger = true },
};

}

/// The setup assistant's looks, as pictures that anybody can look at.
class OnboardingGoldenTest final : public QObject {
    Q_OBJECT

private slots:
    void thePagesLookAsTheyDid_data();
    void thePagesLookAsTheyDid();
};

void OnboardingGoldenTest::thePagesLookAsTheyDid_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("isDark");

    for (int index = 0; index < static_cast<int>(std::size(looks)); ++index) {
        for (const bool isDark : { false, true })
            QTest::addRow("%s %s", looks[index].name, isDark ? "dark" : "light") << index << isDark;
    }
}

void OnboardingGoldenTest::thePagesLookAsTheyDid()
{
    QFETCH(const int, index);
    QFETCH(const bool, isDark);
    const auto& look = looks[index];
    const QTemporaryDir empty;
    PseudoTranslator translator;
    if (look.isLonger)
        QCoreApplication::installTranslator(&translator);
    ShownAssistant assistant;
    auto& platform = assistant.platform;
    platform.setAppearance(isDark ? ColorScheme::Dark : ColorScheme::Light, Motion::Full);
    platform.storeSetting("showCountsInMenuBar", true);
    if (look.isGranted)
        platform.grantAccess();
    if (look.isRefused)
        platform.refuseTap();
    if (!look.hasPictures)
        platform.addPictures(empty.path().toStdString());

    const auto picture = assistant.show(look.page).grab().toImage();

    const auto name = QString("assistant-%1-%2@%3x")
                          .arg(look.name, isDark ? "dark" : "light")
                          .arg(picture.devicePixelRatio());
    QVERIFY(looksLikeGolden(picture, name, look.tolerance));
}

static const TestArea area("OnboardingGolden", runTest<OnboardingGoldenTest, QApplication>);
#include "OnboardingGoldenTest.moc"
