#include "platform/Text.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlySevenBitsAreAscii_data();
    void onlySevenBitsAreAscii();
    void utf8IsDecodedStrictly_data();
    void utf8IsDecodedStrictly();
    void anAbsentTextIsWrittenAsNull();
    void placeholdersAreFilledInOnePass_data();
    void placeholdersAreFilledInOnePass();
    void bytesAreFilledAsBytes();
};

void TestText::onlySevenBitsAreAscii_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<std::optional<QString>>("text");

    QTest::newRow("no bytes are a text") << QByteArray() << std::optional(u""_s);
    QTest::newRow("letters") << QByteArray("1.2.6\r\n") << std::optional(u"1.2.6\r\n"_s);
    QTest::newRow("zero and 0x7f") << QByteArray("a\0b\x7f", 4) << std::optional(u"a\0b\x7f"_s);
    QTest::newRow("0x80 alone") << QByteArray("\x80") << std::optional<QString>();
    QTest::newRow("one UTF-8 letter at the end") << QByteArray("1.2.6 ü") << std::optional<QString>();
    QTest::newRow("byte-order mark") << QByteArray("\xef\xbb\xbf"
                                                   "1")
                                     << std::optional<QString>();
}

void TestText::onlySevenBitsAreAscii()
{
    QFETCH(const QByteArray, bytes);
    QTEST(Text::fromAscii(bytes), "text");
}

void TestText::utf8IsDecodedStrictly_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<std::optional<QString>>("text");

    const auto right = [](const char *rule, const QByteArray &bytes, const QString &text) {
        QTest::newRow(rule) << bytes << std::optional(text);
    };
    const auto wrong = [](const char *rule, const QByteArray &bytes) {
        QTest::newRow(rule) << bytes << std::optional<QString>();
    };
    right("no bytes are a text", {}, u""_s);
    right("one to four bytes", "aüα💾", u"aüα💾"_s);
    right("zero", QByteArray("a\0b", 3), u"a\0b"_s);
    right("a byte-order mark stays a character", "\xef\xbb\xbfx", u"\xfeffx"_s);
    right("replacement character itself", "\xef\xbf\xbd", u"\xfffd"_s);
    right("highest code point", "\xf4\x8f\xbf\xbf", QString::fromUcs4(U"\x10ffff", 1));
    wrong("Latin-1", "caf\xe9");
    wrong("Latin-1 in the middle", "caf\xe9 au lait");
    wrong("continuation alone", "\x80");
    wrong("cut after the first of two", "a\xc3");
    wrong("cut after the third of four", "a\xf0\x9f\x92");
    wrong("overlong", "\xc0\xaf");
    wrong("overlong of three", "\xe0\x80\xaf");
    wrong("surrogate", "\xed\xa0\x80");
    wrong("above the highest code point", "\xf4\x90\x80\x80");
    wrong("0xff", "\xff");
    wrong("UTF-16",
          QByteArray("\xff\xfe"
                     "a\0",
                     4));
}

void TestText::utf8IsDecodedStrictly()
{
    QFETCH(const QByteArray, bytes);
    QTEST(Text::fromUtf8(bytes), "text");
}

void TestText::anAbsentTextIsWrittenAsNull()
{
    QCOMPARE(Text::orNull(std::nullopt), u"(null)"_s);
    QCOMPARE(Text::orNull(u""_s), u""_s);
    QCOMPARE(Text::orNull(u"ann"_s), u"ann"_s);
}

void TestText::placeholdersAreFilledInOnePass_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *rule, const QString &format, const QStringList &values, const QString &text) {
        QTest::newRow(rule) << format << values << text;
    };
    row("from left to right", u"cp -r '%@' '%@'"_s, {u"a"_s, u"b"_s}, u"cp -r 'a' 'b'"_s);
    row("none to fill", u"Installing..."_s, {}, u"Installing..."_s);
    row("a placeholder in a value stays", u"<%@|%@>"_s, {u"%@"_s, u"x"_s}, u"<%@|x>"_s);
    row("half placeholders meet in no new one", u"%%@@ %@"_s, {u"a"_s, u"b"_s}, u"%a@ b"_s);
    row("a number sign is no placeholder", u"%1 %@"_s, {u"100%1"_s}, u"%1 100%1"_s);
    row("empty value", u"Reason %@"_s, {u""_s}, u"Reason "_s);
    row("missing value", u"%@ and %@"_s, {u"a"_s}, u"a and %@"_s);
    row("value too many", u"%@"_s, {u"a"_s, u"b"_s}, u"a"_s);
    row("empty format", u""_s, {u"a"_s}, u""_s);
    row("alone at both ends", u"%@%@"_s, {u"a"_s, u"b"_s}, u"ab"_s);
}

void TestText::placeholdersAreFilledInOnePass()
{
    QFETCH(const QString, format);
    QFETCH(const QStringList, values);
    QTEST(Text::filled(format, values), "text");

    QList<QByteArray> bytes;
    for (const QString &value : values)
        bytes.append(value.toUtf8());
    QTEST(QString::fromUtf8(Text::filled(QByteArrayView(format.toUtf8()), bytes)), "text");
}

void TestText::bytesAreFilledAsBytes()
{
    QCOMPARE(Text::filled(QByteArrayView("rm -rf '%@'"), {QByteArray("caf\xe9")}), QByteArray("rm -rf 'caf\xe9'"));
}

QTEST_GUILESS_MAIN(TestText)
#include "TestText.moc"
