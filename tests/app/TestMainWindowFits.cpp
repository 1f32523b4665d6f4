#include "support/PageScript.h"
#include "support/Program.h"

#include "controls/StatusLine.h"
#include "controls/Theme.h"

#include <QApplication>
#include <QLabel>
#include <QMenuBar>

using namespace Qt::StringLiterals;

namespace
{
const QString longName = u"Bartholomew Featherstonehaugh of the Upper Ravenglass Valley"_s;
const QString longVersion = u"2026.11.22-beta.3"_s;
const QString launchFailed = u"Failed to launch World of Warcraft Launcher. Please check settings..."_s;

// "ends at 312 of 300", or nothing.
QString cut(const QWidget &widget, const QSize &needed)
{
    if (widget.width() >= needed.width() && widget.height() >= needed.height())
        return {};
    return u"%1 has %2x%3 and needs %4x%5"_s.arg(widget.objectName())
        .arg(widget.width())
        .arg(widget.height())
        .arg(needed.width())
        .arg(needed.height());
}
} // namespace

// At every size, with every font, every text has its room.
class TestMainWindowFits : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { end(); }
    void everyTextHasItsRoom_data();
    void everyTextHasItsRoom();
    void theContentKeepsAGoodMeasure_data();
    void theContentKeepsAGoodMeasure();
    void theNewsHasItsRhythm();

private:
    void verifyStatus(const QString &status, bool isFailure);
    void resize(const QSize &size);
};

void TestMainWindowFits::initTestCase()
{
    QCOMPARE(longName.size(), 60);
    begin();
    QVERIFY(m_program->start());
    delegate().setCurrentVersion(longVersion);
    delegate().setUpdateVersion(longVersion);
}

void TestMainWindowFits::resize(const QSize &size)
{
    delegate().window()->resize(size);
    QCoreApplication::processEvents(); // lays out
}

void TestMainWindowFits::everyTextHasItsRoom_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("points");
    for (const QSize &size : {QSize(800, 560), QSize(1000, 720), QSize(1366, 768), QSize(2560, 1440)}) {
        for (const int points : {8, 10, 14, 20})
            QTest::addRow("%dx%d at %d pt", size.width(), size.height(), points) << size << points;
    }
}

void TestMainWindowFits::everyTextHasItsRoom()
{
    QFETCH(const QSize, size);
    QFETCH(const int, points);
    QFont font = QApplication::font();
    font.setPointSize(points);
    QApplication::setFont(font);
    resize(size);
    QCOMPARE(delegate().window()->size(), size); // nothing forces it larger
    QCOMPARE(m_program->control<QWidget>("statusLabel")->font().pointSize(), points); // it follows
    for (const char *title : {"Update", "Play"}) {
        delegate().setButtonText(QString::fromLatin1(title));
        QCoreApplication::processEvents();
        for (QAbstractButton *button : delegate().window()->findChildren<QAbstractButton *>()) {
            if (!button->text().isEmpty() && button->isVisible())
                QCOMPARE(cut(*button, button->sizeHint()), QString());
        }
    }
    for (QLabel *label : delegate().window()->findChildren<QLabel *>()) {
        const auto *status = qobject_cast<StatusLine *>(label);
        if (!status && label->isVisible())
            QCOMPARE(cut(*label, label->sizeHint()), QString());
    }
    const QWidget &content = *m_program->control<QWidget>("centralWidget");
    for (const QWidget *widget : content.findChildren<QWidget *>(Qt::FindDirectChildrenOnly))
        QVERIFY2(!widget->isVisible() || content.rect().contains(widget->geometry()), qPrintable(widget->objectName()));
    QVERIFY(m_program->control<QWidget>("accountCard")->height() >= 96);
    verifyStatus(u"Logged in as "_s + longName + u"..."_s, false);
    verifyStatus(launchFailed, true);
}

void TestMainWindowFits::verifyStatus(const QString &status, bool isFailure)
{
    if (isFailure)
        delegate().setFailureStr(status);
    else
        delegate().setStatusStr(status);
    const QStringList lines = m_program->control<StatusLine>("statusLabel")->lines();
    QCOMPARE(lines.join(QString()).remove(u' '), QString(status).remove(u' '));
}

void TestMainWindowFits::theContentKeepsAGoodMeasure_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("points");
    QTest::addColumn<int>("bannerHeight");
    QTest::addColumn<bool>("hasSmallBanner");
    QTest::newRow("as it opens") << QSize(1000, 720) << 10 << 176 << true;
    QTest::newRow("large: the banner grows") << QSize(1600, 1100) << 10 << 286 << true;
    QTest::newRow("very large: to its double size") << QSize(3400, 1400) << 10 << 352 << true;
    QTest::newRow("low: no more than a third") << QSize(1900, 600) << 10 << 200 << true;
    QTest::newRow("narrow for its font: without the small banner") << QSize(800, 720) << 20 << 139 << false;
}

void TestMainWindowFits::theContentKeepsAGoodMeasure()
{
    QFETCH(const QSize, size);
    QFETCH(const int, points);
    QFETCH(const int, bannerHeight);
    QFETCH(const bool, hasSmallBanner);
    QFont font = QApplication::font();
    font.setPointSize(points);
    QApplication::setFont(font);
    resize(size);
    QCOMPARE(m_program->control<QWidget>("largeImage")->height(), bannerHeight);
    QTRY_COMPARE(m_program->control<QWidget>("smallImage")->isVisible(), hasSmallBanner);
    const QRect account = m_program->control<QWidget>("accountCard")->geometry();
    const QRect news = m_program->control<QWidget>("newsCard")->geometry();
    QCOMPARE(account.width(), news.width());
    QVERIFY(news.right() - account.left() <= 1920);
    QVERIFY(std::abs(account.left() - (size.width() - 1 - news.right())) <= 1); // in the middle
}

void TestMainWindowFits::theNewsHasItsRhythm()
{
    QByteArray page = "<html><head><style>*{margin : 0.5px;padding :0.5px;}</style></head><body>";
    for (const char *title : {"First", "Second"})
        page += QByteArray("<font size=\"3\"><a   href=\"https://news.example/\">") + title
            + "</a></font><br><font size=\"2\">Fri, 20 Nov 2026</font><br>";
    m_world->write(m_world->path(u"news.html"_s), page + "</body><html>");
    Pane &pane = *delegate().rssView();
    pane.loadFile(m_world->path(u"news.html"_s));
    QVERIFY(waitForText(pane, u"First Fri, 20 Nov 2026 Second Fri, 20 Nov 2026"_s));

    const QVariantList seen = answerOf(pane, uR"(
        const [first, date, second] = ['font > a', 'font + br + font', 'font[size="3"]:not(:first-child) > a']
            .map(each => document.querySelector(each)).map(each => each.getBoundingClientRect());
        [first.left, date.left, date.top - first.bottom, second.top - date.bottom,
            getComputedStyle(document.querySelector('font[size="2"]')).color])"_s)
                                  .toList();
    QCOMPARE(seen.size(), 5);
    QCOMPARE(seen[0], seen[1]); // the title and its date begin at one edge
    QVERIFY(seen[3].toDouble() >= seen[2].toDouble() + 10); // and are told apart from the next post
    const QColor muted = Theme::color(u"page-muted"_s, QApplication::palette());
    QCOMPARE(seen[4].toString(), u"rgb(%1, %2, %3)"_s.arg(muted.red()).arg(muted.green()).arg(muted.blue()));
}

QTEST_MAIN(TestMainWindowFits)
#include "TestMainWindowFits.moc"
