#include "controls/PageStyle.h"

#include "controls/Theme.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace
{
const QString houseSheet = uR"(
:root { color-scheme: @scheme; }
html { background: @paper; color: @ink; line-height: 1.45; overflow-wrap: break-word; }
body { margin: 14px 16px; max-width: 46rem; }
a { color: @link; text-decoration-thickness: 1px; text-underline-offset: 2px; }
a:focus-visible { outline: 2px solid @link; outline-offset: 2px; border-radius: 2px; }
::selection { background: @selection; }
::-webkit-scrollbar { width: 10px; height: 10px; }
::-webkit-scrollbar-track, ::-webkit-scrollbar-corner { background: transparent; }
::-webkit-scrollbar-thumb { background: @thumb; border: 2px solid @paper; border-radius: 5px; }
::-webkit-scrollbar-thumb:hover { background: @page-muted; }
)"_s;

// The sheets come in the order of preference; the last is taken as it is.
const QString dressing = uR"(
(function (sheets) {
    const mostTexts = 2000; // a long page is judged by its beginning
    if (!document.documentElement) // between two pages
        return;
    const style = window.houseStyle || document.createElement('style');
    if (!window.houseStyle) {
        window.houseStyle = style;
        (document.head || document.documentElement).prepend(style);
    }
    function channels(color) {
        const parts = (color.match(/[\d.]+/g) || []).map(Number);
        return parts.length < 4 ? [...parts, 1] : parts;
    }
    function luminance(color) {
        const [r, g, b] = color.map(c => c / 255).map(c => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
        return 0.2126 * r + 0.7152 * g + 0.0722 * b;
    }
    function ownGround(element) { // null: a picture; undefined: none
        const own = getComputedStyle(element);
        if (own.backgroundImage !== 'none')
            return null;
        const color = channels(own.backgroundColor);
        return color[3] > 0.5 ? color : undefined;
    }
    const grounds = new Map(); // each is asked for once, however deep a page is
    function ground(element) {
        const above = [];
        let at = element;
        for (; at && !grounds.has(at); at = at.parentElement) {
            grounds.set(at, ownGround(at));
            if (grounds.get(at) !== undefined)
                break;
            above.push(at);
        }
        const found = at ? grounds.get(at) : null;
        above.forEach(each => grounds.set(each, found));
        return found;
    }
    function isReadable(element) {
        const below = ground(element);
        if (!below)
            return true;
        const [darker, lighter] =
            [luminance(below), luminance(channels(getComputedStyle(element).color))].sort((a, b) => a - b);
        return (lighter + 0.05) / (darker + 0.05) >= 3;
    }
    function isSeen(text) {
        return /\S/.test(text.data) && !text.parentElement.matches('script, style');
    }
    function suits() {
        if (!document.body)
            return true;
        const texts = document.createNodeIterator(document.body, NodeFilter.SHOW_TEXT);
        for (let count = 0, text = null; count < mostTexts && (text = texts.nextNode()); ++count) {
            if (isSeen(text) && !isReadable(text.parentElement))
                return false;
        }
        return true;
    }
    for (const sheet of sheets) {
        style.textContent = sheet;
        if (sheet === sheets[sheets.length - 1] || suits())
            return;
    }
})(%1);
)"_s;
} // namespace

QString PageStyle::script(const QString &paneSheet, const QPalette &palette)
{
    QStringList sheets;
    for (const QPalette &look : {palette, Theme::lightPalette()})
        sheets.append(Theme::filled(houseSheet + paneSheet, look));
    sheets.removeDuplicates(); // in a light desktop
    const QJsonDocument list(QJsonArray::fromStringList(sheets));
    return dressing.arg(QString::fromUtf8(list.toJson(QJsonDocument::Compact)));
}
