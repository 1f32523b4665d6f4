#include "controls/WayfarNSButton.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestWayfarNSButton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itsButtonTypeIsReachedByItsKey();
    void itIsDrawnAndPressedLikeAPlainButton();
};

// As the layouts set it and an action reads it of whatever sent it.
void TestWayfarNSButton::itsButtonTypeIsReachedByItsKey()
{
    WayfarNSButton button;
    QVERIFY(button.buttonType().isNull());
    QObject &sender = button;
    QVERIFY(sender.setProperty("buttonType", u"installPath"_s));
    QCOMPARE(button.buttonType(), u"installPath"_s);
    button.setButtonType(u"launchPath"_s);
    QCOMPARE(button.buttonType(), u"launchPath"_s);
    QCOMPARE(sender.property("buttonType").toString(), u"launchPath"_s);
    QVERIFY(!QPushButton().property("buttonType").isValid()); // a plain button has none
}

void TestWayfarNSButton::itIsDrawnAndPressedLikeAPlainButton()
{
    QPushButton plain(u"Choose..."_s);
    WayfarNSButton button(u"Choose..."_s);
    button.setButtonType(u"installPath"_s);
    for (QPushButton *each : {&plain, static_cast<QPushButton *>(&button)})
        each->resize(120, 40);
    QCOMPARE(button.grab().toImage(), plain.grab().toImage());

    const QSignalSpy clicked(&button, &QPushButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton);
    QCOMPARE(clicked.count(), 1);
}

QTEST_MAIN(TestWayfarNSButton)
#include "TestWayfarNSButton.moc"
