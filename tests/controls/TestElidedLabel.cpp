#include "controls/ElidedLabel.h"

#include "support/MarkupTexts.h"

#include <QApplication>
#include <QFontMetrics>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QImage picture(QWidget &widget, const QSize &size)
{
    widget.resize(size);
    return widget.grab().toImage();
}

struct Label : ElidedLabel {
    explicit Label(const QString &text) { setText(text); }
};

QImage pictureOf(const QString &text, const QSize &size)
{
    Label label(text);
    return picture(label, size);
}

// How a label looks that shows each character as it stands.
QImage plainPictureOf(const QString &text, const QSize &size)
{
    QLabel label;
    label.setTextFormat(Qt::PlainText);
    label.setText(text);
    label.setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    label.setIndent(0);
    return picture(label, size);
}
} // namespace

class TestElidedLabel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itKeepsTheWholeTextAndTellsAssistiveTools();
    void markupIsShownAsItStands_data();
    void markupIsShownAsItStands();
    void whereTheRoomEndsAnEllipsisStands();
    void linesBecomeOne();
    void aNewTextReplacesTheOldOne();
    void noTextChangesTheLayout_data();
    void noTextChangesTheLayout();
    void aShortTextAsksForItsOwnWidth();
};

void TestElidedLabel::itKeepsTheWholeTextAndTellsAssistiveTools()
{
    ElidedLabel label;
    QCOMPARE(label.text(), QString());
    label.setText(u"<b>Tom</b> & Jerry"_s);
    QCOMPARE(label.accessibleName(), u"<b>Tom</b> & Jerry"_s); // static text is called what it reads
    const QString text = u"two\nlines "_s + QString(10000, u'x');
    label.setText(text);
    QCOMPARE(label.text(), text);
    QCOMPARE(label.property("text").toString(), text);
}

void TestElidedLabel::markupIsShownAsItStands_data()
{
    addMarkupTexts();
    QTest::newRow("plain") << u"Logged in as ann..."_s;
}

void TestElidedLabel::markupIsShownAsItStands()
{
    QFETCH(const QString, text);
    const QSize room(700, 30);
    QCOMPARE(pictureOf(text, room), plainPictureOf(text, room));
    QCOMPARE(readBack(Label(text).toolTip()), text);
}

void TestElidedLabel::whereTheRoomEndsAnEllipsisStands()
{
    const QString text = u"Failed to launch World of Warcraft Launcher. Please check settings..."_s;
    const QSize room(120, 30);
    const QString cut = QFontMetrics(QApplication::font("QFrame")).elidedText(text, Qt::ElideRight, room.width());
    QVERIFY(cut.endsWith(u'…'));
    QCOMPARE(pictureOf(text, room), plainPictureOf(cut, room));
    QCOMPARE(readBack(Label(text).toolTip()), text);
}

void TestElidedLabel::linesBecomeOne()
{
    const QSize room(400, 30);
    QCOMPARE(pictureOf(u"  one\r\ntwo\n\n three\t"_s, room), pictureOf(u"one two three"_s, room));
}

void TestElidedLabel::aNewTextReplacesTheOldOne()
{
    ElidedLabel label;
    label.setText(u"old"_s);
    label.resize(200, 30);
    label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&label));
    label.setText(u"new"_s);
    QCOMPARE(label.grab().toImage(), pictureOf(u"new"_s, label.size()));
    QCOMPARE(label.toolTip(), Label(u"new"_s).toolTip());
    label.setText(u""_s);
    QVERIFY(label.toolTip().isEmpty());
}

void TestElidedLabel::noTextChangesTheLayout_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("none") << u""_s;
    QTest::newRow("lines") << u"one\ntwo\nthree"_s;
    QTest::newRow("tall markup") << u"<h1>one</h1><br><br>"_s;
    QTest::newRow("a megabyte") << QString(1000000, u'x');
}

void TestElidedLabel::noTextChangesTheLayout()
{
    QFETCH(const QString, text);
    Label label(u"1.2.6"_s);
    const int height = label.sizeHint().height();
    const QSize least = label.minimumSizeHint();
    QCOMPARE(least.height(), height);
    label.setText(text);
    QCOMPARE(label.sizeHint().height(), height);
    QCOMPARE(label.minimumSizeHint(), least);
    QCOMPARE(label.sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QVERIFY(label.sizeHint().width() <= label.fontMetrics().averageCharWidth() * 60);
    QVERIFY(label.toolTip().size() < 1000);
    QVERIFY(label.accessibleName().size() < 1000);
}

void TestElidedLabel::aShortTextAsksForItsOwnWidth()
{
    const QSize wanted = Label(u"1.2.6"_s).sizeHint();
    QCOMPARE(pictureOf(u"1.2.6"_s, wanted), plainPictureOf(u"1.2.6"_s, wanted)); // not cut
}

QTEST_MAIN(TestElidedLabel)
#include "TestElidedLabel.moc"
