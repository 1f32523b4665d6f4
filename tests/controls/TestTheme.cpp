#include "controls/Theme.h"

#include "support/DarkDesktop.h"

#include <QColor>
#include <QLabel>
#include <QRegularExpression>
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

// A property's colour in the rule of just this selector.
QColor colour(const QPalette &palette, const QString &selector, const QString &property)
{
    const QRegularExpression rule(u"(?:^|\n)"_s + QRegularExpression::escape(selector) + u" \\{([^}]*)\\}"_s);
    const QString body = rule.match(Theme::mainWindowStyle(palette)).captured(1);
    return QColor(QRegularExpression(u"(?:^|[ ;])"_s + property + u": [^;]*(#[0-9a-f]{6})"_s).match(body).captured(1));
}

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
    void theStyleIsUnderstoodWhole_data() { addPalettes(); }
    void theStyleIsUnderstoodWhole();
    void everyTextCanBeRead_data() { addPalettes(); }
    void everyTextCanBeRead();
    void theProgressCanBeSeen_data() { addPalettes(); }
    void theProgressCanBeSeen();
    void theStyleFollowsTheDesktop();
    void aWidgetFollowsTheDesktop_data();
    void aWidgetFollowsTheDesktop();
};

void TestTheme::theStyleIsUnderstoodWhole()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    QFETCH(const QPalette, palette);
    const QString style = Theme::mainWindowStyle(palette);
    QVERIFY(!style.contains(u'%'));
    QCOMPARE(style.count(u'{'), style.count(u'}'));
    QWidget window;
    window.setStyleSheet(style);
    window.ensurePolished();
}

void TestTheme::everyTextCanBeRead()
{
    constexpr double Readable = 4.5;
    QFETCH(const QPalette, palette);
    const QColor window = palette.color(QPalette::Window);
    const QColor label = colour(palette, u"QPushButton#mainButton"_s, u"color"_s);
    for (const QString &state : {u""_s, u":hover"_s, u":pressed"_s}) {
        const QColor background = colour(palette, u"QPushButton#mainButton"_s + state, u"background"_s);
        QVERIFY(background.isValid());
        QVERIFY2(contrast(label, background) >= Readable,
                 qPrintable(state + QString::number(contrast(label, background))));
    }
    for (const QString &selector : {u"QLabel[role=\"caption\"]"_s, u"ElidedLabel#statusLabel"_s})
        QVERIFY2(contrast(colour(palette, selector, u"color"_s), window) >= Readable, qPrintable(selector));
}

void TestTheme::theProgressCanBeSeen()
{
    constexpr double Visible = 3;
    QFETCH(const QPalette, palette);
    const QColor groove = colour(palette, u"WayfarProgressIndicator"_s, u"background"_s);
    const QColor chunk = colour(palette, u"WayfarProgressIndicator::chunk"_s, u"background"_s);
    QVERIFY2(contrast(groove, chunk) >= Visible, qPrintable(QString::number(contrast(groove, chunk))));
}

void TestTheme::theStyleFollowsTheDesktop()
{
    QVERIFY(Theme::mainWindowStyle(light) != Theme::mainWindowStyle(dark));
    QPalette marked = light;
    marked.setColor(QPalette::Highlight, u"#123456"_s);
    QCOMPARE(colour(marked, u"CursorButtons:focus"_s, u"border-color"_s), QColor(u"#123456"_s));
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
    Theme::follow(followed, Theme::mainWindowStyle);
    window.setVisible(shown);
    const QString before = followed.styleSheet();
    const QColor textBefore = text->palette().color(QPalette::WindowText);
    QCOMPARE(before, Theme::mainWindowStyle(QApplication::palette()));
    {
        const DarkDesktop desktop;
        QTRY_COMPARE(followed.styleSheet(), Theme::mainWindowStyle(QApplication::palette()));
        QVERIFY(followed.styleSheet() != before);
        QCOMPARE(text->palette().color(QPalette::WindowText), QApplication::palette().color(QPalette::WindowText));
    }
    QTRY_COMPARE(followed.styleSheet(), before);
    QCOMPARE(text->palette().color(QPalette::WindowText), textBefore);
}

QTEST_MAIN(TestTheme)
#include "TestTheme.moc"
