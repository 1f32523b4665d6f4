#include "controls/Theme.h"

#include "support/DarkDesktop.h"

#include <QColor>
#include <QLabel>
#include <QTest>
#include <QWidget>

#include <utility>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(QPalette)

namespace
{
// The colours of a desktop that are looked at: a window's and its text's, and the mark of what is chosen.
QPalette paletteOf(const QColor &window, const QColor &text, const QColor &highlight)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Highlight, highlight);
    return palette;
}

const QPalette light = paletteOf(u"#efefef"_s, u"#000000"_s, u"#308cc6"_s);
const QPalette dark = paletteOf(u"#323232"_s, u"#ffffff"_s, u"#308cc6"_s);

void addPalettes()
{
    QTest::addColumn<QPalette>("palette");

    QTest::newRow("Fusion, light") << light;
    QTest::newRow("Fusion, dark") << dark;
    QTest::newRow("Breeze, light") << paletteOf(u"#eff0f1"_s, u"#232629"_s, u"#3daee9"_s);
    QTest::newRow("Breeze, dark") << paletteOf(u"#2a2e32"_s, u"#fcfcfc"_s, u"#3daee9"_s);
    QTest::newRow("black on white") << paletteOf(Qt::white, Qt::black, Qt::yellow);
    QTest::newRow("white on black") << paletteOf(Qt::black, Qt::white, Qt::darkBlue);
}

struct Pair {
    const char *color;
    const char *ground; // "window": the desktop's own
};

void verifyContrast(const QPalette &palette, const QList<Pair> &pairs, double least)
{
    const auto color = [&palette](const char *name) {
        return name == QByteArray("window") ? palette.color(QPalette::Window)
                                            : Theme::color(QString::fromLatin1(name), palette);
    };
    for (const auto &[name, ground] : pairs) {
        const double seen = Theme::contrast(color(name), color(ground));
        QVERIFY2(seen >= least,
                 qPrintable(u"%1 on %2: %3"_s.arg(QString::fromLatin1(name), QString::fromLatin1(ground)).arg(seen)));
    }
}
} // namespace

class TestTheme : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyNameIsFilled();
    void everyTextCanBeRead_data() { addPalettes(); }
    void everyTextCanBeRead();
    void whatIsDrawnCanBeSeen_data() { addPalettes(); }
    void whatIsDrawnCanBeSeen();
    void theFocusIsTheDesktopsWhereItCanBeSeen();
    void contrastIsThatOfTheWeb();
    void aDesktopThatWantsItDarkGetsItDark();
    void aDarkDesktopKeepsItsOwnColours();
    void aWidgetFollowsTheDesktop_data();
    void aWidgetFollowsTheDesktop();
};

void TestTheme::everyNameIsFilled()
{
    QCOMPARE(Theme::filled(u"A { color: @on-action; border-radius: @card-radius; } @paper @scheme"_s, light),
             u"A { color: #ffffff; border-radius: 6px; } #fffdf8 light"_s);
    QCOMPARE(Theme::filled(u"@scheme"_s, dark), u"dark"_s);
    QCOMPARE(Theme::filled(u""_s, light), u""_s);
    QVERIFY(!Theme::color(u"nothing"_s, light).isValid());
}

void TestTheme::everyTextCanBeRead()
{
    QFETCH(const QPalette, palette);
    verifyContrast(palette,
                   {{"on-action", "action"},
                    {"on-action", "action-hover"},
                    {"on-action", "action-pressed"},
                    {"muted", "window"},
                    {"failure", "window"},
                    {"warning", "window"},
                    {"ink", "paper"},
                    {"ink", "selection"},
                    {"link", "paper"},
                    {"page-muted", "paper"}},
                   4.5);
}

void TestTheme::whatIsDrawnCanBeSeen()
{
    QFETCH(const QPalette, palette);
    verifyContrast(palette, {{"action", "groove"}, {"focus", "window"}, {"faint", "groove"}, {"thumb", "paper"}}, 3);
}

void TestTheme::theFocusIsTheDesktopsWhereItCanBeSeen()
{
    QPalette marked = light;
    marked.setColor(QPalette::Highlight, u"#123456"_s);
    QCOMPARE(Theme::color(u"focus"_s, marked), QColor(u"#123456"_s));
}

void TestTheme::contrastIsThatOfTheWeb()
{
    QCOMPARE(Theme::contrast(Qt::black, Qt::white), 21.0);
    QCOMPARE(Theme::contrast(Qt::white, Qt::white), 1.0);
    QCOMPARE(qRound(Theme::contrast(QColor(u"#767676"_s), Qt::white) * 100), 454);
}

void TestTheme::aDesktopThatWantsItDarkGetsItDark()
{
    const QPalette before = QApplication::palette();
    Theme::setDarkPreferred(true);
    const QPalette ours = QApplication::palette();
    Theme::setDarkPreferred(false);
    QCOMPARE(QApplication::palette(), before);

    QCOMPARE(Theme::filled(u"@scheme"_s, ours), u"dark"_s);
    for (const auto &[group, least] : {std::pair(QPalette::Active, 4.5), std::pair(QPalette::Disabled, 3.0)}) {
        QVERIFY(Theme::contrast(ours.color(group, QPalette::WindowText), ours.color(QPalette::Window)) >= least);
        QVERIFY(Theme::contrast(ours.color(group, QPalette::Text), ours.color(QPalette::Base)) >= least);
        QVERIFY(Theme::contrast(ours.color(group, QPalette::ButtonText), ours.color(QPalette::Button)) >= least);
    }
}

void TestTheme::aDarkDesktopKeepsItsOwnColours()
{
    const DarkDesktop desktop;
    const QPalette theirs = QApplication::palette();
    Theme::setDarkPreferred(true);
    QCOMPARE(QApplication::palette(), theirs);
    Theme::setDarkPreferred(false);
    QCOMPARE(QApplication::palette(), theirs);
}

void TestTheme::aWidgetFollowsTheDesktop_data()
{
    QTest::addColumn<bool>("inAWindow");
    QTest::addColumn<bool>("shown");
    QTest::newRow("a window") << false << true;
    QTest::newRow("a window not shown yet") << false << false;
    QTest::newRow("a widget in a window") << true << true;
    QTest::newRow("a widget in a window not shown yet") << true << false;
}

void TestTheme::aWidgetFollowsTheDesktop()
{
    QFETCH(const bool, inAWindow);
    QFETCH(const bool, shown);
    QWidget window;
    auto *const content = new QWidget(&window);
    const auto *const text = new QLabel(u"text"_s, content);
    QWidget &followed = inAWindow ? *content : window;
    const QString sheet = u"QLabel { border-color: @line; }"_s;
    Theme::follow(followed, sheet);
    window.setVisible(shown);
    const QString before = followed.styleSheet();
    const QColor textBefore = text->palette().color(QPalette::WindowText);
    QCOMPARE(before, Theme::filled(sheet, QApplication::palette()));
    {
        const DarkDesktop desktop;
        QTRY_COMPARE(followed.styleSheet(), Theme::filled(sheet, QApplication::palette()));
        QVERIFY(followed.styleSheet() != before);
        QCOMPARE(text->palette().color(QPalette::WindowText), QApplication::palette().color(QPalette::WindowText));
    }
    QTRY_COMPARE(followed.styleSheet(), before);
    QCOMPARE(text->palette().color(QPalette::WindowText), textBefore);
}

QTEST_MAIN(TestTheme)
#include "TestTheme.moc"
