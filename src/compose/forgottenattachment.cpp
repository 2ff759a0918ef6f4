#include "compose/forgottenattachment.h"

#include "compose/quotemarks.h"
#include "compose/quoting.h"

namespace {

struct Expression
{
    QStringView word;         ///< lower case; with a "*" behind it the word may go on
    QStringView before = u""; ///< the word that must stand before it, where there is one
};

constexpr Expression kExpressions[] = {
    {u"attach"},
    {u"attached"},
    {u"attaching"},
    {u"attachment*"},
    {u"enclosed"},
    {u"enclosure*"},
    // German
    {u"anhang"},
    {u"anhänge*"},
    {u"angehängt*"},
    {u"anbei"},
    {u"beigefügt*"},
    {u"beigelegt*"},
    {u"anlage", u"der"},
    {u"anlage", u"als"},
    {u"anlage", u"siehe"},
    {u"anlagen", u"den"},
    // Dutch, Swedish, Danish, Norwegian, Finnish, Estonian
    {u"bijlage*"},
    {u"bijgevoegd*"},
    {u"bifog*"},
    {u"bilaga*"},
    {u"bilagor*"},
    {u"bilagd*"},
    {u"vedhæft*"},
    {u"vedlagt*"},
    {u"vedlegg*"},
    {u"liite"},
    {u"liitteen*"},
    {u"liitetiedosto*"},
    {u"ohessa"},
    {u"manuses"},
    // French, Spanish, Catalan, Portuguese, Italian, Romanian
    {u"ci-joint*"},
    {u"jointe"},
    {u"jointes"},
    {u"adjunt*"},
    {u"anexo*"},
    {u"anexad*"},
    {u"anexei"},
    {u"allegat*"},
    {u"allego"},
    {u"ataşat*"},
    {u"atașat*"},
    // Polish, Czech, Slovak, Croatian, Slovenian, Hungarian, Lithuanian, Latvian
    {u"załącz*"},
    {u"příloh*"},
    {u"příloze"},
    {u"přiložen*"},
    {u"přikládám"},
    {u"príloh*"},
    {u"priložen*"},
    {u"prikladám"},
    {u"privit*"},
    {u"prilogu"},
    {u"priponk*"},
    {u"melléklet*"},
    {u"mellékel*"},
    {u"csatol*"},
    {u"priede"},
    {u"pielikum*"},
    // Greek, Turkish, Vietnamese, Indonesian
    {u"συνημμέν*"},
    {u"επισυνάπτ*"},
    {u"ekte"},
    {u"ektedir"},
    {u"kèm", u"đính"},
    {u"terlampir"},
    {u"lampiran*"},
    // Russian, Ukrainian, Bulgarian
    {u"вложен*"},
    {u"прикреп*"},
    {u"приложен*"},
    {u"прилагаю"},
    {u"вкладен*"},
    {u"прикріп*"},
    {u"прикачен*"},
    // Hebrew, Arabic, Persian, Hindi
    {u"מצורף"},
    {u"מצורפת"},
    {u"מצורפים"},
    {u"مرفق*"},
    {u"پیوست*"},
    {u"संलग्न"},
};

/// Of languages that put no blanks between words, or glue endings to them.
constexpr QStringView kPieces[] = {u"添付", u"附件", u"附上", u"첨부", u"แนบ"};

constexpr qsizetype kLongestWord = 40;

bool isInWord(QChar c)
{
    return c.isLetter() || c.isMark() || c == u'-';
}

bool fits(const Expression &expression, QStringView word, QStringView before)
{
    if (expression.word[0] != word[0] || (!expression.before.isEmpty() && expression.before != before))
        return false;
    return expression.word.endsWith(u'*') ? word.startsWith(expression.word.chopped(1))
                                          : word == expression.word;
}

QString wordIn(QStringView line)
{
    const QString text = line.toString().toLower();
    for (const QStringView piece : kPieces)
        if (text.contains(piece))
            return piece.toString();
    QStringView before;
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype from = at;
        while (at < text.size() && isInWord(text[at]))
            ++at;
        const QStringView word = QStringView(text).sliced(from, at - from);
        if (word.isEmpty()) {
            ++at;
            continue;
        }
        for (const Expression &expression : kExpressions)
            if (word.size() <= kLongestWord && fits(expression, word, before))
                return word.toString();
        before = word;
    }
    return {};
}

} // namespace

QString attachmentWord(QStringView text)
{
    const QuoteMarks marks;
    const qsizetype signature = signatureStart(text);
    QStringView rest = signature < 0 ? text : text.first(signature);
    bool inForward = false;
    while (!rest.isEmpty()) {
        const QStringView line = takeTextLine(rest);
        inForward = (inForward || line == kForwardBegin) && line != kForwardEnd;
        if (inForward || marks.isQuoted(line))
            continue;
        if (const QString word = wordIn(line); !word.isEmpty())
            return word;
    }
    return {};
}
