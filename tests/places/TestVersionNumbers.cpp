#include "places/VersionNumbers.h"

#include <QTest>

#include <string>

using namespace std::string_literals;

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
    QTest::addColumn<std::string>("version");
    QTest::addColumn<std::string>("shortened");
    QTest::newRow("one group") << "1.2.0"s
                               << "1.2"s;
    QTest::newRow("two groups") << "1.0.0"s
                                << "1"s;
    QTest::newRow("a ten before it") << "10.0"s
                                     << "10"s;
    QTest::newRow("a zero stays") << "0.0"s
                                  << "0"s;
    QTest::newRow("nothing but a group") << ".0"s
                                         << ""s;
    QTest::newRow("groups alone") << ".0.0"s
                                  << ""s;
    QTest::newRow("a zero of a longer number") << "1.20"s
                                               << "1.20"s;
    QTest::newRow("of ten") << "2.10"s
                            << "2.10"s;
    QTest::newRow("two zeros are no group") << "1.00"s
                                            << "1.00"s;
    QTest::newRow("none") << "1.2"s
                          << "1.2"s;
    QTest::newRow("in the middle") << "1.0.2"s
                                   << "1.0.2"s;
    QTest::newRow("zero alone") << "0"s
                                << "0"s;
    QTest::newRow("empty") << ""s
                           << ""s;
    QTest::newRow("before a line end") << "1.2.0\n"s
                                       << "1.2.0\n"s;
    QTest::newRow("before a blank") << "1.0 "s
                                    << "1.0 "s;
}

void TestVersionNumbers::everyZeroGroupAtTheEndIsCutOff()
{
    QFETCH(const std::string, version);
    QFETCH(const std::string, shortened);
    QCOMPARE(VersionNumbers::shortened(version), shortened);
}

void TestVersionNumbers::runsOfDigitsCountByTheirValue_data()
{
    QTest::addColumn<std::string>("left");
    QTest::addColumn<std::string>("right");
    QTest::addColumn<int>("order"); // of left to right
    const auto smaller = [](const char *rule, const std::string &left, const std::string &right) {
        QTest::newRow(rule) << left << right << -1;
    };
    const auto equal = [](const char *rule, const std::string &left, const std::string &right) {
        QTest::newRow(rule) << left << right << 0;
    };
    smaller("ten after nine", "1.2.9"s, "1.2.10"s);
    smaller("the shorter one", "1.2.6"s, "1.2.6.1"s);
    smaller("the first difference decides", "1.2.99"s, "1.3.0"s);
    smaller("the first number decides", "9.9.9"s, "10"s);
    smaller("a leading zero is no value", "1.09"s, "1.10"s);
    smaller("zeros before a greater number", "1.2"s, "1.0003"s);
    smaller("a letter behind", "1.2"s, "1.2a"s);
    smaller("letters by their value", "1.2a"s, "1.2b"s);
    smaller("no case folding", "1.2B"s, "1.2a"s);
    smaller("a number after letters", "beta9"s, "beta10"s);
    smaller("a digit against a letter", "1.2.10"s, "1.2.a"s);
    smaller("a dot against a digit", "1..5"s, "1.5"s);
    smaller("a run ends before another sign", "1-9"s, "1.2"s);
    smaller("a line end behind", "1.2.6"s, "1.2.6\n"s);
    smaller("a dot behind", "1.2"s, "1.2."s);
    smaller("nothing", ""s, "0"s);
    smaller("a page", "1.2.6"s, "<html>"s);

    equal("the same", "1.2.6"s, "1.2.6"s);
    equal("nothing twice", ""s, ""s);
    equal("leading zeros", "1.02"s, "1.2"s);
    equal("a zero of any length", "000.1"s, "0.1"s);
    equal("equal numbers, equal rests", "01-007b"s, "1-7b"s);

    const std::string thirty = "100000000000000000000000000000"s;
    smaller("thirty digits, the last one", thirty, thirty.substr(0, thirty.size() - 1) + '1');
    smaller("twenty-nine against thirty", std::string(29, '9'), thirty);
    smaller("one against thirty", "9"s, thirty);
    // What a 64-bit number that overflows would make of these: equal, or the other way round.
    smaller("2^64 + 1 against 1", "1"s, "18446744073709551617"s);
    smaller("2^64 against 5", "5"s, "18446744073709551616"s);
    smaller("2^63 against 2^63 - 1", "9223372036854775807"s, "9223372036854775808"s);
    smaller("thirty digits after a dot", "1."s + thirty, "1."s + thirty.substr(0, thirty.size() - 1) + '9');
    smaller("many zeros before a small one", std::string(30, '0') + '1', "2"s);
    smaller("a megabyte", std::string(1 << 20, '1'), std::string(1 << 20, '1') + '0');
}

void TestVersionNumbers::runsOfDigitsCountByTheirValue()
{
    QFETCH(const std::string, left);
    QFETCH(const std::string, right);
    QFETCH(const int, order);
    const auto sign = [](int number) { return (number > 0) - (number < 0); };
    QCOMPARE(sign(VersionNumbers::compare(left, right)), order);
    QCOMPARE(sign(VersionNumbers::compare(right, left)), -order);
}

QTEST_APPLESS_MAIN(TestVersionNumbers)
#include "TestVersionNumbers.moc"
