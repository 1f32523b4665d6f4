#include "places/VersionNumbers.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestVersionNumbers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyZeroGroupAtTheEndIsCutOff_data();
    void everyZeroGroupAtTheEndIsCutOff();
    void runsOfDigitsCountByTheirValue_data();
    void runsOfDigitsCountByTheirValue();
};

void TestVersionNumbers::everyZeroGroupAtTheEndIsCutOff_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("shortened");
    QTest::newRow("one group") << u"1.2.0"_s << u"1.2"_s;
    QTest::newRow("two groups") << u"1.0.0"_s << u"1"_s;
    QTest::newRow("a ten before it") << u"10.0"_s << u"10"_s;
    QTest::newRow("a zero stays") << u"0.0"_s << u"0"_s;
    QTest::newRow("nothing but a group") << u".0"_s << u""_s;
    QTest::newRow("groups alone") << u".0.0"_s << u""_s;
    QTest::newRow("a zero of a longer number") << u"1.20"_s << u"1.20"_s;
    QTest::newRow("of ten") << u"2.10"_s << u"2.10"_s;
    QTest::newRow("two zeros are no group") << u"1.00"_s << u"1.00"_s;
    QTest::newRow("none") << u"1.2"_s << u"1.2"_s;
    QTest::newRow("in the middle") << u"1.0.2"_s << u"1.0.2"_s;
    QTest::newRow("zero alone") << u"0"_s << u"0"_s;
    QTest::newRow("empty") << u""_s << u""_s;
    QTest::newRow("before a line end") << u"1.2.0\n"_s << u"1.2.0\n"_s;
    QTest::newRow("before a blank") << u"1.0 "_s << u"1.0 "_s;
}

void TestVersionNumbers::everyZeroGroupAtTheEndIsCutOff()
{
    QFETCH(const QString, version);
    QTEST(VersionNumbers::shortened(version), "shortened");
}

void TestVersionNumbers::runsOfDigitsCountByTheirValue_data()
{
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<int>("order"); // of left to right
    const auto smaller = [](const char *rule, const QString &left, const QString &right) {
        QTest::newRow(rule) << left << right << -1;
    };
    const auto equal = [](const char *rule, const QString &left, const QString &right) {
        QTest::newRow(rule) << left << right << 0;
    };
    smaller("ten after nine", u"1.2.9"_s, u"1.2.10"_s);
    smaller("the shorter one", u"1.2.6"_s, u"1.2.6.1"_s);
    smaller("the first difference decides", u"1.2.99"_s, u"1.3.0"_s);
    smaller("the first number decides", u"9.9.9"_s, u"10"_s);
    smaller("a leading zero is no value", u"1.09"_s, u"1.10"_s);
    smaller("zeros before a greater number", u"1.2"_s, u"1.0003"_s);
    smaller("a letter behind", u"1.2"_s, u"1.2a"_s);
    smaller("letters by their value", u"1.2a"_s, u"1.2b"_s);
    smaller("no case folding", u"1.2B"_s, u"1.2a"_s);
    smaller("a number after letters", u"beta9"_s, u"beta10"_s);
    smaller("a digit against a letter", u"1.2.10"_s, u"1.2.a"_s);
    smaller("a dot against a digit", u"1..5"_s, u"1.5"_s);
    smaller("a run ends before another sign", u"1-9"_s, u"1.2"_s);
    smaller("a line end behind", u"1.2.6"_s, u"1.2.6\n"_s);
    smaller("a dot behind", u"1.2"_s, u"1.2."_s);
    smaller("nothing", u""_s, u"0"_s);
    smaller("a page", u"1.2.6"_s, u"<html>"_s);

    equal("the same", u"1.2.6"_s, u"1.2.6"_s);
    equal("nothing twice", u""_s, u""_s);
    equal("leading zeros", u"1.02"_s, u"1.2"_s);
    equal("a zero of any length", u"000.1"_s, u"0.1"_s);
    equal("equal numbers, equal rests", u"01-007b"_s, u"1-7b"_s);

    const QString thirty = u"100000000000000000000000000000"_s;
    smaller("thirty digits, the last one", thirty, thirty.chopped(1) + u'1');
    smaller("twenty-nine against thirty", QString(29, u'9'), thirty);
    smaller("one against thirty", u"9"_s, thirty);
    // What a 64-bit number that overflows would make of these: equal, or the other way round.
    smaller("2^64 + 1 against 1", u"1"_s, u"18446744073709551617"_s);
    smaller("2^64 against 5", u"5"_s, u"18446744073709551616"_s);
    smaller("2^63 against 2^63 - 1", u"9223372036854775807"_s, u"9223372036854775808"_s);
    smaller("thirty digits after a dot", u"1."_s + thirty, u"1."_s + thirty.chopped(1) + u'9');
    smaller("many zeros before a small one", QString(30, u'0') + u'1', u"2"_s);
    smaller("a megabyte", QString(1 << 20, u'1'), QString(1 << 20, u'1') + u'0');
}

void TestVersionNumbers::runsOfDigitsCountByTheirValue()
{
    QFETCH(const QString, left);
    QFETCH(const QString, right);
    QFETCH(const int, order);
    const auto sign = [](int number) { return (number > 0) - (number < 0); };
    QCOMPARE(sign(VersionNumbers::compare(left, right)), order);
    QCOMPARE(sign(VersionNumbers::compare(right, left)), -order);
}

QTEST_APPLESS_MAIN(TestVersionNumbers)
#include "TestVersionNumbers.moc"
