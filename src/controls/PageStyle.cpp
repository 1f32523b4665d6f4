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
    const mostElements = 2000; // a long page is judged by its beginning
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
    function ground(element) { // null: a picture
        for (let at = element; at; at = at.parentElement) {
            const own = getComputedStyle(at);
            if (own.backgroundImage !== 'none')
                return null;
            const color = channels(own.backgroundColor);
            if (color[3] > 0.5)
                return color;
        }
        return null;
    }
    function isReadable(element) {
        const below = ground(element);
        if (!below)
            return true;
        const [darker, lighter] =
            [luminance(below), luminance(channels(getComputedStyle(element).color))].sort((a, b) => a - b);
        return (lighter + 0.05) / (darker + 0.05) >= 3;
    }
    function hasText(element) {
        return [...element.childNodes].some(node => node.nodeType === Node.TEXT_NODE && node.data.trim());
    }
    function suits() {
        const elements = document.body ? document.body.querySelectorAll('*') : [];
        return [...elements].slice(0, mostElements).every(e => !hasText(e) || isReadable(e));
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
