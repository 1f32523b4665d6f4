#include "support/Program.h"

#include "controls/StatusLine.h"

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
    QTest::addColumn<int>("bannerHeight");
    QTest::newRow("as it opens") << QSize(1000, 720) << 176;
    QTest::newRow("large: the banner grows") << QSize(1600, 1100) << 286;
    QTest::newRow("very large: to its double size") << QSize(3400, 1400) << 352;
    QTest::newRow("low: no more than a third") << QSize(1900, 600) << 200;
}

void TestMainWindowFits::theContentKeepsAGoodMeasure()
{
    QFETCH(const QSize, size);
    QFETCH(const int, bannerHeight);
    QFont font = QApplication::font();
    font.setPointSize(10);
    QApplication::setFont(font);
    resize(size);
    QCOMPARE(m_program->control<QWidget>("largeImage")->height(), bannerHeight);
    const QRect account = m_program->control<QWidget>("accountCard")->geometry();
    const QRect news = m_program->control<QWidget>("newsCard")->geometry();
    QCOMPARE(account.width(), news.width());
    QVERIFY(news.right() - account.left() <= 1920);
    QVERIFY(std::abs(account.left() - (size.width() - 1 - news.right())) <= 1); // in the middle
}

QTEST_MAIN(TestMainWindowFits)
#include "TestMainWindowFits.moc"
