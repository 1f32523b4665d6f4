#include "controls/HintLabel.h"

#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;

class TestHintLabel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyHintTakesNoRoom();
    void markupIsShownAsItStands();
    void theSignStandsBesideTheTextInItsColour_data();
    void theSignStandsBesideTheTextInItsColour();
};

void TestHintLabel::anEmptyHintTakesNoRoom()
{
    HintLabel label;
    QVERIFY(label.isHidden());
    label.setHint(u"Look out"_s);
    QVERIFY(!label.isHidden());
    label.setHint({});
    QVERIFY(label.isHidden());
}

void TestHintLabel::markupIsShownAsItStands()
{
    HintLabel label;
    label.setHint(u"<b>a & b</b>"_s);
    QCOMPARE(label.textFormat(), Qt::PlainText);
}

void TestHintLabel::theSignStandsBesideTheTextInItsColour_data()
{
    QTest::addColumn<int>("pointSize");
    for (const int size : {8, 10, 20})
        QTest::addRow("%d points", size) << size;
}

void TestHintLabel::theSignStandsBesideTheTextInItsColour()
{
    QFETCH(const int, pointSize);
    HintLabel label;
    label.setStyleSheet(u"HintLabel { color: #ff0000; }"_s);
    QFont font = label.font();
    font.setPointSize(pointSize);
    label.setFont(font);
    label.setHint(u" "_s);
    label.resize(label.sizeHint());
    const QImage image = label.grab().toImage();
    int widest = 0;
    for (int y = 0; y < image.height(); ++y) {
        int red = 0;
        for (int x = 0; x < image.width(); ++x)
            red += image.pixelColor(x, y) == QColor(Qt::red) ? 1 : 0;
        widest = std::max(widest, red);
    }
    QVERIFY2(widest >= label.fontMetrics().ascent() / 2, qPrintable(QString::number(widest)));
    QVERIFY(label.contentsRect().left() >= label.fontMetrics().ascent());
}

QTEST_MAIN(TestHintLabel)
#include "TestHintLabel.moc"
