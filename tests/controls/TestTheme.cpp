#include "controls/Theme.h"

#include "support/DarkDesktop.h"

#include <QColor>
#include <QLabel>
#include <QTest>
#include <QWidget>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(QPalette)

namespace
{
QPalette paletteOf(const QColor &window, const QColor &text)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

const QPalette light = paletteOf(u"#efefef"_s, u"#000000"_s);
const QPalette dark = paletteOf(u"#2b2b2b"_s, u"#ffffff"_s);

// The contrast of two colours as the web's accessibility guidelines count it, from 1 to 21.
double contrast(const QColor &one, const QColor &other)
{
    const auto linear = [](float part) {
        return part <= 0.04045F ? double(part) / 12.92 : std::pow((double(part) + 0.055) / 1.055, 2.4);
    };
    const auto luminance = [&](const QColor &colour) {
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
    };
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

void addPalettes()
{
    QTest::addColumn<QPalette>("palette");

    QTest::newRow("light") << light;
    QTest::newRow("dark") << dark;
    QTest::newRow("black and white") << paletteOf(Qt::black, Qt::white);
    QTest::newRow("white and black") << paletteOf(Qt::white, Qt::black);
}
} // namespace

class TestTheme : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyNameIsFilled();
    void everyTextCanBeRead_data() { addPalettes(); }
    void everyTextCanBeRead();
    void theProgressCanBeSeen_data() { addPalettes(); }
    void theProgressCanBeSeen();
    void theFocusIsTheDesktops();
    void aWidgetFollowsTheDesktop_data();
    void aWidgetFollowsTheDesktop();
};

void TestTheme::everyNameIsFilled()
{
    QCOMPARE(Theme::filled(u"A { color: @on-action; border: @focus-width solid @paper; }@paper"_s, light),
             u"A { color: #ffffff; border: 2px solid #fffdf8; }#fffdf8"_s);
    QCOMPARE(Theme::filled(u""_s, light), u""_s);
    QVERIFY(!Theme::color(u"nothing"_s, light).isValid());
}

void TestTheme::everyTextCanBeRead()
{
    constexpr double Readable = 4.5;
    QFETCH(const QPalette, palette);
    const QColor label = Theme::color(u"on-action"_s, palette);
    for (const QString &ground : {u"action"_s, u"action-hover"_s, u"action-pressed"_s})
        QVERIFY2(contrast(label, Theme::color(ground, palette)) >= Readable, qPrintable(ground));
    QVERIFY(contrast(Theme::color(u"muted"_s, palette), palette.color(QPalette::Window)) >= Readable);
}

void TestTheme::theProgressCanBeSeen()
{
    constexpr double Visible = 3;
    QFETCH(const QPalette, palette);
    QVERIFY(contrast(Theme::color(u"groove"_s, palette), Theme::color(u"action"_s, palette)) >= Visible);
}

void TestTheme::theFocusIsTheDesktops()
{
    QPalette marked = light;
    marked.setColor(QPalette::Highlight, u"#123456"_s);
    QCOMPARE(Theme::color(u"focus"_s, marked), QColor(u"#123456"_s));
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
