#include "check/BannerVerdict.h"

#include "check/TextVerdicts.h"
#include "content/ImageDecoding.h"

using namespace Qt::StringLiterals;

namespace
{
constexpr qsizetype heavy = qsizetype(1024) * 1024;

QString named(QSize size)
{
    return u"%1x%2"_s.arg(size.width()).arg(size.height());
}
} // namespace

Verdict BannerVerdict::of(const QByteArray &bytes, QSize banner)
{
    const QSize size = ImageDecoding::decoded(bytes).size();
    if (size.isEmpty())
        return {
            .wrong = {u"This is no picture (PNG, JPEG, GIF, WebP or BMP): the banner stays empty. It begins: %1"_s.arg(
                TextVerdicts::beginning(bytes))}};
    Verdict verdict;
    if (size != banner && size != banner * 2)
        verdict.wrong += u"The picture is %1, the banner %2 or twice that: it is shown with margins, or smaller."_s.arg(
            named(size), named(banner));
    else
        verdict.right += u"The banner shows a picture of %1."_s.arg(named(size));
    if (!bytes.startsWith("\x89PNG"))
        verdict.notes += u"The picture is no PNG, whatever its name says; it is shown all the same."_s;
    if (bytes.size() > heavy)
        verdict.notes += u"It has %1 KB, and every start fetches them."_s.arg(bytes.size() / 1024);
    return verdict;
}
