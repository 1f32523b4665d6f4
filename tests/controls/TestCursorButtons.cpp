#include "controls/CursorButtons.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestCursorButtons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aButtonHasNoCursorOfItsOwnAtFirst();
    void theCursorShowsOverTheButton();
    void aChangedCursorShows();
    void aCursorTakenAwayLeavesThePlatformsBehaviour();
    void theCursorCoversTheWholeButton();
    void aButtonIsDrawnLikeAPlainOne_data();
    void aButtonIsDrawnLikeAPlainOne();
    void aButtonIsPressedLikeAPlainOne();
};

namespace
{
// What the window system shows over the widget.
Qt::CursorShape shown(const QWidget &widget)
{
    return widget.cursor().shape();
}

QImage picture(QPushButton &button)
{
    return button.grab().toImage();
}
} // namespace

void TestCursorButtons::aButtonHasNoCursorOfItsOwnAtFirst()
{
    const CursorButtons button;
    QVERIFY(!button.cursor());
    QVERIFY(!button.testAttribute(Qt::WA_SetCursor));
    QCOMPARE(shown(button), Qt::ArrowCursor);
}

void TestCursorButtons::theCursorShowsOverTheButton()
{
    CursorButtons button;
    button.setCursor(QCursor(Qt::PointingHandCursor));
    QCOMPARE(button.cursor(), QCursor(Qt::PointingHandCursor));
    QCOMPARE(shown(button), Qt::PointingHandCursor);
}

void TestCursorButtons::aChangedCursorShows()
{
    CursorButtons button;
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    button.setCursor(QCursor(Qt::PointingHandCursor));
    button.setCursor(QCursor(Qt::CrossCursor));
    QCOMPARE(shown(button), Qt::CrossCursor);
}

void TestCursorButtons::aCursorTakenAwayLeavesThePlatformsBehaviour()
{
    QWidget window;
    CursorButtons button(&window);
    window.setCursor(Qt::IBeamCursor);
    QCOMPARE(shown(button), Qt::IBeamCursor); // as a plain button in such a window
    button.setCursor(QCursor(Qt::PointingHandCursor));
    button.setCursor(std::nullopt);
    QVERIFY(!button.cursor());
    QVERIFY(!button.testAttribute(Qt::WA_SetCursor));
    QCOMPARE(shown(button), Qt::IBeamCursor);
}

void TestCursorButtons::theCursorCoversTheWholeButton()
{
    QWidget window;
    CursorButtons button(&window);
    button.setGeometry(10, 20, 100, 50);
    button.setCursor(QCursor(Qt::PointingHandCursor));
    for (const QPoint &corner : {QPoint(10, 20), QPoint(109, 69)})
        QCOMPARE(shown(*window.childAt(corner)), Qt::PointingHandCursor);
    QVERIFY(!window.childAt(110, 70));
    QCOMPARE(shown(window), Qt::ArrowCursor);
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
    QCOMPARE(picture(button), picture(plain));
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
