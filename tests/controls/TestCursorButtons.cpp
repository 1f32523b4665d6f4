#include "controls/CursorButtons.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestCursorButtons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theCursorShowsOverTheWholeButtonWhileThereIsOne();
    void aButtonIsDrawnLikeAPlainOne_data();
    void aButtonIsDrawnLikeAPlainOne();
    void aButtonIsPressedLikeAPlainOne();
};

void TestCursorButtons::theCursorShowsOverTheWholeButtonWhileThereIsOne()
{
    QWidget window;
    window.setCursor(Qt::IBeamCursor);
    CursorButtons button(&window);
    button.setGeometry(10, 20, 100, 50);
    window.show();
    const auto shown = [&window](const QPoint &at) {
        const QWidget *const child = window.childAt(at);
        return (child ? child : &window)->cursor().shape();
    };
    const QPoint inside(109, 69); // the last pixel
    QVERIFY(!button.cursor());
    QCOMPARE(shown(inside), Qt::IBeamCursor); // as a plain button in such a window
    for (const Qt::CursorShape shape : {Qt::PointingHandCursor, Qt::CrossCursor}) {
        button.setCursor(QCursor(shape));
        QCOMPARE(button.cursor(), QCursor(shape));
        QCOMPARE(shown({10, 20}), shape);
        QCOMPARE(shown(inside), shape);
        QCOMPARE(shown({110, 70}), Qt::IBeamCursor);
    }
    button.setCursor(std::nullopt);
    QVERIFY(!button.cursor());
    QCOMPARE(shown(inside), Qt::IBeamCursor);
}

void TestCursorButtons::aButtonIsDrawnLikeAPlainOne_data()
{
    QTest::addColumn<bool>("withCursor");
    QTest::addColumn<QString>("styleSheet");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("down");

    QTest::newRow("no cursor") << false << QString() << true << false;
    QTest::newRow("cursor") << true << QString() << true << false;
    QTest::newRow("disabled") << true << QString() << false << false;
    QTest::newRow("down") << true << QString() << true << true;
    QTest::newRow("dressed by the layout")
        << true << u"QPushButton { background: #123456; border: none; }"_s << true << false;
}

void TestCursorButtons::aButtonIsDrawnLikeAPlainOne()
{
    QFETCH(const bool, withCursor);
    QFETCH(const QString, styleSheet);
    QFETCH(const bool, enabled);
    QFETCH(const bool, down);
    const auto dress = [&](QPushButton &button) {
        button.setText(u"Banner"_s);
        button.resize(120, 40);
        button.setStyleSheet(styleSheet);
        button.setEnabled(enabled);
        button.setDown(down);
    };
    QPushButton plain;
    CursorButtons button;
    dress(plain);
    dress(button);
    if (withCursor)
        button.setCursor(QCursor(Qt::PointingHandCursor));
    QCOMPARE(button.grab().toImage(), plain.grab().toImage());
    QCOMPARE(button.sizeHint(), plain.sizeHint());
}

void TestCursorButtons::aButtonIsPressedLikeAPlainOne()
{
    CursorButtons button;
    button.setCursor(QCursor(Qt::PointingHandCursor));
    const QSignalSpy clicked(&button, &QPushButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton);
    QTest::keyClick(&button, Qt::Key_Space);
    QCOMPARE(clicked.count(), 2);
    button.setEnabled(false);
    QTest::mouseClick(&button, Qt::LeftButton);
    QCOMPARE(clicked.count(), 2);
}

QTEST_MAIN(TestCursorButtons)
#include "TestCursorButtons.moc"
