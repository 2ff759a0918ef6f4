#include "ui/reader/datacard.h"

#include "html/urls.h"
#include "message/contentlines.h"
#include "ui/reader/cardtexts.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>
#include <QDate>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostRows = 40; ///< of one contact

QString translated(const char *text, const char *what = nullptr)
{
    return QCoreApplication::translate("ContactCard", text, what);
}

struct TypeWord
{
    const char *type;
    const char *word;
};

// In the order in which they are named; what is not here says nothing to a reader.
constexpr TypeWord kTypeWords[] = {
    {"home", QT_TRANSLATE_NOOP("ContactCard", "home")},   {"work", QT_TRANSLATE_NOOP("ContactCard", "work")},
    {"cell", QT_TRANSLATE_NOOP("ContactCard", "mobile")}, {"fax", QT_TRANSLATE_NOOP("ContactCard", "fax")},
    {"pager", QT_TRANSLATE_NOOP("ContactCard", "pager")},
};

/// "Phone (work, fax)".
QString labelFor(const QString &name, const ContentLine &line)
{
    QStringList words;
    for (const TypeWord &row : kTypeWords)
        if (line.has("TYPE", QString::fromLatin1(row.type)))
            words.append(translated(row.word));
    return words.isEmpty() ? name : u"%1 (%2)"_s.arg(name, words.join(u", "_s));
}

QString joined(QStringList parts, const QString &between)
{
    for (QString &part : parts)
        part = harmlessLine(part, 400);
    parts.removeAll(QString());
    return parts.join(between);
}

QString nameOf(const ContentComponent &card)
{
    if (const QString full = harmlessLine(card.text("FN"), 200); !full.isEmpty())
        return full;
    if (const ContentLine *name = card.line("N")) {
        const QStringList parts = name->texts(); // family; given; more; before; behind
        const QString made =
            joined({parts.value(3), parts.value(1), parts.value(2), parts.value(0), parts.value(4)}, u" "_s);
        if (!made.isEmpty())
            return made;
    }
    if (const ContentLine *organisation = card.line("ORG"))
        return joined(organisation->texts(), u", "_s);
    return harmlessLine(card.text("EMAIL"), 200);
}

/// "1985-04-12", "19850412", with a time behind it, or "--0412" without a year.
QString dayText(const QString &written)
{
    const QString text = written.section(u'T', 0, 0);
    for (const QString &format : {u"yyyy-MM-dd"_s, u"yyyyMMdd"_s})
        if (const QDate day = QDate::fromString(text, format); day.isValid())
            return QLocale().toString(day, QLocale::LongFormat);
    QString monthAndDay = text;
    if (text.startsWith(u"--"_s))
        if (const QDate day = QDate::fromString(u"2000"_s + monthAndDay.remove(u'-'), u"yyyyMMdd"_s);
            day.isValid())
            return QLocale().toString(day, u"d MMMM"_s);
    return harmlessLine(written, 60);
}

/// "tel:+49-30-1" and "geo:" are written as values of their own in version 4.
QString withoutScheme(const QString &value)
{
    return value.startsWith(u"tel:"_s, Qt::CaseInsensitive) ? value.sliced(4) : value;
}

void addLine(DataCard &card, const ContentLine &line)
{
    if (line.name == "EMAIL") {
        const QString address = harmlessLine(line.text(), 400);
        card.add(labelFor(translated("Mail"), line), isolatedAddress(address), mailtoTarget(address));
    } else if (line.name == "TEL") {
        card.add(labelFor(translated("Phone"), line), harmlessLine(withoutScheme(line.text()), 100));
    } else if (line.name == "ADR") {
        card.add(labelFor(translated("Address"), line), joined(line.texts(), u", "_s));
    } else if (line.name == "URL") {
        const QString target = safeTarget(line.text());
        card.add(translated("Website"), isolatedAddress(harmlessLine(line.text(), 300)), target);
    } else if (line.name == "IMPP" || line.name == "X-JABBER") {
        card.add(translated("Chat"), harmlessLine(line.text(), 200));
    } else if (line.name == "BDAY") {
        card.add(translated("Birthday"), dayText(line.text()));
    } else if (line.name == "NOTE") {
        card.add(translated("Note"), harmlessLines(line.text()));
    }
}

DataCard contactCard(const ContentComponent &contact)
{
    DataCard card;
    card.badge = translated("Contact");
    card.title = nameOf(contact);
    if (const ContentLine *organisation = contact.line("ORG"))
        if (const QString name = joined(organisation->texts(), u", "_s); name != card.title)
            card.add(translated("Organisation"), name);
    card.add(translated("Position"), joined({contact.text("TITLE"), contact.text("ROLE")}, u", "_s));
    card.add(translated("Nickname"), harmlessLine(contact.text("NICKNAME"), 200));
    for (const ContentLine &line : contact.lines)
        if (card.rows.size() < kMostRows)
            addLine(card, line);
    return card;
}

} // namespace

QList<DataCard> contactCards(QStringView text)
{
    QList<DataCard> cards;
    qsizetype more = 0;
    const ContentComponent all = readContentComponents(text);
    for (const ContentComponent &one : all.components) {
        if (one.name != "VCARD")
            continue;
        if (cards.size() >= kMostCards - 1) {
            ++more;
            continue;
        }
        if (const DataCard card = contactCard(one); !card.isEmpty())
            cards.append(card);
    }
    if (more > 0)
        cards.append({{}, translated("%1 more contacts").arg(QLocale().toString(more)), {}});
    return cards;
}
