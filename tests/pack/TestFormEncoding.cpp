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
    void everyAsciiCharacterIsPlainOrEscaped();
    void urlencodeWorksOnBytesOfUtf8();
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

    value("ampersand as it is", u"a&b=c"_s, "a&b=c");
    value("what looks escaped", u"%20"_s, "%2520");
    value("the last of ASCII", u"\x7f"_s, "%7F");
    value("two bytes, upper-case digits", u"ö"_s, "%C3%B6");
    value("three bytes", u"€"_s, "%E2%82%AC");
    value("four bytes", u"\U0001F5FA"_s, "%F0%9F%97%BA");
}

void TestFormEncoding::pairsAreEncoded()
{
    QFETCH(const FormPairs, pairs);
    QTEST(FormEncoding::encodeDictionary(pairs), "form");
}

void TestFormEncoding::everyAsciiCharacterIsPlainOrEscaped()
{
    const QByteArray unreserved = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_~";
    const QByteArray reserved = "!*'();/?:@&=+$,"; // a form leaves them alone
    for (char c = 0; c >= 0 && c < 127; ++c) {
        const QByteArray plain(1, c);
        const QByteArray escaped = '%' + plain.toHex().toUpper();
        const QString text = QString::fromLatin1(plain);
        const bool isPlain = unreserved.contains(c);
        QCOMPARE(FormEncoding::encodeDictionary({{u"n"_s, text}}),
                 "n=" + (isPlain || reserved.contains(c) ? plain : escaped));
        QCOMPARE(FormEncoding::urlencode(text), QString::fromLatin1(c == ' ' ? "+" : isPlain ? plain : escaped));
    }
}

void TestFormEncoding::urlencodeWorksOnBytesOfUtf8()
{
    QCOMPARE(FormEncoding::urlencode(u"1+1 ~ ü€"_s), u"1%2B1+~+%C3%BC%E2%82%AC"_s);
    QCOMPARE(FormEncoding::urlencode({}), QString());
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
