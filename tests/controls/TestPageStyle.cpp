#include "support/DarkDesktop.h"
#include "support/PageScript.h"
#include "support/TestWorld.h"

#include "controls/NavigationPolicy.h"
#include "controls/PageStyle.h"
#include "controls/Pane.h"
#include "controls/Theme.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
struct EverythingMayLoad : NavigationPolicy {
    bool webViewDecidePolicyForNavigationAction(const QUrl &) override { return true; }
};
} // namespace

// How pages look in a pane, by day and by night.
class TestPageStyle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_pane.setPolicyDelegate(&m_policy); }
    void aPageFollowsTheDesktop();
    void aPageOnItsWayIsDarkToo();
    void aPageThatCannotBeReadOnDarkGroundStaysLight_data();
    void aPageThatCannotBeReadOnDarkGroundStaysLight();
    void aDeepPageIsJudgedSoon();
    void aPagesScriptsFindNothingOfOurs();
    void thePagesOwnStylesWin();
    void thePanesSheetComesAfterTheHouses();
    void thePageGrowsWithTheDesktopsFont();

private:
    bool show(const QByteArray &page);
    QColor styled(const QString &element, const QString &property);
    bool waitForPaper(const QPalette &palette);

    TestWorld m_world;
    EverythingMayLoad m_policy;
    Pane m_pane;
};

bool TestPageStyle::show(const QByteArray &page)
{
    m_world.write(m_world.path(u"page.html"_s), "<!DOCTYPE html>" + page);
    QSignalSpy loaded(&m_pane, &QWebEngineView::loadFinished);
    m_pane.loadFile(m_world.path(u"page.html"_s));
    return waitUntil([&loaded] { return !loaded.isEmpty(); });
}

QColor TestPageStyle::styled(const QString &element, const QString &property)
{
    const QVariant parts = answerOf(
        m_pane, u"getComputedStyle(document.querySelector('%1')).%2.match(/[0-9]+/g)"_s.arg(element, property));
    const QVariantList numbers = parts.toList();
    return QColor(numbers.value(0).toInt(), numbers.value(1).toInt(), numbers.value(2).toInt());
}

bool TestPageStyle::waitForPaper(const QPalette &palette)
{
    return waitUntil([&] { return styled(u"html"_s, u"backgroundColor"_s) == Theme::color(u"paper"_s, palette); });
}

void TestPageStyle::aPageFollowsTheDesktop()
{
    const auto verifyLook = [this](const QPalette &palette, const QString &scheme) {
        QVERIFY(waitForPaper(palette));
        QCOMPARE(styled(u"p"_s, u"color"_s), Theme::color(u"ink"_s, palette));
        QCOMPARE(styled(u"a"_s, u"color"_s), Theme::color(u"link"_s, palette));
        QCOMPARE(answerOf(m_pane, u"getComputedStyle(document.documentElement).colorScheme"_s).toString(), scheme);
        QCOMPARE(m_pane.page()->backgroundColor(), Theme::color(u"paper"_s, palette));
    };
    QVERIFY(show("<p>text <a href='there'>link</a></p>"));
    verifyLook(QApplication::palette(), u"light"_s);
    {
        const DarkDesktop dark;
        verifyLook(QApplication::palette(), u"dark"_s);
    }
    verifyLook(QApplication::palette(), u"light"_s);
}

void TestPageStyle::aPageOnItsWayIsDarkToo()
{
    const DarkDesktop dark;
    QVERIFY(show("<p>text <a href='there'>link</a></p>"));
    QVERIFY(waitForPaper(QApplication::palette()));
}

void TestPageStyle::aPageThatCannotBeReadOnDarkGroundStaysLight_data()
{
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<bool>("staysLight");
    QTest::newRow("black text") << QByteArray("<p style='color: #111'>text link</p>") << true;
    QTest::newRow("black text of the page itself") << QByteArray("<body style='color: #111'>text link</body>") << true;
    QTest::newRow("behind three thousand empty elements")
        << QByteArray(QByteArray("<i></i>").repeated(3000) + "<p style='color: #111'>text link</p>") << true;
    QTest::newRow("deep inside") << QByteArray("<div><p>text <b style='color: navy'>link</b></p></div>") << true;
    QTest::newRow("black text on ground of its own")
        << QByteArray("<p style='color: #111; background: #eee'>text link</p>") << false;
    QTest::newRow("on a picture") << QByteArray(
        "<p style='color: #111; background: linear-gradient(white, white)'>text link</p>")
                                  << false;
    QTest::newRow("white text") << QByteArray("<p style='color: #fff'>text link</p>") << false;
    QTest::newRow("the system's colours") << QByteArray("<p style='color: CanvasText'>text link</p>") << false;
    QTest::newRow("black text of a script")
        << QByteArray("<p>text link</p><div style='color: black'><script>let text;</script></div>") << false;
    QTest::newRow("dark, where nothing is written")
        << QByteArray("<p>text link</p><div style='color: black'><p style='color: white'></p></div>") << false;
}

void TestPageStyle::aPageThatCannotBeReadOnDarkGroundStaysLight()
{
    QFETCH(const QByteArray, page);
    QFETCH(const bool, staysLight);
    const DarkDesktop dark;
    QVERIFY(show(page));
    QVERIFY(waitForPaper(staysLight ? Theme::lightPalette() : QApplication::palette()));
}

// The engine works out what an element looks like whenever it is asked.
void TestPageStyle::aDeepPageIsJudgedSoon()
{
    const DarkDesktop dark;
    QVERIFY(show(QByteArray("<div>").repeated(200) + QByteArray("<b>text</b>").repeated(50)));
    const QString count = u"let asked = 0; const ask = window.getComputedStyle;"
                          "window.getComputedStyle = element => { ++asked; return ask(element); };"
                          "%1; asked / document.querySelectorAll('*').length"_s;
    const double perElement = answerOf(m_pane, count.arg(PageStyle::script({}, QApplication::palette()))).toDouble();
    QVERIFY(perElement > 0.5);
    QVERIFY2(perElement <= 2, qPrintable(QString::number(perElement)));
}

void TestPageStyle::aPagesScriptsFindNothingOfOurs()
{
    QVERIFY(show("<p>text <a href='there'>link</a></p>"));
    QVERIFY(waitForPaper(QApplication::palette()));
    QCOMPARE(answerOf(m_pane, u"typeof window.houseStyle"_s).toString(), u"undefined"_s);
}

void TestPageStyle::thePagesOwnStylesWin()
{
    QVERIFY(show("<head><style>html { background: rgb(1, 2, 3); } a { color: rgb(250, 251, 252); }</style></head>"
                 "<p style='color: white'>text <a href='there'>link</a></p>"));
    QCOMPARE(styled(u"html"_s, u"backgroundColor"_s), QColor(1, 2, 3));
    QCOMPARE(styled(u"a"_s, u"color"_s), QColor(250, 251, 252));
}

void TestPageStyle::thePanesSheetComesAfterTheHouses()
{
    m_pane.dressPages(u"a { color: @page-muted; }"_s);
    QVERIFY(show("<p>text <a href='there'>link</a></p>"));
    const QColor muted = Theme::color(u"page-muted"_s, QApplication::palette());
    QVERIFY(waitUntil([&] { return styled(u"a"_s, u"color"_s) == muted; }));
    m_pane.dressPages({});
    QVERIFY(waitUntil([&] { return styled(u"a"_s, u"color"_s) != muted; }));
}

void TestPageStyle::thePageGrowsWithTheDesktopsFont()
{
    const auto size = [this] {
        return answerOf(m_pane, u"parseInt(getComputedStyle(document.body).fontSize)"_s).toInt();
    };
    const QFont before = QApplication::font();
    QVERIFY(show("<p>text link</p>"));
    const int small = size();
    QFont large = before;
    large.setPointSizeF(QFontInfo(before).pointSizeF() * 2);
    QApplication::setFont(large);
    QVERIFY(waitUntil([&] { return size() >= 2 * small - 1; }));
    QApplication::setFont(before);
    QVERIFY(waitUntil([&] { return size() == small; }));
}

QTEST_MAIN(TestPageStyle)
#include "TestPageStyle.moc"
