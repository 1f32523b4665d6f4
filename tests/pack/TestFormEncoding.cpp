#include "pack/FormEncoding.h"
#include "platform/UrlLoader.h"
#include "platform/UserDefaults.h"
#include "places/Preferences.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestFormEncoding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pairsAreEncoded_data();
    void pairsAreEncoded();
    void everyOtherAsciiCharacterIsEscaped();
    void urlencodeTurnsABlankIntoAPlus_data();
    void urlencodeTurnsABlankIntoAPlus();
    void urlencodeEscapesEveryByteButTheUnreserved();
    void theAccountIsWhatIsStoredUpToTheFirstAbsentValue_data();
    void theAccountIsWhatIsStoredUpToTheFirstAbsentValue();
    void aFormRequestIsAPostWithItsLengthAndType_data();
    void aFormRequestIsAPostWithItsLengthAndType();
};

void TestFormEncoding::pairsAreEncoded_data()
{
    QTest::addColumn<FormPairs>("pairs");
    QTest::addColumn<QByteArray>("form");

    const auto value = [](const char *name, const QString &text, const QByteArray &encoded) {
        QTest::newRow(name) << FormPairs{{u"pass"_s, text}} << "pass=" + encoded;
    };
    QTest::newRow("no pair") << FormPairs() << QByteArray();
    QTest::newRow("one pair") << FormPairs{{u"user"_s, u"ann"_s}} << QByteArray("user=ann");
    QTest::newRow("two pairs in their order")
        << FormPairs{{u"user"_s, u"a b"_s}, {u"pass"_s, u"x"_s}} << QByteArray("user=a%20b&pass=x");
    QTest::newRow("empty value") << FormPairs{{u"user"_s, u""_s}, {u"pass"_s, u"x"_s}} << QByteArray("user=&pass=x");
    QTest::newRow("empty name") << FormPairs{{u""_s, u"x"_s}} << QByteArray("=x");
    QTest::newRow("names too") << FormPairs{{u"ü n"_s, u"x"_s}} << QByteArray("%C3%BC%20n=x");
    QTest::newRow("one name twice") << FormPairs{{u"a"_s, u"1"_s}, {u"a"_s, u"2"_s}} << QByteArray("a=1&a=2");

    value("plus as it is", u"a+b"_s, "a+b");
    value("ampersand as it is", u"a&b=c"_s, "a&b=c");
    value("unreserved as they are", u"azAZ09-_.!~*'()"_s, "azAZ09-_.!~*'()");
    value("reserved as they are", u";/?:@&=+$,"_s, ";/?:@&=+$,");
    value("percent sign", u"100%"_s, "100%25");
    value("what looks escaped", u"%20"_s, "%2520");
    value("hash, quote, angles", u"#\"<>"_s, "%23%22%3C%3E");
    value("brackets and the like", u"[]{}|\\^`"_s, "%5B%5D%7B%7D%7C%5C%5E%60");
    value("controls", u"\t\r\n\x7f"_s, "%09%0D%0A%7F");
    value("a zero", QString(QChar(u'\0')), "%00");
    value("two bytes, upper-case digits", u"ö"_s, "%C3%B6");
    value("three bytes", u"€"_s, "%E2%82%AC");
    value("four bytes", u"\U0001F5FA"_s, "%F0%9F%97%BA");
}

void TestFormEncoding::pairsAreEncoded()
{
    QFETCH(const FormPairs, pairs);
    QTEST(FormEncoding::encodeDictionary(pairs), "form");
}

void TestFormEncoding::everyOtherAsciiCharacterIsEscaped()
{
    const QByteArray plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'();/?:@&=+$,";
    for (char c = 0; c >= 0 && c < 127; ++c) {
        const QByteArray escaped = '%' + QByteArray(1, c).toHex().toUpper();
        QCOMPARE(FormEncoding::encodeDictionary({{u"n"_s, QString(QLatin1Char(c))}}),
                 "n=" + (plain.contains(c) ? QByteArray(1, c) : escaped));
    }
}

void TestFormEncoding::urlencodeTurnsABlankIntoAPlus_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("encoded");
    QTest::newRow("blank, tilde, slash") << u"a b~c/d"_s << u"a+b~c%2Fd"_s;
    QTest::newRow("plus") << u"1+1"_s << u"1%2B1"_s;
    QTest::newRow("what a form leaves alone")
        << u"!*'();/?:@&=+$,"_s << u"%21%2A%27%28%29%3B%2F%3F%3A%40%26%3D%2B%24%2C"_s;
    QTest::newRow("percent sign") << u"100%"_s << u"100%25"_s;
    QTest::newRow("bytes of UTF-8") << u"ü€"_s << u"%C3%BC%E2%82%AC"_s;
    QTest::newRow("nothing") << QString() << QString();
}

void TestFormEncoding::urlencodeTurnsABlankIntoAPlus()
{
    QFETCH(const QString, text);
    QTEST(FormEncoding::urlencode(text), "encoded");
}

void TestFormEncoding::urlencodeEscapesEveryByteButTheUnreserved()
{
    const QByteArray plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_~";
    for (char c = 0; c >= 0 && c < 127; ++c) {
        const QString escaped = u'%' + QString::fromLatin1(QByteArray(1, c).toHex().toUpper());
        const QString expected = c == ' ' ? u"+"_s : plain.contains(c) ? QString(QLatin1Char(c)) : escaped;
        QCOMPARE(FormEncoding::urlencode(QString(QLatin1Char(c))), expected);
    }
}

void TestFormEncoding::theAccountIsWhatIsStoredUpToTheFirstAbsentValue_data()
{
    QTest::addColumn<std::optional<QString>>("user");
    QTest::addColumn<std::optional<QString>>("password");
    QTest::addColumn<FormPairs>("pairs");
    const std::optional<QString> nothing;
    const FormPairs both = {{u"user"_s, u"ann"_s}, {u"pass"_s, u"key"_s}};
    QTest::newRow("both") << std::optional(u"ann"_s) << std::optional(u"key"_s) << both;
    QTest::newRow("no password") << std::optional(u"ann"_s) << nothing << FormPairs{{u"user"_s, u"ann"_s}};
    QTest::newRow("no name") << nothing << std::optional(u"key"_s) << FormPairs();
    QTest::newRow("neither") << nothing << nothing << FormPairs();
    QTest::newRow("empty values are values")
        << std::optional(u""_s) << std::optional(u""_s) << FormPairs{{u"user"_s, u""_s}, {u"pass"_s, u""_s}};
}

void TestFormEncoding::theAccountIsWhatIsStoredUpToTheFirstAbsentValue()
{
    QFETCH(const std::optional<QString>, user);
    QFETCH(const std::optional<QString>, password);
    const QTemporaryDir folder;
    UserDefaults defaults(folder.filePath(u"preferences.json"_s), {});
    if (user)
        defaults.setObject(Preferences::userName.key, *user);
    if (password)
        defaults.setObject(Preferences::password.key, *password);
    QTEST(FormEncoding::accountPairs(defaults), "pairs");
}

void TestFormEncoding::aFormRequestIsAPostWithItsLengthAndType_data()
{
    QTest::addColumn<FormPairs>("pairs");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("length");
    QTest::newRow("two pairs") << FormPairs{{u"user"_s, u"a b"_s}, {u"pass"_s, u"x"_s}}
                               << QByteArray("user=a%20b&pass=x") << QByteArray("17");
    QTest::newRow("none") << FormPairs() << QByteArray() << QByteArray("0");
}

void TestFormEncoding::aFormRequestIsAPostWithItsLengthAndType()
{
    QFETCH(const FormPairs, pairs);
    QFETCH(const QByteArray, length);
    const UrlRequest request = FormEncoding::formRequest(u"https://wayfar.example/x"_s, pairs);
    const QList<std::pair<QByteArray, QByteArray>> headers = {
        {"Content-Length", length}, {"Content-Type", "application/x-www-form-urlencoded charset=utf-8"}};
    QCOMPARE(request.url, u"https://wayfar.example/x"_s);
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.headers, headers);
    QTEST(request.body, "body");
}

QTEST_GUILESS_MAIN(TestFormEncoding)
#include "TestFormEncoding.moc"
