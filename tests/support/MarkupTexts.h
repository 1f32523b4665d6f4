#pragma once

#include <QLabel>
#include <QTest>
#include <QTextDocument>

// Rows of texts that a widget might take for markup, in the column "text".
inline void addMarkupTexts()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("tags") << QStringLiteral("<b>bold</b><img src='https://wayfar.example/x.png'>");
    QTest::newRow("a link") << QStringLiteral("<a href=\"https://wayfar.example\">press here</a>");
    QTest::newRow("a whole page") << QStringLiteral("<!DOCTYPE html><html><body>502</body></html>");
    QTest::newRow("entities") << QStringLiteral("&lt;b&gt; Tom & Jerry");
    QTest::newRow("quotes") << QStringLiteral("He said \"1.2.6\" & 'x'");
}

// What a widget that gets the text in this format lets the player read.
inline QString readBack(const QString &text, Qt::TextFormat format = Qt::AutoText)
{
    if (format == Qt::PlainText || (format == Qt::AutoText && !Qt::mightBeRichText(text)))
        return text;
    QTextDocument document;
    document.setHtml(text);
    return document.toPlainText();
}
