#include "controls/StatusLine.h"

#include "controls/Theme.h"

#include <QApplication>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString longest = u"Failed to launch World of Warcraft Launcher. Please check settings..."_s;

// The rows of the picture on which something is drawn, each with its colours.
struct Drawn {
    explicit Drawn(QWidget &widget) : image(widget.grab().toImage()) { }

    bool row(int y) const
    {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) != image.pixelColor(image.width() - 1, 0))
                return true;
        }
        return false;
    }
    int top() const
    {
        for (int y = 0; y < image.height(); ++y) {
            if (row(y))
                return y;
        }
        return image.height();
    }
    bool has(const QColor &color) const
    {
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y) == color)
                    return true;
            }
        }
        return false;
    }

    const QImage image;
};
} // namespace

class TestStatusLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aShortTextStandsAtTheLowerEnd();
    void aLongTextTakesTheLinesThatItNeeds();
    void itAsksForTheSameRoomWhateverTheTextIs();
    void aNarrowLineAsksForMoreLines();
    void aFailureHasASignAndAColour();
};

void TestStatusLine::aShortTextStandsAtTheLowerEnd()
{
    StatusLine line;
    const int height = line.fontMetrics().lineSpacing();
    line.resize(300, 4 * height);
    line.setText(u"Installing..."_s);
    QVERIFY(Drawn(line).top() >= 3 * height);
}

void TestStatusLine::aLongTextTakesTheLinesThatItNeeds()
{
    StatusLine line;
    const int height = line.fontMetrics().lineSpacing();
    line.resize(line.fontMetrics().horizontalAdvance(longest) * 2 / 3, 3 * height);
    line.setText(longest);
    const int top = Drawn(line).top();
    QVERIFY(top >= height);
    QVERIFY(top < 2 * height);
    line.setText(u"Logged in as "_s + QString(100, u'm')); // a word that is longer than a line
    QVERIFY(Drawn(line).top() < height);
}

void TestStatusLine::itAsksForTheSameRoomWhateverTheTextIs()
{
    StatusLine line;
    const QSize hint = line.sizeHint();
    const QSize least = line.minimumSizeHint();
    const int height = line.heightForWidth(200);
    line.setText(longest.repeated(100));
    line.setFailure(true);
    QCOMPARE(line.sizeHint(), hint);
    QCOMPARE(line.minimumSizeHint(), least);
    QCOMPARE(line.heightForWidth(200), height);
}

void TestStatusLine::aNarrowLineAsksForMoreLines()
{
    const StatusLine line;
    const int height = line.fontMetrics().lineSpacing();
    QCOMPARE(line.heightForWidth(2000), 2 * height);
    QCOMPARE(line.heightForWidth(line.fontMetrics().averageCharWidth() * 30), 3 * height);
    QCOMPARE(line.heightForWidth(1), 4 * height);
}

void TestStatusLine::aFailureHasASignAndAColour()
{
    StatusLine line;
    line.resize(300, 40);
    line.setText(u"Incorrect Login..."_s);
    const QColor color = Theme::color(u"failure"_s, line.palette());
    const QImage plain = Drawn(line).image;
    QVERIFY(!Drawn(line).has(color));
    line.setFailure(true);
    QVERIFY(Drawn(line).has(color));
    const QRect before(0, 0, line.fontMetrics().lineSpacing(), line.height()); // where only the sign is
    const QImage sign = Drawn(line).image.copy(before);
    QVERIFY(sign != plain.copy(before));
    line.setText(u"Update download failed. Please retry"_s);
    QCOMPARE(Drawn(line).image.copy(before), sign);
    line.setText(u"Incorrect Login..."_s);
    line.setFailure(false);
    QCOMPARE(Drawn(line).image, plain);
}

QTEST_MAIN(TestStatusLine)
#include "TestStatusLine.moc"
